#include "collections/manifest_parser.h"

#include <gtest/gtest.h>
#include <tinyxml.h>
#include <windows.h>

#include <process.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <string>

#include "tests/support/import_patch.h"

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
  constexpr int kCount = 5000;
  for (const std::string decoration : kDecorations) {
    TiXmlDocument document;
    // A closing tag inside an element would close it.
    const std::string among = decoration[0] == '<' && decoration[1] == '/' ? "" : decoration;
    ParseManifest(decoration + "<r>" + Repeat("<a><b/></a>" + among, kCount) + "</r>", document);
    ASSERT_FALSE(document.Error()) << decoration;
    int count = 0;
    const TiXmlElement* const root = document.FirstChildElement("r");
    ASSERT_NE(root, nullptr) << decoration;
    for (const TiXmlElement* element = root->FirstChildElement("a"); element != nullptr;
         element = element->NextSiblingElement("a")) {
      ++count;
    }
    EXPECT_EQ(count, kCount) << decoration;
  }
}

TEST(ParseManifest, MutatedTextsAreParsedDownToTheLimit) {
  const std::string parts[] = {"<a>",
                               "<a>",
                               "</a>",
                               "<b ",
                               "<_/>",
                               "<",
                               ">",
                               "/>",
                               "\"",
                               "'",
                               "=",
                               " ",
                               "x",
                               "/",
                               "!",
                               "?",
                               "<!--",
                               "-->",
                               ";",
                               "&#",
                               "&#x",
                               "x41;",
                               "<![CDATA[",
                               "]]>",
                               "<!",
                               "<?xml",
                               "<?x",
                               "?>",
                               "\xC3",
                               "\xEF",
                               "version=",
                               "<a b='",
                               "<1 ",
                               "<a b=\"",
                               "<a></a>",
                               "<a><b x='1'/></a>",
                               "<?xml version=\"><!--\"?>",
                               "<?xml version='1.0' encoding='x'?>"};
  std::mt19937 random(1);
  int complete = 0;
  for (int i = 0; i < 2000; ++i) {
    std::string text;
    for (auto length = random() % 12; length > 0; --length) {
      text += Repeat(parts[random() % std::size(parts)], random() % 50 == 0 ? 2000 : 1);
    }
    EXPECT_LE(Parse(text).depth, kDeepest);
    const CParsed nested = Parse(Nest(text, 1));
    if (nested.isComplete && nested.depth > 1 && nested.depth < kDeepest) {
      ++complete;
      const int levels = kDeepest - nested.depth + 1;
      ASSERT_EQ(Parse(Nest(text, levels)).depth, kDeepest) << text.substr(0, 500);
      ASSERT_TRUE(Parse(Nest(text, levels + 1)).isEmpty) << text.substr(0, 500);
    }
  }
  EXPECT_GT(complete, 100) << "the texts must put something to the test";
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

constexpr UINT kJapanese = 932;
decltype(&MultiByteToWideChar) g_toWide;
decltype(&WideCharToMultiByte) g_toNarrow;

int WINAPI ToWideAsInJapan(UINT page, DWORD flags, LPCCH text, int length, LPWSTR wide, int size) {
  return g_toWide(page == CP_ACP ? kJapanese : page, flags, text, length, wide, size);
}
int WINAPI ToNarrowAsInJapan(UINT page, DWORD flags, LPCWCH text, int length, LPSTR narrow,
                             int size, LPCCH standIn, LPBOOL isUsed) {
  return g_toNarrow(page == CP_ACP ? kJapanese : page, flags, text, length, narrow, size, standIn,
                    isUsed);
}

TEST(ParseManifest, EditorsMarkIsNoTextInADoubleByteCodePage) {
  const CImportPatch wide("kernel32.dll", "MultiByteToWideChar", &ToWideAsInJapan);
  const CImportPatch narrow("kernel32.dll", "WideCharToMultiByte", &ToNarrowAsInJapan);
  g_toWide = wide.Original<std::remove_pointer_t<decltype(g_toWide)>>();
  g_toNarrow = narrow.Original<std::remove_pointer_t<decltype(g_toNarrow)>>();
  for (const std::string mark : {"", "\xEF\xBB\xBF"}) {
    TiXmlDocument document;
    ParseManifest(mark + "<?xml version='1.0'?><a x='\x83\x5C\x93\xFA'/>", document);
    ASSERT_NE(document.RootElement(), nullptr);
    EXPECT_STREQ(document.RootElement()->Attribute("x"), "\x83\x5C\x93\xFA");
  }
}

}  // namespace
