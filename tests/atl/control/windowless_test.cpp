// A control without m_bWindowOnly negotiates with its site whether it gets a window.

#include "control_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Windowless : public EveryControlTest {
 protected:
  void SetUp() override {
    EveryControlTest::SetUp();
    OpenContainer();
    Plate().m_bWindowOnly = FALSE;
    m_site.m_kind = CTestSite::Kind::kWindowless;
  }
};
INSTANTIATE_FOR_EVERY_BIRTH(Windowless);

TEST_P(Windowless, ControlHasNoWindow) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(),
              ElementsAre("CanWindowlessActivate", "CanInPlaceActivate", "OnInPlaceActivateEx",
                          "GetWindowContext", "ShowObject"));
  EXPECT_EQ(static_cast<DWORD>(ACTIVATE_WINDOWLESS), m_site.m_activateFlags);
  EXPECT_EQ(nullptr, ControlWindow());
  EXPECT_EQ(nullptr, GetWindow(m_window, GW_CHILD));
  EXPECT_TRUE(Plate().m_bWndLess);
  EXPECT_TRUE(Plate().m_bWasOnceWindowless);
  EXPECT_TRUE(Plate().m_bInPlaceSiteEx);
  EXPECT_TRUE(EqualRect(&m_site.m_position, &Plate().m_rcPos));

  ASSERT_EQ(S_OK, As<IOleInPlaceObject>()->InPlaceDeactivate());
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("OnInPlaceDeactivateEx"));
  ASSERT_EQ(S_OK, As<IOleObject>()->Close(OLECLOSE_NOSAVE));
  EXPECT_FALSE(Plate().m_bWndLess);
  EXPECT_TRUE(Plate().m_bWasOnceWindowless);
}

TEST_P(Windowless, FocusComesFromTheSite) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_UIACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(),
              ElementsAre("CanWindowlessActivate", "CanInPlaceActivate", "OnInPlaceActivateEx",
                          "GetWindowContext", "RequestUIActivate", "OnUIActivate", "SetFocus",
                          "frame.SetActiveObject", "frame.SetBorderSpace",
                          "document.SetActiveObject", "document.SetBorderSpace", "ShowObject"));
}

TEST_P(Windowless, RedrawingIsLeftToTheSite) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  m_site.m_log.Take();
  EXPECT_EQ(S_OK, As<IPlate>()->put_Colour(RGB(1, 2, 3)));
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("InvalidateRect"));
}

TEST_P(Windowless, DrawsInItsPlaceWhenNoneIsGiven) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  const HDC hdc = CreateCompatibleDC(nullptr);
  EXPECT_EQ(S_OK, As<IViewObject>()->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, hdc,
                                          nullptr, nullptr, nullptr, 0));
  DeleteDC(hdc);
  EXPECT_EQ(10, g_plates.bounds.left);
  EXPECT_EQ(70, g_plates.bounds.bottom);
}

TEST_P(Windowless, MessagesComeFromTheSite) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  const auto object = As<IOleInPlaceObjectWindowless>();
  LRESULT result = 1;
  EXPECT_EQ(S_FALSE, object->OnWindowMessage(WM_NULL, 0, 0, &result));
  EXPECT_EQ(0, result);
  EXPECT_EQ(S_OK, object->OnWindowMessage(OCM_COMMAND, 0, 0, &result)) << "reflected ones stay";
  EXPECT_EQ(E_POINTER, object->OnWindowMessage(WM_NULL, 0, 0, nullptr));
}

TEST_P(Windowless, SiteThatRefusesGivesAWindow) {
  m_site.m_results["CanWindowlessActivate"] = S_FALSE;
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(),
              ElementsAre("CanWindowlessActivate", "CanInPlaceActivate", "OnInPlaceActivateEx",
                          "GetWindowContext", "GetWindow", "ShowObject"));
  EXPECT_EQ(0U, m_site.m_activateFlags);
  EXPECT_NE(nullptr, ControlWindow());
  EXPECT_TRUE(Plate().m_bInPlaceSiteEx);
  EXPECT_FALSE(Plate().m_bWndLess);
  EXPECT_FALSE(Plate().m_bWasOnceWindowless);
}

TEST_P(Windowless, WindowOnlyControlDoesNotEvenAsk) {
  Plate().m_bWindowOnly = TRUE;
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("CanInPlaceActivate", "OnInPlaceActivateEx",
                                               "GetWindowContext", "GetWindow", "ShowObject"));
  EXPECT_NE(nullptr, ControlWindow());
}

TEST_P(Windowless, AnotherSiteIsAskedAgain) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  ASSERT_EQ(S_OK, As<IOleInPlaceObject>()->InPlaceDeactivate());
  m_site.m_kind = CTestSite::Kind::kPlain;
  ASSERT_EQ(S_OK, As<IOleObject>()->SetClientSite(&m_site));
  EXPECT_FALSE(Plate().m_bNegotiatedWnd);
  EXPECT_FALSE(Plate().m_bWndLess);
  EXPECT_FALSE(Plate().m_bInPlaceSiteEx);
  m_site.m_log.Take();
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("CanInPlaceActivate", "OnInPlaceActivate",
                                               "GetWindowContext", "GetWindow", "ShowObject"));
  EXPECT_NE(nullptr, ControlWindow());
}

TEST_P(Windowless, ActiveControlStaysWithItsSiteInPlace) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  ASSERT_EQ(S_OK, As<IOleObject>()->SetClientSite(nullptr));
  m_site.m_log.Take();
  ASSERT_EQ(S_OK, As<IOleInPlaceObject>()->InPlaceDeactivate());
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("OnInPlaceDeactivateEx"));
}

TEST_P(Windowless, ExtendedSiteMayRefuseTheUserInterface) {
  m_site.m_kind = CTestSite::Kind::kEx;
  m_site.m_results["RequestUIActivate"] = S_FALSE;
  EXPECT_EQ(E_FAIL, DoVerb(OLEIVERB_UIACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(),
              ElementsAre("CanInPlaceActivate", "OnInPlaceActivateEx", "GetWindowContext",
                          "GetWindow", "RequestUIActivate", "OnUIDeactivate"));
  EXPECT_TRUE(Plate().m_bInPlaceActive);
  EXPECT_FALSE(Plate().m_bUIActive);
}

}  // namespace
