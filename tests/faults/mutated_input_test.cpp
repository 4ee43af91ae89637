// Mutated bodies, registry scripts, manifests, URLs, names and paths: nothing crashes, what is
// accepted is what the rule says in its shortest words, and what is refused is refused as a whole.

#include <atlbase.h>
#include <gtest/gtest.h>
#include <statreg.h>
#include <tinyxml.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "browser/download_file_name.h"
#include "browser/url_extension.h"
#include "collections/manifest_parser.h"
#include "collections/trusted_host_list.h"
#include "collections/trusted_hosts.h"
#include "download/content_check.h"
#include "download/file_path.h"
#include "tests/faults/mutator.h"
#include "tests/support/message_recorder.h"

namespace {

using namespace std::string_literals;
using std::wstring;

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
  mutator.ForEach([&](const std::string& text) {
    // On the heap and of its exact size, where a look behind the end is noticed.
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    for (const auto& [extension, signatures] : kRules) {
      const bool expected = std::ranges::any_of(
          signatures, [&](const std::string& signature) { return text.starts_with(signature); });
      EXPECT_EQ(IsValidContent(bytes.data(), static_cast<std::int32_t>(bytes.size()), extension),
                expected)
          << testing::PrintToString(text) << " as " << extension;
      accepted += expected ? 1 : 0;
    }
  });
  EXPECT_GT(accepted, MutationCount() / 10);
}

std::vector<wstring> Words(const wchar_t* text) {
  std::wistringstream stream(text);
  return {std::istream_iterator<wstring, wchar_t>(stream), {}};
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
  const std::vector<wstring> seeds = {
      L"HKCR { A.B.1 = s 'text' { CLSID = s '{1}' } NoRemove CLSID { ForceRemove {1} = s 'x' "
      L"{ val ThreadingModel = s 'apartment' TypeLib = s 'y' } } }",
      L"HKLM { NoRemove Software { ForceRemove 'My Key' { val 'a b' = s 'x' } } }",
      L"HKCR { '%A%' = s '%B%' }"};
  std::vector<wstring> parts =
      Words(L"{ } = ' '' % %A% val Delete NoRemove \\ CLSID Software s d HKCR ForceRemove");
  parts.insert(parts.end(), {L" ", L"\r\n", L" s ", L" val "});
  const ATL::detail::ReplacementMap replacements = {{L"A", L"key"}, {L"B", L"it''s"}};
  int accepted = 0;
  CMutator<wchar_t>(seeds, parts).ForEach([&](const wstring& text) {
    try {
      const wstring expanded = ATL::detail::ExpandReplacements(text, replacements);
      const auto script = ATL::detail::CRegistrarParser(expanded).Parse();
      ++accepted;
      for (const auto& root : script) {
        EXPECT_NE(root.hKey, nullptr) << text;
        EXPECT_TRUE(std::ranges::all_of(root.top.keys, IsHarmless)) << text;
      }
    } catch (const CAtlException& error) {
      EXPECT_EQ(error.m_hr, DISP_E_EXCEPTION) << text;
    }
  });
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

TEST(MutatedInput, ManifestIsParsedDownToTheLimit) {
  std::string deep;
  for (int i = 0; i < 501; ++i) {
    deep += "<a>";
  }
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
       "\xC3",  deep});
  int parsed = 0;
  bool isCutOff = false;
  mutator.ForEach([&](const std::string& text) {
    TiXmlDocument document;
    ParseManifest(text, document);
    const int depth = ParsedDepth(document);
    EXPECT_LE(depth, TIXML_DEEPEST_ELEMENT) << testing::PrintToString(text);
    isCutOff = isCutOff || document.ErrorId() == TiXmlBase::TIXML_ERROR;
    parsed += depth > 1 ? 1 : 0;
  });
  EXPECT_GT(parsed, MutationCount() / 10);
  EXPECT_TRUE(isCutOff);
}

const std::vector<wstring> kUrls = {
    L"http://folivo-collections.example/a.qdk",
    L"http://www.lessons.folivo-collections.example:8080/x/My%20Lesson.folivo?a=b&c=d.gallery",
    L"https://merlo-content.example/a.b/file",
    L"file:///C:/Users/a/L%C3%A9sson.qdc",
    L"\\\\server\\share\\a.b\\c.fvk",
    L"C:\\x.y\\file.galleryitem",
    L"www.www.folivo-schools.example/a",
    L"merlo-teachers.example/"};

const std::vector<wstring> kParts = Words(
    L"http:// www. HTTP:// / \\ . ? % %2F %00 %E9 ..\\ :\\ = & *|\"<> C: @ # .qdk // %s \\\\?\\ "
    L"\x4F60\x597D merlo-downloads.example");

/// As far as a text goes: behind a zero character, product and rule need not agree.
void ForEachUrl(const std::function<void(const wstring& url)>& check) {
  CMutator<wchar_t>(kUrls, kParts).ForEach([&](wstring text) {
    std::erase(text, L'\0');
    check(text);
  });
}

wstring Wide(const CStringW& text) { return {text.GetString(), size_t(text.GetLength())}; }

TEST(MutatedInput, ExtensionOfAUrlIsItsLastDotsTail) {
  int found = 0;
  ForEachUrl([&](const wstring& url) {
    const wstring path = url.substr(0, url.find(L'?'));
    const size_t dot = path.rfind(L'.');
    const wstring tail = dot == wstring::npos ? L"" : path.substr(dot);
    const wstring expected = tail.find(L'\\') == wstring::npos ? tail : L"";
    EXPECT_EQ(GetPathExtension(GetUrlPath(url.c_str())), expected) << url;
    found += expected.empty() ? 0 : 1;
  });
  EXPECT_GT(found, MutationCount() / 4) << "the inputs must put something to the test";
}

TEST(MutatedInput, DownloadNameStaysInItsFolderAndShort) {
  constexpr std::wstring_view kIllegal = L"<>:\"/\\|?*";
  CMessageRecorder messages;
  ForEachUrl([&](const wstring& url) {
    const wstring name = Wide(MakeDownloadFileName(nullptr, url.c_str()));
    EXPECT_EQ(name.find_first_of(kIllegal), wstring::npos) << url;
    EXPECT_LT(name.size(), std::max<size_t>(260, url.size() + 20)) << url;
    const size_t told = messages.Take().size();
    EXPECT_LE(told, 1u) << url;
    EXPECT_TRUE(told == 0 || name.starts_with(L"downloadedfile")) << url;
    wstring legal = url;
    std::erase_if(legal, [=](wchar_t c) { return kIllegal.find(c) != kIllegal.npos; });
    EXPECT_EQ(Wide(RemoveIllegalFileNameChars(url.c_str())), legal) << url;
  });
}

/// The normal form, step by step.
wstring Normalized(wstring path) {
  const size_t colon = path.rfind(L':');
  if (colon != wstring::npos && colon >= 4 && path.substr(colon + 1, 1) == L"\\") {
    path.erase(0, colon - 1);
  }
  std::replace(path.begin(), path.end(), L'/', L'\\');
  if (path.ends_with(L'\\')) {
    path.pop_back();
  }
  return path;
}

TEST(MutatedInput, PathsTakeTheirNormalForm) {
  ForEachUrl([&](const wstring& text) {
    const CFilePath path(text.c_str());
    const wstring normal = Normalized(text);
    ASSERT_EQ(Wide(path.GetText()), normal) << text;
    ASSERT_EQ(normal.find(L'/'), wstring::npos) << text;
    // Its parts put together again are the path.
    const wstring name = Wide(path.GetFileNamePart());
    EXPECT_TRUE(normal.ends_with(name)) << text;
    EXPECT_TRUE(name.ends_with(Wide(path.GetExtension()))) << text;
    const size_t slash = normal.rfind(L'\\');
    EXPECT_TRUE(slash == wstring::npos ||
                Normalized(normal.substr(0, slash)) == Wide(path.GetParentFolder().GetText()))
        << text;
  });
}

TEST(MutatedInput, HostIsTrustedByItsFirstCharactersOnly) {
  int trusted = 0;
  ForEachUrl([&](const wstring& url) {
    wstring rest = url.starts_with(L"http://") ? url.substr(7) : url;
    rest = rest.starts_with(L"www.") ? rest.substr(4) : rest;
    const size_t slash = rest.find(L'/');
    const wstring host = slash == wstring::npos ? L"" : rest.substr(0, slash);
    const bool expected = std::ranges::any_of(
        kTrustedHosts, [&](const wchar_t* trustedName) { return host.starts_with(trustedName); });
    EXPECT_EQ(IsTrustedHost(url.c_str()), expected) << url;
    trusted += expected ? 1 : 0;
  });
  EXPECT_GT(trusted, MutationCount() / 20);
}

}  // namespace
