// Focus, mouse, keys and messages.

#include "control_fixture.h"

namespace {

using testing::ElementsAre;

class Input : public ControlTest {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    OpenContainer();
    ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
    m_site.m_log.Take();
  }
};

TEST_F(Input, FocusActivatesTheUserInterface) {
  SetFocus(ControlWindow());
  EXPECT_TRUE(Plate().m_bUIActive);
  const auto calls = m_site.m_log.Take();
  EXPECT_THAT(calls, testing::Contains("OnUIActivate"));
  EXPECT_EQ("OnFocus", calls.back());
  SetFocus(m_window);
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("OnBlur"));
  SetFocus(ControlWindow());
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("OnFocus")) << "is active already";
}

TEST_F(Input, ClickActivatesTheUserInterfaceInUserMode) {
  for (const bool userMode : {false, true}) {
    m_site.m_userMode = userMode;
    EXPECT_EQ(MA_ACTIVATE,
              SendMessageW(ControlWindow(), WM_MOUSEACTIVATE, reinterpret_cast<WPARAM>(m_window),
                           MAKELPARAM(HTCLIENT, WM_LBUTTONDOWN)));
    EXPECT_EQ(userMode, Plate().m_bUIActive != 0);
  }
}

TEST_F(Input, CloseDuringOnUIActivateOmitsOnFocus) {
  m_site.m_log.On("OnUIActivate", [this] { m_object->Close(OLECLOSE_NOSAVE); });
  SetFocus(ControlWindow());
  EXPECT_THAT(m_site.m_log.Take(), testing::Not(testing::Contains("OnFocus")));
  m_site.m_log.On("OnUIActivate", [] {});
}

TEST_F(Input, LastReleaseDuringMessageKeepsControlUntilReturn) {
  const struct {
    UINT message;
    const char* call;
  } rows[] = {
      {WM_SETFOCUS, "GetWindowContext"},
      {WM_SETFOCUS, "RequestUIActivate"},
      {WM_SETFOCUS, "OnUIActivate"},
      {WM_SETFOCUS, "frame.SetActiveObject"},
      {WM_SETFOCUS, "frame.SetBorderSpace"},
      {WM_SETFOCUS, "document.SetActiveObject"},
      {WM_SETFOCUS, "document.SetBorderSpace"},
      {WM_SETFOCUS, "ShowObject"},
      {WM_SETFOCUS, "OnFocus"},
      {WM_KILLFOCUS, "OnBlur"},
      {WM_MOUSEACTIVATE, "Ambient"},
      {WM_MOUSEACTIVATE, "OnUIActivate"},
      {WM_MOUSEACTIVATE, "OnFocus"},
  };
  m_site.m_kind = CTestSite::Kind::kEx;
  EXPECT_EQ(S_OK, m_object->Close(OLECLOSE_NOSAVE));
  m_object.Release();
  for (const auto& [message, call] : rows) {
    SCOPED_TRACE(call);
    Create();
    ASSERT_EQ(S_OK, m_object->SetClientSite(&m_site));
    ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
    const HWND window = ControlWindow();
    SetFocus(message == WM_KILLFOCUS ? window : m_window);
    int calls = 0;
    m_site.m_log.On(call, [&] {
      ++calls;
      ReleaseAll();
      EXPECT_EQ(1, g_plates.alive) << "held until the message has returned";
    });
    if (message == WM_MOUSEACTIVATE) {
      SendMessageW(window, message, reinterpret_cast<WPARAM>(m_window),
                   MAKELPARAM(HTCLIENT, WM_LBUTTONDOWN));
    } else {
      SetFocus(message == WM_KILLFOCUS ? m_window : window);
    }
    m_site.m_log.On(call, [] {});
    EXPECT_LE(1, calls);
    ReleaseAll();  // what was handed out after the call
    EXPECT_EQ(0, g_plates.alive);
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(0U, m_site.References());
  }
}

TEST_F(Input, KeyMessageIsPassedToSiteWithModifiers) {
  const auto active = As<IOleInPlaceActiveObject>();
  MSG message = {ControlWindow(), WM_KEYDOWN, VK_TAB, 0, 0, {}};
  for (const auto& [key, modifier] : {std::pair(VK_SHIFT, 1U), std::pair(VK_CONTROL, 2U),
                                      std::pair(VK_MENU, 4U), std::pair(VK_TAB, 0U)}) {
    BYTE keys[256] = {};
    keys[key] = 0x80;
    ASSERT_TRUE(SetKeyboardState(keys));
    EXPECT_EQ(S_OK, active->TranslateAccelerator(&message));
    EXPECT_EQ(modifier, m_site.m_keyModifiers);
    keys[key] = 0;
    ASSERT_TRUE(SetKeyboardState(keys));
  }
  for (const HRESULT answer : {S_FALSE, E_NOTIMPL}) {
    m_site.m_results["TranslateAccelerator"] = answer;
    EXPECT_EQ(S_FALSE, active->TranslateAccelerator(&message));
  }
}

TEST_F(Input, ReflectedMessageCallsDefaultProcedure) {
  const HDC hdc = GetDC(ControlWindow());
  const auto colour = [&](UINT message) {
    return SendMessageW(ControlWindow(), message, reinterpret_cast<WPARAM>(hdc),
                        reinterpret_cast<LPARAM>(ControlWindow()));
  };
  EXPECT_NE(0, colour(WM_CTLCOLORSTATIC)) << "the system's brush";
  EXPECT_EQ(colour(WM_CTLCOLORSTATIC), colour(OCM_CTLCOLORSTATIC));
  EXPECT_EQ(0, colour(OCM__BASE + WM_USER)) << "not one of them";
  ReleaseDC(ControlWindow(), hdc);
}

TEST_F(Input, OnWindowMessageCallsMessageMap) {
  const auto object = As<IOleInPlaceObjectWindowless>();
  LRESULT result = 1;
  EXPECT_EQ(S_FALSE, object->OnWindowMessage(WM_NULL, 0, 0, &result));
  EXPECT_EQ(0, result);
  EXPECT_EQ(S_OK, object->OnWindowMessage(OCM_COMMAND, 0, 0, &result)) << "reflected ones stay";
}

}  // namespace
