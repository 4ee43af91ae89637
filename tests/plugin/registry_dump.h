#pragma once

#include <string>
#include <vector>

/// Everything that software has written into the registry (HKLM\Software and HKCU\Software, both
/// views), one line for each key and each value, sorted. Without the times of the last changes, and
/// without volatile keys: those are gone at the next start of the system, so no registration makes
/// any (the order test checks this product's calls). The rest of the registry is left out: the
/// system itself writes there at any time.
std::vector<std::wstring> DumpRegistry();

/// A key's line.
std::wstring KeyLine(const std::wstring& key);
/// A string value's line; an empty name stands for the key's own value.
std::wstring ValueLine(const std::wstring& key, const std::wstring& name, const std::wstring& text);

/// The lines of `one` that `other` lacks. Both are sorted.
std::vector<std::wstring> LinesMissingIn(const std::vector<std::wstring>& other,
                                         const std::vector<std::wstring>& one);
