#include "collections/xml_depth.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <string_view>

namespace {

constexpr std::string_view kDeclaration = "<?xml";
constexpr std::string_view kComment = "<!--";
constexpr std::string_view kCharacterData = "<![CDATA[";

bool StartsWith(const char* text, std::string_view prefix) {
  return _strnicmp(text, prefix.data(), prefix.size()) == 0;
}

/// The text behind the next `end`; its terminator when there is none.
const char* SkipPast(const char* text, const char* end) {
  const char* const found = std::strstr(text, end);
  return found != nullptr ? found + std::strlen(end) : text + std::strlen(text);
}

struct CTag {
  const char* end;
  bool isEmpty;
};

/// Walks through an opening tag; quoted attribute values may hold brackets.
CTag ReadTag(const char* text) {
  bool isEmpty = false;
  for (; *text != '\0' && *text != '>'; ++text) {
    isEmpty = *text == '/';
    if (*text == '"' || *text == '\'') {
      const char* const closing = std::strchr(text + 1, *text);
      if (closing == nullptr) {
        return {text + std::strlen(text), false};
      }
      text = closing;
    }
  }
  return {*text == '>' ? text + 1 : text, isEmpty};
}

}  // namespace

int MeasureXmlDepth(const char* text) {
  const char* const first = std::strchr(text, '<');
  int depth = 0;
  int deepest = 0;
  for (const char* p = first; p != nullptr && *p != '\0'; p = std::strchr(p, '<')) {
    if (StartsWith(p, kDeclaration)) {
      if (p != first) {
        return INT_MAX;
      }
      p = SkipPast(p, ">");
    } else if (StartsWith(p, kComment)) {
      p = SkipPast(p, "-->");
    } else if (StartsWith(p, kCharacterData)) {
      p = SkipPast(p, "]]>");
    } else if (p[1] == '!' || p[1] == '?') {
      p = SkipPast(p, ">");
    } else if (p[1] == '/') {
      depth = std::max(0, depth - 1);
      p = SkipPast(p, ">");
    } else {
      deepest = std::max(deepest, depth + 1);
      const CTag tag = ReadTag(p + 1);
      depth += tag.isEmpty ? 0 : 1;
      p = tag.end;
    }
  }
  return deepest;
}
