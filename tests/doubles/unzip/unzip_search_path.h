#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

/// The folder of this program, without a backslash at the end.
inline std::wstring ProgramFolder() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::wstring program = path;
  return program.substr(0, program.rfind(L'\\'));
}

/// Where the real UNZIP32.DLL lies.
inline std::wstring RealUnzipFolder() { return ProgramFolder() + L"\\.."; }
/// Where a double of it lies (CMakeLists.txt says which there are).
inline std::wstring UnzipDoubleFolder(const std::wstring& kind) {
  return ProgramFolder() + L"\\unzip_" + kind;
}

inline bool IsUnzipLoaded() { return GetModuleHandleW(L"UNZIP32.DLL") != nullptr; }

/// Has this process find the UNZIP32.DLL of a folder, for the object's scope; with the folder of
/// none, it finds none. At both ends, what earlier failures have left loaded is unloaded.
class CUnzipSearchPath {
 public:
  explicit CUnzipSearchPath(const std::wstring& folder) {
    Unload();
    wchar_t previous[8192] = {};
    GetEnvironmentVariableW(L"PATH", previous, ARRAYSIZE(previous));
    m_previous = previous;
    SetEnvironmentVariableW(L"PATH", (folder + L";" + m_previous).c_str());
  }
  ~CUnzipSearchPath() {
    Unload();
    SetEnvironmentVariableW(L"PATH", m_previous.c_str());
  }
  CUnzipSearchPath(const CUnzipSearchPath&) = delete;
  CUnzipSearchPath& operator=(const CUnzipSearchPath&) = delete;

 private:
  static void Unload() {
    int count = 0;
    for (; IsUnzipLoaded() && count < 10000; ++count) {
      FreeLibrary(GetModuleHandleW(L"UNZIP32.DLL"));
    }
    EXPECT_FALSE(IsUnzipLoaded());
  }

  std::wstring m_previous;
};
