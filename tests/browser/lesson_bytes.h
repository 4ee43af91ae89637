#pragma once

#include <string>

/// The head of a genuine lesson (".folivo"): what the content check wants to see.
inline const std::string kLessonHead = "PK\x03\x04";
/// The head of a genuine collection (".qdc") or older lesson (".qdk").
inline const std::string kOldLessonHead = "\x78\x9c";
