// Plays the desktop application's launcher in demo and tests: it writes down how it was started,
// says so to whoever waits for it, and ends.
#include <windows.h>

#include <array>
#include <string>

#include "tools/launcher_standin/command_line.h"
#include "tools/launcher_standin/record_file.h"

namespace {

// A test creates this event before it provokes the start; without one nobody is waiting.
constexpr wchar_t kStartedEvent[] = L"FolivoLauncherStandIn";

void SignalStarted() {
  if (const HANDLE event = OpenEventW(EVENT_MODIFY_STATE, FALSE, kStartedEvent)) {
    SetEvent(event);
    CloseHandle(event);
  }
}

std::wstring WorkingDirectory() {
  std::wstring directory(GetCurrentDirectoryW(0, nullptr), L'\0');
  directory.resize(GetCurrentDirectoryW(static_cast<DWORD>(directory.size()), directory.data()));
  return directory;
}

}  // namespace

/// Exit code 0: recorded. 1: the record could not be written (the event is not signalled then).
int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
  const std::string record = FormatRecord(RawArguments(GetCommandLineW()), WorkingDirectory());
  if (!AppendRecord(RecordFilePath(), record)) {
    return 1;
  }
  SignalStarted();
  return 0;
}
