// The command line of the dialog driver.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "tools/dialog_driver/window_query.h"

struct Arguments {
  bool help = false;
  std::vector<std::wstring> words;  // the command and what follows it
  WindowFilter filter;
  DWORD timeout = 60000;  // milliseconds
};

/// What --help prints.
extern const char kDialogDriverHelp[];

/// Reads the command line's words (without the program's name); nothing when they are wrong.
std::optional<Arguments> ParseArguments(const std::vector<std::wstring>& words);

/// Reads a window handle, decimal or hexadecimal with 0x. False when the text is none.
bool ParseWindow(const std::wstring& text, HWND& window);

/// Reads a control id, decimal or hexadecimal with 0x. False when the text is none.
bool ParseId(const std::wstring& text, int& id);

/// Reads the name of a key. False for a name that --help does not list.
bool ParseKey(const std::wstring& name, WORD& key);
