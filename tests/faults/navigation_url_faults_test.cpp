// Addresses of every odd form, as a browser's event brings them: what is taken over, what is left
// to the browser, and what the user is told.

#include <utility>

#include "tests/faults/navigation_faults.h"
#include "tests/faults/quick_cut.h"

namespace {

class NavigationUrlFaults : public NavigationFaults {
 protected:
  NavigationUrlFaults() : NavigationFaults(kCancelButton) {}
};

const CSeen kTaken = {L"asked", L"cancelled"};
const CSeen kLeft = {};

TEST_F(NavigationUrlFaults, ServersAddressIsJudgedByItsLastDot) {
  struct CUrlFault {
    const char* name;
    std::wstring tail;  // behind the server's folder
    CSeen seen;
    size_t length = 0;  // of the whole address, filled up in front of the tail
  };
  const CUrlFault faults[] = {
      {"escaped slash", L"a%2Fb.qdk", kTaken},
      {"escaped zero", L"a%00b.qdk", kTaken},
      {"escaped letter of the extension", L"a.qd%6B", kLeft},
      {"blank at the end", L"a.qdk ", kLeft},
      {"query and fragment", L"a.qdk?id=7#part", kTaken},
      {"blanks, formats, other scripts", L"Le\u00e7on %s%n%d%1 \u4f60\u597d.qdk", kTaken},
      {"half a character", L"a\xD800.qdk", kTaken},
      {"longest that browsers take", L".qdk", kTaken, 2083},
      {"32,000 characters", L".qdk", kTaken, 32000},
      {"32,000 characters that are not for us", L".htm", kLeft, 32000},
      {"32,000 characters of query", L"a.qdk?" + std::wstring(32000, L'q'), kTaken},
  };
  for (const CUrlFault& fault : QuickCut(faults)) {
    SCOPED_TRACE(fault.name);
    Checks().Run([&] {
      const ScriptedPath path(m_server, Lesson());
      std::wstring url = path.Url(L"");
      if (fault.length > url.size() + fault.tail.size()) {
        url.append(fault.length - url.size() - fault.tail.size(), L'a');
      }
      EXPECT_EQ(Navigate(url + fault.tail), fault.seen);
      EXPECT_EQ(path.Requests().size(), fault.seen == kTaken ? 1u : 0u);
      EXPECT_EQ(m_sandbox.Files(), Files());
    });
  }
}

TEST_F(NavigationUrlFaults, AddressWithoutAServerIsReportedOrLeftAlone) {
  const wchar_t* const kUnavailable = L" is not available for downloading.";
  const wchar_t* const kMissing =
      L" does not exist. Please verify that the path to the file is valid.";
  const std::pair<std::wstring, const wchar_t*> faults[] = {
      {L"", nullptr},
      {L"about:a.qdk", kUnavailable},
      {L"nonsense:a.qdk", kUnavailable},
      {L"http://.qdk", kUnavailable},
      {L"http://127.0.0.1:99999/a.qdk", kUnavailable},
      {L"ftp://127.0.0.1:1/a.qdk", kUnavailable},
      {L" http://127.0.0.1:1/a.qdk", kMissing},  // which makes it a file's name
      {L"a.qdk", kMissing},
      {L"C:\\none\\a.qdk", kMissing},
      {L"a|b*?.qdk", nullptr},  // cut before the question mark
      {L"\\\\?\\C:\\none\\a.qdk", nullptr},
      {L"C:\\" + std::wstring(300, L'n') + L".qdk", kMissing},
      {std::wstring(32000, L'n') + L".qdk", kMissing},
      {std::wstring(32000, L'.'), nullptr},
  };
  for (const auto& [url, message] : QuickCut(faults)) {
    SCOPED_TRACE(testing::PrintToString(url.substr(0, 40)));
    Checks().Run([&] {
      EXPECT_EQ(Navigate(url), message ? CSeen{L"message The file " + url + message} : kLeft);
      EXPECT_EQ(m_sandbox.Files(), Files());
    });
  }
}

}  // namespace
