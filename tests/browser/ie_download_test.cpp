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

TEST(SetSite, SubscribesTheObjectToTheBrowsersEvents) {
  CFakeBrowser browser;
  const CHelperObject helper;
  EXPECT_EQ(helper->SetSite(&browser), S_OK);
  EXPECT_EQ(browser.container.asked, (std::vector<IID>{DIID_DWebBrowserEvents2}));
  ASSERT_EQ(browser.container.point.sinks.size(), 1u);
  EXPECT_TRUE(AreSameObject(browser.container.point.sinks[0], helper->GetUnknown()));
  EXPECT_EQ(browser.container.point.references, 0);
}

TEST(SetSite, LetsGoOfEverythingWithTheObject) {
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

TEST(SetSite, NullIsAnInvalidArgument) {
  const CHelperObject helper;
  EXPECT_EQ(helper->SetSite(nullptr), E_INVALIDARG);
}

TEST(SetSite, NullLetsGoOfTheBrowserButNotOfItsEvents) {
  CFakeBrowser browser;
  const CHelperObject helper;
  helper->SetSite(&browser);
  EXPECT_EQ(helper->SetSite(nullptr), E_INVALIDARG);
  EXPECT_EQ(browser.references, 0);
  EXPECT_TRUE(browser.container.point.unadvised.empty());
  const CTempSandbox sandbox;
  const CPromptAnswer prompt(IDCANCEL);
  EXPECT_TRUE(helper.Navigate(sandbox.Write(L"a.qdk", "\x78\x9c")));
  CNavigationEvent event(L"");
  EXPECT_EQ(helper.Fire(DISPID_ONQUIT, event.Params()), S_OK);
  EXPECT_EQ(browser.container.point.unadvised, (std::vector<DWORD>{7001}));
}

TEST(SetSite, WithoutABrowserIsAnInvalidArgumentAndDropsTheHeldOne) {
  CFakeBrowser browser;
  CFakeSite stranger(nullptr);
  const CHelperObject helper;
  helper->SetSite(&browser);
  EXPECT_EQ(helper->SetSite(&stranger), E_INVALIDARG);
  EXPECT_EQ(browser.references, 0);
  EXPECT_EQ(stranger.references, 0);
  EXPECT_EQ(browser.container.point.sinks.size(), 1u);
}

TEST(SetSite, HeldBrowserIsNotAskedForAgain) {
  CFakeBrowser browser;
  const CHelperObject helper;
  helper->SetSite(&browser);
  EXPECT_EQ(browser.browserQueries, 1);
  EXPECT_EQ(helper->SetSite(&browser), S_OK);
  EXPECT_EQ(browser.browserQueries, 1);
  CFakeSite site(&browser);
  EXPECT_EQ(helper->SetSite(&site), S_OK);
  EXPECT_EQ(browser.browserQueries, 2);
  helper->SetSite(nullptr);
}

TEST(SetSite, NewBrowserReplacesTheOldOneAndItsContainer) {
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

TEST(SetSite, AnotherSubscriptionReplacesTheCookieWithoutUnsubscribing) {
  CFakeBrowser browser;
  const CHelperObject helper;
  helper->SetSite(&browser);
  helper->SetSite(&browser);
  EXPECT_EQ(browser.container.point.sinks.size(), 2u);
  EXPECT_TRUE(browser.container.point.unadvised.empty());
  EXPECT_EQ(helper->Unadvise(), S_OK);
  EXPECT_EQ(browser.container.point.unadvised, (std::vector<DWORD>{7002}));
}

TEST(SetSite, FailedSubscriptionLeavesTheCookieOfTheOneBefore) {
  CFakeBrowser browser;
  const CHelperObject helper;
  helper->SetSite(&browser);
  browser.container.point.adviseResult = CONNECT_E_ADVISELIMIT;
  EXPECT_EQ(helper->SetSite(&browser), CONNECT_E_ADVISELIMIT);
  EXPECT_EQ(helper->Unadvise(), S_OK);
  EXPECT_EQ(browser.container.point.unadvised, (std::vector<DWORD>{7001}));
}

TEST(SetSite, BrowserWithoutEventsIsAPointerError) {
  CFakeBrowser browser;
  CFakeBrowser deaf;
  deaf.hasContainer = false;
  const CHelperObject helper;
  helper->SetSite(&browser);
  EXPECT_EQ(helper->SetSite(&deaf), E_POINTER);
  EXPECT_EQ(browser.container.references, 0);
  EXPECT_GT(deaf.references, 0);
}

TEST(SetSite, ReturnsWhatSubscribingReturns) {
  CFakeBrowser browser;
  const CHelperObject helper;
  browser.container.point.adviseResult = CONNECT_E_ADVISELIMIT;
  EXPECT_EQ(helper->SetSite(&browser), CONNECT_E_ADVISELIMIT);
  browser.container.findResult = CONNECT_E_NOCONNECTION;
  EXPECT_EQ(helper->SetSite(&browser), CONNECT_E_NOCONNECTION);
  browser.container.findResult = S_OK;
  browser.container.hasPoint = false;
  EXPECT_EQ(helper->SetSite(&browser), E_POINTER);
  EXPECT_TRUE(browser.container.point.sinks.empty());
  EXPECT_EQ(browser.container.point.references, 0);
}

TEST(SetSite, BrowsersWindowOwnsTheDialogs) {
  CFakeBrowser browser;
  browser.window = GetDesktopWindow();
  const CHelperObject helper;
  helper->SetSite(&browser);
  EXPECT_EQ(PromptOwner(helper), GetDesktopWindow());
}

TEST(SetSite, FrameOfTheThreadStandsInForABrowserThatTellsNone) {
  const CTestWindow frame(L"IEFrame");
  CFakeBrowser browser;
  browser.windowResult = E_FAIL;
  const CHelperObject helper;
  helper->SetSite(&browser);
  EXPECT_EQ(PromptOwner(helper), frame);
  browser.windowResult = S_OK;  // and no window
  const CHelperObject other;
  other->SetSite(&browser);
  EXPECT_EQ(PromptOwner(other), frame);
}

TEST(SetSite, NewBrowserForgetsTheWindowOfTheOneBefore) {
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

TEST(FindBrowserFrameWindow, TakesTheFrameOfEitherClassInAnyCase) {
  for (const LPCWSTR name : {L"IEFrame", L"CabinetWClass", L"ieframe", L"CABINETWCLASS"}) {
    const CTestWindow other(L"Static");
    const CTestWindow frame(name);
    const CHelperObject helper;
    EXPECT_EQ(helper->FindBrowserFrameWindow(), S_OK);
    EXPECT_EQ(PromptOwner(helper), frame);
  }
}

TEST(FindBrowserFrameWindow, FirstOfSeveralIsTaken) {
  const CTestWindow lower(L"IEFrame");
  const CTestWindow upper(L"IEFrame");  // enumerated from the topmost down
  const CHelperObject helper;
  EXPECT_EQ(helper->FindBrowserFrameWindow(), S_OK);
  EXPECT_EQ(PromptOwner(helper), upper);
}

TEST(FindBrowserFrameWindow, FailsWithoutOne) {
  const CTestWindow other(L"IEFrameOther");
  const CHelperObject helper;
  EXPECT_EQ(helper->FindBrowserFrameWindow(), E_POINTER);
}

TEST(FindBrowserFrameWindow, FrameOfAnotherThreadIsNotTaken) {
  const CHandle made(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const CHandle looked(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const CParallel otherBrowser([&] {
    const CTestWindow frame(L"IEFrame");
    SetEvent(made);
    WaitForSingleObject(looked, INFINITE);
  });
  EXPECT_EQ(WaitForSingleObject(made, kUserPatienceMs), WAIT_OBJECT_0);
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

TEST(GetSite, AnswersFromTheHeldSite) {
  CFakeBrowser browser;
  CFakeSite site(&browser);
  const CHelperObject helper;
  helper->SetSite(&site);
  {
    CComPtr<IUnknown> held;
    EXPECT_EQ(helper->GetSite(IID_IUnknown, reinterpret_cast<void**>(&held)), S_OK);
    EXPECT_EQ(held.p, static_cast<IUnknown*>(&site));
    CComPtr<IWebBrowser2> asked;
    EXPECT_EQ(helper->GetSite(IID_IWebBrowser2, reinterpret_cast<void**>(&asked)), S_OK);
    EXPECT_EQ(asked.p, static_cast<IWebBrowser2*>(&browser));
    void* none = &site;
    EXPECT_EQ(helper->GetSite(IID_IObjectSafety, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(helper->GetSite(IID_IUnknown, nullptr), E_POINTER);
  }
  helper->SetSite(nullptr);
}

TEST(GetSite, FailsWithoutASite) {
  CFakeBrowser browser;
  const CHelperObject helper;
  void* none = &browser;
  EXPECT_EQ(helper->GetSite(IID_IUnknown, &none), E_FAIL);
  EXPECT_EQ(none, nullptr);
  helper->SetSite(&browser);
  helper->SetSite(nullptr);
  EXPECT_EQ(helper->GetSite(IID_IUnknown, &none), E_FAIL);
}

TEST(Unadvise, EndsTheSubscriptionByItsCookieAndReturnsTheResult) {
  CFakeBrowser browser;
  const CHelperObject helper;
  browser.container.point.nextCookie = 0xFFFFFFFE;
  helper->SetSite(&browser);
  browser.container.point.unadviseResult = CONNECT_E_NOCONNECTION;
  EXPECT_EQ(helper->Unadvise(), CONNECT_E_NOCONNECTION);
  EXPECT_EQ(browser.container.point.unadvised, (std::vector<DWORD>{0xFFFFFFFE}));
  EXPECT_EQ(browser.container.point.references, 0);
  EXPECT_EQ(browser.container.asked,
            (std::vector<IID>{DIID_DWebBrowserEvents2, DIID_DWebBrowserEvents2}));
}

TEST(Unadvise, FailsWhenTheConnectionPointIsNotFound) {
  CFakeBrowser browser;
  const CHelperObject helper;
  helper->SetSite(&browser);
  browser.container.findResult = E_OUTOFMEMORY;
  EXPECT_EQ(helper->Unadvise(), E_OUTOFMEMORY);
  browser.container.findResult = S_OK;
  browser.container.hasPoint = false;
  EXPECT_EQ(helper->Unadvise(), E_POINTER);
  EXPECT_TRUE(browser.container.point.unadvised.empty());
}

TEST(Unadvise, FailsWithoutABrowser) {
  const CHelperObject helper;
  EXPECT_TRUE(FAILED(helper->Advise()));
  EXPECT_TRUE(FAILED(helper->Unadvise()));
}

TEST(OnQuit, SucceedsEvenIfUnsubscribingFails) {
  CFakeBrowser browser;
  const CHelperObject helper;
  EXPECT_EQ(helper->OnQuit(), S_OK);
  helper->SetSite(&browser);
  browser.container.point.unadviseResult = E_FAIL;
  EXPECT_EQ(helper->OnQuit(), S_OK);
  EXPECT_EQ(browser.container.point.unadvised.size(), 1u);
}

TEST(Invoke, WithoutParametersIsAnInvalidArgument) {
  CFakeBrowser browser;
  const CHelperObject helper;
  helper->SetSite(&browser);
  for (const DISPID id : {DISPID_BEFORENAVIGATE2, DISPID_BEFORENAVIGATE, DISPID_ONQUIT, 0, 259}) {
    EXPECT_EQ(helper.Fire(id, nullptr), E_INVALIDARG) << id;
  }
  EXPECT_TRUE(browser.container.point.unadvised.empty());
}

TEST(Invoke, QuitUnsubscribes) {
  CFakeBrowser browser;
  const CHelperObject helper;
  helper->SetSite(&browser);
  DISPPARAMS none = {};
  EXPECT_EQ(helper.Fire(DISPID_ONQUIT, &none), S_OK);
  EXPECT_EQ(browser.container.point.unadvised, (std::vector<DWORD>{7001}));
}

TEST(Invoke, OtherEventsAreIgnored) {
  CFakeBrowser browser;
  const CTempSandbox sandbox;
  const CPromptAnswer prompt(IDCANCEL);
  const CHelperObject helper;
  helper->SetSite(&browser);
  CNavigationEvent event(sandbox.Write(L"a.qdk", "\x78\x9c"));
  for (const DISPID id : {-1, 0, 1, 99, 101, 102, 103, 249, 251, 252, 254, 259, 0x7FFFFFFF}) {
    EXPECT_EQ(helper.Fire(id, event.Params()), S_OK) << id;
  }
  EXPECT_EQ(prompt.Count(), 0);
  EXPECT_FALSE(event.Cancelled());
  EXPECT_TRUE(browser.container.point.unadvised.empty());
}

}  // namespace
