// Mutated bodies, registry scripts and manifests: nothing crashes, what is accepted is what the
// rule says, and what is refused is refused as a whole.

#include <atlbase.h>
#include <gtest/gtest.h>
#include <statreg.h>
#include <tinyxml.h>

#include <algorithm>
#include <string>

#include "collections/manifest_parser.h"
#include "download/content_check.h"
#include "tests/faults/mutator.h"

namespace {

using namespace std::string_literals;

const std::string kYes = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)";
const std::string kNo = R"(<?xml version="1.0" encoding="UTF-8" standalone="no"?>)";

/// What the content of an extension may begin with.
struct CRule {
  const wchar_t* extension;
  std::vector<std::string> signatures = {};
};
const CRule kRules[] = {
    {L".qdk", {"\x78\x9C", kYes + "<qdk ", kNo + "\r\n<qdk ", kNo + "\n<qdk "}},
    {L".qdc", {"\x78\x9C", kYes + "<col>", kNo + "\r\n<col>", kNo + "\n<col>"}},
    {L".fvk", {"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"}},
    {L".folivo", {"PK\x03\x04"}},
    {L".gallery", {"PK\x03\x04"}},
    {L".galleryitem", {"PK\x03\x04"}},
    {L".qdt"},
    {L".qdi"},
    {L""},
};

TEST(MutatedInput, ContentIsJudgedByItsSignature) {
  std::vector<std::string> seeds;
  for (const CRule& rule : kRules) {
    for (const std::string& signature : rule.signatures) {
      seeds.push_back(signature);
      seeds.push_back(signature + std::string(800, 'x'));
    }
  }
  CMutator<char> mutator(seeds, {"\r\n", "\n", "\xEF\xBB\xBF", " ", "\0"s, "<qdk ", "<col>", "PK"});
  int accepted = 0;
  for (int i = 0; i < MutationCount(); ++i) {
    const std::string text = mutator.Next();
    // On the heap and of its exact size, where a look behind the end is noticed.
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    for (const auto& [extension, signatures] : kRules) {
      const bool expected = std::ranges::any_of(
          signatures, [&](const std::string& signature) { return text.starts_with(signature); });
      ASSERT_EQ(IsValidContent(bytes.data(), static_cast<std::int32_t>(bytes.size()), extension),
                expected)
          << testing::PrintToString(text) << " as " << extension;
      accepted += expected ? 1 : 0;
    }
  }
  EXPECT_GT(accepted, MutationCount() / 10);
}

using ATL::detail::RegistrarKey;

/// Whether no part of a tree could damage what is not the script's own.
bool IsHarmless(const RegistrarKey& key) {
  return !key.name.empty() && key.name.find(L'\\') == std::wstring::npos &&
         !(key.forceRemove && (_wcsicmp(key.name.c_str(), L"CLSID") == 0 ||
                               _wcsicmp(key.name.c_str(), L"Software") == 0)) &&
         std::ranges::all_of(key.keys, IsHarmless);
}

TEST(MutatedInput, ScriptIsReadAsAWholeOrRefused) {
  const std::vector<std::wstring> seeds = {
      L"HKCR { A.B.1 = s 'text' { CLSID = s '{1}' } NoRemove CLSID { ForceRemove {1} = s 'x' "
      L"{ val ThreadingModel = s 'apartment' TypeLib = s 'y' } } }",
      L"HKLM { NoRemove Software { ForceRemove 'My Key' { val 'a b' = s 'x' } } }",
      L"HKCR { '%A%' = s '%B%' }"};
  const std::vector<std::wstring> parts = {
      L"{",   L"}",     L"=",        L"'",           L"''",  L"%",     L"%A%",
      L" ",   L" val ", L" Delete ", L" NoRemove ",  L"\\",  L"CLSID", L"Software",
      L" s ", L"d ",    L"HKCR",     L"ForceRemove", L"\r\n"};
  const ATL::detail::ReplacementMap replacements = {{L"A", L"key"}, {L"B", L"it''s"}};
  CMutator<wchar_t> mutator(seeds, parts);
  int accepted = 0;
  for (int i = 0; i < MutationCount(); ++i) {
    const std::wstring text = mutator.Next();
    try {
      const std::wstring expanded = ATL::detail::ExpandReplacements(text, replacements);
      const auto script = ATL::detail::CRegistrarParser(expanded).Parse();
      ++accepted;
      for (const auto& root : script) {
        ASSERT_NE(root.hKey, nullptr) << text;
        ASSERT_TRUE(std::ranges::all_of(root.top.keys, IsHarmless)) << text;
      }
    } catch (const CAtlException& error) {
      ASSERT_EQ(error.m_hr, DISP_E_EXCEPTION) << text;
    }
  }
  EXPECT_GT(accepted, MutationCount() / 10);
  EXPECT_LT(accepted, MutationCount()) << "the inputs must put something to the test";
}

int ParsedDepth(const TiXmlNode& node) {
  int deepest = 0;
  for (const TiXmlNode* child = node.FirstChild(); child != nullptr; child = child->NextSibling()) {
    deepest = std::max(deepest, ParsedDepth(*child) + (child->ToElement() != nullptr ? 1 : 0));
  }
  return deepest;
}

std::string Nested(int levels) { return levels == 0 ? "" : "<a>" + Nested(levels - 1); }

TEST(MutatedInput, ManifestIsParsedDownToTheLimit) {
  CMutator<char> mutator(
      {"<?xml version='1.0'?><Collections><DownloadedFile Filename='a.qdc' Destination='x'/>"
       "<DownloadedFile Filename=\"b\" Destination=\"y\\z\"></DownloadedFile></Collections>",
       "<a><b c='&lt;'><!-- x --><![CDATA[<d>]]><e>&#65;</e></b>text</a>"},
      {"<a>",   "</a>",
       "<",     ">",
       "/>",    "'",
       "\"",    "<!--",
       "-->",   "<![CDATA[",
       "]]>",   "<?xml ",
       "?>",    "&#x",
       "&amp;", "\xEF\xBB\xBF",
       "\0"s,   "<DownloadedFile ",
       "\xC3",  Nested(501)});
  int parsed = 0;
  bool isCutOff = false;
  for (int i = 0; i < MutationCount(); ++i) {
    const std::string text = mutator.Next();
    TiXmlDocument document;
    ParseManifest(text, document);
    ASSERT_LE(ParsedDepth(document), TIXML_DEEPEST_ELEMENT) << testing::PrintToString(text);
    isCutOff = isCutOff || document.ErrorId() == TiXmlBase::TIXML_ERROR;
    parsed += ParsedDepth(document) > 1 ? 1 : 0;
  }
  EXPECT_GT(parsed, MutationCount() / 10);
  EXPECT_TRUE(isCutOff);
}

}  // namespace
