#pragma once

/// How deeply the elements of an XML text nest at most, as the manifest's parser will read it: at
/// least as deep as it recurses, before it stops at an error. An XML declaration behind the text's
/// start, which the parser would read in ways of its own, counts as endless depth (INT_MAX).
int MeasureXmlDepth(const char* text);
