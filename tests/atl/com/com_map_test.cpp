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

struct IFirst : INumber {};
struct ISecond : INumber {};

class CMapped : public CComObjectRootEx<CComSingleThreadModel>,
                public IFirst,
                public ISecond,
                public CColourPart {
 public:
  CMapped() = default;
  CMapped(const CMapped&) = delete;
  CMapped& operator=(const CMapped&) = delete;
  virtual ~CMapped() = default;

  BEGIN_COM_MAP(CMapped)
  COM_INTERFACE_ENTRY_IID(kIidOther, IFirst)
  COM_INTERFACE_ENTRY2(INumber, ISecond)
  COM_INTERFACE_ENTRY_CHAIN(CColourPart)
  END_COM_MAP()

  STDMETHOD_(int, Number)() override { return 1; }
};

TEST(ComMap, EntriesLeadToTheirBaseClasses) {
  const CLockBalance locks;
  CComObject<CMapped>* object = nullptr;
  ASSERT_EQ(S_OK, CComObject<CMapped>::CreateInstance(&object));
  const CComPtr<IUnknown> holder(object->GetUnknown());
  const auto query = [&](REFIID iid) {
    CComPtr<IUnknown> found;
    const HRESULT hr = holder->QueryInterface(iid, reinterpret_cast<void**>(&found));
    EXPECT_EQ(found != nullptr ? S_OK : E_NOINTERFACE, hr);
    return found.p;
  };
  EXPECT_EQ(static_cast<IFirst*>(object), query(kIidOther));
  EXPECT_EQ(static_cast<IFirst*>(object), query(IID_IUnknown));
  EXPECT_EQ(static_cast<ISecond*>(object), query(__uuidof(INumber)));
  EXPECT_EQ(static_cast<IColour*>(object), query(__uuidof(IColour)));
  EXPECT_EQ(nullptr, query(IID_IDispatch));
  EXPECT_EQ(1U, References(holder));
}

}  // namespace
