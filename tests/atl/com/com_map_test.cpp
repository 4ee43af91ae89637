// The kinds of entries in a COM map.

#include <gtest/gtest.h>

#include "atl_test_module.h"
#include "test_objects.h"

namespace {

constexpr IID kIidOther = {
    0x7C2C1C53, 0x2B3E, 0x4B7B, {0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x31}};

/// The part of a class that brings a map of its own.
class CColourPart : public IColour {
 public:
  STDMETHOD_(int, Colour)() override { return 3; }

  static const _ATL_INTMAP_ENTRY* WINAPI _GetEntries() {
    static const _ATL_INTMAP_ENTRY entries[] = {{&__uuidof(IColour), 0, _ATL_SIMPLEMAPENTRY},
                                                {nullptr, 0, nullptr}};
    return entries;
  }

 protected:
  ~CColourPart() = default;
};

class CMapped : public CComObjectRootEx<CComSingleThreadModel>,
                public INumber,
                public IPersistStreamInit,
                public IPersistStorage,
                public CColourPart {
 public:
  CMapped() = default;
  CMapped(const CMapped&) = delete;
  CMapped& operator=(const CMapped&) = delete;
  virtual ~CMapped() = default;

  BEGIN_COM_MAP(CMapped)
  COM_INTERFACE_ENTRY(INumber)
  COM_INTERFACE_ENTRY_IID(kIidOther, INumber)
  COM_INTERFACE_ENTRY(IPersistStorage)
  COM_INTERFACE_ENTRY(IPersistStreamInit)
  COM_INTERFACE_ENTRY2(IPersist, IPersistStreamInit)
  COM_INTERFACE_ENTRY_CHAIN(CColourPart)
  END_COM_MAP()

  STDMETHOD_(int, Number)() override { return 1; }
  STDMETHOD(GetClassID)(CLSID*) override { return E_NOTIMPL; }
  STDMETHOD(IsDirty)() override { return S_FALSE; }
  STDMETHOD(Load)(IStream*) override { return E_NOTIMPL; }
  STDMETHOD(Save)(IStream*, BOOL) override { return E_NOTIMPL; }
  STDMETHOD(GetSizeMax)(ULARGE_INTEGER*) override { return E_NOTIMPL; }
  STDMETHOD(InitNew)() override { return E_NOTIMPL; }
  STDMETHOD(InitNew)(IStorage*) override { return E_NOTIMPL; }
  STDMETHOD(Load)(IStorage*) override { return E_NOTIMPL; }
  STDMETHOD(Save)(IStorage*, BOOL) override { return E_NOTIMPL; }
  STDMETHOD(SaveCompleted)(IStorage*) override { return E_NOTIMPL; }
  STDMETHOD(HandsOffStorage)() override { return E_NOTIMPL; }
};

class ComMap : public testing::Test {
 protected:
  void SetUp() override {
    CComObject<CMapped>* object = nullptr;
    ASSERT_EQ(S_OK, CComObject<CMapped>::CreateInstance(&object));
    m_object = object;
    m_holder = static_cast<INumber*>(object);
  }

  /// The pointer for an interface, without a reference.
  void* Query(REFIID iid) {
    void* p = nullptr;
    m_result = m_holder->QueryInterface(iid, &p);
    if (SUCCEEDED(m_result)) {
      static_cast<IUnknown*>(p)->Release();
    }
    return p;
  }

  CLockBalance m_locks;
  CComObject<CMapped>* m_object = nullptr;
  CComPtr<INumber> m_holder;
  HRESULT m_result = E_FAIL;
};

TEST_F(ComMap, PlainEntries) {
  EXPECT_EQ(static_cast<INumber*>(m_object), Query(__uuidof(INumber)));
  EXPECT_EQ(static_cast<INumber*>(m_object), Query(kIidOther));
  EXPECT_EQ(static_cast<INumber*>(m_object), Query(IID_IUnknown));
  EXPECT_EQ(static_cast<IPersistStorage*>(m_object), Query(__uuidof(IPersistStorage)));
  EXPECT_NE(Query(__uuidof(IPersistStorage)), Query(__uuidof(IPersistStreamInit)));
}

TEST_F(ComMap, EntriesByWayOfABase) {
  EXPECT_EQ(static_cast<IPersistStreamInit*>(m_object), Query(__uuidof(IPersist)));
}

TEST_F(ComMap, ChainAsksTheBase) {
  EXPECT_EQ(static_cast<IColour*>(m_object), Query(__uuidof(IColour)));
  EXPECT_EQ(nullptr, Query(__uuidof(IDispatch)));
  EXPECT_EQ(E_NOINTERFACE, m_result);
}

TEST_F(ComMap, NothingIsLeftBehind) {
  for (const IID& iid : {__uuidof(INumber), kIidOther, __uuidof(IColour), IID_IDispatch}) {
    Query(iid);
  }
  EXPECT_EQ(1U, References(m_holder));
}

}  // namespace
