#pragma once

#include <windows.h>

/// A system library that is loaded at run time, so that this module does not import it and runs
/// where one of its functions is missing. Derived classes hold pointers to the functions they name.
class CDynamicDll {
 public:
  CDynamicDll() = default;
  /// Frees the library. A derived class's pointers go with it.
  virtual ~CDynamicDll();
  CDynamicDll(const CDynamicDll&) = delete;
  CDynamicDll& operator=(const CDynamicDll&) = delete;

  /// Loads the library and binds its functions, after releasing the one held before. The system's
  /// error code, 0 on success; on failure what was held stays.
  DWORD Load(LPCWSTR name);
  /// Frees the library and clears the functions.
  void Unload();

  /// Null when none is loaded.
  HMODULE GetModule() const { return m_module; }
  /// What the last load returned.
  DWORD GetError() const { return m_error; }

 protected:
  /// Looks the functions up in the library; those that it lacks become null.
  virtual void Bind(HMODULE module);
  /// Clears the functions.
  virtual void Release();

 private:
  HMODULE m_module = nullptr;
  DWORD m_error = ERROR_SUCCESS;
};
