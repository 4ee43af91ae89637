#pragma once

#include <windows.h>

#include <initializer_list>
#include <string>

/// An empty registry for this process for as long as the object lives: HKEY_CLASSES_ROOT,
/// HKEY_CURRENT_USER and HKEY_LOCAL_MACHINE lead to keys of the test's own, which are gone at the
/// end. One at a time.
class CRegistrySandbox {
 public:
  CRegistrySandbox();
  CRegistrySandbox(const CRegistrySandbox&) = delete;
  CRegistrySandbox& operator=(const CRegistrySandbox&) = delete;
  ~CRegistrySandbox();

  /// Everything below the root, one line for each key and value, sorted:
  ///   Software\Key
  ///   Software\Key = s:default value
  ///   Software\Key [Name] = s:value
  static std::wstring Dump(HKEY root);

  /// Creates a key with its default value, as somebody else's entry.
  static void Put(HKEY root, const wchar_t* key, const wchar_t* value = L"");

 private:
  std::wstring m_path;  // below the real HKEY_CURRENT_USER
};

/// Lines joined as CRegistrySandbox::Dump gives them.
std::wstring Lines(std::initializer_list<std::wstring> lines);
