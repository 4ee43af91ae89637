#pragma once

#include <map>
#include <string>

/// Every value below HKLM\Software and the user's Software, by "KEY" and "KEY|value name", with the
/// value's type and text. Keys stand with an empty text.
std::map<std::wstring, std::wstring> DumpRegistry();

/// What `after` has and `before` has not, or has otherwise.
std::map<std::wstring, std::wstring> Added(const std::map<std::wstring, std::wstring>& before,
                                           const std::map<std::wstring, std::wstring>& after);
