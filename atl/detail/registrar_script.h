#pragma once

// What a registry script says, as a tree.

#include <windows.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ATL::detail {

/// A registry value, ready to be written.
struct RegistrarValue {
  std::wstring name;  // empty: the key's default value
  DWORD type = REG_NONE;
  std::vector<BYTE> data;
};

/// A key below a root, with everything the script says about it.
struct RegistrarKey {
  std::wstring name;
  bool noRemove = false;     // stays when the script is taken back
  bool forceRemove = false;  // goes as a whole: before it is written, and when it is taken back
  bool deleteOnly = false;   // goes as a whole when the script is run; nothing is written
  std::vector<RegistrarValue> values;
  std::vector<RegistrarKey> keys;
};

/// A predefined key and what the script has below it. `top` stands for the predefined key itself.
struct RegistrarRoot {
  HKEY hKey = nullptr;
  RegistrarKey top;
};

using RegistrarScript = std::vector<RegistrarRoot>;

/// Wraps what was meant for HKEY_CLASSES_ROOT as HKCU { Software { Classes { ... } } }, where the
/// current user's own classes are. The wrapping keys are the system's: they are never removed.
inline RegistrarRoot InUserClasses(RegistrarKey classes) {
  classes.name = L"Classes";
  classes.noRemove = true;
  RegistrarKey software;
  software.name = L"Software";
  software.noRemove = true;
  software.keys.push_back(std::move(classes));
  RegistrarRoot user{HKEY_CURRENT_USER, {}};
  user.top.noRemove = true;
  user.top.keys.push_back(std::move(software));
  return user;
}

}  // namespace ATL::detail
