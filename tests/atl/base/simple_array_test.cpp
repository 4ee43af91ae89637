#include <gtest/gtest.h>

#include <atlsimpcoll.h>
#include <atlstr.h>

#include "failing_malloc.h"

namespace {

TEST(SimpleArray, AddedElementsKeepTheirOrder) {
  CSimpleArray<CStringW> array;
  EXPECT_EQ(0, array.GetSize());
  for (const PCWSTR text : {L"a", L"b", L"c"}) {
    EXPECT_TRUE(array.Add(text));
  }
  EXPECT_TRUE(array.Add(array[0])) << "an element of the array itself";
  ASSERT_EQ(4, array.GetSize());
  EXPECT_STREQ(L"a", array[0]);
  EXPECT_STREQ(L"c", array[2]);
  EXPECT_STREQ(L"a", array[3]);
  array.RemoveAll();
  EXPECT_EQ(0, array.GetSize());
}

TEST(SimpleArray, IndexOutsideThrows) {
  CSimpleArray<int> array;
  array.Add(1);
  EXPECT_THROW(array[1], CAtlException);
  EXPECT_THROW(array[-1], CAtlException);
}

TEST(SimpleArray, AddReturnsFalseWhenOutOfMemory) {
  CSimpleArray<CStringW> array;
  array.Add(L"text");
  const CStringW other(L"other");
  const CFailingMalloc failing(0);
  EXPECT_FALSE(array.Add(other));
  EXPECT_EQ(1, array.GetSize());
}

}  // namespace
