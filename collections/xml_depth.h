#pragma once

/// How deeply the elements of an XML text nest, as the manifest's parser reads it in its
/// byte-by-byte mode: at least as deep as it recurses before it stops at an error. For a text in
/// which that parser would find ends of tags elsewhere than the text shows them, the number of all
/// elements is given instead.
int MeasureXmlDepth(const char* text);
