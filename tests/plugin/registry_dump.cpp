// Wine saves a key with all below it as text, in one call. To ask for key after key and value after
// value is a message to Wine's server for each, and takes seconds.

#include "tests/plugin/registry_dump.h"

#include <atlbase.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cwctype>
#include <fstream>
#include <iterator>

#include "tests/support/temp_sandbox.h"

namespace {

using Lines = std::vector<std::wstring>;

constexpr char kFileHead[] = "WINE REGISTRY Version 2";

/// Text as such a file has it; `special`: the two characters that are escaped beside the backslash.
std::wstring Escape(const std::wstring& text, const std::wstring& special) {
  std::wstring escaped;
  for (size_t i = 0; i < text.size(); ++i) {
    const wchar_t c = text[i];
    if (c > 127) {
      // As short as can be read back.
      const bool isPadded = i + 1 < text.size() && text[i + 1] < 128 && iswxdigit(text[i + 1]);
      wchar_t code[8] = {};
      swprintf(code, ARRAYSIZE(code), isPadded ? L"\\x%04x" : L"\\x%x", c);
      escaped += code;
      continue;
    }
    if (c == L'\\' || special.find(c) != std::wstring::npos) {
      escaped += L'\\';
    }
    escaped += c;
  }
  return escaped;
}

/// A key in a saved file: its escaped path.
std::wstring EscapedKeyLine(const std::wstring& path) { return L"[" + path + L"]"; }

void EnableSaving() {
  HANDLE token = nullptr;
  ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token));
  const CHandle owner(token);
  TOKEN_PRIVILEGES privileges = {};
  privileges.PrivilegeCount = 1;
  privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
  ASSERT_TRUE(LookupPrivilegeValueW(nullptr, SE_BACKUP_NAME, &privileges.Privileges[0].Luid));
  ASSERT_TRUE(AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr));
}

/// Adds a key and those above it: the file names one that holds only keys by these alone.
void AddKey(const std::wstring& root, const std::wstring& path, Lines& lines) {
  constexpr wchar_t kSeparator[] = L"\\\\";
  for (size_t end = 0; end != std::wstring::npos;) {
    end = path.find(kSeparator, end);
    lines.push_back(EscapedKeyLine(root + kSeparator + path.substr(0, end)));
    end = end == std::wstring::npos ? end : end + std::size(kSeparator) - 1;
  }
}

/// Adds what the file holds: "[path] time", then the key's attributes ("#") and values.
void AddFile(const std::wstring& file, const std::wstring& root, Lines& lines) {
  std::ifstream stream(file.c_str());
  std::string line;
  std::getline(stream, line);
  EXPECT_EQ(line, kFileHead);
  std::wstring key = EscapedKeyLine(root);
  while (std::getline(stream, line)) {
    // Long binary values go on in the next line.
    for (std::string rest; line.ends_with('\\') && std::getline(stream, rest);) {
      line += rest;
    }
    if (line.starts_with('[')) {
      const std::string path = line.substr(1, line.rfind(']') - 1);
      AddKey(root, std::wstring(path.begin(), path.end()), lines);
      key = EscapedKeyLine(root + L"\\\\" + std::wstring(path.begin(), path.end()));
    } else if (!line.empty() && !line.starts_with(";;") && !line.starts_with("#time=")) {
      lines.push_back(key + L" " + std::wstring(line.begin(), line.end()));
    }
  }
}

}  // namespace

std::vector<std::wstring> DumpRegistry() {
  const CTempSandbox sandbox;
  EnableSaving();
  Lines lines;
  for (const auto& [root, name] :
       {std::pair(HKEY_LOCAL_MACHINE, L"HKLM"), std::pair(HKEY_CURRENT_USER, L"HKCU")}) {
    const std::wstring file = sandbox / name;
    CRegKey software;
    EXPECT_EQ(software.Open(root, L"Software", KEY_READ | KEY_WOW64_64KEY), ERROR_SUCCESS);
    EXPECT_EQ(RegSaveKeyW(software, file.c_str(), nullptr), ERROR_SUCCESS);
    AddFile(file, name, lines);
  }
  std::sort(lines.begin(), lines.end());
  lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
  return lines;
}

std::wstring KeyLine(const std::wstring& key) { return EscapedKeyLine(Escape(key, L"[]")); }

std::wstring ValueLine(const std::wstring& key, const std::wstring& name,
                       const std::wstring& text) {
  const std::wstring escapedName = name.empty() ? L"@" : L"\"" + Escape(name, L"\"") + L"\"";
  return KeyLine(key) + L" " + escapedName + L"=\"" + Escape(text, L"\"") + L"\"";
}

std::vector<std::wstring> LinesMissingIn(const std::vector<std::wstring>& other,
                                         const std::vector<std::wstring>& one) {
  std::vector<std::wstring> missing;
  std::set_difference(one.begin(), one.end(), other.begin(), other.end(),
                      std::back_inserter(missing));
  return missing;
}
