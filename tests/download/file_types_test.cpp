#include "download/file_types.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cwctype>
#include <string>
#include <tuple>
#include <vector>

namespace {

using std::wstring;
using enum FileKind;
using enum SaveFilter;
using enum LinkRule;

// The heads are in content_check_test.cpp.
TEST(FileTypes, TableHasExactlyTheseRows) {
  using Row = std::tuple<wstring, FileKind, int, SaveFilter, LinkRule, std::size_t>;
  std::vector<Row> rows;
  for (const CFileType& type : GetFileTypes()) {
    rows.emplace_back(type.extension, type.kind, type.filterPlace, type.filter, type.links,
                      type.heads.size());
  }
  EXPECT_EQ(rows, (std::vector<Row>{
                      {L".qdk", kLesson, 2, kOfItsKind, kIntercepted, 4},
                      {L".qdc", kGallery, 3, kOfItsKind, kIntercepted, 4},
                      {L".qdt", kGallery, 4, kNone, kIntercepted, 0},
                      {L".fvk", kLesson, 3, kOfItsKind, kIntercepted, 1},
                      {L".folivo", kLesson, 1, kOfItsKind, kIntercepted, 1},
                      {L".gallery", kGallery, 1, kOfItsKind, kIntercepted, 1},
                      {L".galleryitem", kGallery, 2, kOfItsKind, kIntercepted, 1},
                      {L".qdi", kGallery, 5, kOfItsKind, kLeftToBrowser, 0},
                  }));
}

TEST(FindFileType, ExtensionInAnyCaseGivesItsRow) {
  for (const CFileType& type : GetFileTypes()) {
    wstring extension(type.extension);
    EXPECT_EQ(FindFileType(extension), &type) << extension;
    for (wchar_t& letter : extension) {
      letter = static_cast<wchar_t>(std::towupper(letter));
      EXPECT_EQ(FindFileType(extension), &type) << extension;
    }
  }
}

TEST(FindFileType, AnythingElseGivesNull) {
  for (const wchar_t* extension :
       {L"", L".", L"folivo", L"qdk", L".folivo ", L".folivo#part", L".b/file", L".html", L".zip",
        L".qdkx", L".qd", L".galleryitems"}) {
    EXPECT_EQ(FindFileType(extension), nullptr) << extension;
  }
}

}  // namespace
