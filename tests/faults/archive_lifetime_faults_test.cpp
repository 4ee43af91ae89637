// What a page and its browser do while the collection control's dialog is open. It serves messages
// only before it begins and under the system's own boxes.

#include <functional>
#include <utility>

#include "tests/browser/browser_frame.h"
#include "tests/collections/control_object.h"
#include "tests/faults/archive_faults.h"
#include "tests/faults/quick_cut.h"

namespace {

constexpr size_t kSize = 15000;

/// When it happens.
enum class Moment { kBeforeTheFirstTick, kUnderTheErrorDialog, kUnderTheMessage };

enum class Act {
  kReleased,         // the page gives up its last reference
  kClosed,           // the container closes the control
  kSiteTaken,        // and takes its site
  kSecondDownload,   // the page asks for another archive
  kLoopLeft,         // the thread leaves its message loop
  kDialogDestroyed,  // somebody destroys the dialog's window
};

struct CCell {
  const char* moment;
  Moment when;
  const char* what;
  Act act;
  size_t messages = 1;
  size_t requests = 1;
};

std::vector<CCell> AllCells() {
  std::vector<CCell> cells;
  const std::pair<const char*, Moment> moments[] = {
      {"before the first tick", Moment::kBeforeTheFirstTick},
      {"under the error dialog", Moment::kUnderTheErrorDialog},
      {"under the message", Moment::kUnderTheMessage},
  };
  const std::pair<const char*, Act> acts[] = {
      {"released", Act::kReleased},    {"closed", Act::kClosed},
      {"site taken", Act::kSiteTaken}, {"second download", Act::kSecondDownload},
      {"loop left", Act::kLoopLeft},   {"dialog destroyed", Act::kDialogDestroyed},
  };
  for (const auto& [moment, when] : moments) {
    for (const auto& [what, act] : acts) {
      CCell cell = {moment, when, what, act};
      const bool ends = act == Act::kLoopLeft || act == Act::kDialogDestroyed;
      if (ends && when == Moment::kBeforeTheFirstTick) {
        cell.messages = cell.requests = 0;
      }
      if (act == Act::kDialogDestroyed && when == Moment::kUnderTheErrorDialog) {
        cell.messages = 0;  // nobody is left to show one to
      }
      if (act == Act::kSecondDownload) {
        cell.messages = cell.requests = 2;
      }
      cells.push_back(cell);
    }
  }
  return cells;
}

/// What is to happen once in the place of the system's box; it serves messages meanwhile.
std::function<void()> g_underErrorDialog;
std::function<void()> g_underMessage;
decltype(&MessageBoxW) g_message;

void CallOnce(std::function<void()>& action) {
  if (const std::function<void()> once = std::exchange(action, nullptr)) {
    once();
  }
}

DWORD WINAPI ShowErrorDialog(HWND, HINTERNET, DWORD, DWORD, LPVOID*) {
  CallOnce(g_underErrorDialog);
  return ERROR_SUCCESS;
}

int WINAPI ShowMessage(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
  const int answer = g_message(owner, text, caption, style);
  CallOnce(g_underMessage);
  return answer;
}

class ArchiveLifetimeFaults : public ArchiveFaults {
 protected:
  ArchiveLifetimeFaults()
      : m_errorDialog("wininet.dll", "InternetErrorDlg", &ShowErrorDialog),
        m_message("user32.dll", "MessageBoxW", &ShowMessage) {
    g_message = m_message.Original<decltype(MessageBoxW)>();
  }

  void Run(const CCell& cell);

 private:
  static void Do(Act act, CControlObject& control, const std::wstring& secondUrl);

  const CImportPatch m_errorDialog;
  const CImportPatch m_message;
};

void ArchiveLifetimeFaults::Do(Act act, CControlObject& control, const std::wstring& secondUrl) {
  CComPtr<IOleObject> object;
  switch (act) {
    case Act::kReleased:
      control.Release();
      break;
    case Act::kClosed:
      EXPECT_EQ(control->QueryInterface(IID_PPV_ARGS(&object)), S_OK);
      EXPECT_EQ(object->Close(OLECLOSE_NOSAVE), S_OK);
      break;
    case Act::kSiteTaken:
      EXPECT_EQ(control->QueryInterface(IID_PPV_ARGS(&object)), S_OK);
      EXPECT_EQ(object->SetClientSite(nullptr), S_OK);
      break;
    case Act::kSecondDownload:
      EXPECT_EQ(control->DownloadFile(CComBSTR(secondUrl.c_str())), S_OK);
      break;
    case Act::kLoopLeft:
      PostQuitMessage(0);
      break;
    case Act::kDialogDestroyed:
      EXPECT_NE(DestroyWindow(FindWindowW(L"#32770", kDialogTitle)), FALSE);
      break;
  }
}

void ArchiveLifetimeFaults::Run(const CCell& cell) {
  const ScriptedPath path(m_server, Archive(kSize));
  const ScriptedPath second(m_server, Archive(kSize));
  CBrowserFrame frame;
  CControlObject control(m_sandbox);
  const std::function<void()> act = [&] { Do(cell.act, control, TrustedUrl(second)); };
  g_underErrorDialog = cell.when == Moment::kUnderTheErrorDialog ? act : nullptr;
  g_underMessage = cell.when == Moment::kUnderTheMessage ? act : nullptr;
  if (cell.when == Moment::kBeforeTheFirstTick) {
    // What is posted comes before any tick.
    frame.Begin(act);
  }
  CComObject<CQDCDownload>* const object = control.operator->();
  EXPECT_EQ(
      CallGuardedDialog([&] { return object->DownloadFile(CComBSTR(TrustedUrl(path).c_str())); }),
      S_OK);
  control.Release();

  MSG message = {};
  EXPECT_EQ(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) != FALSE,
            cell.act == Act::kLoopLeft)
      << "the browser's own loop gets it";
  EXPECT_EQ(TakeMessages().size(), cell.messages);
  EXPECT_EQ(path.Requests().size() + second.Requests().size(), cell.requests);
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
}

TEST_F(ArchiveLifetimeFaults, PageMayDoAnythingMeanwhile) {
  for (const CCell& cell : QuickCut(AllCells())) {
    SCOPED_TRACE(std::string(cell.moment) + ": " + cell.what);
    Checks().Run([&] { Run(cell); });
  }
}

}  // namespace
