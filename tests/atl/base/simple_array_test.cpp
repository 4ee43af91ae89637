#include <gtest/gtest.h>

#include <atlsimpcoll.h>
#include <atlstr.h>

#include "failing_malloc.h"

namespace {

TEST(SimpleArray, AddAndFind) {
  CSimpleArray<CString> array;
  EXPECT_EQ(0, array.GetSize());
  EXPECT_TRUE(array.Add(L"a"));
  EXPECT_TRUE(array.Add(L"b"));
  EXPECT_TRUE(array.Add(L"c"));
  EXPECT_EQ(3, array.GetSize());
  EXPECT_STREQ(L"b", array[1]);
  EXPECT_STREQ(L"c", array.GetData()[2]);
  EXPECT_EQ(2, array.Find(L"c"));
  EXPECT_EQ(-1, array.Find(L"x"));
  EXPECT_TRUE(array.SetAtIndex(1, L"x"));
  EXPECT_FALSE(array.SetAtIndex(3, L"x"));
  EXPECT_EQ(1, array.Find(L"x"));
}

TEST(SimpleArray, AnElementCanBeAddedAgain) {
  CSimpleArray<CString> array;
  EXPECT_TRUE(array.Add(L"text"));
  for (int i = 0; i < 20; ++i) {
    EXPECT_TRUE(array.Add(array[0]));
  }
  for (int i = 0; i < array.GetSize(); ++i) {
    EXPECT_STREQ(L"text", array[i]) << i;
  }
}

TEST(SimpleArray, RemoveKeepsTheOrder) {
  CSimpleArray<CString> array;
  for (const wchar_t* text : {L"a", L"b", L"c", L"d"}) {
    array.Add(text);
  }
  EXPECT_TRUE(array.RemoveAt(1));
  EXPECT_TRUE(array.Remove(L"d"));
  EXPECT_FALSE(array.Remove(L"d"));
  EXPECT_FALSE(array.RemoveAt(2));
  EXPECT_FALSE(array.RemoveAt(-1));
  ASSERT_EQ(2, array.GetSize());
  EXPECT_STREQ(L"a", array[0]);
  EXPECT_STREQ(L"c", array[1]);
  array.RemoveAll();
  EXPECT_EQ(0, array.GetSize());
  EXPECT_TRUE(array.Add(L"again"));
  EXPECT_EQ(1, array.GetSize());
}

TEST(SimpleArray, CopiesAreIndependent) {
  CSimpleArray<int> array;
  array.Add(1);
  array.Add(2);
  CSimpleArray<int> copy(array);
  copy[0] = 9;
  EXPECT_EQ(1, array[0]);
  array = copy;
  EXPECT_EQ(9, array[0]);
  const CSimpleArray<int>& same = array;
  array = same;
  EXPECT_EQ(2, array.GetSize());
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
    array.RemoveAt(2);
    EXPECT_EQ(4, count);
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
