#include "browser/ie_download.h"

#include <exdispid.h>
#include <gtest/gtest.h>
#include <objsafe.h>

#include <vector>

#include "tests/browser/browser_frame.h"
#include "tests/browser/fake_browser.h"
#include "tests/browser/helper_object.h"
#include "tests/browser/lesson_bytes.h"
#include "tests/browser/navigation_event.h"
#include "tests/browser/prompt_answer.h"
#include "tests/support/parallel.h"
#include "tests/support/temp_sandbox.h"
#include "tests/support/user.h"

namespace {

using Cookies = std::vector<DWORD>;

/// The owner of the question that the helper object asks about a local lesson.
HWND PromptOwner(const CHelperObject& helper) {
  const CTempSandbox sandbox;
  const CPromptAnswer prompt(IDCANCEL);
  helper.Navigate(sandbox.Write(L"a.qdk", kOldLessonHead));
  EXPECT_EQ(prompt.Count(), 1);
  return prompt.Owner();
}

/// A helper object that no browser has yet set a site for.
class IeDownload : public testing::Test {
 protected:
  CFakeBrowser m_browser;
  CFakeConnectionPoint& m_events = m_browser.container.point;
  const CHelperObject m_helper;
};

TEST_F(IeDownload, HasExactlyItsInterfaces) {
  CComPtr<IUnknown> found;
  for (const IID& iid :
       {IID_IUnknown, IID_IDispatch, IID_IIEDownload, IID_IObjectWithSite, IID_IProvideClassInfo}) {
    found.Release();
    EXPECT_EQ(m_helper->QueryInterface(iid, reinterpret_cast<void**>(&found)), S_OK);
    EXPECT_TRUE(found.IsEqualObject(m_helper->GetUnknown()));
  }
  for (const IID& iid : {IID_IObjectSafety, IID_IProvideClassInfo2, IID_IPersist, IID_IOleObject}) {
    found.Release();
    EXPECT_EQ(m_helper->QueryInterface(iid, reinterpret_cast<void**>(&found)), E_NOINTERFACE);
    EXPECT_EQ(found.p, nullptr);
  }
}

TEST_F(IeDownload, SiteInterfaceIsThePrimaryOneWithTheOwnMethodsBehindIt) {
  auto* const primary =
      static_cast<IObjectWithSite*>(static_cast<CIEDownload*>(m_helper.operator->()));
  EXPECT_EQ(static_cast<void*>(primary), static_cast<void*>(m_helper.operator->()));
  using Method = HRESULT (*)(void*);
  const auto* const table = *reinterpret_cast<const Method* const*>(primary);
  ASSERT_EQ(m_helper->SetSite(&m_browser), S_OK);
  // 0 to 4 are IObjectWithSite's; the destructor takes two places with this compiler.
  constexpr int kOnQuit = 7;
  EXPECT_EQ(table[kOnQuit](primary), S_OK);
  EXPECT_EQ(m_events.unadvised, (Cookies{7001}));
  EXPECT_EQ(table[kOnQuit + 1](primary), S_OK);
  EXPECT_EQ(m_events.sinks.size(), 2u);
  EXPECT_EQ(table[kOnQuit + 2](primary), S_OK);
  EXPECT_EQ(m_events.unadvised, (Cookies{7001, 7002}));
  EXPECT_EQ(table[kOnQuit + 3](primary), E_POINTER);
}

using IeDownloadSetSite = IeDownload;

TEST_F(IeDownloadSetSite, SubscribesTheObjectWhichReleasesEverythingInTheEnd) {
  const LONG locks = ATL::_pAtlModule->GetLockCount();
  {
    const CHelperObject helper;
    EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), locks + 1);
    EXPECT_EQ(helper->SetSite(&m_browser), S_OK);
    EXPECT_EQ(m_browser.container.asked, (std::vector<IID>{DIID_DWebBrowserEvents2}));
    ASSERT_EQ(m_events.sinks.size(), 1u);
    EXPECT_TRUE(CComPtr<IUnknown>(helper->GetUnknown()).IsEqualObject(m_events.sinks[0]));
    EXPECT_EQ(m_events.references, 0);
    EXPECT_GT(m_browser.references, 0);
    EXPECT_EQ(m_browser.container.references, 1);
  }
  EXPECT_EQ(m_browser.references, 0);
  EXPECT_EQ(m_browser.container.references, 0);
  EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), locks);
}

TEST_F(IeDownloadSetSite, NullReleasesTheBrowserButNotItsEvents) {
  m_helper->SetSite(&m_browser);
  EXPECT_EQ(m_helper->SetSite(nullptr), E_INVALIDARG);
  EXPECT_EQ(m_browser.references, 0);
  EXPECT_TRUE(m_events.unadvised.empty());
  EXPECT_EQ(PromptOwner(m_helper), nullptr);
  CNavigationEvent event(L"");
  EXPECT_EQ(m_helper.Fire(DISPID_ONQUIT, event.Params()), S_OK);
  EXPECT_EQ(m_events.unadvised, (Cookies{7001}));
}

TEST_F(IeDownloadSetSite, SiteWithoutABrowserReturnsInvalidArgumentAndReleasesTheOneBefore) {
  CFakeSite stranger(nullptr);
  m_helper->SetSite(&m_browser);
  EXPECT_EQ(m_helper->SetSite(&stranger), E_INVALIDARG);
  EXPECT_EQ(m_browser.references, 0);
  EXPECT_EQ(stranger.references, 0);
  EXPECT_EQ(m_events.sinks.size(), 1u);
}

TEST_F(IeDownloadSetSite, OnlyAnotherSiteIsAskedForItsBrowser) {
  m_helper->SetSite(&m_browser);
  EXPECT_EQ(m_helper->SetSite(&m_browser), S_OK);
  EXPECT_EQ(m_browser.browserQueries, 1);
  CFakeSite site(&m_browser);
  EXPECT_EQ(m_helper->SetSite(&site), S_OK);
  EXPECT_EQ(m_browser.browserQueries, 2);
  m_helper->SetSite(nullptr);
}

TEST_F(IeDownloadSetSite, NewBrowserReplacesTheOldOneAndItsContainer) {
  CFakeBrowser other;
  m_helper->SetSite(&other);
  EXPECT_EQ(m_helper->SetSite(&m_browser), S_OK);
  EXPECT_EQ(other.references, 0);
  EXPECT_EQ(other.container.references, 0);
  EXPECT_EQ(m_browser.container.references, 1);
  m_helper->OnQuit();
  EXPECT_TRUE(other.container.point.unadvised.empty());
  EXPECT_EQ(m_events.unadvised.size(), 1u);
}

TEST_F(IeDownloadSetSite, AnotherSubscriptionReplacesTheCookieWithoutUnsubscribing) {
  m_helper->SetSite(&m_browser);
  m_helper->SetSite(&m_browser);
  EXPECT_EQ(m_events.sinks.size(), 2u);
  EXPECT_TRUE(m_events.unadvised.empty());
  EXPECT_EQ(m_helper->Unadvise(), S_OK);
  EXPECT_EQ(m_events.unadvised, (Cookies{7002}));
}

TEST_F(IeDownloadSetSite, BrowserWithoutEventsIsAPointerError) {
  m_helper->SetSite(&m_browser);
  CFakeBrowser deaf;
  deaf.hasContainer = false;
  EXPECT_EQ(m_helper->SetSite(&deaf), E_POINTER);
  EXPECT_EQ(m_browser.container.references, 0);
  EXPECT_GT(deaf.references, 0);
  m_helper->SetSite(nullptr);
}

TEST_F(IeDownloadSetSite, FailedSubscriptionKeepsTheCookieOfTheOneBefore) {
  m_helper->SetSite(&m_browser);
  m_events.adviseResult = CONNECT_E_ADVISELIMIT;
  EXPECT_EQ(m_helper->SetSite(&m_browser), CONNECT_E_ADVISELIMIT);
  EXPECT_EQ(m_events.references, 0);
  EXPECT_EQ(m_helper->Unadvise(), S_OK);
  EXPECT_EQ(m_events.unadvised, (Cookies{7001}));
}

TEST_F(IeDownloadSetSite, BrowserMayTakeTheSiteBackWhileItIsAskedForItsWindow) {
  m_browser.onGetWindow = [&] {
    m_helper->SetSite(nullptr);
    EXPECT_GT(m_browser.references, 0) << "it is used until SetSite returns";
  };
  m_helper->SetSite(&m_browser);
  m_browser.onGetWindow = nullptr;
  EXPECT_EQ(m_helper->SetSite(&m_browser), S_OK);
}

TEST_F(IeDownloadSetSite, DialogsAreOwnedByTheBrowsersWindowOrElseTheThreadsFrame) {
  m_browser.window = GetDesktopWindow();
  m_helper->SetSite(&m_browser);
  EXPECT_EQ(PromptOwner(m_helper), GetDesktopWindow());
  const CBrowserFrame frame;
  for (const HRESULT result : {E_FAIL, S_OK}) {
    CFakeBrowser windowless;
    windowless.windowResult = result;
    const CHelperObject helper;
    helper->SetSite(&windowless);
    EXPECT_EQ(PromptOwner(helper), frame);
  }
}

TEST_F(IeDownloadSetSite, NewBrowserForgetsTheWindowOfTheOneBefore) {
  CFakeBrowser windowless;
  m_browser.window = GetDesktopWindow();
  const CHelperObject helper;
  helper->SetSite(&m_browser);
  helper->SetSite(nullptr);
  EXPECT_EQ(PromptOwner(helper), m_browser.window) << "the events are still the first one's";
  helper->SetSite(&windowless);
  EXPECT_EQ(PromptOwner(helper), nullptr);
}

using IeDownloadFrame = IeDownload;

TEST_F(IeDownloadFrame, IsTheTopmostOneOfEitherClassInAnyCase) {
  for (const LPCWSTR name : {L"IEFrame", L"CabinetWClass", L"ieframe", L"CABINETWCLASS"}) {
    const CBrowserFrame lower(name);
    const CBrowserFrame frame(name);  // enumerated from the topmost down
    const CBrowserFrame other(L"Static");
    EXPECT_EQ(m_helper->FindBrowserFrameWindow(), S_OK);
    EXPECT_EQ(PromptOwner(m_helper), frame);
  }
  EXPECT_EQ(m_helper->FindBrowserFrameWindow(), E_POINTER) << "they have gone";
}

TEST_F(IeDownloadFrame, IsOneOfTheThread) {
  const CHandle made(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const CHandle looked(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const CParallel otherBrowser([&] {
    const CBrowserFrame frame;
    SetEvent(made);
    WaitForSingleObject(looked, INFINITE);
  });
  EXPECT_EQ(WaitForSingleObject(made, PatienceMs()), WAIT_OBJECT_0);
  const CBrowserFrame ofNoBrowser(L"IEFrameOther");
  EXPECT_EQ(m_helper->FindBrowserFrameWindow(), E_POINTER);
  SetEvent(looked);
}

TEST_F(IeDownload, GetSiteAsksTheHeldSite) {
  CFakeSite site(&m_browser);
  CComPtr<IUnknown> out;
  m_helper->SetSite(&site);
  EXPECT_EQ(m_helper->GetSite(IID_IUnknown, reinterpret_cast<void**>(&out)), S_OK);
  EXPECT_EQ(out.p, static_cast<IUnknown*>(&site));
  out.Release();
  m_helper->SetSite(nullptr);
  EXPECT_EQ(m_helper->GetSite(IID_IUnknown, reinterpret_cast<void**>(&out)), E_FAIL);
}

using IeDownloadUnadvise = IeDownload;

TEST_F(IeDownloadUnadvise, PassesTheCookieOnAndReturnsTheResultWhichOnQuitIgnores) {
  m_events.nextCookie = 0xFFFFFFFE;
  m_helper->SetSite(&m_browser);
  m_events.unadviseResult = CONNECT_E_NOCONNECTION;
  EXPECT_EQ(m_helper->Unadvise(), CONNECT_E_NOCONNECTION);
  EXPECT_EQ(m_helper->OnQuit(), S_OK);
  EXPECT_EQ(m_events.unadvised, (Cookies{0xFFFFFFFE, 0xFFFFFFFE}));
  EXPECT_EQ(m_events.references, 0);
  EXPECT_EQ(m_browser.container.asked, std::vector<IID>(3, DIID_DWebBrowserEvents2));
}

TEST_F(IeDownloadUnadvise, FailsAsAdviseDoesWithoutTheConnectionPoint) {
  EXPECT_EQ(m_helper->Advise(), E_POINTER) << "there is no browser yet";
  EXPECT_EQ(m_helper->Unadvise(), E_POINTER);
  m_helper->SetSite(&m_browser);
  m_browser.container.findResult = E_OUTOFMEMORY;
  EXPECT_EQ(m_helper->Advise(), E_OUTOFMEMORY);
  EXPECT_EQ(m_helper->Unadvise(), E_OUTOFMEMORY);
  m_browser.container.findResult = S_OK;
  m_browser.container.hasPoint = false;
  EXPECT_EQ(m_helper->Advise(), E_POINTER);
  EXPECT_EQ(m_helper->Unadvise(), E_POINTER);
  EXPECT_EQ(m_events.sinks.size(), 1u);
  EXPECT_TRUE(m_events.unadvised.empty());
}

using IeDownloadInvoke = IeDownload;

TEST_F(IeDownloadInvoke, MissingParametersAreAnInvalidArgument) {
  m_helper->SetSite(&m_browser);
  for (const DISPID id : {DISPID_BEFORENAVIGATE2, DISPID_BEFORENAVIGATE, DISPID_ONQUIT, 0, 259}) {
    EXPECT_EQ(m_helper.Fire(id, nullptr), E_INVALIDARG) << id;
  }
  EXPECT_TRUE(m_events.unadvised.empty());
}

TEST_F(IeDownloadInvoke, OtherEventsAreIgnored) {
  const CTempSandbox sandbox;
  const CPromptAnswer prompt(IDCANCEL);
  m_helper->SetSite(&m_browser);
  CNavigationEvent event(sandbox.Write(L"a.qdk", kOldLessonHead));
  for (const DISPID id : {-1, 0, 1, 99, 101, 102, 103, 249, 251, 252, 254, 259, 0x7FFFFFFF}) {
    EXPECT_EQ(m_helper.Fire(id, event.Params()), S_OK) << id;
  }
  EXPECT_EQ(prompt.Count(), 0);
  EXPECT_FALSE(event.Cancelled());
  EXPECT_TRUE(m_events.unadvised.empty());
}

}  // namespace
