// with_wininet_bridge PROGRAM [ARGUMENTS]: runs a program with wininet_bridge.dll, which lies
// beside this one, loaded into it before it begins. Ends with its exit code; 125 when it could not
// be started.

#include <windows.h>

#include <bit>
#include <cstdio>
#include <string>

namespace {

constexpr int kNotStarted = 125;
constexpr wchar_t kLibrary[] = L"wininet_bridge.dll";

std::wstring LibraryPath() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::wstring own = path;
  return own.substr(0, own.find_last_of(L'\\') + 1) + kLibrary;
}

/// What follows the program's own name on the command line.
std::wstring RestOfCommandLine() {
  const std::wstring line = GetCommandLineW();
  const size_t end = line[0] == L'"' ? line.find(L'"', 1) + 1 : line.find(L' ');
  const size_t rest = end == std::wstring::npos ? line.size() : line.find_first_not_of(L' ', end);
  return rest == std::wstring::npos ? std::wstring() : line.substr(rest);
}

/// Has the process load the library, before its main thread runs.
bool LoadInto(HANDLE process, const std::wstring& library) {
  const size_t size = (library.size() + 1) * sizeof(wchar_t);
  void* const name =
      VirtualAllocEx(process, nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  if (name == nullptr || !WriteProcessMemory(process, name, library.c_str(), size, nullptr)) {
    return false;
  }
  // System libraries lie at the same place in every process.
  const auto load = std::bit_cast<LPTHREAD_START_ROUTINE>(
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "LoadLibraryW"));
  const HANDLE thread = CreateRemoteThread(process, nullptr, 0, load, name, 0, nullptr);
  if (thread == nullptr) {
    return false;
  }
  WaitForSingleObject(thread, INFINITE);
  DWORD loaded = 0;
  GetExitCodeThread(thread, &loaded);
  CloseHandle(thread);
  return loaded != 0;
}

int Run(std::wstring commandLine) {
  STARTUPINFOW start = {};
  start.cb = sizeof(start);
  PROCESS_INFORMATION process = {};
  if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                      nullptr, nullptr, &start, &process)) {
    std::fprintf(stderr, "with_wininet_bridge: cannot start the program (%lu)\n", GetLastError());
    return kNotStarted;
  }
  DWORD exitCode = kNotStarted;
  if (LoadInto(process.hProcess, LibraryPath())) {
    ResumeThread(process.hThread);
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &exitCode);
  } else {
    std::fprintf(stderr, "with_wininet_bridge: cannot load wininet_bridge.dll into it\n");
    TerminateProcess(process.hProcess, kNotStarted);
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return static_cast<int>(exitCode);
}

}  // namespace

int wmain() {
  const std::wstring commandLine = RestOfCommandLine();
  if (commandLine.empty() || commandLine == L"--help") {
    std::printf("Usage: with_wininet_bridge PROGRAM [ARGUMENTS]\n");
    return commandLine.empty() ? kNotStarted : 0;
  }
  return Run(commandLine);
}
