#include <gtest/gtest.h>

#include <atlcomcli.h>
#include <oaidl.h>
#include <objidl.h>

#include <memory>
#include <utility>

#include "tests/atl/stack_object.h"

using namespace ATL;

namespace {

class CCountedObject : public CStackObject<ISupportErrorInfo, IPersist> {
 public:
  /// Leaves a pointer behind when it fails, which the caller must ignore.
  STDMETHOD(QueryInterface)(REFIID iid, void** object) override {
    const HRESULT hr = CStackObject::QueryInterface(iid, object);
    *object = SUCCEEDED(hr) ? *object : this;
    return hr;
  }
  STDMETHOD(InterfaceSupportsErrorInfo)(REFIID) override { return S_FALSE; }
  STDMETHOD(GetClassID)(CLSID*) override { return E_NOTIMPL; }
};

TEST(ComPtr, CountsOneReferencePerOwner) {
  CCountedObject object;
  const CComPtr<IPersist> first(&object);
  EXPECT_EQ(1U, object.References());
  CComPtr<IPersist> second(first);
  EXPECT_EQ(2U, object.References());
  CComPtr<IPersist> third(std::move(second));
  EXPECT_EQ(2U, object.References());
  EXPECT_TRUE(!second);  // NOLINT(bugprone-use-after-move): that is what is tested
  second = third;
  EXPECT_EQ(3U, object.References());
  const CComPtr<IPersist>& same = second;
  second = same;
  EXPECT_EQ(3U, object.References());
  second = std::move(third);
  EXPECT_EQ(2U, object.References());
  second = nullptr;
  EXPECT_EQ(1U, object.References());
  second = &object;
  second.Release();
  second.Release();
  EXPECT_EQ(1U, object.References());
  object.AddRef();
  second.Attach(&object);
  EXPECT_EQ(S_OK, second.CopyTo(&third));
  EXPECT_EQ(3U, object.References());
  second.Attach(third.Detach());
  EXPECT_EQ(2U, object.References());
}

TEST(ComPtr, ReleaseIsReentrant) {
  class CReentrant : public CCountedObject {
   public:
    STDMETHOD_(ULONG, Release)() override {
      const ULONG left = CCountedObject::Release();
      if (m_owner != nullptr) {
        m_owner->Release();
      }
      return left;
    }
    CComPtr<IPersist>* m_owner = nullptr;
  } object;
  CComPtr<IPersist> owner(&object);
  object.m_owner = std::addressof(owner);
  owner.Release();
  EXPECT_EQ(0U, object.References());
  owner = &object;
  owner = nullptr;
  EXPECT_EQ(0U, object.References());
}

TEST(ComPtrQuery, QueriesForItsInterface) {
  CCountedObject object;
  const CComQIPtr<IStream> stream(static_cast<IPersist*>(&object));
  EXPECT_EQ(nullptr, stream.p);
  CComQIPtr<ISupportErrorInfo> info(static_cast<IPersist*>(&object));
  EXPECT_EQ(static_cast<ISupportErrorInfo*>(&object), info.p);
  EXPECT_EQ(1U, object.References());
  info = static_cast<IUnknown*>(nullptr);
  EXPECT_EQ(0U, object.References());
  info = static_cast<IPersist*>(&object);
  EXPECT_EQ(1U, object.References());
}

}  // namespace
