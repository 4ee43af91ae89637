#pragma once

// Registry scripts (.rgs), in the part of their language that the module's scripts use:
//
//   script := { root "{" { item } "}" }
//   root   := HKCR | HKLM
//   item   := [ NoRemove | ForceRemove ] name [ "=" s text ] [ "{" { item } "}" ]
//           | val name "=" s text
//
// White space separates tokens. A name or text with blanks is in single quotes, and a single quote
// in it is doubled. %NAME% is replaced before that. Everything else is an error.

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include <atlexcept.h>

namespace ATL::detail {

/// A key, with its values and subkeys. The value with an empty name is the default value.
struct RegistrarKey {
  std::wstring name;
  bool noRemove = false;     // unregistering keeps it
  bool forceRemove = false;  // deleted with its subkeys before it is written
  std::vector<std::pair<std::wstring, std::wstring>> values;
  std::vector<RegistrarKey> keys;
};

/// A predefined key; `top` has its values and subkeys.
struct RegistrarRoot {
  HKEY hKey;
  RegistrarKey top;
};
using RegistrarScript = std::vector<RegistrarRoot>;

/// The result of every error in a script.
[[noreturn]] inline void ThrowScriptError() { AtlThrow(DISP_E_EXCEPTION); }

/// Compares names as the registry does: ignores case, in every locale the same.
inline int CompareNames(std::wstring_view a, std::wstring_view b) noexcept {
  return ::CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                                static_cast<int>(b.size()), TRUE) -
         CSTR_EQUAL;
}
struct CNameLess {
  bool operator()(std::wstring_view a, std::wstring_view b) const noexcept {
    return CompareNames(a, b) < 0;
  }
};
using ReplacementMap = std::map<std::wstring, std::wstring, CNameLess>;

/// Replaces each %NAME%. Throws for a name that is not in the map.
inline std::wstring ExpandReplacements(const std::wstring& script, const ReplacementMap& map) {
  std::wstring result;
  size_t pos = 0;
  for (size_t percent = 0; (percent = script.find(L'%', pos)) != std::wstring::npos;) {
    const size_t end = script.find(L'%', percent + 1);
    const auto it = map.find(script.substr(percent + 1, end - percent - 1));
    if (end == std::wstring::npos || it == map.end()) {
      ThrowScriptError();
    }
    result.append(script, pos, percent - pos).append(it->second);
    pos = end + 1;
  }
  return result.append(script, pos);
}

/// Parses a script. Nothing is written before the whole script is known to be correct.
class CRegistrarParser {
 public:
  explicit CRegistrarParser(std::wstring_view script) : m_rest(script) { Advance(); }

  /// Throws CAtlException for an error in the script.
  RegistrarScript Parse() {
    RegistrarScript script;
    while (m_token) {
      const bool bClasses = Skip(L"HKCR");
      if (!bClasses) {
        Expect(L"HKLM");
      }
      Expect(L"{");
      script.push_back({bClasses ? HKEY_CLASSES_ROOT : HKEY_LOCAL_MACHINE, {}});
      ParseBody(script.back().top);
    }
    return script;
  }

 private:
  struct Token {
    std::wstring text;
    bool quoted;
  };

  /// Keywords and signs are never quoted.
  bool At(std::wstring_view keyword) const noexcept {
    return m_token && !m_token->quoted && CompareNames(m_token->text, keyword) == 0;
  }
  bool AtOneOf(std::initializer_list<std::wstring_view> keywords) const noexcept {
    return std::any_of(keywords.begin(), keywords.end(), [this](auto word) { return At(word); });
  }
  bool Skip(std::wstring_view keyword) {
    const bool bFound = At(keyword);
    if (bFound) {
      Advance();
    }
    return bFound;
  }
  void Expect(std::wstring_view keyword) {
    if (!Skip(keyword)) {
      ThrowScriptError();
    }
  }

  std::wstring TakeText() {
    if (!m_token || AtOneOf({L"{", L"}", L"="})) {
      ThrowScriptError();
    }
    std::wstring text = std::move(m_token->text);
    Advance();
    return text;
  }
  /// A name of one level. An empty one would mean the parent key itself.
  std::wstring TakeName() {
    const bool bKeyword = AtOneOf({L"NoRemove", L"ForceRemove", L"val", L"Delete"});
    std::wstring name = TakeText();
    if (bKeyword || name.empty() || name.find(L'\\') != std::wstring::npos) {
      ThrowScriptError();
    }
    return name;
  }
  std::wstring TakeStringValue() {
    Expect(L"=");
    Expect(L"s");
    return TakeText();
  }

  /// Parses the items of `parent` and the closing brace.
  void ParseBody(RegistrarKey& parent) {
    while (!Skip(L"}")) {
      if (Skip(L"val")) {
        std::wstring name = TakeName();
        parent.values.emplace_back(std::move(name), TakeStringValue());
      } else {
        parent.keys.push_back(ParseKey());
      }
    }
  }
  RegistrarKey ParseKey() {
    RegistrarKey key;
    key.noRemove = Skip(L"NoRemove");
    key.forceRemove = !key.noRemove && Skip(L"ForceRemove");
    key.name = TakeName();
    if (key.forceRemove && IsShared(key.name)) {
      ThrowScriptError();
    }
    if (At(L"=")) {
      key.values.emplace_back(std::wstring(), TakeStringValue());
    }
    if (Skip(L"{")) {
      ParseBody(key);
    }
    return key;
  }

  /// Whether the key contains the entries of all programs: no script may delete it.
  static bool IsShared(std::wstring_view name) noexcept {
    static constexpr std::wstring_view kShared[] = {
        L"AppID",    L"CLSID",     L"Component Categories",
        L"FileType", L"Interface", L"TypeLib",
        L"Mime",     L"Hardware",  L"Classes",
        L"SAM",      L"SECURITY",  L"SYSTEM",
        L"Software"};
    return std::any_of(std::begin(kShared), std::end(kShared),
                       [&](std::wstring_view shared) { return CompareNames(name, shared) == 0; });
  }

  static bool IsSpace(wchar_t c) noexcept { return c == L' ' || (c >= L'\t' && c <= L'\r'); }

  /// Reads the next token. Braces and equals signs are tokens of their own only between white
  /// space, because class identifiers contain braces.
  void Advance() {
    m_rest.remove_prefix(static_cast<size_t>(
        std::find_if_not(m_rest.begin(), m_rest.end(), IsSpace) - m_rest.begin()));
    m_token.reset();
    if (m_rest.empty()) {
      return;
    }
    m_token = Token{{}, m_rest.front() == L'\''};
    size_t pos = m_token->quoted ? 1 : 0;
    for (; m_token->quoted || (pos < m_rest.size() && !IsSpace(m_rest[pos])); ++pos) {
      if (pos == m_rest.size()) {
        ThrowScriptError();  // the closing quote is missing
      }
      if (m_token->quoted && m_rest[pos] == L'\'' && m_rest.substr(++pos, 1) != L"'") {
        break;
      }
      m_token->text += m_rest[pos];
    }
    m_rest.remove_prefix(pos);
    if (!m_rest.empty() && !IsSpace(m_rest.front())) {
      ThrowScriptError();  // a single quote that is not doubled
    }
  }

  std::wstring_view m_rest;
  std::optional<Token> m_token;  // the next one; nullopt at the end
};

}  // namespace ATL::detail
