// Conversions between the UTF-16 of Windows and the UTF-8 of the tools' input and output.
#pragma once

#include <string>
#include <string_view>

/// The text as UTF-8. Unpaired surrogates become U+FFFD; an empty text gives an empty result.
std::string ToUtf8(std::wstring_view text);

/// The UTF-8 text as UTF-16. Malformed bytes become U+FFFD; an empty text gives an empty result.
std::wstring FromUtf8(std::string_view text);
