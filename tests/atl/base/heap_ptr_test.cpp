#include <gtest/gtest.h>

#include <atlalloc.h>

using namespace ATL;

namespace {

/// Notes what it is given back.
struct CRecordingAllocator {
  static void Free(void* p) noexcept {
    if (p != nullptr) {
      last = p;
      ++freed;
    }
  }
  static inline void* last = nullptr;
  static inline int freed = 0;
};

TEST(HeapPtr, FreesWhatItOwns) {
  int block = 0;
  {
    CHeapPtr<int, CRecordingAllocator> owner;
    *&owner = &block;
    owner.Free();
    EXPECT_EQ(&block, CRecordingAllocator::last);
    EXPECT_EQ(nullptr, owner.m_pData);
    owner.Free();
    EXPECT_EQ(1, CRecordingAllocator::freed) << "once";
    *&owner = &block;
  }
  EXPECT_EQ(2, CRecordingAllocator::freed);
}

TEST(ComHeapPtr, TakesMemoryFromComFunctions) {
  CComHeapPtr<OLECHAR> text;
  ASSERT_EQ(S_OK, ::StringFromCLSID(IID_IUnknown, &text));
  EXPECT_STREQ(L"{00000000-0000-0000-C000-000000000046}", static_cast<OLECHAR*>(text));
}

}  // namespace
