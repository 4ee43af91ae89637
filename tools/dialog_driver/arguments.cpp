#include "tools/dialog_driver/arguments.h"

#include <cwchar>

const char kDialogDriverHelp[] =
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

  --timeout MS is the limit of every wait, in milliseconds (default 60000).
  -- ends the options, for texts that begin with --.
  HWND and ID are decimal or, with 0x, hexadecimal.

output (UTF-8, one window a line, fields separated by tabs)
  list, wait-window:  HWND PID CLASS TITLE LEFT,TOP,RIGHT,BOTTOM
  texts:              ID CLASS TEXT visible|hidden enabled|disabled LEFT,TOP,RIGHT,BOTTOM [STATE]
  STATE is pos=N for a progress bar and checked=0|1 for a button. Line breaks in texts are blanks,
  tabs too.

exit codes: 0 done; 1 not found, not in time or refused; 2 wrong usage
)";

namespace {

bool ParseNumber(const std::wstring& text, unsigned long long& number) {
  wchar_t* end = nullptr;
  number = std::wcstoull(text.c_str(), &end, 0);
  return !text.empty() && *end == L'\0';
}

/// Reads an option that takes a value. False when there is no such option or the value is bad.
bool ParseOption(const std::wstring& option, const std::wstring& value, Arguments& arguments) {
  unsigned long long number = 0;
  if (option == L"--title") {
    arguments.filter.title = value;
  } else if (option == L"--class") {
    arguments.filter.className = value;
  } else if (option == L"--pid" && ParseNumber(value, number)) {
    arguments.filter.processId = static_cast<DWORD>(number);
  } else if (option == L"--timeout" && ParseNumber(value, number)) {
    arguments.timeout = static_cast<DWORD>(number);
  } else {
    return false;
  }
  return true;
}

}  // namespace

std::optional<Arguments> ParseArguments(const std::vector<std::wstring>& words) {
  Arguments arguments;
  bool onlyWords = false;
  for (size_t i = 0; i < words.size(); ++i) {
    if (onlyWords || words[i].substr(0, 2) != L"--") {
      arguments.words.push_back(words[i]);
    } else if (words[i] == L"--") {
      onlyWords = true;
    } else if (words[i] == L"--help") {
      arguments.help = true;
    } else {
      const size_t option = i++;
      if (i == words.size() || !ParseOption(words[option], words[i], arguments)) {
        return std::nullopt;
      }
    }
  }
  return arguments.help || !arguments.words.empty() ? std::optional(arguments) : std::nullopt;
}

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
