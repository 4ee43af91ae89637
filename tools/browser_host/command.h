// The commands that drive the browser host.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

enum class CommandKind {
  kNavigate,
  kBack,
  kStop,
  kWait,
  kWaitNavigation,
  kWaitIdle,
  kPrint,
  kQuit,
  kClose,
};

struct Command {
  CommandKind kind{};
  std::wstring text;       // navigate: the URL; print: the text
  DWORD milliseconds = 0;  // wait
};

/// Reads one command from a line such as "navigate about:blank"; everything after the first blank
/// is the argument. Nothing when there is no such command or its argument is missing or bad.
std::optional<Command> ParseCommandLine(std::wstring_view line);

/// Reads a sequence of commands from words, each command taking the argument it needs. Nothing when
/// one of them is wrong.
std::optional<std::vector<Command>> ParseCommandWords(const std::vector<std::wstring>& words);
