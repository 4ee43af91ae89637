// The control becomes active in its container's window, and inactive again.

#include <string>
#include <vector>

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

TEST_F(Activation, UIActivationSetsActiveObjectAndFocusUntilDeactivation) {
  for (const bool isExtended : {true, false}) {
    SCOPED_TRACE(isExtended);
    const std::string ex = isExtended ? "Ex" : "";
    m_site.m_kind = isExtended ? CTestSite::Kind::kEx : CTestSite::Kind::kPlain;
    ASSERT_EQ(S_OK, m_object->SetClientSite(&m_site));
    ASSERT_EQ(S_OK, DoVerb(OLEIVERB_UIACTIVATE));
    std::vector<std::string> calls = {"CanInPlaceActivate",
                                      "OnInPlaceActivate" + ex,
                                      "GetWindowContext",
                                      "GetWindow",
                                      "RequestUIActivate",
                                      "OnUIActivate",
                                      "OnFocus",
                                      "frame.SetActiveObject",
                                      "frame.SetBorderSpace",
                                      "document.SetActiveObject",
                                      "document.SetBorderSpace",
                                      "ShowObject"};
    if (!isExtended) {
      std::erase(calls, "RequestUIActivate");
    }
    EXPECT_EQ(calls, m_site.m_log.Take());
    EXPECT_TRUE(Plate().m_bUIActive);
    const HWND window = ControlWindow();
    EXPECT_EQ(window, GetFocus());
    EXPECT_EQ(As<IOleInPlaceActiveObject>().p, m_site.m_frame.m_active.p);

    ASSERT_EQ(S_OK, As<IOleInPlaceObject>()->UIDeactivate());
    calls = {"GetWindowContext", "frame.NoActiveObject", "document.NoActiveObject",
             "OnUIDeactivate"};
    EXPECT_EQ(calls, m_site.m_log.Take());
    EXPECT_FALSE(Plate().m_bUIActive);
    EXPECT_TRUE(Plate().m_bInPlaceActive);
    EXPECT_EQ(window, ControlWindow());

    ASSERT_EQ(S_OK, DoVerb(OLEIVERB_UIACTIVATE));
    ASSERT_EQ(S_OK, m_object->SetClientSite(nullptr)) << "it stays with its site in place";
    m_site.m_log.Take();
    ASSERT_EQ(S_OK, As<IOleInPlaceObject>()->InPlaceDeactivate());
    calls.push_back("OnInPlaceDeactivate" + ex);
    EXPECT_EQ(calls, m_site.m_log.Take());
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(nullptr, ControlWindow());
    EXPECT_FALSE(Plate().m_bInPlaceActive);
    EXPECT_EQ(S_OK, As<IOleInPlaceObject>()->InPlaceDeactivate());
    EXPECT_THAT(m_site.m_log.Take(), IsEmpty()) << "reported once";
    EXPECT_EQ(S_OK, m_object->SetClientSite(nullptr));
    EXPECT_EQ(0U, m_site.References());
  }
  EXPECT_EQ(0U, m_site.m_activateFlags) << "with a window";
}

TEST_F(Activation, AnotherSiteReleasesTheOneBefore) {
  ASSERT_EQ(S_OK, m_object->SetClientSite(&m_site));
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  ASSERT_EQ(S_OK, As<IOleInPlaceObject>()->InPlaceDeactivate());
  CTestSite other;
  EXPECT_EQ(S_OK, m_object->SetClientSite(&other));
  EXPECT_EQ(0U, m_site.References());
  EXPECT_EQ(S_OK, m_object->SetClientSite(nullptr));
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
