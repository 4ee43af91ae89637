#include "collections/manifest_parser.h"

#include <tinyxml.h>

#include <algorithm>
#include <climits>

#include "collections/ansi_text.h"

// As released, TinyXML recurses as deeply as a text nests, on the browser's own stack.
#ifndef TIXML_DEEPEST_ELEMENT
#error "TinyXML must be built from the source that limit_tinyxml_depth.cmake has altered"
#endif

namespace {

// Some editors put it in front of whatever they write.
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

/// A wide text of as many characters as there are bytes: where several bytes make up one character,
/// zeros fill the end. The parser stops in front of them.
CStringW Decode(std::string_view bytes) {
  const auto size = static_cast<int>(bytes.size());
  CStringW text = AnsiToWide(bytes.data(), size);
  const int length = text.GetLength();
  wchar_t* const buffer = text.GetBuffer(size);
  std::fill(buffer + length, buffer + size, L'\0');
  text.ReleaseBufferSetLength(size);
  return text;
}

}  // namespace

void ParseManifest(std::string_view manifest, TiXmlDocument& document) {
  // Looked for in the bytes: in a double-byte code page its three are not three characters.
  if (manifest.starts_with(kUtf8Mark)) {
    manifest.remove_prefix(kUtf8Mark.size());
  }
  if (manifest.size() > INT_MAX) {
    return;
  }
  // Left to itself, the parser would take most manifests for UTF-8 and a letter beyond ASCII for
  // the begin of a sequence, and swallow the quote behind it.
  document.Parse(WideToAnsi(Decode(manifest)), nullptr, TIXML_ENCODING_LEGACY);
  if (document.ErrorId() == TiXmlBase::TIXML_ERROR) {  // that of the altered parser: too deep
    document.Clear();
  }
}
