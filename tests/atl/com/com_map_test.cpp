// The kinds of entries in a COM map.

#include "test_objects.h"

namespace {

using ComMap = ComTest;

constexpr IID kIidOther = {
    0x7C2C1C53, 0x2B3E, 0x4B7B, {0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x31}};

struct IFirst : INumber {};
struct ISecond : INumber {};

/// Its base class has a map of its own.
class CMapped : public IFirst, public ISecond, public CTestObject {
 public:
  BEGIN_COM_MAP(CMapped)
  COM_INTERFACE_ENTRY_IID(kIidOther, IFirst)
  COM_INTERFACE_ENTRY2(INumber, ISecond)
  COM_INTERFACE_ENTRY_CHAIN(CTestObject)
  END_COM_MAP()

  STDMETHOD_(int, Number)() override { return 1; }
};

TEST_F(ComMap, EntriesLeadToTheirBaseClasses) {
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
