// What the launcher stand-in remembers of its own start.
#pragma once

#include <string>
#include <string_view>

/// The part of a process's command line that follows the program name, exactly as it was passed:
/// only the single run of blanks and tabs that separates the two is dropped.
std::wstring_view RawArguments(std::wstring_view commandLine);

/// One record of the stand-in: the raw arguments, a tab, the working directory, LF, in UTF-8.
/// A directory cannot contain a tab, so the last tab of the line separates the two. Line breaks in
/// the arguments are written as their pictures (U+240A, U+240D), so that a record is one line.
std::string FormatRecord(std::wstring_view rawArguments, std::wstring_view workingDirectory);
