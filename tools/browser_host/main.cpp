// A small browser for development, demo and tests.
#include <windows.h>

#include <commctrl.h>
#include <ole2.h>

#include <cstdio>
#include <memory>

#include "tools/browser_host/browser_window.h"
#include "tools/browser_host/command_queue.h"
#include "tools/browser_host/command_runner.h"
#include "tools/browser_host/options.h"
#include "tools/browser_host/stdin_reader.h"
#include "tools/support/line_output.h"

namespace {

enum ExitCode { kSuccess = 0, kCommandFailed = 1, kWrongUsage = 2, kNoBrowser = 3 };

/// OLE for this thread, from construction to scope end.
class COleScope {
 public:
  COleScope() : m_result(OleInitialize(nullptr)) {}
  ~COleScope() {
    if (SUCCEEDED(m_result)) {
      CoFreeUnusedLibraries();
      OleUninitialize();
    }
  }
  COleScope(const COleScope&) = delete;
  COleScope& operator=(const COleScope&) = delete;
  HRESULT Result() const { return m_result; }

 private:
  const HRESULT m_result;
};

void RunMessageLoop(CBrowserWindow& window, CCommandRunner& runner) {
  runner.Step();
  MSG message{};
  // A modal dialog of a helper object may swallow the quit message, so that it does not count
  // alone.
  while (!window.Closed() && GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (!window.PreTranslateMessage(message)) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
    if (!window.Closed()) {
      runner.Step();
    }
  }
  runner.Finish();
}

void PrintFrame(const CBrowserWindow& window, CLineOutput& output) {
  char line[64];
  std::snprintf(line, sizeof(line), "frame hwnd=0x%08llx pid=%lu",
                static_cast<unsigned long long>(reinterpret_cast<UINT_PTR>(window.Window())),
                GetCurrentProcessId());
  output.WriteLine(line);
}

int RunBrowser(const Options& options, CLineOutput& output) {
  CBrowserWindow window(output);
  if (FAILED(window.Create(options.show))) {
    std::fputs("browser_host: the window or its control could not be made\n", stderr);
    return kNoBrowser;
  }
  PrintFrame(window, output);
  if (FAILED(window.Start(options.loadRegisteredHelpers ? RegisteredHelperObjects()
                                                        : options.helpers))) {
    std::fputs("browser_host: the control has no events\n", stderr);
    return kNoBrowser;
  }

  const auto queue = std::make_shared<CCommandQueue>();
  const auto mode =
      options.commandsFromStdin ? CCommandRunner::Mode::kDialog : CCommandRunner::Mode::kBatch;
  for (const Command& command : options.commands) {
    queue->Push(command);
  }
  CCommandRunner runner(mode, options.timeout, queue, window, output);
  if (options.commandsFromStdin && !StartStdinReader(queue, window.Window())) {
    return kNoBrowser;
  }
  RunMessageLoop(window, runner);
  return runner.Succeeded() || options.commandsFromStdin ? kSuccess : kCommandFailed;
}

}  // namespace

int wmain(int count, wchar_t** values) {
  const auto options = ParseOptions({values + 1, values + count});
  if (!options) {
    std::fputs("browser_host: wrong usage, see browser_host --help\n", stderr);
    return kWrongUsage;
  }
  if (options->help) {
    std::fputs(kBrowserHostHelp, stdout);
    return kSuccess;
  }
  CLineOutput output;
  if (!options->logFile.empty() && !output.OpenLog(options->logFile.c_str())) {
    std::fputs("browser_host: the log file cannot be written\n", stderr);
    return kNoBrowser;
  }
  const COleScope ole;
  if (FAILED(ole.Result())) {
    return kNoBrowser;
  }
  const INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_BAR_CLASSES | ICC_STANDARD_CLASSES};
  InitCommonControlsEx(&controls);
  return RunBrowser(*options, output);
}
