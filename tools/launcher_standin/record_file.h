// The file in which the launcher stand-in keeps its records.
#pragma once

#include <string>

/// Where records go: the registry value HKCU\Software\FolivoTestTools "LauncherRecord" (REG_SZ), or
/// "LaunchFolivo.log" beside this program when there is no such value.
std::wstring RecordFilePath();

/// Appends one record. The file is replaced as a whole, so that a reader sees either the old or the
/// new content and never half a line; stand-ins that run at the same time wait for each other.
/// False when the file cannot be written (last error set).
bool AppendRecord(const std::wstring& path, const std::string& record);
