// Many runs with the real library: without heap checks, each of which looks at everything.
#include <gtest/gtest.h>

#include "tests/collections/unzip_calls.h"
#include "tests/doubles/unzip/unzip_search_path.h"
#include "tests/support/process_counts.h"

namespace {

TEST(UnzipVolume, ManyRunsLeaveNothingBehind) {
  constexpr int kRuns = 30;
  const CUnzipSearchPath path(RealUnzipFolder());
  CStdoutCapture output;
  const auto run = [&] {
    for (const wchar_t* name : {L"deflated", L"empty"}) {
      EXPECT_TRUE(List(Archive(name)).has_value());
    }
    EXPECT_TRUE(Unzip(Archive(L"deflated"), L"folder/inner/c.bin").has_value());
    for (const wchar_t* name :
         {L"bad_crc", L"lying_size", L"claims_4g", L"encrypted", L"overlapping", L"not there"}) {
      EXPECT_FALSE(Unzip(Archive(name), L"*").has_value());
    }
    EXPECT_FALSE(List(Archive(L"cut_end")).has_value());
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
