// Many entries, many bytes, many runs: without heap checks, each of which looks at everything.
#include <gmock/gmock.h>

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

TEST_F(UnzipVolume, ManyRunsLeaveNothingBehind) {
  constexpr int kRuns = 30;
  const CUnzipSearchPath path(RealUnzipFolder());
  CStdoutCapture output;
  const auto run = [&] {
    for (const wchar_t* name : {L"deflated", L"empty", L"empty_entry"}) {
      EXPECT_TRUE(List(Archive(name)).has_value());
    }
    EXPECT_TRUE(Unzip(Archive(L"deflated"), L"folder/inner/c.bin").has_value());
    for (const wchar_t* name : {L"bad_crc", L"bad_data", L"lying_size", L"claims_4g", L"encrypted",
                                L"overlapping", L"not there"}) {
      EXPECT_FALSE(Unzip(Archive(name), L"*").has_value());
    }
    for (const wchar_t* name : {L"cut_end", L"cut_front", L"wrong_count", L"no_zip"}) {
      EXPECT_FALSE(List(Archive(name)).has_value());
    }
    const CUnzipSearchPath unusable(UnzipDoubleFolder(L"without_free"));
    EXPECT_FALSE(List(Archive(L"stored")).has_value());
    EXPECT_FALSE(Unzip(Archive(L"stored"), L"a.txt").has_value());
    output.Take();
  };
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

}  // namespace
