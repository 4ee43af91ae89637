// Drives the dialogs of other processes by window messages, as a person would by mouse and keys.
#include <windows.h>

#include <commctrl.h>

#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

#include "tools/dialog_driver/polling.h"
#include "tools/dialog_driver/window_actions.h"
#include "tools/dialog_driver/window_query.h"
#include "tools/support/line_output.h"
#include "tools/support/utf8.h"

namespace {

constexpr char kHelp[] =
    R"(dialog_driver: drives the dialogs of other processes by window messages

usage: dialog_driver COMMAND [ARGUMENTS] [--timeout MS]

commands
  list                        every visible top-level window, the topmost first
  wait-window [--title T] [--class C] [--pid P]
                              waits for a visible top-level window whose whole title, class and
                              process fit; prints it like `list`
  texts HWND                  every child control of the window
  click HWND ID               clicks a control once it is visible and enabled; does not wait for
                              what the click brings about
  set-text HWND ID TEXT       puts text into a control and checks that it is there
  key HWND ID enter|escape|space|tab
                              presses a key in a control (ID 0: in the window itself)
  command HWND ID             posts WM_COMMAND as a button would, whether or not one is there
  close HWND                  asks the window to close, as its close box does
  wait-gone HWND              waits until the window has gone

  --timeout MS is the limit of every wait, in milliseconds (default 10000).
  -- ends the options, for texts that begin with --.
  HWND and ID are decimal or, with 0x, hexadecimal.

output (UTF-8, one window a line, fields separated by tabs)
  list, wait-window:  HWND PID CLASS TITLE LEFT,TOP,RIGHT,BOTTOM
  texts:              ID CLASS TEXT visible|hidden enabled|disabled LEFT,TOP,RIGHT,BOTTOM [STATE]
  STATE is pos=N for a progress bar and checked=0|1 for a button. Line breaks in texts are blanks,
  tabs too.

exit codes: 0 done; 1 not found, not in time or refused; 2 wrong usage
)";

constexpr DWORD kDefaultTimeout = 10000;  // milliseconds

struct Arguments {
  std::vector<std::wstring> words;  // the command and what follows it
  WindowFilter filter;
  DWORD timeout = kDefaultTimeout;
};

bool ParseNumber(const std::wstring& text, unsigned long long& number) {
  wchar_t* end = nullptr;
  number = std::wcstoull(text.c_str(), &end, 0);
  return !text.empty() && *end == L'\0';
}

bool ParseArguments(int count, wchar_t** values, Arguments& arguments) {
  bool onlyWords = false;
  for (int i = 1; i < count; ++i) {
    const std::wstring word = values[i];
    if (word == L"--" && !onlyWords) {
      onlyWords = true;
      continue;
    }
    if (onlyWords || word.substr(0, 2) != L"--") {
      arguments.words.push_back(word);
      continue;
    }
    if (++i == count) {
      return false;
    }
    unsigned long long number = 0;
    if (word == L"--title") {
      arguments.filter.title = values[i];
    } else if (word == L"--class") {
      arguments.filter.className = values[i];
    } else if (word == L"--pid" && ParseNumber(values[i], number)) {
      arguments.filter.processId = static_cast<DWORD>(number);
    } else if (word == L"--timeout" && ParseNumber(values[i], number)) {
      arguments.timeout = static_cast<DWORD>(number);
    } else {
      return false;
    }
  }
  return !arguments.words.empty();
}

/// Windows number their handles and ids freely; neither is ever a wide number.
bool ParseWindow(const std::wstring& text, HWND& window) {
  unsigned long long number = 0;
  const bool parsed = ParseNumber(text, number);
  window = reinterpret_cast<HWND>(static_cast<UINT_PTR>(number));
  return parsed;
}

bool ParseId(const std::wstring& text, int& id) {
  unsigned long long number = 0;
  const bool parsed = ParseNumber(text, number);
  id = static_cast<int>(number);
  return parsed;
}

bool ParseKey(const std::wstring& name, WORD& key) {
  static constexpr struct {
    const wchar_t* name;
    WORD key;
  } kKeys[] = {
      {L"enter", VK_RETURN}, {L"escape", VK_ESCAPE}, {L"space", VK_SPACE}, {L"tab", VK_TAB}};
  for (const auto& entry : kKeys) {
    if (name == entry.name) {
      key = entry.key;
      return true;
    }
  }
  return false;
}

std::string Field(const std::wstring& text) {
  std::string field = ToUtf8(text);
  for (char& c : field) {
    if (c == '\t') {
      c = ' ';
    }
  }
  return field;
}

std::string RectText(const RECT& rect) {
  return std::to_string(rect.left) + ',' + std::to_string(rect.top) + ',' +
         std::to_string(rect.right) + ',' + std::to_string(rect.bottom);
}

std::string TopLevelLine(const WindowFacts& facts) {
  char handle[24];
  std::snprintf(handle, sizeof(handle), "0x%08llx",
                static_cast<unsigned long long>(reinterpret_cast<UINT_PTR>(facts.window)));
  return std::string(handle) + '\t' + std::to_string(facts.processId) + '\t' +
         Field(facts.className) + '\t' + Field(facts.text) + '\t' + RectText(facts.rect);
}

std::string ControlState(const WindowFacts& facts) {
  DWORD_PTR value = 0;
  const auto ask = [&](UINT message) {
    return SendMessageTimeoutW(facts.window, message, 0, 0, SMTO_ABORTIFHUNG, 2000, &value) != 0;
  };
  if (lstrcmpiW(facts.className.c_str(), PROGRESS_CLASSW) == 0 && ask(PBM_GETPOS)) {
    return "\tpos=" + std::to_string(value);
  }
  if (lstrcmpiW(facts.className.c_str(), L"Button") == 0 && ask(BM_GETCHECK)) {
    return "\tchecked=" + std::to_string(value);
  }
  return {};
}

std::string ControlLine(const WindowFacts& facts) {
  return std::to_string(facts.id) + '\t' + Field(facts.className) + '\t' + Field(facts.text) +
         '\t' + (facts.visible ? "visible" : "hidden") + '\t' +
         (facts.enabled ? "enabled" : "disabled") + '\t' + RectText(facts.rect) +
         ControlState(facts);
}

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
    return Report(Close(window));
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
  if (count == 2 && std::wstring(values[1]) == L"--help") {
    std::fputs(kHelp, stdout);
    return 0;
  }
  Arguments arguments;
  if (!ParseArguments(count, values, arguments)) {
    return Usage();
  }
  CLineOutput output;
  return Run(arguments, output);
}
