#include "ui/advapi32_dll.h"

#include "ui/bind_function.h"

// Quirk 86: Load and Unload are called in this class's constructor and destructor: in the base's
// they would reach the base's Bind and Release.
CAdvapi32Dll::CAdvapi32Dll() { Load(L"Advapi32.dll"); }

CAdvapi32Dll::~CAdvapi32Dll() { Unload(); }

void CAdvapi32Dll::Bind(HMODULE module) {
  BindFunction(module, "ChangeServiceConfig2A", m_ChangeServiceConfig2A);
  BindFunction(module, "ChangeServiceConfig2W", m_ChangeServiceConfig2W);
  BindFunction(module, "RegisterServiceCtrlHandlerExA", m_RegisterServiceCtrlHandlerExA);
  BindFunction(module, "RegisterServiceCtrlHandlerExW", m_RegisterServiceCtrlHandlerExW);
  BindFunction(module, "CreateProcessAsUserA", m_CreateProcessAsUserA);
  BindFunction(module, "CreateProcessAsUserW", m_CreateProcessAsUserW);
  BindFunction(module, "ImpersonateLoggedOnUser", m_ImpersonateLoggedOnUser);
  BindFunction(module, "OpenProcessToken", m_OpenProcessToken);
  BindFunction(module, "RevertToSelf", m_RevertToSelf);
  BindFunction(module, "CheckTokenMembership", m_CheckTokenMembership);
}

void CAdvapi32Dll::Release() {
  m_CheckTokenMembership = nullptr;
  m_RevertToSelf = nullptr;
  m_OpenProcessToken = nullptr;
  m_ImpersonateLoggedOnUser = nullptr;
  m_CreateProcessAsUserW = nullptr;
  m_CreateProcessAsUserA = nullptr;
  m_RegisterServiceCtrlHandlerExW = nullptr;
  m_RegisterServiceCtrlHandlerExA = nullptr;
  m_ChangeServiceConfig2W = nullptr;
  m_ChangeServiceConfig2A = nullptr;
}
