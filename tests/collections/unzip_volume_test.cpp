// Many entries, many bytes, many runs: without heap checks, which take a look at everything each
// time.
#include <gmock/gmock.h>

#include <functional>

#include "tests/doubles/unzip/unzip_search_path.h"
#include "tests/support/process_counts.h"
#include "tests/unzip/unzip_test.h"

namespace {

using testing::Optional;
using testing::SizeIs;

class UnzipVolume : public testing::Test {
 protected:
  const CUnzipSearchPath m_path{RealUnzipFolder()};
};

TEST_F(UnzipVolume, ReadsManyEntries) {
  const auto names = List(Archive(L"many"));
  ASSERT_THAT(names, Optional(SizeIs(10000)));
  EXPECT_EQ(names->front(), L"part0/entry9999.txt");
  EXPECT_EQ(names->back(), L"part9/entry0000.txt");
  EXPECT_EQ(Unzip(Archive(L"many"), L"part9/entry0000.txt"), "9999");
}

TEST_F(UnzipVolume, ReadsWhatIsAThousandTimesLargerThanItsArchive) {
  const auto bytes = Unzip(Archive(L"zeros"), L"zeros.bin");
  ASSERT_THAT(bytes, Optional(SizeIs(30u << 20)));
  EXPECT_EQ(bytes->find_first_not_of('\0'), std::string::npos);
}

/// Handles, heap blocks and memory after many runs, by how much they are more than after a few.
void ExpectLevel(const std::function<void()>& run) {
  constexpr int kRuns = 200;
  for (int i = 0; i < 5; ++i) {
    run();
  }
  const int handles = CountHandles();
  const int blocks = CountHeapBlocks();
  const size_t memory = CommittedMemory();
  for (int i = 0; i < kRuns; ++i) {
    run();
  }
  EXPECT_LE(CountHandles(), handles);
  EXPECT_LT(CountHeapBlocks(), blocks + kRuns / 10);
  EXPECT_LT(CommittedMemory(), memory + (1u << 20));
}

TEST(UnzipLeaks, SuccessLeavesNothing) {
  const CUnzipSearchPath path(RealUnzipFolder());
  CStdoutCapture output;
  ExpectLevel([&] {
    EXPECT_TRUE(List(Archive(L"deflated")).has_value());
    EXPECT_TRUE(Unzip(Archive(L"deflated"), L"folder/inner/c.bin").has_value());
    EXPECT_TRUE(Unzip(Archive(L"empty_entry"), L"empty.txt").has_value());
    EXPECT_TRUE(List(Archive(L"empty")).has_value());
    EXPECT_FALSE(IsUnzipLoaded());
    output.Take();
  });
}

TEST(UnzipLeaks, FailureLeavesTheLibraryOnly) {
  const CUnzipSearchPath path(RealUnzipFolder());
  CStdoutCapture output;
  ExpectLevel([&] {
    for (const wchar_t* name : {L"bad_crc", L"bad_data", L"lying_size", L"claims_4g", L"encrypted",
                                L"overlapping", L"not there"}) {
      EXPECT_FALSE(Unzip(Archive(name), L"*").has_value());
    }
    for (const wchar_t* name : {L"cut_end", L"cut_front", L"wrong_count", L"no_zip"}) {
      EXPECT_FALSE(List(Archive(name)).has_value());
    }
    output.Take();
  });
}

TEST(UnzipLeaks, NoLibraryLeavesNothing) {
  const CUnzipSearchPath path(UnzipDoubleFolder(L"without_free"));
  CStdoutCapture output;
  ExpectLevel([&] {
    EXPECT_FALSE(List(Archive(L"stored")).has_value());
    EXPECT_FALSE(Unzip(Archive(L"stored"), L"a.txt").has_value());
    output.Take();
  });
}

}  // namespace
