#include "tools/browser_host/options.h"

#include <cwchar>

const char kBrowserHostHelp[] =
    R"(browser_host: a small browser with the system's WebBrowser control and the registered helper objects

usage: browser_host [OPTION...] [COMMAND...]

commands, carried out in order
  navigate URL      asks the control to navigate; done when the control returns, which may be before
                    the navigation begins
  wait-navigation   waits until the navigation is over: cancelled, complete or failed
  wait-idle         the same, and until the control is not busy and no message waits
  wait MS           waits so many milliseconds
  back, stop        as the buttons do
  print TEXT        prints a line
  quit              closes the window
Without `quit` the window stays open until it is closed by hand. Without any command it is shown.

options
  --show                  show the window (it is hidden when there are commands)
  --commands-from-stdin   read commands from standard input, one a line, everything after the first
                          blank being the argument; answer each with the line "ok" or "error TEXT".
                          In addition `close` closes the window at once, even while an earlier
                          command is held up by a modal dialog. The end of the input is a `quit`.
  --no-helpers            load no helper object
  --helper {CLSID}        load this helper object instead of the registered ones (may be repeated)
  --timeout MS            limit of wait-navigation and wait-idle (default 30000)
  --log FILE              write everything that is printed to this file as well
  --help                  this text

output, UTF-8, a line each
  frame hwnd=0x0001002c pid=32              the window is there
  helper {CLSID} hr=0x00000000              a helper object was created and given its site, or not
  event BeforeNavigate2 url=<URL> cancel=0  the cancel flag as the helper objects left it
  event NavigateComplete2 url=<URL>, event DocumentComplete url=<URL>
  event NavigateError url=<URL> status=404  an HTTP status, or a failure HRESULT in hex
  event DownloadBegin, DownloadComplete, NewWindow2, WindowClosing, OnQuit

exit codes
  0  every command was carried out (with --commands-from-stdin: whatever the answers were)
  1  a command failed, was not done in time, or was left when the window was closed
  2  wrong usage
  3  the window or the control could not be made, or the log file could not be opened
)";

namespace {

bool ParseMilliseconds(const std::wstring& text, DWORD& value) {
  wchar_t* end = nullptr;
  value = std::wcstoul(text.c_str(), &end, 10);
  return !text.empty() && *end == L'\0' && text[0] != L'-';
}

}  // namespace

std::optional<Options> ParseOptions(const std::vector<std::wstring>& words) {
  Options options;
  size_t i = 0;
  for (; i < words.size() && words[i].substr(0, 2) == L"--"; ++i) {
    const std::wstring& option = words[i];
    const bool hasValue = i + 1 < words.size();
    if (option == L"--help") {
      options.help = true;
    } else if (option == L"--show") {
      options.show = true;
    } else if (option == L"--commands-from-stdin") {
      options.commandsFromStdin = true;
    } else if (option == L"--no-helpers") {
      options.loadRegisteredHelpers = false;
    } else if (option == L"--helper" && hasValue) {
      options.helpers.push_back(words[++i]);
      options.loadRegisteredHelpers = false;
    } else if (option == L"--log" && hasValue) {
      options.logFile = words[++i];
    } else if (option == L"--timeout" && hasValue) {
      if (!ParseMilliseconds(words[++i], options.timeout)) {
        return std::nullopt;
      }
    } else {
      return std::nullopt;
    }
  }
  auto commands = ParseCommandWords({words.begin() + static_cast<ptrdiff_t>(i), words.end()});
  if (!commands || (options.commandsFromStdin && !commands->empty())) {
    return std::nullopt;
  }
  options.commands = std::move(*commands);
  if (options.commands.empty() && !options.commandsFromStdin) {
    options.show = true;
  }
  return options;
}
