#include "browser/ie_download.h"

#include <exdispid.h>
#include <gtest/gtest.h>
#include <objsafe.h>

#include <vector>

#include "tests/browser/fake_browser.h"
#include "tests/browser/helper_object.h"
#include "tests/browser/navigation_event.h"
#include "tests/browser/prompt_answer.h"
#include "tests/browser/test_window.h"
#include "tests/support/parallel.h"
#include "tests/support/temp_sandbox.h"
#include "tests/support/user.h"

namespace {

bool AreSameObject(IUnknown* one, IUnknown* other) {
  return CComPtr<IUnknown>(one).IsEqualObject(other);
}

/// The owner of the question that the helper object asks about a local lesson.
HWND PromptOwner(const CHelperObject& helper) {
  const CTempSandbox sandbox;
  const CPromptAnswer prompt(IDCANCEL);
  helper.Navigate(sandbox.Write(L"a.qdk", "\x78\x9c"));
  EXPECT_EQ(prompt.Count(), 1);
  return prompt.Owner();
}

TEST(HelperObject, HasExactlyItsInterfaces) {
  const CHelperObject helper;
  CComPtr<IUnknown> found;
  for (const IID& iid :
       {IID_IUnknown, IID_IDispatch, IID_IIEDownload, IID_IObjectWithSite, IID_IProvideClassInfo}) {
    found.Release();
    EXPECT_EQ(helper->QueryInterface(iid, reinterpret_cast<void**>(&found)), S_OK);
    EXPECT_TRUE(AreSameObject(found, helper->GetUnknown()));
  }
  for (const IID& iid : {IID_IObjectSafety, IID_IProvideClassInfo2, IID_IPersist, IID_IOleObject}) {
    found.Release();
    EXPECT_EQ(helper->QueryInterface(iid, reinterpret_cast<void**>(&found)), E_NOINTERFACE);
    EXPECT_EQ(found.p, nullptr);
  }
}

TEST(HelperObject, SiteInterfaceIsThePrimaryOneWithTheOwnMethodsBehindIt) {
  CFakeBrowser browser;
  CHelperObject helper;
  auto* const primary =
      static_cast<IObjectWithSite*>(static_cast<CIEDownload*>(helper.operator->()));
  EXPECT_EQ(static_cast<void*>(primary), static_cast<void*>(helper.operator->()));
  using Method = HRESULT (*)(void*);
  const auto* const table = *reinterpret_cast<const Method* const*>(primary);
  ASSERT_EQ(helper->SetSite(&browser), S_OK);
  // 0 to 4 are IObjectWithSite's; the destructor takes two places with this compiler.
  constexpr int kOnQuit = 7;
  EXPECT_EQ(table[kOnQuit](primary), S_OK);
  EXPECT_EQ(browser.container.point.unadvised, (std::vector<DWORD>{7001}));
  EXPECT_EQ(table[kOnQuit + 1](primary), S_OK);
  EXPECT_EQ(browser.container.point.sinks.size(), 2u);
  EXPECT_EQ(table[kOnQuit + 2](primary), S_OK);
  EXPECT_EQ(browser.container.point.unadvised, (std::vector<DWORD>{7001, 7002}));
  EXPECT_EQ(table[kOnQuit + 3](primary), E_POINTER);
}

class SetSite : public testing::Test {
 protected:
  CFakeBrowser m_browser;
  const CHelperObject m_helper;
};
using GetSite = SetSite;
using Unadvise = SetSite;
using OnQuit = SetSite;
using Invoke = SetSite;

TEST_F(SetSite, SubscribesTheObjectToTheBrowsersEvents) {
  EXPECT_EQ(m_helper->SetSite(&m_browser), S_OK);
  EXPECT_EQ(m_browser.container.asked, (std::vector<IID>{DIID_DWebBrowserEvents2}));
  ASSERT_EQ(m_browser.container.point.sinks.size(), 1u);
  EXPECT_TRUE(AreSameObject(m_browser.container.point.sinks[0], m_helper->GetUnknown()));
  EXPECT_EQ(m_browser.container.point.references, 0);
}

TEST_F(SetSite, LetsGoOfEverythingWithTheObject) {
  CFakeBrowser browser;
  const LONG locks = ATL::_pAtlModule->GetLockCount();
  {
    const CHelperObject helper;
    EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), locks + 1);
    helper->SetSite(&browser);
    EXPECT_GT(browser.references, 0);
    EXPECT_EQ(browser.container.references, 1);
  }
  EXPECT_EQ(browser.references, 0);
  EXPECT_EQ(browser.container.references, 0);
  EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), locks);
}

TEST_F(SetSite, NullLetsGoOfTheBrowserButNotOfItsEvents) {
  m_helper->SetSite(&m_browser);
  EXPECT_EQ(m_helper->SetSite(nullptr), E_INVALIDARG);
  EXPECT_EQ(m_browser.references, 0);
  EXPECT_TRUE(m_browser.container.point.unadvised.empty());
  const CTempSandbox sandbox;
  const CPromptAnswer prompt(IDCANCEL);
  EXPECT_TRUE(m_helper.Navigate(sandbox.Write(L"a.qdk", "\x78\x9c")));
  CNavigationEvent event(L"");
  EXPECT_EQ(m_helper.Fire(DISPID_ONQUIT, event.Params()), S_OK);
  EXPECT_EQ(m_browser.container.point.unadvised, (std::vector<DWORD>{7001}));
}

TEST_F(SetSite, WithoutABrowserIsAnInvalidArgumentAndDropsTheHeldOne) {
  CFakeSite stranger(nullptr);
  m_helper->SetSite(&m_browser);
  EXPECT_EQ(m_helper->SetSite(&stranger), E_INVALIDARG);
  EXPECT_EQ(m_browser.references, 0);
  EXPECT_EQ(stranger.references, 0);
  EXPECT_EQ(m_browser.container.point.sinks.size(), 1u);
}

TEST_F(SetSite, HeldBrowserIsNotAskedForAgain) {
  m_helper->SetSite(&m_browser);
  EXPECT_EQ(m_browser.browserQueries, 1);
  EXPECT_EQ(m_helper->SetSite(&m_browser), S_OK);
  EXPECT_EQ(m_browser.browserQueries, 1);
  CFakeSite site(&m_browser);
  EXPECT_EQ(m_helper->SetSite(&site), S_OK);
  EXPECT_EQ(m_browser.browserQueries, 2);
  m_helper->SetSite(nullptr);
}

TEST_F(SetSite, NewBrowserReplacesTheOldOneAndItsContainer) {
  CFakeBrowser first;
  CFakeBrowser second;
  const CHelperObject helper;
  helper->SetSite(&first);
  EXPECT_EQ(helper->SetSite(&second), S_OK);
  EXPECT_EQ(first.references, 0);
  EXPECT_EQ(first.container.references, 0);
  EXPECT_EQ(second.container.references, 1);
  helper->OnQuit();
  EXPECT_TRUE(first.container.point.unadvised.empty());
  EXPECT_EQ(second.container.point.unadvised.size(), 1u);
}

TEST_F(SetSite, AnotherSubscriptionReplacesTheCookieWithoutUnsubscribing) {
  m_helper->SetSite(&m_browser);
  m_helper->SetSite(&m_browser);
  EXPECT_EQ(m_browser.container.point.sinks.size(), 2u);
  EXPECT_TRUE(m_browser.container.point.unadvised.empty());
  EXPECT_EQ(m_helper->Unadvise(), S_OK);
  EXPECT_EQ(m_browser.container.point.unadvised, (std::vector<DWORD>{7002}));
}

TEST_F(SetSite, BrowserWithoutEventsIsAPointerError) {
  CFakeBrowser deaf;
  deaf.hasContainer = false;
  const CHelperObject helper;
  helper->SetSite(&m_browser);
  EXPECT_EQ(helper->SetSite(&deaf), E_POINTER);
  EXPECT_EQ(m_browser.container.references, 0);
  EXPECT_GT(deaf.references, 0);
}

TEST_F(SetSite, FailedSubscriptionLeavesTheCookieOfTheOneBefore) {
  m_helper->SetSite(&m_browser);
  m_browser.container.point.adviseResult = CONNECT_E_ADVISELIMIT;
  EXPECT_EQ(m_helper->SetSite(&m_browser), CONNECT_E_ADVISELIMIT);
  m_browser.container.findResult = CONNECT_E_NOCONNECTION;
  EXPECT_EQ(m_helper->SetSite(&m_browser), CONNECT_E_NOCONNECTION);
  m_browser.container.findResult = S_OK;
  m_browser.container.hasPoint = false;
  EXPECT_EQ(m_helper->SetSite(&m_browser), E_POINTER);
  EXPECT_EQ(m_browser.container.point.sinks.size(), 1u);
  EXPECT_EQ(m_browser.container.point.references, 0);
  m_browser.container.hasPoint = true;
  EXPECT_EQ(m_helper->Unadvise(), S_OK);
  EXPECT_EQ(m_browser.container.point.unadvised, (std::vector<DWORD>{7001}));
}

TEST_F(SetSite, BrowserMayTakeTheSiteBackWhileItIsAskedForItsWindow) {
  m_browser.onGetWindow = [&] { m_helper->SetSite(nullptr); };
  m_helper->SetSite(&m_browser);
  m_browser.onGetWindow = nullptr;
  EXPECT_EQ(m_helper->SetSite(&m_browser), S_OK);
}

TEST_F(SetSite, BrowsersWindowOwnsTheDialogs) {
  m_browser.window = GetDesktopWindow();
  m_helper->SetSite(&m_browser);
  EXPECT_EQ(PromptOwner(m_helper), GetDesktopWindow());
}

TEST_F(SetSite, FrameOfTheThreadStandsInForABrowserThatTellsNone) {
  const CTestWindow frame(L"IEFrame");
  m_browser.windowResult = E_FAIL;
  m_helper->SetSite(&m_browser);
  EXPECT_EQ(PromptOwner(m_helper), frame);
  m_browser.windowResult = S_OK;  // and no window
  const CHelperObject other;
  other->SetSite(&m_browser);
  EXPECT_EQ(PromptOwner(other), frame);
}

TEST_F(SetSite, NewBrowserForgetsTheWindowOfTheOneBefore) {
  for (const bool lettingGoBetween : {false, true}) {
    CFakeBrowser first;
    CFakeBrowser second;
    first.window = GetDesktopWindow();
    second.windowResult = E_FAIL;
    const CHelperObject helper;
    helper->SetSite(&first);
    if (lettingGoBetween) {
      helper->SetSite(nullptr);
      EXPECT_EQ(PromptOwner(helper), first.window) << "the events are still the first one's";
    }
    helper->SetSite(&second);
    EXPECT_EQ(PromptOwner(helper), nullptr);
  }
}

TEST(FindBrowserFrameWindow, TakesTheTopmostFrameOfEitherClassInAnyCase) {
  for (const LPCWSTR name : {L"IEFrame", L"CabinetWClass", L"ieframe", L"CABINETWCLASS"}) {
    const CTestWindow lower(name);
    const CTestWindow frame(name);  // enumerated from the topmost down
    const CTestWindow other(L"Static");
    const CHelperObject helper;
    EXPECT_EQ(helper->FindBrowserFrameWindow(), S_OK);
    EXPECT_EQ(PromptOwner(helper), frame);
  }
}

TEST(FindBrowserFrameWindow, FailsWithoutAFrameOfTheThread) {
  const CHandle made(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const CHandle looked(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const CParallel otherBrowser([&] {
    const CTestWindow frame(L"IEFrame");
    SetEvent(made);
    WaitForSingleObject(looked, INFINITE);
  });
  EXPECT_EQ(WaitForSingleObject(made, kUserPatienceMs), WAIT_OBJECT_0);
  const CTestWindow ofNoBrowser(L"IEFrameOther");
  const CHelperObject helper;
  EXPECT_EQ(helper->FindBrowserFrameWindow(), E_POINTER);
  SetEvent(looked);
}

TEST(FindBrowserFrameWindow, FailsWhenTheFrameHasGone) {
  const CHelperObject helper;
  {
    const CTestWindow frame(L"IEFrame");
    EXPECT_EQ(helper->FindBrowserFrameWindow(), S_OK);
  }
  EXPECT_EQ(helper->FindBrowserFrameWindow(), E_POINTER);
}

TEST_F(GetSite, AnswersFromTheHeldSite) {
  CFakeSite site(&m_browser);
  m_helper->SetSite(&site);
  {
    CComPtr<IUnknown> held;
    EXPECT_EQ(m_helper->GetSite(IID_IUnknown, reinterpret_cast<void**>(&held)), S_OK);
    EXPECT_EQ(held.p, static_cast<IUnknown*>(&site));
    CComPtr<IWebBrowser2> asked;
    EXPECT_EQ(m_helper->GetSite(IID_IWebBrowser2, reinterpret_cast<void**>(&asked)), S_OK);
    EXPECT_EQ(asked.p, static_cast<IWebBrowser2*>(&m_browser));
    void* none = &site;
    EXPECT_EQ(m_helper->GetSite(IID_IObjectSafety, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(m_helper->GetSite(IID_IUnknown, nullptr), E_POINTER);
  }
  m_helper->SetSite(nullptr);
}

TEST_F(GetSite, FailsWithoutASite) {
  void* none = &m_browser;
  EXPECT_EQ(m_helper->GetSite(IID_IUnknown, &none), E_FAIL);
  EXPECT_EQ(none, nullptr);
  m_helper->SetSite(&m_browser);
  m_helper->SetSite(nullptr);
  EXPECT_EQ(m_helper->GetSite(IID_IUnknown, &none), E_FAIL);
}

TEST_F(Unadvise, EndsTheSubscriptionByItsCookieAndReturnsTheResult) {
  m_browser.container.point.nextCookie = 0xFFFFFFFE;
  m_helper->SetSite(&m_browser);
  m_browser.container.point.unadviseResult = CONNECT_E_NOCONNECTION;
  EXPECT_EQ(m_helper->Unadvise(), CONNECT_E_NOCONNECTION);
  EXPECT_EQ(m_browser.container.point.unadvised, (std::vector<DWORD>{0xFFFFFFFE}));
  EXPECT_EQ(m_browser.container.point.references, 0);
  EXPECT_EQ(m_browser.container.asked,
            (std::vector<IID>{DIID_DWebBrowserEvents2, DIID_DWebBrowserEvents2}));
}

TEST_F(Unadvise, FailsWhenTheConnectionPointIsNotFound) {
  EXPECT_TRUE(FAILED(m_helper->Advise()));
  EXPECT_TRUE(FAILED(m_helper->Unadvise()));
  m_helper->SetSite(&m_browser);
  m_browser.container.findResult = E_OUTOFMEMORY;
  EXPECT_EQ(m_helper->Unadvise(), E_OUTOFMEMORY);
  m_browser.container.findResult = S_OK;
  m_browser.container.hasPoint = false;
  EXPECT_EQ(m_helper->Unadvise(), E_POINTER);
  EXPECT_TRUE(m_browser.container.point.unadvised.empty());
}

TEST_F(OnQuit, SucceedsEvenIfUnsubscribingFails) {
  EXPECT_EQ(m_helper->OnQuit(), S_OK);
  m_helper->SetSite(&m_browser);
  m_browser.container.point.unadviseResult = E_FAIL;
  EXPECT_EQ(m_helper->OnQuit(), S_OK);
  EXPECT_EQ(m_browser.container.point.unadvised.size(), 1u);
}

TEST_F(Invoke, WithoutParametersIsAnInvalidArgument) {
  m_helper->SetSite(&m_browser);
  for (const DISPID id : {DISPID_BEFORENAVIGATE2, DISPID_BEFORENAVIGATE, DISPID_ONQUIT, 0, 259}) {
    EXPECT_EQ(m_helper.Fire(id, nullptr), E_INVALIDARG) << id;
  }
  EXPECT_TRUE(m_browser.container.point.unadvised.empty());
}

TEST_F(Invoke, OtherEventsAreIgnored) {
  const CTempSandbox sandbox;
  const CPromptAnswer prompt(IDCANCEL);
  m_helper->SetSite(&m_browser);
  CNavigationEvent event(sandbox.Write(L"a.qdk", "\x78\x9c"));
  for (const DISPID id : {-1, 0, 1, 99, 101, 102, 103, 249, 251, 252, 254, 259, 0x7FFFFFFF}) {
    EXPECT_EQ(m_helper.Fire(id, event.Params()), S_OK) << id;
  }
  EXPECT_EQ(prompt.Count(), 0);
  EXPECT_FALSE(event.Cancelled());
  EXPECT_TRUE(m_browser.container.point.unadvised.empty());
}

}  // namespace
