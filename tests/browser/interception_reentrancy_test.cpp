// While a dialog of the interception is open, the browser's thread goes on serving messages: the
// browser navigates, quits and lets go of its helper object at any of these moments.

#include <exdispid.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/browser/interception_desktop.h"
#include "tests/support/user.h"

namespace {

using Files = std::vector<std::wstring>;

class InterceptionReentrancy : public InterceptionDesktop {
 protected:
  /// What a browser does to its helper object when its window closes.
  void LetGoOfHelper() {
    DISPPARAMS none = {};
    EXPECT_EQ(m_helper.Fire(DISPID_ONQUIT, &none), S_OK);
    EXPECT_EQ(m_helper->SetSite(nullptr), E_INVALIDARG);
    m_helper.Release();
  }
  void ExpectHelperGone() const {
    EXPECT_EQ(m_browser.references, 0);
    EXPECT_EQ(m_browser.container.references, 0);
    EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), 0);
  }
};

TEST_F(InterceptionReentrancy, BrowserClosedDuringThePromptLeavesNothing) {
  const ScriptedPath path(m_server, Lesson());
  Navigate(path.Url(L"a.folivo"), [&] {
    WaitForDialog(kPromptTitle);
    m_frame.Begin([&] {
      LetGoOfHelper();
      DestroyWindow(m_frame);
    });
  });
  EXPECT_TRUE(m_launches.Launches().empty());
  EXPECT_TRUE(m_sandbox.Files().empty());
  ExpectHelperGone();
}

TEST_F(InterceptionReentrancy, HelperReleasedDuringTheSaveDialogStillSaves) {
  const ScriptedPath path(m_server, Lesson());
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo"), [&] {
    AnswerPrompt(kSaveButton);
    WaitForDialog(kSaveTitle);
    m_frame.Run([&] { LetGoOfHelper(); });
    SaveAs(m_sandbox / L"saved.folivo");
  }));
  EXPECT_EQ(m_sandbox.Files(), Files{L"saved.folivo"});
  EXPECT_EQ(ReadFileBytes(m_sandbox / L"saved.folivo"), LessonBytes());
  ExpectHelperGone();
}

TEST_F(InterceptionReentrancy, BrowserClosedDuringTheDownloadEndsIt) {
  const ScriptedPath path(m_server, Lesson().Gated());
  path.AllowUpTo(2000);
  Navigate(path.Url(L"a.folivo"), [&] {
    AnswerPrompt(kOpenButton);
    WaitForDialog(kDownloadTitle);
    m_frame.Begin([&] {
      LetGoOfHelper();
      DestroyWindow(m_frame);
    });
  });
  EXPECT_TRUE(m_launches.Launches().empty());
  EXPECT_TRUE(m_sandbox.Files().empty());
  // The worker is still in the network; it holds the module until it has ended.
  EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), 1);
  path.AllowAll();
  EXPECT_TRUE(WaitUntil("the worker to end", [] { return ATL::_pAtlModule->GetLockCount() == 0; }));
}

TEST_F(InterceptionReentrancy, LessonDuringADownloadIsAskedAboutByItself) {
  const ScriptedPath first(m_server, Lesson().Gated());
  const ScriptedPath second(m_server, Lesson());
  first.AllowUpTo(2000);
  bool secondCancelled = false;
  EXPECT_TRUE(Navigate(first.Url(L"a.folivo"), [&] {
    AnswerPrompt(kOpenButton);
    WaitForDialog(kDownloadTitle);
    m_frame.Begin([&] { secondCancelled = m_helper.Navigate(second.Url(L"b.folivo")); });
    const HWND prompt = WaitForDialog(kPromptTitle);
    Click(prompt, kCancelButton);
    WaitUntilGone(prompt);
    first.AllowAll();
  }));
  EXPECT_TRUE(secondCancelled);
  ASSERT_EQ(m_launches.Launches().size(), 1u);
  EXPECT_EQ(ReadFileBytes(m_launches.Launches()[0].file), LessonBytes());
}

}  // namespace
