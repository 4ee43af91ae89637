#pragma once

#include <string_view>

class TiXmlDocument;

/// Parses a manifest, up to its first zero byte, into `document`, which must be empty. Reads all
/// text in the system's ANSI code page and ignores the encoding in the XML declaration. Leaves the
/// document empty when elements nest deeper than TIXML_DEEPEST_ELEMENT; after another error it
/// holds what was parsed before the error. Throws CAtlException or std::bad_alloc when out of
/// memory.
void ParseManifest(std::string_view manifest, TiXmlDocument& document);
