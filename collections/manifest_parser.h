#pragma once

#include <string_view>

class TiXmlDocument;

/// Parses a manifest, the bytes of an entry, into an empty document: all of it in the system's ANSI
/// code page, whatever its declaration says, and up to its first zero byte. The document stays
/// empty when the elements nest deeper than the parser reads (TIXML_DEEPEST_ELEMENT); after another
/// error it holds what stands in front of that. Throws CAtlException or std::bad_alloc: out of
/// memory.
void ParseManifest(std::string_view manifest, TiXmlDocument& document);
