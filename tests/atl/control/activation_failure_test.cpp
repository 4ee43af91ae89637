// Failures of the site, and calls back into the control, while it becomes active.

#include <algorithm>
#include <utility>

#include "control_fixture.h"

namespace {

class ActivationFailure : public ControlTest {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    OpenContainer();
  }
  void ExpectInactive() {
    EXPECT_FALSE(Plate().m_bInPlaceActive);
    EXPECT_FALSE(Plate().m_bUIActive);
    EXPECT_EQ(nullptr, ControlWindow());
    EXPECT_EQ(nullptr, GetWindow(m_window, GW_CHILD));
  }
};

TEST_F(ActivationFailure, MissingSiteOrInPlaceInterfaceReturnsFailure) {
  m_site.m_kind = CTestSite::Kind::kNoActivation;
  EXPECT_EQ(E_NOINTERFACE, DoVerb(OLEIVERB_UIACTIVATE));
  ASSERT_EQ(S_OK, m_object->SetClientSite(nullptr));
  EXPECT_EQ(E_FAIL, DoVerb(OLEIVERB_INPLACEACTIVATE));
  EXPECT_EQ(S_OK, DoVerb(OLEIVERB_HIDE));
  ExpectInactive();
}

TEST_F(ActivationFailure, FailureOfTheSiteIsReturnedAndDeactivates) {
  const struct {
    const char* call;
    HRESULT answer;
    HRESULT result;
    size_t calls;
    bool isReported;  // the deactivation
  } rows[] = {
      {"CanInPlaceActivate", S_FALSE, E_FAIL, 1, false},
      {"CanInPlaceActivate", E_ACCESSDENIED, E_ACCESSDENIED, 1, false},
      {"OnInPlaceActivate", E_ACCESSDENIED, E_ACCESSDENIED, 2, false},
      {"GetWindowContext", E_UNEXPECTED, E_UNEXPECTED, 3, true},
      {"GetWindow", E_UNEXPECTED, E_UNEXPECTED, 4, true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.call);
    m_site.m_results = {{row.call, row.answer}};
    EXPECT_EQ(row.result, DoVerb(OLEIVERB_INPLACEACTIVATE));
    const std::vector<std::string> calls = m_site.m_log.Take();
    EXPECT_EQ(row.calls + (row.isReported ? 1 : 0), calls.size());
    EXPECT_EQ(row.isReported ? "OnInPlaceDeactivate" : row.call, calls.back());
    ExpectInactive();
  }
  m_site.m_results.clear();
  m_site.m_window = nullptr;
  EXPECT_EQ(E_FAIL, DoVerb(OLEIVERB_INPLACEACTIVATE)) << "a child cannot be without a parent";
  ExpectInactive();
}

TEST_F(ActivationFailure, RefusedUIActivationLeavesControlActiveInPlace) {
  m_site.m_kind = CTestSite::Kind::kEx;
  m_site.m_results["RequestUIActivate"] = S_FALSE;
  EXPECT_EQ(E_FAIL, DoVerb(OLEIVERB_UIACTIVATE));
  EXPECT_EQ("OnUIDeactivate", m_site.m_log.Take().back());
  m_site.m_results = {{"OnUIActivate", E_ACCESSDENIED}};
  EXPECT_EQ(E_ACCESSDENIED, DoVerb(OLEIVERB_UIACTIVATE));
  EXPECT_TRUE(Plate().m_bInPlaceActive);
  EXPECT_FALSE(Plate().m_bUIActive);
  EXPECT_EQ(nullptr, m_site.m_frame.m_active.p);
}

TEST_F(ActivationFailure, CloseDuringSiteCallLeavesControlInactive) {
  for (const char* const call :
       {"CanInPlaceActivate", "OnInPlaceActivate", "GetWindowContext", "GetWindow",
        "RequestUIActivate", "OnUIActivate", "OnFocus", "frame.SetActiveObject", "ShowObject",
        "document.NoActiveObject", "OnUIDeactivate", "OnInPlaceDeactivate"}) {
    SCOPED_TRACE(call);
    // Only an extended site is asked first.
    m_site.m_kind =
        std::string(call) == "RequestUIActivate" ? CTestSite::Kind::kEx : CTestSite::Kind::kPlain;
    m_site.m_log.On(call, [this] { m_object->Close(OLECLOSE_NOSAVE); });
    DoVerb(OLEIVERB_UIACTIVATE);
    As<IOleInPlaceObject>()->InPlaceDeactivate();
    m_site.m_log.On(call, [] {});
    ExpectInactive();
    EXPECT_FALSE(Plate().m_bUIActive);
    EXPECT_EQ(nullptr, m_site.m_frame.m_active.p);
    EXPECT_EQ(nullptr, m_site.m_document.m_active.p);
  }
  EXPECT_EQ(S_OK, DoVerb(OLEIVERB_UIACTIVATE)) << "the control works as before";
  EXPECT_NE(nullptr, ControlWindow());
}

TEST_F(ActivationFailure, ActivateDuringSiteCallCreatesOneWindow) {
  for (const CTestSite::Kind kind : {CTestSite::Kind::kPlain, CTestSite::Kind::kEx}) {
    m_site.m_kind = kind;
    const char* const entered =
        kind == CTestSite::Kind::kEx ? "OnInPlaceActivateEx" : "OnInPlaceActivate";
    for (const char* const call :
         {"CanInPlaceActivate", entered, "GetWindowContext", "GetWindow", "RequestUIActivate",
          "OnUIActivate", "OnFocus", "frame.SetActiveObject", "ShowObject"}) {
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
      EXPECT_EQ(S_OK, m_object->Close(OLECLOSE_NOSAVE));
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
    ASSERT_EQ(S_OK, m_object->SetClientSite(&m_site));
    m_site.m_userMode = false;
    Plate().SetDirty(TRUE);
    m_site.m_log.On(call, [this] {
      EXPECT_EQ(S_OK, m_object->SetClientSite(nullptr));
      EXPECT_LT(0U, m_site.References());
    });
    DoVerb(OLEIVERB_PRIMARY);
    EXPECT_EQ(S_OK, m_object->Close(OLECLOSE_SAVEIFDIRTY));
    m_site.m_log.On(call, [] {});
    EXPECT_EQ(0U, m_site.References());
  }
}

}  // namespace
