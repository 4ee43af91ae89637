// The rule by which a file's first bytes are genuine. The heads themselves are compared in
// file_types_test.cpp.

#include "download/content_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "download/file_types.h"
#include "tests/support/temp_sandbox.h"

namespace {

using namespace std::string_literals;

bool IsValid(const std::string& bytes, LPCWSTR extension) {
  // An array of its own, exactly as long: a check that reads on is seen by the heap check.
  const std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
  return IsValidContent(data.data(), static_cast<std::int32_t>(data.size()), extension);
}

TEST(ContentCheck, EachExtensionTakesItsOwnHeadsOnly) {
  for (const CFileType& type : GetFileTypes()) {
    for (const char* const text : type.heads) {
      const std::string head = text;
      for (const CFileType& other : GetFileTypes()) {
        const bool isOwn =
            std::ranges::any_of(other.heads, [&](const char* h) { return h == head; });
        EXPECT_EQ(IsValid(head, other.extension.data()), isOwn) << head;
      }
      EXPECT_TRUE(IsValid(head + std::string(800, 'x'), type.extension.data())) << head;
      EXPECT_FALSE(IsValid(head.substr(0, head.size() - 1), type.extension.data())) << head;
      for (size_t i = 0; i < head.size(); ++i) {
        std::string damaged = head;
        damaged[i] = static_cast<char>(damaged[i] ^ 0x20);  // the other case of a letter
        EXPECT_FALSE(IsValid(damaged, type.extension.data())) << damaged;
      }
    }
  }
  for (const LPCWSTR extension : {L".zip", L".qdt", L".qdi", L""}) {
    EXPECT_FALSE(IsValid("PK\x03\x04", extension)) << extension;
  }
}

TEST(ContentCheck, NoBytesNeverPass) {
  for (const LPCWSTR extension : {L".qdk", L".qdc", L".fvk", L".folivo"}) {
    EXPECT_FALSE(IsValid("", extension));
    EXPECT_FALSE(IsValidContent(nullptr, 0, extension));
    EXPECT_FALSE(IsValidContent(nullptr, -1, extension));
  }
}

TEST(ContentCheck, OtherWaysToWriteTheDeclarationFail) {
  const std::string yes = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)";
  const std::string no = R"(<?xml version="1.0" encoding="UTF-8" standalone="no"?>)";
  const struct {
    std::string bytes;
    LPCWSTR extension = L".qdk";
  } cases[] = {
      {"\xEF\xBB\xBF" + yes + "<qdk "},
      {"<?xml version='1.0' encoding='UTF-8' standalone='yes'?><qdk "},
      {R"(<?xml version="1.0" encoding="utf-8" standalone="yes"?><qdk )"},
      {yes + "\n<qdk "},
      {yes + "\r\n<qdk "},
      {no + "<qdk "},
      {no + "\r<qdk "},
      {yes + "<qdk>"},
      {yes + "<qdk\t"},
      {" " + yes + "<qdk "},
      {yes + "<col a=\"1\">", L".qdc"},
      {yes + "<col ", L".qdc"},
      {yes + "\n<col>", L".qdc"},
  };
  for (const auto& [bytes, extension] : cases) {
    EXPECT_FALSE(IsValid(bytes + std::string(100, 'x'), extension)) << bytes;
  }
}

TEST(ContentCheck, PrefixIsComparedInAllItsBytes) {
  const auto match = [](const std::string& data, const char* prefix) {
    const std::vector<std::uint8_t> bytes(data.begin(), data.end());
    return MatchPrefix(bytes.data(), static_cast<std::int32_t>(bytes.size()), prefix);
  };
  for (const auto& [data, prefix] :
       {std::pair("abc", "abc"), {"abcd", "abc"}, {"a", ""}, {"", ""}}) {
    EXPECT_EQ(match(data, prefix), 0) << data;
  }
  EXPECT_EQ(match("ab", "abc"), -1);
  EXPECT_EQ(match("", "a"), -1);
  EXPECT_NE(match("abd", "abc"), 0);
  EXPECT_NE(match("ab\0c"s, "abc"), 0);
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
  EXPECT_FALSE(check("", L".folivo"));
  EXPECT_FALSE(check("PK\x03", L".folivo"));
  EXPECT_TRUE(check("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", L".fvk")) << "0x1A would end a text";
  for (const std::wstring& missing : {sandbox / L"missing", sandbox.Path(), std::wstring()}) {
    EXPECT_FALSE(ValidateLocalFile(CFilePath(missing.c_str()), L".folivo"));
  }
}

}  // namespace
