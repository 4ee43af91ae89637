// Addresses of every odd form, as a browser's event brings them: what is taken over, what is left
// to the browser, and what the user is told.

#include "tests/faults/navigation_faults.h"
#include "tests/faults/quick_cut.h"

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
  UrlFaults() : NavigationFaults(kCancel) {}

  void Expect(const std::wstring& url, UrlEnd end) {
    const CNavigationResult outcome = Navigate(url);
    const bool isTaken = end == UrlEnd::kTaken;
    EXPECT_EQ(outcome.result, S_OK);
    EXPECT_EQ(outcome.cancelled, isTaken);
    EXPECT_EQ(outcome.prompts, isTaken ? 1 : 0);
    EXPECT_EQ(outcome.messages, end == UrlEnd::kUnavailable ? Texts{NotAvailable(url)}
                                : end == UrlEnd::kMissing   ? Texts{DoesNotExist(url)}
                                                            : Texts());
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
      {"capitals", L"A.QDK", UrlEnd::kTaken},
      {"escaped blank", L"My%20Lesson.qdk", UrlEnd::kTaken},
      {"escaped slash", L"a%2Fb.qdk", UrlEnd::kTaken},
      {"escaped zero", L"a%00b.qdk", UrlEnd::kTaken},
      {"no escape at all", L"100%.qdk", UrlEnd::kTaken},
      {"half an escape", L"a%4.qdk", UrlEnd::kTaken},
      {"escape without digits", L"a%zz.qdk", UrlEnd::kTaken},
      {"formats", L"%s%n%d%1.qdk", UrlEnd::kTaken},
      {"escaped letter of the extension", L"a.qd%6B", UrlEnd::kBrowsers},
      {"escaped dot", L"a%2Eqdk", UrlEnd::kBrowsers},
      {"escaped question mark", L"a.qdk%3Fx", UrlEnd::kBrowsers},
      {"blank", L"My Lesson.qdk", UrlEnd::kTaken},
      {"blank at the end", L"a.qdk ", UrlEnd::kBrowsers},
      {"dot at the end", L"a.qdk.", UrlEnd::kBrowsers},
      {"query", L"a.qdk?id=7", UrlEnd::kTaken},
      {"empty query", L"a.qdk?", UrlEnd::kTaken},
      {"two question marks", L"a.qdk?b.htm?c", UrlEnd::kTaken},
      {"dot in the query", L"a.qdk?name=a.htm", UrlEnd::kTaken},
      {"extension in the query only", L"get?f=a.qdk", UrlEnd::kBrowsers},
      {"fragment", L"a.qdk#part", UrlEnd::kBrowsers},
      {"empty fragment", L"a.qdk#", UrlEnd::kBrowsers},
      {"fragment in the query", L"a.qdk?x#y", UrlEnd::kTaken},
      {"query in the fragment", L"a.qdk#x?y", UrlEnd::kBrowsers},
      {"extension in the fragment only", L"page#a.qdk", UrlEnd::kTaken},
      {"no dot", L"lesson", UrlEnd::kBrowsers},
      {"nothing", L"", UrlEnd::kBrowsers},
      {"dot in a folder", L"a.b/lesson", UrlEnd::kBrowsers},
      {"extension in a folder", L"a.qdk/lesson", UrlEnd::kBrowsers},
      {"folder of that name", L"a.qdk/", UrlEnd::kBrowsers},
      {"dots in folder and name", L"a.b/c.d.qdk", UrlEnd::kTaken},
      {"name without letters", L".qdk", UrlEnd::kTaken},
      {"dot before a backslash", L"a.qdk\\b", UrlEnd::kBrowsers},
      {"parent folder", L"x/../a.qdk", UrlEnd::kTaken},
      {"no letters of ASCII", L"Le\u00e7on \u4f60\u597d.qdk", UrlEnd::kTaken},
      {"half a character", L"a\xD800.qdk", UrlEnd::kTaken},
      {"not for us", L"a.qdi", UrlEnd::kBrowsers},
      {"longest that browsers take", L".qdk", UrlEnd::kTaken, 2083},
      {"2,084 characters", L".qdk", UrlEnd::kTaken, 2084},
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
      {L" ", UrlEnd::kBrowsers},
      {L"about:blank", UrlEnd::kBrowsers},
      {L"about:a.qdk", UrlEnd::kUnavailable},
      {L"javascript:open('a.qdk", UrlEnd::kUnavailable},
      {L"mailto:a@b.qdk", UrlEnd::kUnavailable},
      {L"data:,a.qdk", UrlEnd::kUnavailable},
      {L"res://a.qdk", UrlEnd::kUnavailable},
      {L"nonsense:a.qdk", UrlEnd::kUnavailable},
      {L"http:a.qdk", UrlEnd::kUnavailable},
      {L"http://.qdk", UrlEnd::kUnavailable},
      {L"http:///a.qdk", UrlEnd::kUnavailable},
      {L"http://127.0.0.1:99999/a.qdk", UrlEnd::kUnavailable},
      {L"http://127.0.0.1:x/a.qdk", UrlEnd::kUnavailable},
      {L"http://127.0.0.1:1/a.qdk", UrlEnd::kUnavailable},
      {L"ftp://127.0.0.1:1/a.qdk", UrlEnd::kUnavailable},
      {L" http://127.0.0.1:1/a.qdk", UrlEnd::kMissing},  // which makes it a file's name
      {L"a.qdk", UrlEnd::kMissing},
      {L"C:\\none\\a.qdk", UrlEnd::kMissing},
      {L"C:/none/a.qdk", UrlEnd::kMissing},
      {L"a|b*?.qdk", UrlEnd::kBrowsers},  // cut before the question mark
      {L"\\\\?\\C:\\none\\a.qdk", UrlEnd::kBrowsers},
      {L"a|b*.qdk", UrlEnd::kMissing},
      {L"C:\\" + std::wstring(300, L'n') + L".qdk", UrlEnd::kMissing},
      {std::wstring(32000, L'n') + L".qdk", UrlEnd::kMissing},
      {std::wstring(32000, L'.'), UrlEnd::kBrowsers},
      {L"\xFFFF.qdk", UrlEnd::kMissing},
  };
  for (const auto& [url, end] : QuickCut(faults)) {
    SCOPED_TRACE(testing::PrintToString(url.substr(0, 40)));
    Checks().Run([&] { Expect(url, end); });
  }
}

TEST_F(UrlFaults, AddressEndsAtItsFirstZero) {
  Checks().Run([&] {
    const ScriptedPath path(m_server, Lesson());
    const std::wstring url = path.Url(L"a.qdk");
    const std::wstring whole = url + L'\0' + L".htm";
    CNavigationEvent event(L"");
    event.Url().Clear();
    event.Url().vt = VT_BSTR;
    event.Url().bstrVal = SysAllocStringLen(whole.data(), static_cast<UINT>(whole.size()));
    EXPECT_TRUE(Navigate(event).cancelled);
    EXPECT_EQ(path.Requests().size(), 1u);
    EXPECT_EQ(m_sandbox.Files(), Texts());
  });
}

constexpr char kShortcutHead[] = "[InternetShortcut]\r\nURL=";

/// An address with the marker, and its bytes in the shortcut.
struct CMarkedAddress {
  std::wstring url;
  std::string bytes;
};
const CMarkedAddress kMarkedAddresses[] = {
    {L"http://insertinfolivo.example/", "http://insertinfolivo.example/"},
    {L"http://insertinfolivo", "http://insertinfolivo"},
    {L"http://insertinfolivo@server/a.qdk", "http://insertinfolivo@server/a.qdk"},
    {L"http://server/insertinfolivo/a.qdk", "http://server/insertinfolivo/a.qdk"},
    {L"http://server/a.qdk?x=insertinfolivo", "http://server/a.qdk?x=insertinfolivo"},
    {L"http://server/a.htm#insertinfolivo", "http://server/a.htm#insertinfolivo"},
    {L"insertinfolivo", "insertinfolivo"},
    {L"C:\\insertinfolivo\\a.qdk", "C:\\insertinfolivo\\a.qdk"},
    {L"javascript:insertinfolivo()", "javascript:insertinfolivo()"},
    {L"http://server/%20insertinfolivo%s%n", "http://server/%20insertinfolivo%s%n"},
    {L"http://server/\u4f60insertinfolivo", "http://server/\xE4\xBD\xA0insertinfolivo"},
    {L"http://server/\"insertinfolivo\"|<>", "http://server/\"insertinfolivo\"|<>"},
    {L"http://server/insertinfolivo" + std::wstring(2083 - 28, L'a'),
     "http://server/insertinfolivo" + std::string(2083 - 28, 'a')},
    {std::wstring(32000, L'a') + L"insertinfolivo", std::string(32000, 'a') + "insertinfolivo"},
};

/// Addresses with the marker, wherever it stands.
class MarkerFaults : public NavigationFaults {
 protected:
  MarkerFaults() : NavigationFaults(kCancel) {}
  std::wstring Shortcut() const { return m_sandbox / (std::wstring(kTempFiles) + L"File.url"); }
};

TEST_F(MarkerFaults, LauncherGetsAShortcutToIt) {
  const std::wstring launcher = WriteLauncher();
  m_information.SetFolder(m_sandbox / L"App");
  for (const auto& [url, bytes] : QuickCut(kMarkedAddresses)) {
    SCOPED_TRACE(testing::PrintToString(url.substr(0, 60)));
    Checks().Run([&] {
      const CNavigationResult outcome = Navigate(url);
      EXPECT_TRUE(outcome.cancelled);
      EXPECT_EQ(outcome.stops, 1);
      EXPECT_EQ(outcome.prompts, 0);
      EXPECT_EQ(outcome.messages, Texts());
      ASSERT_EQ(outcome.launches.size(), 1u);
      EXPECT_EQ(outcome.launches[0].file, launcher);
      EXPECT_EQ(outcome.launches[0].parameters, L"/insertinfolivo:" + Shortcut());
      EXPECT_TRUE(ReadFileBytes(Shortcut()) == kShortcutHead + bytes) << ReadFileBytes(Shortcut());
      EXPECT_EQ(m_sandbox.Files().size(), 2u);
      DeleteFileW(Shortcut().c_str());
    });
  }
}

TEST_F(MarkerFaults, WithoutTheApplicationItIsTheBrowsers) {
  for (const auto& [url, bytes] : QuickCut(kMarkedAddresses)) {
    SCOPED_TRACE(testing::PrintToString(url.substr(0, 60)));
    Checks().Run([&] {
      const CNavigationResult outcome = Navigate(url);
      EXPECT_FALSE(outcome.cancelled);
      EXPECT_EQ(outcome.stops, 0);
      EXPECT_EQ(outcome.messages, Texts());
      EXPECT_TRUE(outcome.launches.empty());
      EXPECT_TRUE(ReadFileBytes(Shortcut()) == kShortcutHead + bytes) << "the shortcut stays";
      DeleteFileW(Shortcut().c_str());
    });
  }
}

TEST_F(MarkerFaults, AnotherSpellingIsNone) {
  WriteLauncher();
  m_information.SetFolder(m_sandbox / L"App");
  for (const wchar_t* url :
       {L"http://server/InsertInFolivo", L"http://server/insert%69nfolivo",
        L"http://server/insertinfoliv", L"http://server/insertin\u200Bfolivo"}) {
    SCOPED_TRACE(testing::PrintToString(std::wstring(url)));
    Checks().Run([&] {
      const CNavigationResult outcome = Navigate(url);
      EXPECT_FALSE(outcome.cancelled);
      EXPECT_TRUE(outcome.launches.empty());
      EXPECT_EQ(m_sandbox.Files().size(), 1u) << "the launcher alone";
    });
  }
}

}  // namespace
