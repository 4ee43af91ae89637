#include "collections/manifest_parser.h"

#include <gtest/gtest.h>
#include <tinyxml.h>
#include <windows.h>

#include <atlbase.h>
#include <process.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "plugin/thread_locale.h"
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

/// The depth of the parsed elements; -1: the document is empty.
int Parse(const std::string& text) {
  TiXmlDocument document;
  ParseManifest(text, document);
  return document.NoChildren() ? -1 : Depth(document);
}

TEST(ManifestParser, DepthIsTheOnlyLimit) {
  for (const std::string front : {"", "<?xml version='1.0'?><!-- <b> -->", "</a></a>",
                                  "<?xml version = \"1.0\" standalone = \"yes\" ?>"
                                  "<!DOCTYPE a SYSTEM \"a.dtd\"><?s href=\"?&#x\" ?>"}) {
    for (const std::string inner : {"", "text", "<![CDATA[<b><c>]]>", "<!-- <b> -->", "<!x>"}) {
      EXPECT_EQ(Parse(front + Nest(inner, kDeepest)), kDeepest) << front << inner;
    }
    for (const int levels : {kDeepest + 1, 100000}) {
      EXPECT_EQ(Parse(front + Repeat("<a>", levels)), -1) << front << levels;
    }
    EXPECT_EQ(Parse(front + Repeat("<a/>", 3) + Nest("<a/>", kDeepest)), -1);
  }
  EXPECT_EQ(Parse("<r>" + Repeat("<a><b/></a><!-- <c> --><_ x='<c>'/>", 5000) + "</r>"), 3);
}

// The browser's threads have a megabyte, and are some way down it when they call.
TEST(ManifestParser, DeepNestingParsesOnASmallStack) {
  constexpr unsigned kStackSize = 512 * 1024;
  const auto parse = [](void*) -> unsigned {
    return Parse(Repeat("<a b='1'>text", 1000000)) == -1 && Parse(Nest("", kDeepest)) == kDeepest;
  };
  const CHandle thread(reinterpret_cast<HANDLE>(_beginthreadex(
      nullptr, kStackSize, parse, nullptr, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr)));
  WaitForSingleObject(thread, INFINITE);
  DWORD result = 0;
  GetExitCodeThread(thread, &result);
  EXPECT_EQ(result, 1u);
}

TEST(ManifestParser, TextInFrontOfAnErrorIsKept) {
  TiXmlDocument document;
  ParseManifest("<a><b><c></d>", document);
  EXPECT_EQ(Depth(document), 3);
  EXPECT_TRUE(document.Error());
}

/// Parses a manifest and returns the attribute "x" of its root.
std::string ParseAttribute(std::string_view text) {
  TiXmlDocument document;
  ParseManifest(text, document);
  const TiXmlElement* const root = document.RootElement();
  return root != nullptr && root->Attribute("x") != nullptr ? root->Attribute("x") : "none";
}

TEST(ManifestParser, TextIsInTheSystemCodePageWhateverTheManifestAndTheThreadSay) {
  const CThreadLocaleScope japanese(
      MAKELCID(MAKELANGID(LANG_JAPANESE, SUBLANG_DEFAULT), SORT_DEFAULT));
  std::string value;
  for (int i = 0x80; i < 0x100; ++i) {
    value += static_cast<char>(i);
  }
  value += '\xE0';  // as UTF-8 it would take in the quote after it
  for (const std::string declaration :
       {"", "<?xml version=\"1.0\"?>", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
        "<?xml version=\"1.0\" encoding=\"windows-1252\"?>", "\xEF\xBB\xBF"}) {
    EXPECT_EQ(ParseAttribute(declaration + "<a x=\"" + value + "\">\xC3</a>"), value)
        << declaration;
  }
}

TEST(ManifestParser, TextEndsAtAZeroByte) {
  using namespace std::string_view_literals;
  EXPECT_EQ(ParseAttribute("<a x='1'/>\0<"sv), "1");
  EXPECT_EQ(ParseAttribute("<a x='\0'/>"sv), "none");
  EXPECT_EQ(ParseAttribute("\0<a x='1'/>"sv), "none");
}

TEST(ManifestParser, ByteOrderMarkIsSkippedInADoubleByteCodePage) {
  const auto inJapan = [](UINT page) { return page == CP_ACP ? UINT{932} : page; };
  const CImportSpy<&MultiByteToWideChar> wide(
      "kernel32.dll", "MultiByteToWideChar",
      [&](UINT page, auto... arguments) { return wide.CallOriginal(inJapan(page), arguments...); });
  const CImportSpy<&WideCharToMultiByte> narrow(
      "kernel32.dll", "WideCharToMultiByte", [&](UINT page, auto... arguments) {
        return narrow.CallOriginal(inJapan(page), arguments...);
      });
  for (const std::string mark : {"", "\xEF\xBB\xBF"}) {
    EXPECT_EQ(ParseAttribute(mark + "<?xml version='1.0'?><a x='\x83\x5C\x93\xFA'/>"),
              "\x83\x5C\x93\xFA");
  }
}

}  // namespace
