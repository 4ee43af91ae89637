// The control becomes active in its container's window, and inactive again.

#include "control_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Activation : public ControlTest {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    OpenContainer();
  }
};

TEST_F(Activation, InPlaceVerbCreatesWindowAtSitePosition) {
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
  RECT place;
  GetWindowRect(window, &place);
  MapWindowPoints(nullptr, m_window, reinterpret_cast<POINT*>(&place), 2);
  EXPECT_TRUE(EqualRect(&m_site.m_position, &place));
  EXPECT_TRUE(EqualRect(&m_site.m_position, &Plate().m_rcPos));
  EXPECT_TRUE(Plate().m_bInPlaceActive);
  EXPECT_FALSE(Plate().m_bUIActive);
  EXPECT_EQ(S_OK, As<IOleInPlaceObject>()->UIDeactivate()) << "was not active";
  EXPECT_THAT(m_site.m_log.Take(), IsEmpty());
}

TEST_F(Activation, UIActivateVerbSetsActiveObjectAndFocus) {
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
}

TEST_F(Activation, SecondActivationAndHidingKeepTheWindow) {
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

TEST_F(Activation, DeactivationDestroysTheWindow) {
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

TEST_F(Activation, CloseDeactivatesAndReleasesInPlaceSite) {
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  const HWND window = ControlWindow();
  ASSERT_EQ(S_OK, m_object->Close(OLECLOSE_NOSAVE));
  EXPECT_FALSE(IsWindow(window));
  EXPECT_FALSE(Plate().m_bInPlaceActive);
  EXPECT_EQ(nullptr, Plate().m_spInPlaceSite.p);
  EXPECT_NE(nullptr, Plate().m_spClientSite.p) << "may be activated again";
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_NE(nullptr, ControlWindow());
}

TEST_F(Activation, LastReleaseDestroysTheWindowWithoutACallToTheSite) {
  for (const LONG verb : {OLEIVERB_INPLACEACTIVATE, OLEIVERB_UIACTIVATE}) {
    ASSERT_EQ(S_OK, DoVerb(verb));
    const HWND window = ControlWindow();
    m_site.m_log.Take();
    ReleaseAll();
    EXPECT_EQ(0, g_plates.alive);
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(0U, m_site.References());
    EXPECT_THAT(m_site.m_log.Take(), IsEmpty()) << "verb " << verb;
    Create();
    ASSERT_EQ(S_OK, m_object->SetClientSite(&m_site));
  }
}

TEST_F(Activation, ExtendedSiteGetsExtendedCalls) {
  m_site.m_kind = CTestSite::Kind::kEx;
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_UIACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(),
              ElementsAre("CanInPlaceActivate", "OnInPlaceActivateEx", "GetWindowContext",
                          "GetWindow", "RequestUIActivate", "OnUIActivate", "OnFocus",
                          "frame.SetActiveObject", "frame.SetBorderSpace",
                          "document.SetActiveObject", "document.SetBorderSpace", "ShowObject"));
  EXPECT_EQ(0U, m_site.m_activateFlags) << "with a window";
  ASSERT_EQ(S_OK, m_object->SetClientSite(nullptr)) << "it stays with its site in place";
  m_site.m_log.Take();
  ASSERT_EQ(S_OK, As<IOleInPlaceObject>()->InPlaceDeactivate());
  EXPECT_THAT(m_site.m_log.Take(),
              ElementsAre("GetWindowContext", "frame.NoActiveObject", "document.NoActiveObject",
                          "OnUIDeactivate", "OnInPlaceDeactivateEx"));
}

TEST_F(Activation, NewSiteReplacesInPlaceSite) {
  m_site.m_kind = CTestSite::Kind::kEx;
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  ASSERT_EQ(S_OK, As<IOleInPlaceObject>()->InPlaceDeactivate());
  CTestSite other;
  other.m_window = m_window;
  ASSERT_EQ(S_OK, m_object->SetClientSite(&other));
  EXPECT_EQ(0U, m_site.References());
  m_site.m_log.Take();
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_THAT(m_site.m_log.Take(), IsEmpty());
  EXPECT_THAT(other.m_log.Take(), ElementsAre("CanInPlaceActivate", "OnInPlaceActivate",
                                              "GetWindowContext", "GetWindow", "ShowObject"));
  EXPECT_EQ(S_OK, m_object->Close(OLECLOSE_NOSAVE));
  EXPECT_EQ(S_OK, m_object->SetClientSite(nullptr));
}

TEST_F(Activation, AggregatedControlActivatesWithIdentityOfOuterObject) {
  CStackObject<IUnknown> outer;
  CComPtr<IUnknown> inner;
  ASSERT_EQ(S_OK, CPlate::_CreatorClass::CreateInstance(&outer, IID_IUnknown,
                                                        reinterpret_cast<void**>(&inner)));
  CComPtr<IOleObject> object;
  ASSERT_EQ(S_OK, inner.QueryInterface(&object));
  EXPECT_EQ(S_OK, object->SetClientSite(&m_site));
  EXPECT_EQ(S_OK, object->DoVerb(OLEIVERB_UIACTIVATE, nullptr, nullptr, 0, nullptr, nullptr));
  EXPECT_TRUE(CComPtr<IUnknown>(&outer).IsEqualObject(m_site.m_frame.m_active));
  EXPECT_EQ(S_OK, object->Close(OLECLOSE_NOSAVE));
  EXPECT_EQ(S_OK, object->SetClientSite(nullptr));
}

}  // namespace
