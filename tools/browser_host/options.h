// The command line of the browser host.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "tools/browser_host/command.h"

struct Options {
  bool help = false;
  bool show = false;
  bool commandsFromStdin = false;
  bool loadRegisteredHelpers = true;
  std::vector<std::wstring> helpers;  // given by --helper; then the registered ones are not loaded
  std::wstring logFile;
  DWORD timeout = 30000;  // of wait-navigation and wait-idle, in milliseconds
  std::vector<Command> commands;
};

/// What --help prints.
extern const char kBrowserHostHelp[];

/// Reads the command line's words (without the program's name); nothing when they are wrong.
std::optional<Options> ParseOptions(const std::vector<std::wstring>& words);
