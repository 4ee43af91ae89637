#include "collections/manifest_parser.h"

#include <tinyxml.h>

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
  const CStringW text = FromSystemCodePage(manifest.data(), static_cast<int>(manifest.size()));
  document.Parse(ToSystemCodePage(text), nullptr, TIXML_ENCODING_LEGACY);
  if (document.ErrorId() == TiXmlBase::TIXML_ERROR) {  // set by our altered parser: nested too deep
    document.Clear();
  }
}
