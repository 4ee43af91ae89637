#include "browser/url_extension.h"

#include <cstddef>
#include <string_view>

namespace {

constexpr std::wstring_view kDotAndBackslash = L".\\";

}  // namespace

std::wstring_view GetUrlPath(LPCWSTR url) {
  LPCWSTR end = url;
  while (*end != L'\0' && *end != L'?') {
    ++end;
  }
  return {url, static_cast<size_t>(end - url)};
}

std::wstring_view GetPathExtension(std::wstring_view path) {
  // Quirk 5: only a backslash ends a folder. "/a.b/file" gives ".b/file", which matches no type.
  const auto last = path.find_last_of(kDotAndBackslash);
  return last != std::wstring_view::npos && path[last] == L'.' ? path.substr(last)
                                                               : std::wstring_view();
}
