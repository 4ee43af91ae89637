#include "download/file_types.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <string>
#include <tuple>
#include <vector>

namespace {

using std::wstring;
using enum FileKind;
using enum SaveFilter;
using enum LinkRule;
using Heads = std::vector<std::string>;

TEST(FileTypes, TableHasExactlyTheseRows) {
  const std::string zlib = "\x78\x9C";
  const std::string yes = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)";
  const std::string no = R"(<?xml version="1.0" encoding="UTF-8" standalone="no"?>)";
  const Heads qdk = {zlib, yes + "<qdk ", no + "\r\n<qdk ", no + "\n<qdk "};
  const Heads qdc = {zlib, yes + "<col>", no + "\r\n<col>", no + "\n<col>"};
  const Heads fvk = {"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"};
  const Heads zip = {"PK\x03\x04"};
  using Row = std::tuple<wstring, FileKind, int, SaveFilter, LinkRule, Heads>;
  std::vector<Row> rows;
  for (const CFileType& type : GetFileTypes()) {
    rows.emplace_back(type.extension, type.kind, type.filterPlace, type.filter, type.links,
                      Heads(type.heads.begin(), type.heads.end()));
  }
  const std::vector<Row> expected = {
      {L".qdk", kLesson, 2, kOfItsKind, kChecked, qdk},
      {L".qdc", kGallery, 3, kOfItsKind, kChecked, qdc},
      {L".qdt", kGallery, 4, kNone, kChecked, {}},
      {L".fvk", kLesson, 3, kOfItsKind, kChecked, fvk},
      {L".folivo", kLesson, 1, kOfItsKind, kChecked, zip},
      {L".gallery", kGallery, 1, kOfItsKind, kChecked, zip},
      {L".galleryitem", kGallery, 2, kOfItsKind, kChecked, zip},
      {L".qdi", kGallery, 5, kOfItsKind, kNotChecked, {}},
  };
  EXPECT_EQ(rows, expected);
}

TEST(FileTypes, ExtensionInAnyCaseGivesItsRowAndAnythingElseNone) {
  for (const CFileType& type : GetFileTypes()) {
    wstring extension(type.extension);
    for (wchar_t& letter : extension) {
      EXPECT_EQ(FindFileType(extension), &type) << extension;
      letter = static_cast<wchar_t>(std::towupper(letter));
    }
    EXPECT_EQ(FindFileType(extension), &type) << extension;
  }
  for (const wchar_t* extension :
       {L"", L".", L"folivo", L"qdk", L".folivo ", L".folivo#part", L".b/file", L".html", L".zip",
        L".qdkx", L".qd", L".galleryitems"}) {
    EXPECT_EQ(FindFileType(extension), nullptr) << extension;
  }
}

}  // namespace
