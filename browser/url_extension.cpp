#include "browser/url_extension.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

namespace {

// Quirk 6: without ".qdi", though the save dialog lists it.
constexpr std::wstring_view kInterceptedExtensions[] = {
    L".qdk", L".qdc", L".qdt", L".fvk", L".folivo", L".gallery", L".galleryitem"};
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

bool IsInterceptedExtension(std::wstring_view extension) {
  return std::any_of(std::begin(kInterceptedExtensions), std::end(kInterceptedExtensions),
                     [extension](std::wstring_view intercepted) {
                       // Compares the lengths first, as this runs for every link and nearly none
                       // matches.
                       return extension.size() == intercepted.size() &&
                              _wcsnicmp(extension.data(), intercepted.data(), intercepted.size()) ==
                                  0;
                     });
}
