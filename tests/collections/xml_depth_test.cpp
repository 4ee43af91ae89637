#include "collections/xml_depth.h"

#include <gtest/gtest.h>
#include <tinyxml.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <string>

namespace {

std::string Repeat(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

int Depth(const std::string& text) { return MeasureXmlDepth(text.c_str()); }

/// How deeply the parser really nested.
int ParsedDepth(const TiXmlNode& node) {
  int deepest = 0;
  for (const TiXmlNode* child = node.FirstChild(); child; child = child->NextSibling()) {
    deepest = std::max(deepest, ParsedDepth(*child) + (child->ToElement() != nullptr ? 1 : 0));
  }
  return deepest;
}

int ParsedDepth(const std::string& text) {
  TiXmlDocument document;
  document.Parse(text.c_str(), nullptr, TIXML_ENCODING_LEGACY);
  return ParsedDepth(document);
}

TEST(XmlDepth, CountsNestedElements) {
  EXPECT_EQ(Depth(""), 0);
  EXPECT_EQ(Depth("text only"), 0);
  EXPECT_EQ(Depth("<a/>"), 1);
  EXPECT_EQ(Depth("<a><b/><b></b><b><c/></b></a>"), 3);
  EXPECT_EQ(Depth(Repeat("<a>", 100000)), 100000);
  EXPECT_EQ(Depth(Repeat("<a>", 500) + Repeat("</a>", 500)), 500);
}

TEST(XmlDepth, SiblingsDoNotNest) {
  EXPECT_EQ(Depth("<a>" + Repeat("<b x='1'></b><c/>text", 5000) + "</a>"), 2);
}

TEST(XmlDepth, WhatLooksLikeATagElsewhereIsNone) {
  EXPECT_EQ(Depth("<?xml version=\"1.0\" encoding='UTF-8' standalone=\"yes\"?><a/>"), 1);
  EXPECT_EQ(Depth("<?xml version='1.0'?><?xml-stylesheet href='a.xsl'?><a/>"), 1);
  EXPECT_EQ(Depth("<a><!-- <b><c> --></a>"), 1);
  EXPECT_EQ(Depth("<a><![CDATA[<b><c>]]></a>"), 1);
  EXPECT_EQ(Depth("<a x='<b><c>' y=\"<d>/\"></a>"), 1);
  EXPECT_EQ(Depth("<!DOCTYPE a><a>1 &lt; 2 &#60; &#x3c;</a>"), 1);
}

// Each of these hides elements from a reader that takes the text for what it shows.
TEST(XmlDepth, NothingIsHiddenFromIt) {
  const std::string deep = Repeat("<a>", 1000);
  for (const std::string& text : {
           "<?xml version=\"><!--\"?>" + deep,
           "<?xml href=\"x version=\" ?><!-- \" ?>" + deep,
           Repeat("<a><!--></a>-->", 1000),
           "<![cdata[>" + deep,
           "<1 \">" + deep,
           "<a b=\"&#x\"><!-- x41; \">" + deep,
           "<a b=\"&#1\"><!-- #41; \">" + deep,
           "<a>&#x<!-- x41; <b>" + deep,
           "<a>" + Repeat("<?xml version=\"></a>\"?><b>", 1000),
       }) {
    EXPECT_GE(Depth(text), 999) << text.substr(0, 60);
  }
}

TEST(XmlDepth, IsNeverBelowTheParsers) {
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
                               "--",
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
                               "&lt;",
                               "\xC3",
                               "\xEF",
                               "version=",
                               "encoding ",
                               "standalone=",
                               "<a b='",
                               "<1 ",
                               "<a b=\"",
                               "9",
                               "<?XML version=\"1\"",
                               "<?xml version='1.0' encoding='x'?>"};
  std::mt19937 random(1);
  int nested = 0;
  for (int i = 0; i < 3000; ++i) {
    std::string text = random() % 2 == 0 ? "<a>" : "";
    for (auto length = random() % 20; length > 0; --length) {
      text += parts[random() % std::size(parts)];
    }
    const int parsed = ParsedDepth(text);
    nested += parsed > 2 ? 1 : 0;
    ASSERT_GE(Depth(text), parsed) << text;
  }
  EXPECT_GT(nested, 50) << "the texts must put something to the test";
}

}  // namespace
