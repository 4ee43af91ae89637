#include <gtest/gtest.h>

#include <atlsimpcoll.h>
#include <atlstr.h>

#include "failing_malloc.h"

namespace {

TEST(SimpleArray, KeepsTheOrder) {
  CSimpleArray<CStringW> array;
  EXPECT_EQ(0, array.GetSize());
  EXPECT_TRUE(array.Add(L"a"));
  EXPECT_TRUE(array.Add(L"b"));
  EXPECT_TRUE(array.Add(L"c"));
  ASSERT_EQ(3, array.GetSize());
  EXPECT_STREQ(L"a", array[0]);
  EXPECT_STREQ(L"b", array[1]);
  EXPECT_STREQ(L"c", array[2]);
  array.RemoveAll();
  EXPECT_EQ(0, array.GetSize());
  EXPECT_TRUE(array.Add(L"again"));
  EXPECT_EQ(1, array.GetSize());
}

TEST(SimpleArray, AnElementCanBeAddedAgain) {
  CSimpleArray<CStringW> array;
  EXPECT_TRUE(array.Add(L"text"));
  for (int i = 0; i < 20; ++i) {
    EXPECT_TRUE(array.Add(array[0]));
  }
  for (int i = 0; i < array.GetSize(); ++i) {
    EXPECT_STREQ(L"text", array[i]) << i;
  }
}

TEST(SimpleArray, IndexIsChecked) {
  CSimpleArray<int> array;
  array.Add(1);
  EXPECT_THROW(array[1], CAtlException);
  EXPECT_THROW(array[-1], CAtlException);
}

TEST(SimpleArray, ElementsAreDestroyed) {
  struct CCounted {
    explicit CCounted(int& count) : m_count(&count) { ++*m_count; }
    CCounted(const CCounted& other) : m_count(other.m_count) { ++*m_count; }
    CCounted& operator=(const CCounted&) = default;
    ~CCounted() { --*m_count; }
    int* m_count;
  };
  int count = 0;
  {
    CSimpleArray<CCounted> array;
    for (int i = 0; i < 5; ++i) {
      array.Add(CCounted(count));
    }
    EXPECT_EQ(5, count);
  }
  EXPECT_EQ(0, count);
}

TEST(SimpleArray, OutOfMemoryIsReported) {
  CSimpleArray<int> array;
  array.Add(1);
  const CFailingMalloc failing(0);
  EXPECT_FALSE(array.Add(2));
  EXPECT_EQ(1, array.GetSize());
}

}  // namespace
