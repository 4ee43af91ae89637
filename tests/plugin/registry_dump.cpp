#include "tests/plugin/registry_dump.h"

#include <atlbase.h>
#include <atlstr.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

namespace {

constexpr DWORD kNameLength = 16384;
constexpr DWORD kDataLength = 1 << 20;

/// Bytes as they are, so that what has no text is compared too.
std::wstring DataText(DWORD type, const std::vector<BYTE>& data) {
  const auto* const characters = reinterpret_cast<const wchar_t*>(data.data());
  const size_t length = data.size() / sizeof(wchar_t);
  if (type == REG_SZ && length > 0 && characters[length - 1] == L'\0') {
    return L"\"" + std::wstring(characters, length - 1) + L"\"";
  }
  std::wstring text = L"type " + std::to_wstring(type) + L":";
  for (const BYTE byte : data) {
    text += L" " + std::to_wstring(byte);
  }
  return text;
}

std::wstring Line(const std::wstring& key, const std::wstring& name, const std::wstring& data) {
  return key + L" [" + name + L"] = " + data;
}

bool EndsWith(const std::wstring& text, const std::wstring& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// Reads keys one after the other. The buffers are shared by all of them: there are thousands.
class CDump {
 public:
  void AddKey(HKEY key, const std::wstring& path) {
    m_lines.push_back(KeyLine(path));
    if (EndsWith(path, L"\\Perflib")) {
      return;  // what is below are no keys, but the texts of the performance counters
    }
    AddValues(key, path);
    for (DWORD index = 0;; ++index) {
      DWORD length = kNameLength;
      if (RegEnumKeyExW(key, index, m_name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
          ERROR_SUCCESS) {
        return;
      }
      const std::wstring subName(m_name.data(), length);
      CRegKey subKey;
      EXPECT_EQ(subKey.Open(key, subName.c_str(), KEY_READ | KEY_WOW64_64KEY), ERROR_SUCCESS);
      AddKey(subKey, path + L"\\" + subName);
    }
  }

  std::vector<std::wstring> Take() {
    std::sort(m_lines.begin(), m_lines.end());
    return std::move(m_lines);
  }

 private:
  void AddValues(HKEY key, const std::wstring& path) {
    for (DWORD index = 0;; ++index) {
      DWORD length = kNameLength;
      DWORD type = REG_NONE;
      auto size = static_cast<DWORD>(m_data.size());
      const LSTATUS status =
          RegEnumValueW(key, index, m_name.data(), &length, nullptr, &type, m_data.data(), &size);
      if (status != ERROR_SUCCESS) {
        EXPECT_EQ(status, ERROR_NO_MORE_ITEMS) << path;
        return;
      }
      m_lines.push_back(Line(path, std::wstring(m_name.data(), length),
                             DataText(type, std::vector(m_data.begin(), m_data.begin() + size))));
    }
  }

  std::vector<std::wstring> m_lines;
  std::vector<wchar_t> m_name = std::vector<wchar_t>(kNameLength);
  std::vector<BYTE> m_data = std::vector<BYTE>(kDataLength);
};

}  // namespace

std::vector<std::wstring> DumpRegistry() {
  CDump dump;
  for (const auto& [root, name] :
       {std::pair(HKEY_LOCAL_MACHINE, L"HKLM"), std::pair(HKEY_CURRENT_USER, L"HKCU")}) {
    CRegKey software;
    EXPECT_EQ(software.Open(root, L"Software", KEY_READ | KEY_WOW64_64KEY), ERROR_SUCCESS);
    dump.AddKey(software, name);
  }
  return dump.Take();
}

std::wstring KeyLine(const std::wstring& key) { return key + L"\\"; }

std::wstring ValueLine(const std::wstring& key, const std::wstring& name,
                       const std::wstring& text) {
  return Line(key, name, L"\"" + text + L"\"");
}

std::vector<std::wstring> LinesMissingIn(const std::vector<std::wstring>& other,
                                         const std::vector<std::wstring>& one) {
  std::vector<std::wstring> missing;
  std::set_difference(one.begin(), one.end(), other.begin(), other.end(),
                      std::back_inserter(missing));
  return missing;
}
