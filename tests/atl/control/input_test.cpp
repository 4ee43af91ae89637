// Focus, mouse, keys and messages.

#include "control_fixture.h"

namespace {

using testing::ElementsAre;

class Input : public EveryControlTest {
 protected:
  void SetUp() override {
    EveryControlTest::SetUp();
    OpenContainer();
    ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
    m_site.m_log.Take();
  }
};
INSTANTIATE_FOR_EVERY_BIRTH(Input);

TEST_P(Input, FocusActivatesTheUserInterface) {
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

TEST_P(Input, ClickActivatesTheUserInterfaceInUserMode) {
  for (const bool userMode : {false, true}) {
    m_site.m_userMode = userMode;
    EXPECT_EQ(MA_ACTIVATE,
              SendMessageW(ControlWindow(), WM_MOUSEACTIVATE, reinterpret_cast<WPARAM>(m_window),
                           MAKELPARAM(HTCLIENT, WM_LBUTTONDOWN)));
    EXPECT_EQ(userMode, Plate().m_bUIActive != 0);
  }
}

TEST_P(Input, CloseDuringOnUIActivateOmitsOnFocus) {
  m_site.m_log.On("OnUIActivate", [this] { As<IOleObject>()->Close(OLECLOSE_NOSAVE); });
  SetFocus(ControlWindow());
  EXPECT_THAT(m_site.m_log.Take(), testing::Not(testing::Contains("OnFocus")));
  m_site.m_log.On("OnUIActivate", [] {});
}

TEST_P(Input, LastReleaseDuringMessageKeepsControlUntilReturn) {
  struct CallInMessage {
    UINT message;
    CTestSite::Kind kind;
    const char* call;
  };
  constexpr CTestSite::Kind kPlain = CTestSite::Kind::kPlain;
  constexpr CTestSite::Kind kEx = CTestSite::Kind::kEx;
  constexpr CallInMessage kCalls[] = {
      {WM_SETFOCUS, kPlain, "GetWindowContext"},
      {WM_SETFOCUS, kEx, "RequestUIActivate"},
      {WM_SETFOCUS, kPlain, "OnUIActivate"},
      {WM_SETFOCUS, kPlain, "frame.SetActiveObject"},
      {WM_SETFOCUS, kPlain, "frame.SetBorderSpace"},
      {WM_SETFOCUS, kPlain, "document.SetActiveObject"},
      {WM_SETFOCUS, kPlain, "document.SetBorderSpace"},
      {WM_SETFOCUS, kPlain, "ShowObject"},
      {WM_SETFOCUS, kPlain, "OnFocus"},
      {WM_KILLFOCUS, kPlain, "OnBlur"},
      {WM_MOUSEACTIVATE, kPlain, "Ambient"},
      {WM_MOUSEACTIVATE, kPlain, "OnUIActivate"},
      {WM_MOUSEACTIVATE, kPlain, "OnFocus"},
  };
  Drop();
  for (const CallInMessage& at : kCalls) {
    SCOPED_TRACE(at.call);
    m_site.m_kind = at.kind;
    Create(GetParam());
    ASSERT_EQ(S_OK, As<IOleObject>()->SetClientSite(&m_site));
    ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
    const HWND window = ControlWindow();
    SetFocus(at.message == WM_KILLFOCUS ? window : m_window);
    int calls = 0;
    m_site.m_log.On(at.call, [&] {
      ++calls;
      ReleaseAll();
      EXPECT_EQ(1, g_plates.alive) << "held until the message has returned";
    });
    switch (at.message) {
      case WM_SETFOCUS:
        SetFocus(window);
        break;
      case WM_KILLFOCUS:
        SetFocus(m_window);
        break;
      default:
        SendMessageW(window, at.message, reinterpret_cast<WPARAM>(m_window),
                     MAKELPARAM(HTCLIENT, WM_LBUTTONDOWN));
    }
    m_site.m_log.On(at.call, [] {});
    EXPECT_LE(1, calls);
    ReleaseAll();  // what was handed out after the call
    EXPECT_EQ(0, g_plates.alive);
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(0U, m_site.References());
  }
}

TEST_P(Input, KeyMessageIsPassedToSiteWithModifiers) {
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

TEST_P(Input, ReflectedMessageCallsDefaultProcedure) {
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

TEST_P(Input, OnWindowMessageCallsMessageMap) {
  const auto object = As<IOleInPlaceObjectWindowless>();
  LRESULT result = 1;
  EXPECT_EQ(S_FALSE, object->OnWindowMessage(WM_NULL, 0, 0, &result));
  EXPECT_EQ(0, result);
  EXPECT_EQ(S_OK, object->OnWindowMessage(OCM_COMMAND, 0, 0, &result)) << "reflected ones stay";
}

}  // namespace
