// Addresses of every odd form, as a browser's event brings them: what is taken over, what is left
// to the browser, and what the user is told.

#include "tests/faults/navigation_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/dialogs.h"

namespace {

using Texts = std::vector<std::wstring>;

/// How the navigation ends.
enum class UrlEnd {
  kTaken,        // one request, the question, cancelled
  kBrowsers,     // not a word, not a request, not cancelled
  kUnavailable,  // one message that it is not available, not cancelled
  kMissing,      // one message that the file does not exist, not cancelled
};

class UrlFaults : public NavigationFaults {
 protected:
  UrlFaults() : NavigationFaults(kCancelButton) {}

  void Expect(const std::wstring& url, UrlEnd end) {
    const CNavigationResult outcome = Navigate(url);
    const bool isTaken = end == UrlEnd::kTaken;
    EXPECT_EQ(outcome.result, S_OK);
    EXPECT_EQ(outcome.cancelled, isTaken);
    EXPECT_EQ(outcome.prompts, isTaken ? 1 : 0);
    Texts messages;
    if (end == UrlEnd::kUnavailable) {
      messages = {L"The file " + url + L" is not available for downloading."};
    } else if (end == UrlEnd::kMissing) {
      messages = {L"The file " + url +
                  L" does not exist. Please verify that the path to the file is valid."};
    }
    EXPECT_EQ(outcome.messages, messages);
    EXPECT_EQ(outcome.stops, 0);
    EXPECT_TRUE(outcome.launches.empty());
    EXPECT_EQ(m_sandbox.Files(), Texts());
  }
};

struct CUrlFault {
  const char* name;
  std::wstring tail;  // behind the server's folder
  UrlEnd end;
  size_t length = 0;  // of the whole address, filled up in front of the tail
};

TEST_F(UrlFaults, ServersAddressIsJudgedByItsLastDot) {
  const CUrlFault faults[] = {
      {"plain", L"a.qdk", UrlEnd::kTaken},
      {"escaped blank", L"My%20Lesson.qdk", UrlEnd::kTaken},
      {"escaped slash", L"a%2Fb.qdk", UrlEnd::kTaken},
      {"escaped zero", L"a%00b.qdk", UrlEnd::kTaken},
      {"formats", L"%s%n%d%1.qdk", UrlEnd::kTaken},
      {"escaped letter of the extension", L"a.qd%6B", UrlEnd::kBrowsers},
      {"blank", L"My Lesson.qdk", UrlEnd::kTaken},
      {"blank at the end", L"a.qdk ", UrlEnd::kBrowsers},
      {"query", L"a.qdk?id=7", UrlEnd::kTaken},
      {"empty query", L"a.qdk?", UrlEnd::kTaken},
      {"extension in the query only", L"get?f=a.qdk", UrlEnd::kBrowsers},
      {"fragment", L"a.qdk#part", UrlEnd::kBrowsers},
      {"extension in the fragment only", L"page#a.qdk", UrlEnd::kTaken},
      {"no dot", L"lesson", UrlEnd::kBrowsers},
      {"dot in a folder", L"a.b/lesson", UrlEnd::kBrowsers},
      {"folder of that name", L"a.qdk/", UrlEnd::kBrowsers},
      {"parent folder", L"x/../a.qdk", UrlEnd::kTaken},
      {"no letters of ASCII", L"Le\u00e7on \u4f60\u597d.qdk", UrlEnd::kTaken},
      {"half a character", L"a\xD800.qdk", UrlEnd::kTaken},
      {"not for us", L"a.qdi", UrlEnd::kBrowsers},
      {"longest that browsers take", L".qdk", UrlEnd::kTaken, 2083},
      {"32,000 characters", L".qdk", UrlEnd::kTaken, 32000},
      {"32,000 characters that are not for us", L".htm", UrlEnd::kBrowsers, 32000},
      {"32,000 characters of query", L"a.qdk?" + std::wstring(32000, L'q'), UrlEnd::kTaken},
  };
  for (const CUrlFault& fault : QuickCut(faults)) {
    SCOPED_TRACE(fault.name);
    Checks().Run([&] {
      const ScriptedPath path(m_server, Lesson());
      std::wstring url = path.Url(L"");
      if (fault.length > url.size() + fault.tail.size()) {
        url.append(fault.length - url.size() - fault.tail.size(), L'a');
      }
      Expect(url + fault.tail, fault.end);
      EXPECT_EQ(path.Requests().size(), fault.end == UrlEnd::kTaken ? 1u : 0u);
    });
  }
}

TEST_F(UrlFaults, AddressWithoutAServerIsToldOrLeftAlone) {
  const std::pair<std::wstring, UrlEnd> faults[] = {
      {L"", UrlEnd::kBrowsers},
      {L"about:a.qdk", UrlEnd::kUnavailable},
      {L"javascript:open('a.qdk", UrlEnd::kUnavailable},
      {L"res://a.qdk", UrlEnd::kUnavailable},
      {L"nonsense:a.qdk", UrlEnd::kUnavailable},
      {L"http://.qdk", UrlEnd::kUnavailable},
      {L"http://127.0.0.1:99999/a.qdk", UrlEnd::kUnavailable},
      {L"http://127.0.0.1:1/a.qdk", UrlEnd::kUnavailable},
      {L"ftp://127.0.0.1:1/a.qdk", UrlEnd::kUnavailable},
      {L" http://127.0.0.1:1/a.qdk", UrlEnd::kMissing},  // which makes it a file's name
      {L"a.qdk", UrlEnd::kMissing},
      {L"C:\\none\\a.qdk", UrlEnd::kMissing},
      {L"a|b*?.qdk", UrlEnd::kBrowsers},  // cut before the question mark
      {L"\\\\?\\C:\\none\\a.qdk", UrlEnd::kBrowsers},
      {L"a|b*.qdk", UrlEnd::kMissing},
      {L"C:\\" + std::wstring(300, L'n') + L".qdk", UrlEnd::kMissing},
      {std::wstring(32000, L'n') + L".qdk", UrlEnd::kMissing},
      {std::wstring(32000, L'.'), UrlEnd::kBrowsers},
  };
  for (const auto& [url, end] : QuickCut(faults)) {
    SCOPED_TRACE(testing::PrintToString(url.substr(0, 40)));
    Checks().Run([&] { Expect(url, end); });
  }
}

}  // namespace
