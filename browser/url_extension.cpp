#include "browser/url_extension.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace {

// Quirk 6: without ".qdi", though the save dialog lists it.
constexpr std::wstring_view kInterceptedExtensions[] = {
    L".qdk", L".qdc", L".qdt", L".fvk", L".folivo", L".gallery", L".galleryitem"};

}  // namespace

std::wstring_view FindUrlExtension(std::wstring_view url) {
  const std::wstring_view path = url.substr(0, url.find(L'?'));
  const auto dot = path.rfind(L'.');
  if (dot == std::wstring_view::npos) {
    return {};
  }
  // Quirk 5: only a backslash ends a folder. "/a.b/file" gives ".b/file", which matches no type.
  const auto separator = path.rfind(L'\\');
  return separator == std::wstring_view::npos || dot > separator ? path.substr(dot)
                                                                 : std::wstring_view();
}

CStringW GetUrlExtension(const CStringW& url) {
  const std::wstring_view extension = FindUrlExtension(url.GetString());
  return {extension.data(), static_cast<int>(extension.size())};
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
