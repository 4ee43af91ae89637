#include "tools/browser_host/browser_object.h"

#include <gtest/gtest.h>
#include <ocidl.h>
#include <ole2.h>

namespace {

class BrowserObject : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(SUCCEEDED(OleInitialize(nullptr)));
    ASSERT_EQ(CBrowserObject::Create(kFrame, m_object), S_OK);
  }
  void TearDown() override {
    m_object.Release();
    OleUninitialize();
  }

  template <class Interface>
  CComPtr<Interface> Query() {
    CComPtr<Interface> result;
    EXPECT_EQ(m_object.QueryInterface(&result), S_OK);
    return result;
  }

  // Never used as a window, only handed through.
  const HWND kFrame = reinterpret_cast<HWND>(0x4711);
  CComPtr<CBrowserObject> m_object;
};

}  // namespace

TEST_F(BrowserObject, AnswersWithTheFrameWindow) {
  SHANDLE_PTR window = 0;
  EXPECT_EQ(Query<IWebBrowser2>()->get_HWND(&window), S_OK);
  EXPECT_EQ(window, 0x4711);
  EXPECT_EQ(m_object->get_HWND(nullptr), E_POINTER);

  m_object->DetachFrame();
  EXPECT_EQ(m_object->get_HWND(&window), E_FAIL);
  EXPECT_EQ(window, 0);
}

TEST_F(BrowserObject, AnswersLateBoundCallersToo) {
  OLECHAR name[] = L"HWND";
  LPOLESTR names = name;
  DISPID id = 0;
  const auto dispatch = Query<IDispatch>();
  ASSERT_EQ(dispatch->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_NEUTRAL, &id), S_OK);
  DISPPARAMS none{};
  CComVariant result;
  ASSERT_EQ(dispatch->Invoke(id, IID_NULL, LOCALE_NEUTRAL, DISPATCH_PROPERTYGET, &none, &result,
                             nullptr, nullptr),
            S_OK);
  ASSERT_EQ(result.ChangeType(VT_I8), S_OK);
  EXPECT_EQ(result.llVal, 0x4711);
}

TEST_F(BrowserObject, HasOneIdentity) {
  const auto browser = Query<IWebBrowser2>();
  EXPECT_TRUE(browser.IsEqualObject(Query<IConnectionPointContainer>()));
  EXPECT_TRUE(browser.IsEqualObject(Query<IOleObject>()));
  EXPECT_TRUE(browser.IsEqualObject(Query<IDispatch>()));
  // From the control's interface there is a way back to the object in front of it.
  CComPtr<IWebBrowser2> back;
  ASSERT_EQ(Query<IOleObject>().QueryInterface(&back), S_OK);
  EXPECT_EQ(back.p, static_cast<IWebBrowser2*>(m_object.p));
}

TEST_F(BrowserObject, ReachesTheControlsEvents) {
  const auto container = Query<IConnectionPointContainer>();
  CComPtr<IConnectionPoint> point;
  EXPECT_EQ(container->FindConnectionPoint(DIID_DWebBrowserEvents2, &point), S_OK);
}

TEST_F(BrowserObject, HandsOnToTheControl) {
  EXPECT_EQ(m_object->put_Silent(VARIANT_TRUE), S_OK);
  VARIANT_BOOL silent = VARIANT_FALSE;
  EXPECT_EQ(m_object->get_Silent(&silent), S_OK);
  EXPECT_EQ(silent, VARIANT_TRUE);
}

TEST_F(BrowserObject, DiesWithItsLastReference) {
  auto container = Query<IConnectionPointContainer>();
  m_object->AddRef();
  EXPECT_EQ(m_object->Release(), 2u);  // the test's two, and none of the control's
  m_object.Release();
  CComPtr<IConnectionPoint> point;
  EXPECT_EQ(container->FindConnectionPoint(DIID_DWebBrowserEvents2, &point), S_OK);
  point.Release();
  EXPECT_EQ(container.Detach()->Release(), 0u);
}
