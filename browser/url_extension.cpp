#include "browser/url_extension.h"

#include <algorithm>
#include <iterator>

namespace {

// Deliberately without ".qdi", though the save dialog lists it.
constexpr const wchar_t* kInterceptedExtensions[] = {
    L".qdk", L".qdc", L".qdt", L".fvk", L".folivo", L".gallery", L".galleryitem"};

}  // namespace

CStringW GetUrlExtension(const CStringW& url) {
  CStringW path = url;
  if (const int query = path.Find(L'?'); query >= 0) {
    path = path.Left(query);
  }
  // Deliberately only the backslash ends a folder: "/a.b/file" matches no type and stays with the
  // browser.
  const int separator = path.ReverseFind(L'\\');
  const int dot = path.ReverseFind(L'.');
  return dot >= 0 && dot >= separator ? path.Mid(dot) : CStringW();
}

bool IsInterceptedExtension(const CStringW& extension) {
  return std::any_of(
      std::begin(kInterceptedExtensions), std::end(kInterceptedExtensions),
      [&](const wchar_t* intercepted) { return extension.CompareNoCase(intercepted) == 0; });
}
