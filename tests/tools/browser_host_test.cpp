// The browser host as a process of its own, with and without a helper object.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/tools/helper_double.h"
#include "tests/tools/helper_registration.h"
#include "tests/tools/tool_process.h"
#include "tools/dialog_driver/polling.h"
#include "tools/dialog_driver/window_query.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;

// Nobody listens there: a navigation that is not cancelled fails at once.
const std::wstring kDeadServer = L"http://127.0.0.1:1/";
const std::string kDoubleLoaded = "helper {6F1D3C52-8A4E-4B7B-9C0D-513E2A77D419} hr=0x00000000";

class CBrowserProcess : public CToolProcess {
 public:
  explicit CBrowserProcess(const std::wstring& arguments)
      : CToolProcess(ToolPath(L"browser_host.exe"), arguments) {}
};

size_t IndexOf(const std::vector<std::string>& lines, const std::string& line) {
  return static_cast<size_t>(std::find(lines.begin(), lines.end(), line) - lines.begin());
}

}  // namespace

TEST(BrowserHost, CarriesOutCommandsInOrder) {
  CBrowserProcess browser(
      L"--no-helpers navigate about:blank wait-navigation print \"\u00fcber\" quit");
  EXPECT_EQ(browser.WaitForExit(), 0u);
  const auto& lines = browser.Lines();
  ASSERT_FALSE(lines.empty());
  EXPECT_THAT(lines[0], StartsWith("frame hwnd=0x"));
  EXPECT_THAT(lines, Contains("event BeforeNavigate2 url=<about:blank> cancel=0"));
  EXPECT_EQ(lines.back(),
            "\xc3\xbc"
            "ber");
}

TEST(BrowserHost, GivesRegisteredHelperObjectsTheFrame) {
  const CHelperRegistration registration;
  CBrowserProcess browser(L"navigate about:blank quit");
  EXPECT_EQ(browser.WaitForExit(), 0u);
  EXPECT_THAT(browser.Lines(),
              IsSupersetOf({std::string("double SetSite window=IEFrame"), kDoubleLoaded,
                            std::string("double BeforeNavigate2 arguments=7 browser=site")}));
}

TEST(BrowserHost, LoadsOnlyWhatItIsToldTo) {
  const CHelperRegistration registration;
  CBrowserProcess none(L"--no-helpers quit");
  EXPECT_EQ(none.WaitForExit(), 0u);
  EXPECT_THAT(none.Lines(), Not(Contains(StartsWith("helper"))));

  CBrowserProcess given(L"--helper {00000000-1111-2222-3333-444444444444} --helper nonsense quit");
  EXPECT_EQ(given.WaitForExit(), 0u);
  EXPECT_THAT(given.Lines(),
              ElementsAre(StartsWith("frame"),
                          "helper {00000000-1111-2222-3333-444444444444} hr=0x80040154",
                          "helper nonsense hr=0x800401f3"));
}

TEST(BrowserHost, PrintsTheCancelFlagAsTheHelperObjectLeftIt) {
  const CHelperRegistration registration;
  CBrowserProcess browser(L"navigate " + kDeadServer + kCancelMark +
                          L" wait-navigation print between" + L" navigate " + kDeadServer +
                          L" wait-navigation quit");
  EXPECT_EQ(browser.WaitForExit(), 0u);
  const auto& lines = browser.Lines();
  const size_t cancelled =
      IndexOf(lines, "event BeforeNavigate2 url=<http://127.0.0.1:1/double-cancel> cancel=1");
  const size_t between = IndexOf(lines, "between");
  const size_t followed =
      IndexOf(lines, "event BeforeNavigate2 url=<http://127.0.0.1:1/> cancel=0");
  ASSERT_LT(followed, lines.size());
  // The cancelled navigation went no further, the other one did.
  EXPECT_EQ(cancelled + 1, between);
  EXPECT_LT(followed, IndexOf(lines, "event DownloadBegin"));
}

TEST(BrowserHost, TakesTheSiteAwayAndLetsGoAtTheEnd) {
  const CHelperRegistration registration;
  CBrowserProcess browser(std::wstring(L"navigate about:") + kLetGoMark + L" wait-navigation quit");
  EXPECT_EQ(browser.WaitForExit(), 0u);
  const auto& lines = browser.Lines();
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines[lines.size() - 2], "double SetSite null");
  EXPECT_EQ(lines.back(), "double destroyed");
}

TEST(BrowserHost, SurvivesBeingClosedWhileAHelperObjectIsModal) {
  const CHelperRegistration registration;
  // The control sends the first kind of event at once and the second from its message loop.
  for (const std::string& url :
       {std::string("about:double-modal"), std::string("http://127.0.0.1:1/double-modal")}) {
    CBrowserProcess browser(L"--commands-from-stdin");
    browser.WriteLine("navigate about:blank");
    ASSERT_TRUE(browser.WaitForLine("ok"));
    browser.WriteLine("navigate " + url);
    WindowFilter filter{.title = kModalTitle, .className = {}, .processId = browser.ProcessId()};
    ASSERT_TRUE(PollUntil(kToolTimeout, [&] { return FindVisibleWindow(filter) != nullptr; }));

    browser.WriteLine("close");
    EXPECT_EQ(browser.WaitForExit(), 0u) << url;
    const auto& lines = browser.Lines();
    const size_t taken = IndexOf(lines, "double SetSite null");
    const size_t modalEnd = IndexOf(lines, "double modal end browser=gone");
    EXPECT_LT(taken, modalEnd);
    EXPECT_LT(modalEnd, IndexOf(lines, "event BeforeNavigate2 url=<" + url + "> cancel=1"));
    EXPECT_EQ(lines.back(), "ok");
  }
}

TEST(BrowserHost, AnswersCommandsFromStandardInput) {
  CBrowserProcess browser(L"--no-helpers --commands-from-stdin");
  browser.WriteLine("print caf\xc3\xa9 & more");
  EXPECT_TRUE(browser.WaitForLine("caf\xc3\xa9 & more"));
  EXPECT_TRUE(browser.WaitForLine("ok"));
  browser.WriteLine("frobnicate");
  EXPECT_TRUE(browser.WaitForLine("error no such command"));
  browser.WriteLine("wait 50");
  EXPECT_TRUE(browser.WaitForLine("ok"));
  browser.WriteLine("back");
  EXPECT_TRUE(browser.WaitForLine("error hr=0x"));
  browser.CloseInput();
  EXPECT_TRUE(browser.WaitForLine("ok"));  // of the quit that the end of the input stands for
  EXPECT_EQ(browser.WaitForExit(), 0u);
}
