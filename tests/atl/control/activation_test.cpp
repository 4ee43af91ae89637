// The control becomes active in its container's window, and inactive again.

#include <algorithm>
#include <utility>

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
  EXPECT_EQ(m_window, GetParent(window));
  const RECT place = PlaceInParent(window);
  EXPECT_TRUE(EqualRect(&m_site.m_position, &place));
  EXPECT_EQ(static_cast<LONG_PTR>(WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN | WS_CLIPSIBLINGS),
            GetWindowLongPtrW(window, GWL_STYLE));
  EXPECT_EQ(0, GetWindowLongPtrW(window, GWL_EXSTYLE));
  EXPECT_TRUE(Plate().m_bInPlaceActive);
  EXPECT_FALSE(Plate().m_bUIActive);
  EXPECT_FALSE(Plate().m_bInPlaceSiteEx);
  EXPECT_TRUE(EqualRect(&m_site.m_position, &Plate().m_rcPos));
}

TEST_P(Activation, BothGetWindowMethodsReturnTheSameWindow) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_SHOW));
  HWND fromActiveObject = nullptr;
  EXPECT_EQ(S_OK, As<IOleInPlaceActiveObject>()->GetWindow(&fromActiveObject));
  EXPECT_EQ(ControlWindow(), fromActiveObject);
  HWND fromWindow = nullptr;
  EXPECT_EQ(S_OK, As<IOleWindow>()->GetWindow(&fromWindow));
  EXPECT_EQ(ControlWindow(), fromWindow);
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

TEST_P(Activation, SecondActivationKeepsTheWindow) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  const HWND window = ControlWindow();
  m_site.m_log.Take();
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_SHOW));
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("GetWindowContext", "ShowObject"));
  EXPECT_EQ(window, ControlWindow());
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

  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_NE(nullptr, ControlWindow());
}

TEST_P(Activation, HidingKeepsTheWindow) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_UIACTIVATE));
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_HIDE));
  const HWND window = ControlWindow();
  EXPECT_TRUE(IsWindow(window));
  EXPECT_FALSE(IsWindowVisible(window));
  EXPECT_FALSE(Plate().m_bUIActive);
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_SHOW));
  EXPECT_EQ(window, ControlWindow());
  EXPECT_TRUE(IsWindowVisible(window));
}

TEST_P(Activation, PrimaryVerbActivatesInUserMode) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_PRIMARY));
  EXPECT_TRUE(Plate().m_bInPlaceActive);
}

TEST_P(Activation, PrimaryVerbShowsThePropertiesInDesignMode) {
  m_site.m_userMode = false;
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_PRIMARY));
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("ShowPropertyFrame"));
  EXPECT_FALSE(Plate().m_bInPlaceActive);
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

class ActivationFailure : public ControlTest {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    Create(Birth::kAlone);
    OpenContainer();
  }
  void ExpectInactive() {
    EXPECT_FALSE(Plate().m_bInPlaceActive);
    EXPECT_FALSE(Plate().m_bUIActive);
    EXPECT_EQ(nullptr, ControlWindow());
    EXPECT_EQ(nullptr, GetWindow(m_window, GW_CHILD));
  }
};

TEST_F(ActivationFailure, NoSiteReturnsFailure) {
  ASSERT_EQ(S_OK, As<IOleObject>()->SetClientSite(nullptr));
  EXPECT_EQ(E_FAIL, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_EQ(S_OK, DoVerb(OLEIVERB_HIDE));
  ExpectInactive();
}

TEST_F(ActivationFailure, SiteWithoutInPlaceInterfaceReturnsFailure) {
  m_site.m_kind = CTestSite::Kind::kNoActivation;
  EXPECT_EQ(E_NOINTERFACE, DoVerb(OLEIVERB_UIACTIVATE));
  ExpectInactive();
}

TEST_F(ActivationFailure, CanInPlaceActivateFailureIsReturned) {
  m_site.m_results["CanInPlaceActivate"] = S_FALSE;
  EXPECT_EQ(E_FAIL, DoVerb(OLEIVERB_INPLACEACTIVATE));
  m_site.m_results["CanInPlaceActivate"] = E_ACCESSDENIED;
  EXPECT_EQ(E_ACCESSDENIED, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("CanInPlaceActivate", "CanInPlaceActivate"));
  ExpectInactive();
}

TEST_F(ActivationFailure, OnInPlaceActivateFailureIsReturned) {
  m_site.m_results["OnInPlaceActivate"] = E_ACCESSDENIED;
  EXPECT_EQ(E_ACCESSDENIED, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("CanInPlaceActivate", "OnInPlaceActivate"));
  ExpectInactive();
}

TEST_F(ActivationFailure, GetWindowContextFailureDeactivates) {
  m_site.m_results["GetWindowContext"] = E_UNEXPECTED;
  EXPECT_EQ(E_UNEXPECTED, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("CanInPlaceActivate", "OnInPlaceActivate",
                                               "GetWindowContext", "OnInPlaceDeactivate"));
  ExpectInactive();
}

TEST_F(ActivationFailure, GetWindowFailureDeactivates) {
  m_site.m_results["GetWindow"] = E_UNEXPECTED;
  EXPECT_EQ(E_UNEXPECTED, DoVerb(OLEIVERB_INPLACEACTIVATE));
  ExpectInactive();
  m_site.m_results.clear();
  m_site.m_window = nullptr;
  EXPECT_EQ(E_FAIL, DoVerb(OLEIVERB_INPLACEACTIVATE)) << "a child cannot be without a parent";
  ExpectInactive();
}

TEST_F(ActivationFailure, OnUIActivateFailureIsReturned) {
  m_site.m_results["OnUIActivate"] = E_ACCESSDENIED;
  EXPECT_EQ(E_ACCESSDENIED, DoVerb(OLEIVERB_UIACTIVATE));
  EXPECT_FALSE(Plate().m_bUIActive);
  EXPECT_TRUE(Plate().m_bInPlaceActive);
  EXPECT_EQ(nullptr, m_site.m_frame.m_active.p);
}

TEST_F(ActivationFailure, RequestUIActivateRefusalReturnsEFail) {
  m_site.m_kind = CTestSite::Kind::kEx;
  m_site.m_results["RequestUIActivate"] = S_FALSE;
  EXPECT_EQ(E_FAIL, DoVerb(OLEIVERB_UIACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(),
              ElementsAre("CanInPlaceActivate", "OnInPlaceActivateEx", "GetWindowContext",
                          "GetWindow", "RequestUIActivate", "OnUIDeactivate"));
  EXPECT_TRUE(Plate().m_bInPlaceActive);
  EXPECT_FALSE(Plate().m_bUIActive);
}

TEST_F(ActivationFailure, CloseDuringSiteCallLeavesControlInactive) {
  for (const char* const call :
       {"CanInPlaceActivate", "OnInPlaceActivate", "GetWindowContext", "GetWindow", "OnUIActivate",
        "OnFocus", "frame.SetActiveObject", "ShowObject", "document.NoActiveObject",
        "OnUIDeactivate", "OnInPlaceDeactivate"}) {
    SCOPED_TRACE(call);
    m_site.m_log.On(call, [this] { As<IOleObject>()->Close(OLECLOSE_NOSAVE); });
    DoVerb(OLEIVERB_UIACTIVATE);
    As<IOleInPlaceObject>()->InPlaceDeactivate();
    m_site.m_log.On(call, [] {});
    ExpectInactive();
    m_site.m_frame.m_active.Release();
    m_site.m_document.m_active.Release();
  }
  EXPECT_EQ(S_OK, DoVerb(OLEIVERB_UIACTIVATE)) << "the control works as before";
  EXPECT_NE(nullptr, ControlWindow());
}

TEST_F(ActivationFailure, ActivateDuringSiteCallCreatesOneWindow) {
  for (const CTestSite::Kind kind : {CTestSite::Kind::kPlain, CTestSite::Kind::kEx}) {
    m_site.m_kind = kind;
    const std::string entered =
        kind == CTestSite::Kind::kEx ? "OnInPlaceActivateEx" : "OnInPlaceActivate";
    for (const std::string& call :
         {std::string("CanInPlaceActivate"), entered, std::string("GetWindowContext"),
          std::string("GetWindow"), std::string("RequestUIActivate"), std::string("OnUIActivate"),
          std::string("OnFocus"), std::string("frame.SetActiveObject"),
          std::string("ShowObject")}) {
      SCOPED_TRACE(call);
      bool isInside = false;
      m_site.m_log.On(call, [&] {
        if (!std::exchange(isInside, true)) {
          EXPECT_EQ(S_OK, DoVerb(OLEIVERB_UIACTIVATE));
        }
      });
      EXPECT_EQ(S_OK, DoVerb(OLEIVERB_UIACTIVATE));
      m_site.m_log.On(call, [] {});
      const std::vector<std::string> calls = m_site.m_log.Take();
      EXPECT_EQ(1, std::count(calls.begin(), calls.end(), entered));
      EXPECT_EQ(1, std::count(calls.begin(), calls.end(), "OnUIActivate"));
      EXPECT_EQ(ControlWindow(), GetWindow(m_window, GW_CHILD));
      EXPECT_EQ(nullptr, GetWindow(ControlWindow(), GW_HWNDNEXT)) << "one window";
      EXPECT_EQ(S_OK, As<IOleObject>()->Close(OLECLOSE_NOSAVE));
      ExpectInactive();
      m_site.m_log.Take();
    }
  }
}

TEST_F(ActivationFailure, DeactivateDuringOnUIActivateDoesNotSetFocus) {
  SetFocus(m_window);
  m_site.m_log.On("OnUIActivate", [this] { As<IOleInPlaceObject>()->UIDeactivate(); });
  EXPECT_EQ(S_OK, DoVerb(OLEIVERB_UIACTIVATE));
  m_site.m_log.On("OnUIActivate", [] {});
  EXPECT_EQ(m_window, GetFocus());
  EXPECT_FALSE(Plate().m_bUIActive);
  EXPECT_TRUE(Plate().m_bInPlaceActive);
}

TEST_F(ActivationFailure, SiteReplacedDuringCallIsHeldUntilReturn) {
  for (const char* const call : {"Ambient", "ShowPropertyFrame", "SaveObject"}) {
    SCOPED_TRACE(call);
    ASSERT_EQ(S_OK, As<IOleObject>()->SetClientSite(&m_site));
    m_site.m_userMode = false;
    Plate().SetDirty(TRUE);
    m_site.m_log.On(call, [this] {
      EXPECT_EQ(S_OK, As<IOleObject>()->SetClientSite(nullptr));
      EXPECT_LT(0U, m_site.References());
    });
    DoVerb(OLEIVERB_PRIMARY);
    EXPECT_EQ(S_OK, As<IOleObject>()->Close(OLECLOSE_SAVEIFDIRTY));
    m_site.m_log.On(call, [] {});
    EXPECT_EQ(0U, m_site.References());
  }
}

TEST_F(ActivationFailure, NewSiteAfterDeactivationIsActivated) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  ASSERT_EQ(S_OK, As<IOleInPlaceObject>()->InPlaceDeactivate());
  CTestSite other;
  other.m_window = m_window;
  ASSERT_EQ(S_OK, As<IOleObject>()->SetClientSite(&other));
  m_site.m_log.Take();
  EXPECT_EQ(0U, m_site.References());
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(), IsEmpty());
  Drop();
}

}  // namespace
