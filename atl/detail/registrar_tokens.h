#pragma once

// From the text of a registry script to its tokens: replacement of %NAME%, then splitting.

#include <atlexcept.h>

#include <cwctype>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace ATL::detail {

/// Every mistake in a script is reported by this one code.
[[noreturn]] inline void ThrowScriptError() { AtlThrow(DISP_E_EXCEPTION); }

/// Compares names the way the registry does: without regard to case, without regard to locale.
inline bool EqualsIgnoreCase(std::wstring_view a, std::wstring_view b) noexcept {
  return ::CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                                static_cast<int>(b.size()), TRUE) == CSTR_EQUAL;
}

struct CLessIgnoreCase {
  using is_transparent = void;
  bool operator()(std::wstring_view a, std::wstring_view b) const noexcept {
    return ::CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                                  static_cast<int>(b.size()), TRUE) == CSTR_LESS_THAN;
  }
};

/// What stands for %NAME%; names without regard to case.
using ReplacementMap = std::map<std::wstring, std::wstring, CLessIgnoreCase>;

/// The script with every %NAME% replaced and every %% made one percent sign. Replacements are
/// taken as they are, so a value meant for a quoted token has its single quotes doubled already.
/// Throws for a name without replacement and for a percent sign without its partner.
inline std::wstring ExpandReplacements(std::wstring_view script, const ReplacementMap& map) {
  std::wstring result;
  result.reserve(script.size());
  for (size_t pos = 0; pos < script.size();) {
    const size_t percent = script.find(L'%', pos);
    result += script.substr(pos, percent - pos);
    if (percent == std::wstring_view::npos) {
      break;
    }
    const size_t end = script.find(L'%', percent + 1);
    if (end == std::wstring_view::npos) {
      ThrowScriptError();
    }
    const std::wstring_view name = script.substr(percent + 1, end - percent - 1);
    if (name.empty()) {
      result += L'%';
    } else if (const auto it = map.find(name); it != map.end()) {
      result += it->second;
    } else {
      ThrowScriptError();
    }
    pos = end + 1;
  }
  return result;
}

struct RegistrarToken {
  std::wstring text;
  bool quoted = false;

  /// True for a keyword or a sign of the grammar, which is never quoted.
  bool Is(std::wstring_view keyword) const noexcept {
    return !quoted && EqualsIgnoreCase(text, keyword);
  }
};

/// Splits a script at white space, with quoted tokens kept whole. Braces and equals signs are
/// tokens only when they stand alone, because class identifiers contain braces.
class CRegistrarTokenizer {
 public:
  explicit CRegistrarTokenizer(std::wstring_view script) noexcept : m_rest(script) {}

  /// The next token, or nothing at the end. Throws for a quote that is never closed.
  std::optional<RegistrarToken> Next() {
    while (!m_rest.empty() && IsSpace(m_rest.front())) {
      m_rest.remove_prefix(1);
    }
    if (m_rest.empty()) {
      return std::nullopt;
    }
    return m_rest.front() == kQuote ? NextQuoted() : NextPlain();
  }

 private:
  static constexpr wchar_t kQuote = L'\'';

  static bool IsSpace(wchar_t c) noexcept {
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n' || c == L'\v' || c == L'\f';
  }

  RegistrarToken NextPlain() {
    size_t length = 0;
    while (length < m_rest.size() && !IsSpace(m_rest[length])) {
      ++length;
    }
    RegistrarToken token{std::wstring(m_rest.substr(0, length)), false};
    m_rest.remove_prefix(length);
    return token;
  }

  RegistrarToken NextQuoted() {
    RegistrarToken token{{}, true};
    for (size_t pos = 1; pos < m_rest.size(); ++pos) {
      if (m_rest[pos] != kQuote) {
        token.text += m_rest[pos];
        continue;
      }
      if (pos + 1 < m_rest.size() && m_rest[pos + 1] == kQuote) {
        token.text += kQuote;
        ++pos;
        continue;
      }
      m_rest.remove_prefix(pos + 1);
      // A lone quote inside a value ends it too early. What follows would be taken for a key.
      if (!m_rest.empty() && !IsSpace(m_rest.front())) {
        ThrowScriptError();
      }
      return token;
    }
    ThrowScriptError();
  }

  std::wstring_view m_rest;
};

}  // namespace ATL::detail
