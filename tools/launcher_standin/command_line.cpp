#include "tools/launcher_standin/command_line.h"

#include "tools/support/utf8.h"

namespace {

bool IsBlank(wchar_t c) { return c == L' ' || c == L'\t'; }

}  // namespace

std::wstring_view RawArguments(std::wstring_view commandLine) {
  // The C runtime's rule for the program name: quotes toggle, and a blank outside them ends it.
  size_t position = 0;
  bool quoted = false;
  while (position < commandLine.size() && (quoted || !IsBlank(commandLine[position]))) {
    quoted = quoted != (commandLine[position] == L'"');
    ++position;
  }
  while (position < commandLine.size() && IsBlank(commandLine[position])) {
    ++position;
  }
  return commandLine.substr(position);
}

std::string FormatRecord(std::wstring_view rawArguments, std::wstring_view workingDirectory) {
  std::wstring line;
  for (const wchar_t c : rawArguments) {
    line += c == L'\n' ? L'\u240A' : c == L'\r' ? L'\u240D' : c;
  }
  line += L'\t';
  line += workingDirectory;
  return ToUtf8(line) + '\n';
}
