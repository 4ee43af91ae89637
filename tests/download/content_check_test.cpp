#include "download/content_check.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/temp_sandbox.h"

namespace {

using namespace std::string_literals;

const std::string kZlib = "\x78\x9C";
const std::string kZip = "PK\x03\x04";
const std::string kCompoundFile = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
const std::string kYes = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)";
const std::string kNo = R"(<?xml version="1.0" encoding="UTF-8" standalone="no"?>)";

const std::vector<std::string> kLessonHeads = {kYes + "<qdk ", kNo + "\r\n<qdk ", kNo + "\n<qdk "};
const std::vector<std::string> kCollectionHeads = {kYes + "<col>", kNo + "\r\n<col>",
                                                   kNo + "\n<col>"};

bool IsValid(const std::string& bytes, LPCWSTR extension) {
  // An array of its own, exactly as long: a check that reads on is seen by the
  // heap check.
  const std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
  return IsValidContent(data.data(), static_cast<std::int32_t>(data.size()), extension);
}

/// Every head that some extension takes.
std::vector<std::string> AllHeads() {
  std::vector<std::string> heads = {kZlib, kZip, kCompoundFile};
  heads.insert(heads.end(), kLessonHeads.begin(), kLessonHeads.end());
  heads.insert(heads.end(), kCollectionHeads.begin(), kCollectionHeads.end());
  return heads;
}

TEST(ContentCheck, PrefixesHaveTheirFixedLengths) {
  const auto shortestValid = [](const std::string& head, LPCWSTR extension) {
    const std::string body = head + "name=\"1\">";
    size_t length = 0;
    while (length < body.size() && !IsValid(body.substr(0, length), extension)) {
      ++length;
    }
    return length;
  };
  constexpr size_t kLengths[] = {60, 61, 60};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(shortestValid(kLessonHeads[i], L".qdk"), kLengths[i]);
    EXPECT_EQ(shortestValid(kCollectionHeads[i], L".qdc"), kLengths[i]);
  }
}

TEST(ContentCheck, EachExtensionTakesItsOwnHeadsOnly) {
  struct CCase {
    LPCWSTR extension;
    std::vector<std::string> accepted;
  };
  const CCase cases[] = {
      {L".qdk", {kZlib, kLessonHeads[0], kLessonHeads[1], kLessonHeads[2]}},
      {L".qdc", {kZlib, kCollectionHeads[0], kCollectionHeads[1], kCollectionHeads[2]}},
      {L".qdt", {}},
      {L".fvk", {kCompoundFile}},
      {L".folivo", {kZip}},
      {L".gallery", {kZip}},
      {L".galleryitem", {kZip}},
      {L".qdi", {}},
      {L".zip", {}},
      {L"", {}},
  };
  for (const CCase& c : cases) {
    for (const std::string& head : AllHeads()) {
      const bool expected =
          std::find(c.accepted.begin(), c.accepted.end(), head) != c.accepted.end();
      EXPECT_EQ(IsValid(head, c.extension), expected) << c.extension << " " << head;
      EXPECT_EQ(IsValid(head + std::string(800, 'x'), c.extension), expected)
          << c.extension << " " << head << "...";
    }
  }
}

TEST(ContentCheck, HeadCutShortByOneByteNeverPasses) {
  const auto cut = [](std::string head) {
    head.pop_back();
    return head;
  };
  EXPECT_FALSE(IsValid(cut(kZlib), L".qdk"));
  EXPECT_FALSE(IsValid(cut(kZlib), L".qdc"));
  EXPECT_FALSE(IsValid(cut(kZip), L".folivo"));
  EXPECT_FALSE(IsValid(cut(kCompoundFile), L".fvk"));
  for (const std::string& head : kLessonHeads) {
    EXPECT_FALSE(IsValid(cut(head), L".qdk"));
  }
  for (const std::string& head : kCollectionHeads) {
    EXPECT_FALSE(IsValid(cut(head), L".qdc"));
  }
}

TEST(ContentCheck, NoBytesNeverPass) {
  for (const LPCWSTR extension : {L".qdk", L".qdc", L".fvk", L".folivo"}) {
    EXPECT_FALSE(IsValid("", extension));
    EXPECT_FALSE(IsValidContent(nullptr, 0, extension));
    EXPECT_FALSE(IsValidContent(nullptr, -1, extension));
  }
}

TEST(ContentCheck, EveryByteOfAHeadCounts) {
  struct CCase {
    LPCWSTR extension;
    std::string head;
  };
  for (const CCase& c :
       {CCase{L".qdk", kZlib}, CCase{L".folivo", kZip}, CCase{L".fvk", kCompoundFile},
        CCase{L".qdk", kLessonHeads[1]}, CCase{L".qdc", kCollectionHeads[2]}}) {
    for (size_t i = 0; i < c.head.size(); ++i) {
      std::string damaged = c.head;
      damaged[i] = static_cast<char>(damaged[i] ^ 0x20);  // the other case of a letter
      EXPECT_FALSE(IsValid(damaged, c.extension)) << c.extension << " byte " << i;
    }
  }
}

TEST(ContentCheck, OtherWaysToWriteTheDeclarationFail) {
  const std::string bad[] = {
      "\xEF\xBB\xBF" + kLessonHeads[0],
      "<?xml version='1.0' encoding='UTF-8' standalone='yes'?><qdk ",
      R"(<?xml version="1.0" encoding="utf-8" standalone="yes"?><qdk )",
      kYes + "\n<qdk ",
      kYes + "\r\n<qdk ",
      kNo + "<qdk ",
      kNo + "\r<qdk ",
      kYes + "<qdk>",
      kYes + "<qdk\t",
      " " + kLessonHeads[0],
  };
  for (const std::string& head : bad) {
    EXPECT_FALSE(IsValid(head + std::string(100, 'x'), L".qdk")) << head;
  }
  for (const std::string& head : {kYes + "<col a=\"1\">", kYes + "<col ", kYes + "\n<col>"}) {
    EXPECT_FALSE(IsValid(head + std::string(100, 'x'), L".qdc")) << head;
  }
}

TEST(MatchPrefix, ComparesAsManyBytesAsThePrefixHas) {
  const auto match = [](const std::string& data, const char* prefix) {
    const std::vector<std::uint8_t> bytes(data.begin(), data.end());
    return MatchPrefix(bytes.data(), static_cast<std::int32_t>(bytes.size()), prefix);
  };
  EXPECT_EQ(match("abc", "abc"), 0);
  EXPECT_EQ(match("abcd", "abc"), 0);
  EXPECT_EQ(match("abc", ""), 0);
  EXPECT_EQ(match("", ""), 0);
  EXPECT_EQ(match("ab", "abc"), -1);
  EXPECT_EQ(match("", "a"), -1);
  EXPECT_NE(match("abd", "abc"), 0);
  EXPECT_NE(match("ABC", "abc"), 0);
  EXPECT_NE(match("ab\0c"s, "abc"), 0);
  EXPECT_EQ(MatchPrefix(nullptr, -1, "a"), -1);
}

TEST(ValidateLocalFile, LooksAtTheHeadOfTheFile) {
  const CTempSandbox sandbox;
  const auto check = [&](const std::string& bytes, LPCWSTR extension) {
    return ValidateLocalFile(CFilePath(sandbox.Write(L"file", bytes).c_str()), extension);
  };
  EXPECT_TRUE(check(kZip + std::string(100000, 'x'), L".folivo"));
  EXPECT_TRUE(check(kZip, L".folivo"));
  EXPECT_FALSE(check(kZip, L".qdk"));
  EXPECT_FALSE(check("", L".folivo"));
  EXPECT_FALSE(check("PK\x03", L".folivo"));
  EXPECT_TRUE(check(kLessonHeads[1] + "a>", L".qdk"));
  EXPECT_TRUE(check(kCompoundFile, L".fvk")) << "its 0x1A would end a text";
  EXPECT_TRUE(check(kZip + std::string(796, '\x1A'), L".gallery"));
}

TEST(ValidateLocalFile, FileThatCannotBeOpenedFails) {
  const CTempSandbox sandbox;
  EXPECT_FALSE(ValidateLocalFile(CFilePath((sandbox / L"missing").c_str()), L".folivo"));
  EXPECT_FALSE(ValidateLocalFile(CFilePath(sandbox.Path().c_str()), L".folivo"));
  EXPECT_FALSE(ValidateLocalFile(CFilePath(), L".folivo"));
}

}  // namespace
