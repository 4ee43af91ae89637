// Drives the dialogs of other processes by window messages, as a person would by mouse and keys.
#include <windows.h>

#include <cstdio>
#include <string>
#include <vector>

#include "tools/dialog_driver/arguments.h"
#include "tools/dialog_driver/listing.h"
#include "tools/dialog_driver/polling.h"
#include "tools/dialog_driver/window_actions.h"
#include "tools/dialog_driver/window_query.h"
#include "tools/support/line_output.h"
#include "tools/support/utf8.h"

namespace {

int Report(ActionResult result) {
  if (result == ActionResult::kDone) {
    return 0;
  }
  std::fprintf(stderr, "dialog_driver: %s\n", ToUtf8(Describe(result)).c_str());
  return 1;
}

int WaitWindow(const Arguments& arguments, CLineOutput& output) {
  HWND window = nullptr;
  if (!PollUntil(arguments.timeout, [&] {
        window = FindVisibleWindow(arguments.filter);
        return window != nullptr;
      })) {
    std::fprintf(stderr, "dialog_driver: no such window within %lu ms\n", arguments.timeout);
    return 1;
  }
  output.WriteLine(TopLevelLine(ReadWindow(window)));
  return 0;
}

int Usage() {
  std::fputs("dialog_driver: wrong usage, see dialog_driver --help\n", stderr);
  return 2;
}

int Run(const Arguments& arguments, CLineOutput& output) {
  const std::vector<std::wstring>& words = arguments.words;
  const std::wstring& command = words[0];
  if (command == L"list" && words.size() == 1) {
    for (const WindowFacts& facts : VisibleTopLevelWindows()) {
      output.WriteLine(TopLevelLine(facts));
    }
    return 0;
  }
  if (command == L"wait-window" && words.size() == 1) {
    return WaitWindow(arguments, output);
  }

  HWND window = nullptr;
  if (words.size() < 2 || !ParseWindow(words[1], window)) {
    return Usage();
  }
  if (command == L"texts" && words.size() == 2) {
    if (!IsWindow(window)) {
      return Report(ActionResult::kNoWindow);
    }
    for (const WindowFacts& facts : ChildWindows(window)) {
      output.WriteLine(ControlLine(facts));
    }
    return 0;
  }
  if (command == L"close" && words.size() == 2) {
    return Report(RequestClose(window));
  }
  if (command == L"wait-gone" && words.size() == 2) {
    return Report(WaitGone(window, arguments.timeout));
  }

  int id = 0;
  if (words.size() < 3 || !ParseId(words[2], id)) {
    return Usage();
  }
  WORD key = 0;
  if (command == L"click" && words.size() == 3) {
    return Report(Click(window, id, arguments.timeout));
  }
  if (command == L"set-text" && words.size() == 4) {
    return Report(SetControlText(window, id, words[3], arguments.timeout));
  }
  if (command == L"command" && words.size() == 3) {
    return Report(SendCommand(window, id));
  }
  if (command == L"key" && words.size() == 4 && ParseKey(words[3], key)) {
    return Report(PressKey(window, id, key));
  }
  return Usage();
}

}  // namespace

int wmain(int count, wchar_t** values) {
  const auto arguments = ParseArguments({values + 1, values + count});
  if (!arguments) {
    return Usage();
  }
  if (arguments->help) {
    std::fputs(kDialogDriverHelp, stdout);
    return 0;
  }
  CLineOutput output;
  return Run(*arguments, output);
}
