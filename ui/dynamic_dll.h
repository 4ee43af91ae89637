#pragma once

#include <windows.h>

/// Base class for a system library that is loaded at run time, so that this module also loads on
/// systems that do not have the library or one of its functions. A derived class has a pointer for
/// each function.
class CDynamicDll {
 public:
  CDynamicDll() = default;
  /// Frees the library.
  virtual ~CDynamicDll();
  CDynamicDll(const CDynamicDll&) = delete;
  CDynamicDll& operator=(const CDynamicDll&) = delete;

  /// Loads the library, frees the one that was loaded before, and looks up the functions. Returns
  /// 0, or the system's error code; then the library that was loaded before stays.
  DWORD Load(LPCWSTR name);
  /// Frees the library and clears the functions.
  void Unload();

  /// The loaded library; null when there is none.
  HMODULE GetModule() const { return m_module; }
  /// The result of the last `Load`.
  DWORD GetError() const { return m_error; }

 protected:
  /// Sets the derived class's function pointers; null for a function that the library does not
  /// export.
  virtual void Bind(HMODULE module);
  /// Sets the derived class's function pointers to null.
  virtual void Release();

 private:
  HMODULE m_module = nullptr;
  DWORD m_error = ERROR_SUCCESS;
};
