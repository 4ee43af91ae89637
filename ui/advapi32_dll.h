#pragma once

#include <windows.h>
#include <winsvc.h>

#include "ui/dynamic_dll.h"

/// "Advapi32.dll", loaded at run time. A pointer is null when the system does not have the
/// function: test it before the call.
class CAdvapi32Dll : public CDynamicDll {
 public:
  /// Loads the library. `GetError` returns whether that succeeded.
  CAdvapi32Dll();
  ~CAdvapi32Dll() override;

  decltype(&::CheckTokenMembership) m_CheckTokenMembership = nullptr;
  decltype(&::RevertToSelf) m_RevertToSelf = nullptr;
  decltype(&::OpenProcessToken) m_OpenProcessToken = nullptr;
  decltype(&::ImpersonateLoggedOnUser) m_ImpersonateLoggedOnUser = nullptr;
  decltype(&::CreateProcessAsUserW) m_CreateProcessAsUserW = nullptr;
  decltype(&::CreateProcessAsUserA) m_CreateProcessAsUserA = nullptr;
  decltype(&::RegisterServiceCtrlHandlerExW) m_RegisterServiceCtrlHandlerExW = nullptr;
  decltype(&::RegisterServiceCtrlHandlerExA) m_RegisterServiceCtrlHandlerExA = nullptr;
  decltype(&::ChangeServiceConfig2W) m_ChangeServiceConfig2W = nullptr;
  decltype(&::ChangeServiceConfig2A) m_ChangeServiceConfig2A = nullptr;

 protected:
  void Bind(HMODULE module) override;
  void Release() override;
};
