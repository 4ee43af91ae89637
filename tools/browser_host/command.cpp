#include "tools/browser_host/command.h"

#include <cwchar>

namespace {

enum class ArgumentKind { kNone, kText, kMilliseconds };

struct Syntax {
  std::wstring_view name;
  CommandKind kind;
  ArgumentKind argument;
};

constexpr Syntax kSyntaxes[] = {
    {L"navigate", CommandKind::kNavigate, ArgumentKind::kText},
    {L"back", CommandKind::kBack, ArgumentKind::kNone},
    {L"stop", CommandKind::kStop, ArgumentKind::kNone},
    {L"wait", CommandKind::kWait, ArgumentKind::kMilliseconds},
    {L"wait-navigation", CommandKind::kWaitNavigation, ArgumentKind::kNone},
    {L"wait-idle", CommandKind::kWaitIdle, ArgumentKind::kNone},
    {L"print", CommandKind::kPrint, ArgumentKind::kText},
    {L"quit", CommandKind::kQuit, ArgumentKind::kNone},
    {L"close", CommandKind::kClose, ArgumentKind::kNone},
};

const Syntax* FindSyntax(std::wstring_view name) {
  for (const Syntax& syntax : kSyntaxes) {
    if (syntax.name == name) {
      return &syntax;
    }
  }
  return nullptr;
}

std::optional<Command> MakeCommand(const Syntax& syntax, const std::wstring& argument) {
  Command command;
  command.kind = syntax.kind;
  switch (syntax.argument) {
    case ArgumentKind::kNone:
      return argument.empty() ? std::optional(command) : std::nullopt;
    case ArgumentKind::kText:
      command.text = argument;
      return argument.empty() ? std::nullopt : std::optional(command);
    case ArgumentKind::kMilliseconds: {
      wchar_t* end = nullptr;
      command.milliseconds = std::wcstoul(argument.c_str(), &end, 10);
      const bool number = !argument.empty() && *end == L'\0' && argument[0] != L'-';
      return number ? std::optional(command) : std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<Command> ParseCommandLine(std::wstring_view line) {
  const size_t blank = line.find(L' ');
  const Syntax* syntax = FindSyntax(line.substr(0, blank));
  if (!syntax) {
    return std::nullopt;
  }
  const bool hasArgument = blank != std::wstring_view::npos;
  return MakeCommand(*syntax, std::wstring(hasArgument ? line.substr(blank + 1) : L""));
}

std::optional<std::vector<Command>> ParseCommandWords(const std::vector<std::wstring>& words) {
  std::vector<Command> commands;
  for (size_t i = 0; i < words.size(); ++i) {
    const Syntax* syntax = FindSyntax(words[i]);
    if (!syntax) {
      return std::nullopt;
    }
    std::wstring argument;
    if (syntax->argument != ArgumentKind::kNone && i + 1 < words.size()) {
      argument = words[++i];
    }
    const std::optional<Command> command = MakeCommand(*syntax, argument);
    if (!command) {
      return std::nullopt;
    }
    commands.push_back(*command);
  }
  return commands;
}
