#include <gtest/gtest.h>

#include <atlcomcli.h>
#include <objidl.h>

#include <memory>

#include "counted_object.h"

using namespace ATL;

namespace {

TEST(ComPtr, CountsOneReferencePerOwner) {
  CCountedObject object;
  {
    const CComPtr<IPersist> first(&object);
    EXPECT_EQ(2, object.References());
    CComPtr<IPersist> second(first);
    EXPECT_EQ(3, object.References());
    CComPtr<IPersist> third(std::move(second));
    EXPECT_EQ(3, object.References());
    EXPECT_TRUE(!second);  // NOLINT(bugprone-use-after-move): that is what is tested
    second = third;
    EXPECT_EQ(4, object.References());
    const CComPtr<IPersist>& same = second;
    second = same;
    EXPECT_EQ(4, object.References());
    second = std::move(third);
    EXPECT_EQ(3, object.References());
    second = nullptr;
    EXPECT_EQ(2, object.References());
    second = &object;
    second.Release();
    second.Release();
    EXPECT_EQ(2, object.References());
    object.AddRef();
    second.Attach(&object);
    EXPECT_EQ(S_OK, second.CopyTo(&third));
    EXPECT_EQ(4, object.References());
    second.Attach(third.Detach());
    EXPECT_EQ(3, object.References());
  }
  EXPECT_EQ(1, object.References());
}

TEST(ComPtr, ComparesIdentitiesAndQueries) {
  CCountedObject object;
  CCountedObject other;
  const CComPtr<IPersist> owner(&object);
  const CComPtr<IPersist> empty;
  EXPECT_TRUE(owner == static_cast<IPersist*>(&object));
  EXPECT_TRUE(owner.IsEqualObject(object.Unknown()));
  EXPECT_FALSE(owner.IsEqualObject(other.Unknown()));
  EXPECT_FALSE(owner.IsEqualObject(nullptr));
  EXPECT_FALSE(empty.IsEqualObject(object.Unknown()));
  EXPECT_TRUE(empty.IsEqualObject(nullptr));
  EXPECT_EQ(2, object.References());
  CComPtr<ISupportErrorInfo> info;
  EXPECT_EQ(S_OK, owner.QueryInterface(&info));
  EXPECT_EQ(static_cast<ISupportErrorInfo*>(&object), info.p);
  EXPECT_EQ(3, object.References());
  ISupportErrorInfo* none = nullptr;
  EXPECT_EQ(E_POINTER, empty.QueryInterface(&none));
  EXPECT_THROW(*empty, CAtlException);
}

TEST(ComPtr, ReleaseIsSafeAgainstBeingEnteredAgain) {
  // An object whose last Release reaches back to the owner that is letting it go.
  class CReentrant : public CCountedObject {
   public:
    STDMETHODIMP_(ULONG) Release() override {
      const ULONG left = CCountedObject::Release();
      if (left == 1 && m_owner != nullptr) {
        m_owner->Release();
      }
      return left;
    }
    CComPtr<IPersist>* m_owner = nullptr;
  } object;
  CComPtr<IPersist> owner(&object);
  object.m_owner = std::addressof(owner);
  owner.Release();
  EXPECT_EQ(1, object.References());
  owner = static_cast<IPersist*>(&object);
  owner = static_cast<IPersist*>(nullptr);
  EXPECT_EQ(1, object.References());
}

TEST(ComQiPtr, AsksForItsInterface) {
  CCountedObject object;
  {
    const CComQIPtr<ISupportErrorInfo> info(static_cast<IPersist*>(&object));
    EXPECT_EQ(static_cast<ISupportErrorInfo*>(&object), info.p);
    const CComQIPtr<IStream> stream(static_cast<IPersist*>(&object));
    EXPECT_EQ(nullptr, stream.p);
    const CComPtr<IPersist> persist(&object);
    CComQIPtr<ISupportErrorInfo> assigned(persist);
    EXPECT_EQ(static_cast<ISupportErrorInfo*>(&object), assigned.p);
    EXPECT_EQ(4, object.References());
    assigned = static_cast<IUnknown*>(nullptr);
    EXPECT_EQ(3, object.References());
    assigned = persist;
    EXPECT_EQ(4, object.References());
  }
  EXPECT_EQ(1, object.References());
}

}  // namespace
