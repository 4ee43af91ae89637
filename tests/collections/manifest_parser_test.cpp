#include "collections/manifest_parser.h"

#include <gtest/gtest.h>
#include <tinyxml.h>
#include <windows.h>

#include <process.h>

#include <algorithm>
#include <string>

#include "tests/support/import_spy.h"

namespace {

constexpr int kDeepest = 500;

std::string Repeat(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

/// `text` inside so many elements, of a name that no text here closes.
std::string Nest(const std::string& text, int levels) {
  return Repeat("<n>", levels) + text + Repeat("</n>", levels);
}

int Depth(const TiXmlNode& node) {
  int deepest = 0;
  for (const TiXmlNode* child = node.FirstChild(); child; child = child->NextSibling()) {
    deepest = std::max(deepest, Depth(*child) + (child->ToElement() != nullptr ? 1 : 0));
  }
  return deepest;
}

struct CParsed {
  int depth;
  bool isEmpty;
  bool isComplete;  // without an error
};

CParsed Parse(const std::string& text) {
  TiXmlDocument document;
  ParseManifest(text, document);
  return {Depth(document), document.NoChildren(), !document.Error()};
}

// What stands in front of the elements, or among them, has no say.
const char* const kDecorations[] = {
    "",
    "<?xml version = \"1.0\"?>",
    "<?xml version=\"1.0\" encoding= 'utf-8' standalone = \"yes\" ?>",
    "<?xml version='1.0'?><?xml-stylesheet type=\"text/xsl\" href='a.xsl'?>",
    "<?xml-stylesheet href=\"a.xsl?&#x\" ?>",
    "<!-- &# <b><c> &#x -->",
    "<!DOCTYPE a SYSTEM \"a.dtd\">",
    "</a></a>",
    "<_ x='<b><c>' y=\"&#65;\"/>",
};

TEST(ParseManifest, DepthIsTheOnlyLimit) {
  for (const std::string decoration : kDecorations) {
    for (const std::string inner : {"", "text", "<![CDATA[<b><c>]]>", "<!-- <b> -->", "<!x>"}) {
      EXPECT_EQ(Parse(decoration + Nest(inner, kDeepest)).depth, kDeepest) << decoration << inner;
    }
    for (const int levels : {kDeepest + 1, 100000}) {
      EXPECT_TRUE(Parse(decoration + Nest("", levels)).isEmpty) << decoration << levels;
      EXPECT_TRUE(Parse(decoration + Repeat("<a>", levels)).isEmpty) << decoration << levels;
    }
    EXPECT_TRUE(Parse(decoration + Repeat("<a/>", 3) + Nest("<a/>", kDeepest)).isEmpty);
  }
  EXPECT_EQ(Parse("</a></a><a><b></b></a>").depth, 2);
}

TEST(ParseManifest, AnyNumberOfSiblingsIsParsed) {
  const CParsed parsed =
      Parse("<r>" + Repeat("<a><b/></a><!-- <c> --><_ x='<c>'/>", 5000) + "</r>");
  EXPECT_TRUE(parsed.isComplete);
  EXPECT_EQ(parsed.depth, 3);
}

unsigned __stdcall ParseDeepest(void*) {
  return Parse(Repeat("<a b='1'>text", 1000000)).isEmpty && Parse(Nest("", kDeepest)).depth == 500;
}

// The browser's threads have a megabyte, and are some way down it when they call.
TEST(ParseManifest, LittleStackIsEnough) {
  constexpr unsigned kStackSize = 512 * 1024;
  const auto thread = reinterpret_cast<HANDLE>(_beginthreadex(
      nullptr, kStackSize, ParseDeepest, nullptr, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
  WaitForSingleObject(thread, INFINITE);
  DWORD result = 0;
  GetExitCodeThread(thread, &result);
  CloseHandle(thread);
  EXPECT_EQ(result, 1u);
}

TEST(ParseManifest, WhatStandsInFrontOfAnErrorIsKept) {
  const CParsed parsed = Parse("<a><b><c></d>");
  EXPECT_EQ(parsed.depth, 3);
  EXPECT_FALSE(parsed.isComplete);
}

/// The system code page as in Japan.
constexpr UINT InJapan(UINT page) { return page == CP_ACP ? 932 : page; }

TEST(ParseManifest, EditorsMarkIsNoTextInADoubleByteCodePage) {
  const CImportSpy<&MultiByteToWideChar> wide(
      "kernel32.dll", "MultiByteToWideChar",
      [&](UINT page, auto... arguments) { return wide.CallOriginal(InJapan(page), arguments...); });
  const CImportSpy<&WideCharToMultiByte> narrow(
      "kernel32.dll", "WideCharToMultiByte", [&](UINT page, auto... arguments) {
        return narrow.CallOriginal(InJapan(page), arguments...);
      });
  for (const std::string mark : {"", "\xEF\xBB\xBF"}) {
    TiXmlDocument document;
    ParseManifest(mark + "<?xml version='1.0'?><a x='\x83\x5C\x93\xFA'/>", document);
    ASSERT_NE(document.RootElement(), nullptr);
    EXPECT_STREQ(document.RootElement()->Attribute("x"), "\x83\x5C\x93\xFA");
  }
}

}  // namespace
