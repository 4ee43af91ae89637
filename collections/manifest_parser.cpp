#include "collections/manifest_parser.h"

#include <tinyxml.h>

#include <algorithm>
#include <climits>
#include <string_view>

#include "base/code_pages.h"

// The released TinyXML recurses for each level of nesting, without a limit, on the browser's stack.
#ifndef TIXML_DEEPEST_ELEMENT
#error "TinyXML must be built from the source that limit_tinyxml_depth.cmake has altered"
#endif

namespace {

// The byte-order mark that some editors write.
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

/// Returns a text with as many characters as there are bytes. If it has fewer, because of
/// multi-byte characters, zeros follow; the parser stops at the first.
CStringW Decode(std::string_view bytes) {
  const auto size = static_cast<int>(bytes.size());
  CStringW text = FromSystemCodePage(bytes.data(), size);
  const int length = text.GetLength();
  wchar_t* const buffer = text.GetBuffer(size);
  std::fill(buffer + length, buffer + size, L'\0');
  text.ReleaseBufferSetLength(size);
  return text;
}

}  // namespace

void ParseManifest(std::string_view manifest, TiXmlDocument& document) {
  // Before the conversion: in a double-byte code page these three bytes are not three characters.
  if (manifest.starts_with(kUtf8Mark)) {
    manifest.remove_prefix(kUtf8Mark.size());
  }
  if (manifest.size() > INT_MAX) {
    return;
  }
  // TIXML_ENCODING_LEGACY, as the parser would otherwise read most manifests as UTF-8: a letter
  // outside ASCII would begin a multi-byte sequence, which could include the quote after it.
  document.Parse(ToSystemCodePage(Decode(manifest)), nullptr, TIXML_ENCODING_LEGACY);
  if (document.ErrorId() == TiXmlBase::TIXML_ERROR) {  // set by our altered parser: nested too deep
    document.Clear();
  }
}
