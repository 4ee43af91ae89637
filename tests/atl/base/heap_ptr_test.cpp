#include <gtest/gtest.h>

#include <atlalloc.h>

using namespace ATL;

namespace {

/// Counts the blocks that are still allocated.
struct CCountingAllocator : CCRTAllocator {
  static void* Allocate(size_t bytes) noexcept {
    ++blocks;
    return CCRTAllocator::Allocate(bytes);
  }
  static void Free(void* p) noexcept {
    blocks -= p != nullptr ? 1 : 0;
    CCRTAllocator::Free(p);
  }
  static inline int blocks = 0;
};

TEST(HeapPtr, FreesWhatItOwns) {
  using Ptr = CHeapPtr<int, CCountingAllocator>;
  {
    Ptr first;
    ASSERT_TRUE(first.Allocate(4));
    first[3] = 7;
    Ptr second(first);
    EXPECT_EQ(nullptr, first.m_pData);
    EXPECT_EQ(7, second[3]);
    ASSERT_TRUE(second.Reallocate(100));
    EXPECT_EQ(7, second[3]);
    first = second;
    EXPECT_EQ(nullptr, second.m_pData);
    ASSERT_TRUE(second.Allocate());
    second = std::move(first);
    EXPECT_EQ(7, second[3]);
    EXPECT_EQ(1, CCountingAllocator::blocks);
    CCountingAllocator::Free(second.Detach());
    second.Free();
  }
  EXPECT_EQ(0, CCountingAllocator::blocks);
}

TEST(HeapPtr, SizesThatOverflowAreRefused) {
  CHeapPtr<int> block;
  EXPECT_FALSE(block.Allocate(SIZE_MAX / 2));
  EXPECT_FALSE(block.Reallocate(SIZE_MAX / 2));
  EXPECT_EQ(nullptr, block.m_pData);
}

template <class Allocator>
void ExpectWorkingAllocator() {
  CHeapPtr<wchar_t, Allocator> block;
  ASSERT_TRUE(block.Reallocate(2));
  block[1] = L'x';
  ASSERT_TRUE(block.Reallocate(1000));
  EXPECT_EQ(L'x', block[1]);
}
TEST(HeapPtr, AllocatorsReallocateFromNothing) {
  ExpectWorkingAllocator<CCRTAllocator>();
  ExpectWorkingAllocator<CComAllocator>();
  ExpectWorkingAllocator<CLocalAllocator>();
}

TEST(ComHeapPtr, TakesMemoryFromComFunctions) {
  CComHeapPtr<OLECHAR> text;
  ASSERT_EQ(S_OK, ::StringFromCLSID(IID_IUnknown, &text));
  EXPECT_STREQ(L"{00000000-0000-0000-C000-000000000046}", static_cast<OLECHAR*>(text));
}

}  // namespace
