#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <string>

#include "tests/plugin/plugin_dll.h"

namespace {

template <typename T>
const T* At(HMODULE module, DWORD offset) {
  return reinterpret_cast<const T*>(reinterpret_cast<const BYTE*>(module) + offset);
}

const IMAGE_NT_HEADERS* Headers(HMODULE module) {
  const auto* const dos = At<IMAGE_DOS_HEADER>(module, 0);
  return At<IMAGE_NT_HEADERS>(module, static_cast<DWORD>(dos->e_lfanew));
}

TEST(PluginDll, IsA64BitLibrary) {
  const CPluginDll dll;
  EXPECT_EQ(Headers(dll.Module())->FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
  EXPECT_NE(Headers(dll.Module())->FileHeader.Characteristics & IMAGE_FILE_DLL, 0);
}

TEST(PluginDll, ExportsTheFourServerFunctionsAndNothingElse) {
  const CPluginDll dll;
  const auto& entry =
      Headers(dll.Module())->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  const auto* const exports = At<IMAGE_EXPORT_DIRECTORY>(dll.Module(), entry.VirtualAddress);
  const auto* const names = At<DWORD>(dll.Module(), exports->AddressOfNames);
  std::set<std::string> found;
  for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
    found.insert(At<char>(dll.Module(), names[i]));
  }
  EXPECT_EQ(found, (std::set<std::string>{"DllCanUnloadNow", "DllGetClassObject",
                                          "DllRegisterServer", "DllUnregisterServer"}));
  EXPECT_EQ(exports->NumberOfFunctions, 4u);
}

TEST(PluginDll, ImportsSystemLibrariesOnly) {
  const CPluginDll dll;
  const auto& entry =
      Headers(dll.Module())->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  const auto* import = At<IMAGE_IMPORT_DESCRIPTOR>(dll.Module(), entry.VirtualAddress);
  const std::set<std::string> system = {
      "advapi32.dll", "comctl32.dll", "gdi32.dll",   "kernel32.dll", "oleaut32.dll", "shell32.dll",
      "shlwapi.dll",  "user32.dll",   "wininet.dll", "comdlg32.dll", "msvcrt.dll",   "ole32.dll"};
  for (; import->Name != 0; ++import) {
    std::string name = At<char>(dll.Module(), import->Name);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    EXPECT_TRUE(system.contains(name)) << name;
  }
}

}  // namespace
