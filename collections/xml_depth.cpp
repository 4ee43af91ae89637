#include "collections/xml_depth.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

constexpr std::string_view kDeclaration = "<?xml";
constexpr std::string_view kComment = "<!--";
constexpr std::string_view kCharacterData = "<![CDATA[";
constexpr std::string_view kCharacterReference = "&#";

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsHexDigit(char c) { return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

bool StartsWith(const char* text, std::string_view prefix) {
  return std::strncmp(text, prefix.data(), prefix.size()) == 0;
}

bool StartsWithDeclaration(const char* text) {
  return _strnicmp(text, kDeclaration.data(), kDeclaration.size()) == 0;
}

/// Whether an element begins at this "<". Names may begin with any byte beyond ASCII.
bool StartsElement(const char* text) {
  const char c = text[1];
  return IsLetter(c) || c == '_' || static_cast<unsigned char>(c) >= 0x7F;
}

/// The text behind the next `end`; its terminator when there is none.
const char* SkipPast(const char* text, const char* end) {
  const char* const found = std::strstr(text, end);
  return found != nullptr ? found + std::strlen(end) : text + std::strlen(text);
}

/// Whether this "&#" begins a whole character reference. The parser goes from any other on to the
/// next semicolon, over quotes and brackets.
bool IsWholeReference(const char* text) {
  const char* p = text + kCharacterReference.size();
  p += *p == 'x' ? 1 : 0;
  while (IsHexDigit(*p)) {
    ++p;
  }
  return *p == ';';
}

/// Whether this "<?xml" ends at the next ">" for the parser too. It takes only some quotes for
/// quotes: here every one must enclose a value without blanks and brackets, behind "name=".
bool IsPlainDeclaration(const char* text) {
  for (const char* p = text + kDeclaration.size(); *p != '>'; ++p) {
    if (*p == '\0' || *p == '<') {
      return false;
    }
    if (*p == '"' || *p == '\'') {
      const char quote = *p;
      if (p[-1] != '=' || !IsLetter(p[-2])) {
        return false;
      }
      for (++p; *p != quote; ++p) {
        if (*p <= ' ' || *p > '~' || std::strchr("\"'<>", *p) != nullptr) {
          return false;
        }
      }
    }
  }
  return true;
}

/// Whether tags, comments and the like end for the parser where the text shows it.
bool IsPlain(const char* text) {
  for (const char* p = std::strpbrk(text, "<&"); p != nullptr; p = std::strpbrk(p + 1, "<&")) {
    if (StartsWithDeclaration(p) ? !IsPlainDeclaration(p)
                                 : StartsWith(p, kCharacterReference) && !IsWholeReference(p)) {
      return false;
    }
  }
  return true;
}

int CountElements(const char* text) {
  int count = 0;
  for (const char* p = std::strchr(text, '<'); p != nullptr; p = std::strchr(p + 1, '<')) {
    count += StartsElement(p) ? 1 : 0;
  }
  return count;
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
  if (!IsPlain(text)) {
    return CountElements(text);
  }
  int depth = 0;
  int deepest = 0;
  for (const char* p = std::strchr(text, '<'); p != nullptr; p = std::strchr(p, '<')) {
    if (StartsWith(p, kComment)) {
      p = SkipPast(p + kComment.size(), "-->");
    } else if (StartsWith(p, kCharacterData)) {
      p = SkipPast(p + kCharacterData.size(), "]]>");
    } else if (StartsElement(p)) {
      deepest = std::max(deepest, depth + 1);
      const CTag tag = ReadTag(p + 1);
      depth += tag.isEmpty ? 0 : 1;
      p = tag.end;
    } else {
      // A closing tag, a declaration, or what the parser does not know.
      depth = std::max(0, depth - (p[1] == '/' ? 1 : 0));
      p = SkipPast(p, ">");
    }
  }
  return deepest;
}
