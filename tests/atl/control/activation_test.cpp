// The control becomes active in its container's window, and inactive again.

#include "control_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

RECT PlaceInParent(HWND window) {
  RECT rc;
  GetWindowRect(window, &rc);
  MapWindowPoints(nullptr, GetParent(window), reinterpret_cast<POINT*>(&rc), 2);
  return rc;
}

class Activation : public EveryControlTest {
 protected:
  void SetUp() override {
    EveryControlTest::SetUp();
    OpenContainer();
  }
};
INSTANTIATE_FOR_EVERY_BIRTH(Activation);

TEST_P(Activation, InPlaceVerbCreatesWindowAtSitePosition) {
  EXPECT_EQ(nullptr, ControlWindow());
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("CanInPlaceActivate", "OnInPlaceActivate",
                                               "GetWindowContext", "GetWindow", "ShowObject"));
  const HWND window = ControlWindow();
  ASSERT_NE(nullptr, window);
  HWND fromActiveObject = nullptr;
  EXPECT_EQ(S_OK, As<IOleInPlaceActiveObject>()->GetWindow(&fromActiveObject));
  EXPECT_EQ(window, fromActiveObject);
  EXPECT_EQ(m_window, GetParent(window));
  const RECT place = PlaceInParent(window);
  EXPECT_TRUE(EqualRect(&m_site.m_position, &place));
  EXPECT_EQ(static_cast<LONG_PTR>(WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN | WS_CLIPSIBLINGS),
            GetWindowLongPtrW(window, GWL_STYLE));
  EXPECT_TRUE(Plate().m_bInPlaceActive);
  EXPECT_FALSE(Plate().m_bUIActive);
  EXPECT_FALSE(Plate().m_bInPlaceSiteEx);
  EXPECT_TRUE(EqualRect(&m_site.m_position, &Plate().m_rcPos));
}

TEST_P(Activation, UIActivateVerbSetsActiveObjectAndFocus) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_UIACTIVATE));
  EXPECT_THAT(
      m_site.m_log.Take(),
      ElementsAre("CanInPlaceActivate", "OnInPlaceActivate", "GetWindowContext", "GetWindow",
                  "OnUIActivate", "OnFocus", "frame.SetActiveObject", "frame.SetBorderSpace",
                  "document.SetActiveObject", "document.SetBorderSpace", "ShowObject"));
  EXPECT_TRUE(Plate().m_bUIActive);
  EXPECT_EQ(ControlWindow(), GetFocus());
  EXPECT_EQ(As<IOleInPlaceActiveObject>().p, m_site.m_frame.m_active.p);

  ASSERT_EQ(S_OK, As<IOleInPlaceObject>()->UIDeactivate());
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("GetWindowContext", "frame.NoActiveObject",
                                               "document.NoActiveObject", "OnUIDeactivate"));
  EXPECT_FALSE(Plate().m_bUIActive);
  EXPECT_TRUE(Plate().m_bInPlaceActive);
  EXPECT_NE(nullptr, ControlWindow());
  EXPECT_EQ(S_OK, As<IOleInPlaceObject>()->UIDeactivate());
  EXPECT_THAT(m_site.m_log.Take(), IsEmpty()) << "reported once";
}

TEST_P(Activation, SecondActivationAndHidingKeepTheWindow) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_UIACTIVATE));
  const HWND window = ControlWindow();
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_HIDE));
  EXPECT_FALSE(IsWindowVisible(window));
  EXPECT_FALSE(Plate().m_bUIActive);
  m_site.m_log.Take();
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_SHOW));
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("GetWindowContext", "ShowObject"));
  EXPECT_EQ(window, ControlWindow());
  EXPECT_TRUE(IsWindowVisible(window));
}

TEST_P(Activation, DeactivationDestroysTheWindow) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_UIACTIVATE));
  const HWND window = ControlWindow();
  m_site.m_log.Take();
  ASSERT_EQ(S_OK, As<IOleInPlaceObject>()->InPlaceDeactivate());
  EXPECT_THAT(m_site.m_log.Take(),
              ElementsAre("GetWindowContext", "frame.NoActiveObject", "document.NoActiveObject",
                          "OnUIDeactivate", "OnInPlaceDeactivate"));
  EXPECT_FALSE(IsWindow(window));
  EXPECT_EQ(nullptr, ControlWindow());
  EXPECT_FALSE(Plate().m_bInPlaceActive);
  EXPECT_EQ(S_OK, As<IOleInPlaceObject>()->InPlaceDeactivate());
  EXPECT_THAT(m_site.m_log.Take(), IsEmpty()) << "reported once";
}

TEST_P(Activation, PrimaryVerbActivatesInUserMode) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_PRIMARY));
  EXPECT_TRUE(Plate().m_bInPlaceActive);
  EXPECT_FALSE(Plate().m_bUIActive);
}

TEST_P(Activation, CloseDeactivatesAndReleasesInPlaceSite) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  const HWND window = ControlWindow();
  ASSERT_EQ(S_OK, As<IOleObject>()->Close(OLECLOSE_NOSAVE));
  EXPECT_FALSE(IsWindow(window));
  EXPECT_FALSE(Plate().m_bInPlaceActive);
  EXPECT_EQ(nullptr, Plate().m_spInPlaceSite.p);
  EXPECT_NE(nullptr, Plate().m_spClientSite.p) << "may be activated again";
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_NE(nullptr, ControlWindow());
}

TEST_P(Activation, LastReleaseDestroysTheWindowWithoutACallToTheSite) {
  for (const LONG verb : {OLEIVERB_INPLACEACTIVATE, OLEIVERB_UIACTIVATE}) {
    ASSERT_EQ(S_OK, DoVerb(verb));
    const HWND window = ControlWindow();
    m_site.m_log.Take();
    ReleaseAll();
    EXPECT_EQ(0, g_plates.alive);
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(0U, m_site.References());
    EXPECT_THAT(m_site.m_log.Take(), IsEmpty()) << "verb " << verb;
    Create(GetParam());
    ASSERT_EQ(S_OK, As<IOleObject>()->SetClientSite(&m_site));
  }
}

TEST_P(Activation, ExtendedSiteGetsExtendedCalls) {
  m_site.m_kind = CTestSite::Kind::kEx;
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_UIACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(),
              ElementsAre("CanInPlaceActivate", "OnInPlaceActivateEx", "GetWindowContext",
                          "GetWindow", "RequestUIActivate", "OnUIActivate", "OnFocus",
                          "frame.SetActiveObject", "frame.SetBorderSpace",
                          "document.SetActiveObject", "document.SetBorderSpace", "ShowObject"));
  EXPECT_EQ(0U, m_site.m_activateFlags) << "with a window";
  ASSERT_EQ(S_OK, As<IOleObject>()->SetClientSite(nullptr)) << "it stays with its site in place";
  m_site.m_log.Take();
  ASSERT_EQ(S_OK, As<IOleInPlaceObject>()->InPlaceDeactivate());
  EXPECT_THAT(m_site.m_log.Take(),
              ElementsAre("GetWindowContext", "frame.NoActiveObject", "document.NoActiveObject",
                          "OnUIDeactivate", "OnInPlaceDeactivateEx"));
}

TEST_P(Activation, NewSiteReplacesInPlaceSite) {
  m_site.m_kind = CTestSite::Kind::kEx;
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  ASSERT_EQ(S_OK, As<IOleInPlaceObject>()->InPlaceDeactivate());
  m_site.m_kind = CTestSite::Kind::kPlain;
  ASSERT_EQ(S_OK, As<IOleObject>()->SetClientSite(&m_site));
  m_site.m_log.Take();
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("CanInPlaceActivate", "OnInPlaceActivate",
                                               "GetWindowContext", "GetWindow", "ShowObject"));
}

}  // namespace
