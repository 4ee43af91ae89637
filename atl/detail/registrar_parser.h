#pragma once

#include <algorithm>
#include <iterator>

#include "registrar_script.h"
#include "registrar_tokens.h"
#include "registrar_values.h"

namespace ATL::detail {

/// Reads a whole script before anything is written, so a mistake anywhere leaves the registry
/// untouched.
///
///   script := { root "{" { item } "}" }
///   item   := [ NoRemove | ForceRemove ] name [ "=" type data ] [ "{" { item } "}" ]
///           | val name "=" type data
///           | Delete name
class CRegistrarParser {
 public:
  /// bPerUser: classes go to the current user's own classes instead of the machine's.
  CRegistrarParser(std::wstring_view script, bool bPerUser)
      : m_tokenizer(script), m_bPerUser(bPerUser) {
    Advance();
  }

  /// Throws CAtlException for anything that is not a script.
  RegistrarScript Parse() {
    RegistrarScript script;
    while (m_token) {
      script.push_back(ParseRoot());
    }
    return script;
  }

 private:
  // The registry itself knows no deeper tree; this also bounds the recursion.
  static constexpr int kMaxDepth = 512;

  struct RootName {
    const wchar_t* shortName;
    const wchar_t* longName;
    HKEY hKey;
  };

  void Advance() { m_token = m_tokenizer.Next(); }

  bool At(std::wstring_view keyword) const noexcept { return m_token && m_token->Is(keyword); }

  /// Steps over the keyword if it is next.
  bool Skip(std::wstring_view keyword) {
    if (!At(keyword)) {
      return false;
    }
    Advance();
    return true;
  }

  void Expect(std::wstring_view keyword) {
    if (!Skip(keyword)) {
      ThrowScriptError();
    }
  }

  /// The text of the next token, whatever it is but a sign of the grammar.
  std::wstring TakeText() {
    if (!m_token || At(L"{") || At(L"}") || At(L"=")) {
      ThrowScriptError();
    }
    std::wstring text = std::move(m_token->text);
    Advance();
    return text;
  }

  RegistrarRoot ParseRoot() {
    const HKEY hKey = RootKey(TakeText());
    RegistrarRoot root{hKey, {}};
    root.top.noRemove = true;
    Expect(L"{");
    ParseBody(root.top, 1);
    return m_bPerUser && hKey == HKEY_CLASSES_ROOT ? InUserClasses(std::move(root.top)) : root;
  }

  static HKEY RootKey(std::wstring_view name) {
    static const RootName kRoots[] = {
        {L"HKCR", L"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},
        {L"HKCU", L"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
        {L"HKLM", L"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
        {L"HKU", L"HKEY_USERS", HKEY_USERS},
        {L"HKPD", L"HKEY_PERFORMANCE_DATA", HKEY_PERFORMANCE_DATA},
        {L"HKDD", L"HKEY_DYN_DATA", HKEY_DYN_DATA},
        {L"HKCC", L"HKEY_CURRENT_CONFIG", HKEY_CURRENT_CONFIG},
    };
    for (const RootName& root : kRoots) {
      if (EqualsIgnoreCase(name, root.shortName) || EqualsIgnoreCase(name, root.longName)) {
        return root.hKey;
      }
    }
    ThrowScriptError();
  }

  /// What stands between the braces of `parent`, the closing one included.
  void ParseBody(RegistrarKey& parent, int depth) {
    if (depth > kMaxDepth) {
      ThrowScriptError();
    }
    while (!Skip(L"}")) {
      ParseItem(parent, depth);
    }
  }

  void ParseItem(RegistrarKey& parent, int depth) {
    RegistrarKey key;
    if (Skip(L"Delete")) {
      key.name = TreeName(TakeText());
      key.deleteOnly = true;
      if (!IsShared(key.name)) {
        parent.keys.push_back(std::move(key));
      }
      return;
    }
    key.noRemove = Skip(L"NoRemove");
    key.forceRemove = Skip(L"ForceRemove");
    key.noRemove = key.noRemove || Skip(L"NoRemove");
    // A value belongs to its key for life, so the modifiers say nothing more about it.
    if (Skip(L"val")) {
      std::wstring name = TakeText();
      Expect(L"=");
      parent.values.push_back(ParseValue(std::move(name)));
      return;
    }
    key.name = key.forceRemove ? TreeName(TakeText()) : KeyName(TakeText());
    key.forceRemove = key.forceRemove && !IsShared(key.name);
    if (Skip(L"=")) {
      key.values.push_back(ParseValue({}));
    }
    if (Skip(L"{")) {
      ParseBody(key, depth + 1);
    }
    parent.keys.push_back(std::move(key));
  }

  RegistrarValue ParseValue(std::wstring name) {
    const std::wstring type = TakeText();
    const std::wstring data = TakeText();
    return MakeRegistrarValue(std::move(name), type, data);
  }

  /// An empty name would mean the parent key itself.
  static std::wstring KeyName(std::wstring name) {
    if (name.empty() || name.front() == L'\\' || name.back() == L'\\') {
      ThrowScriptError();
    }
    return name;
  }

  /// The name of a key that goes with everything below it: one level only, which a slip of the pen
  /// cannot turn into somebody else's tree.
  static std::wstring TreeName(std::wstring name) {
    if (name.find(L'\\') != std::wstring::npos) {
      ThrowScriptError();
    }
    return KeyName(std::move(name));
  }

  /// True for the keys that hold everybody's entries. They never go as a whole, whatever a script
  /// says: that would end the system.
  static bool IsShared(std::wstring_view name) noexcept {
    static const wchar_t* const kShared[] = {
        L"AppID",    L"CLSID",     L"Component Categories",
        L"FileType", L"Interface", L"TypeLib",
        L"Classes",  L"Hardware",  L"Mime",
        L"SAM",      L"SECURITY",  L"SYSTEM",
        L"Software",
    };
    return std::any_of(std::begin(kShared), std::end(kShared),
                       [&](const wchar_t* shared) { return EqualsIgnoreCase(name, shared); });
  }

  CRegistrarTokenizer m_tokenizer;
  std::optional<RegistrarToken> m_token;  // the one to be looked at next
  const bool m_bPerUser;
};

}  // namespace ATL::detail
