// The rule by which a file's first bytes are genuine. The heads are compared in
// file_types_test.cpp.

#include "download/content_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "download/file_types.h"
#include "tests/support/temp_sandbox.h"

namespace {

using namespace std::string_literals;

using Bytes = std::vector<std::uint8_t>;  // exactly as long: the heap check sees what reads on

bool IsValid(const std::string& bytes, LPCWSTR extension) {
  const Bytes data(bytes.begin(), bytes.end());
  return IsValidContent(data.data(), static_cast<std::int32_t>(data.size()), extension);
}

TEST(ContentCheck, EachExtensionTakesItsOwnHeadsOnly) {
  for (const CFileType& type : GetFileTypes()) {
    const LPCWSTR extension = type.extension.data();
    EXPECT_FALSE(IsValid("", extension));
    EXPECT_FALSE(IsValidContent(nullptr, -1, extension));
    for (const std::string head : type.heads) {
      for (const CFileType& other : GetFileTypes()) {
        const bool isOwn =
            std::ranges::any_of(other.heads, [&](const char* h) { return h == head; });
        EXPECT_EQ(IsValid(head, other.extension.data()), isOwn) << head;
      }
      EXPECT_TRUE(IsValid(head + std::string(800, 'x'), extension)) << head;
      EXPECT_FALSE(IsValid(" " + head, extension)) << head;
      EXPECT_FALSE(IsValid(head.substr(0, head.size() - 1), extension)) << head;
    }
  }
  for (const LPCWSTR extension : {L".zip", L".qdt", L".qdi", L""}) {
    EXPECT_FALSE(IsValid("PK\x03\x04", extension)) << extension;
  }
}

TEST(ContentCheck, PrefixIsComparedInAllItsBytes) {
  const std::tuple<std::string, const char*, bool> cases[] = {
      {"abc", "abc", true},  {"abcd", "abc", true},    {"a", "", true},       {"", "", true},
      {"ab", "abc", false},  {"", "a", false},         {"abd", "abc", false}, {"ABC", "abc", false},
      {"xbc", "abc", false}, {"ab\0c"s, "abc", false},
  };
  for (const auto& [text, prefix, matches] : cases) {
    const Bytes data(text.begin(), text.end());
    const int result = MatchPrefix(data.data(), static_cast<std::int32_t>(data.size()), prefix);
    EXPECT_EQ(result == 0, matches) << text;
    EXPECT_TRUE(text.size() >= std::string_view(prefix).size() || result == -1) << text;
  }
  EXPECT_EQ(MatchPrefix(nullptr, -1, "a"), -1);
}

TEST(ContentCheck, LocalFileIsJudgedByItsFirstBytes) {
  const CTempSandbox sandbox;
  const auto check = [&](const std::string& bytes, LPCWSTR extension) {
    return ValidateLocalFile(CFilePath(sandbox.Write(L"file", bytes).c_str()), extension);
  };
  EXPECT_TRUE(check("PK\x03\x04" + std::string(100000, 'x'), L".folivo"));
  EXPECT_TRUE(check("PK\x03\x04", L".folivo"));
  EXPECT_FALSE(check("PK\x03\x04", L".qdk"));
  EXPECT_FALSE(check("PK\x03", L".folivo"));
  EXPECT_TRUE(check("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", L".fvk")) << "0x1A would end a text";
  for (const std::wstring& missing : {sandbox / L"missing", sandbox.Path(), std::wstring()}) {
    EXPECT_FALSE(ValidateLocalFile(CFilePath(missing.c_str()), L".folivo"));
  }
}

}  // namespace
