// What a browser does while a download is somewhere on its way: it quits, lets go of its helper
// object, navigates again, or takes windows away.

#include <commdlg.h>
#include <wininet.h>

#include <functional>
#include <optional>

#include "tests/faults/browser_party.h"
#include "tests/faults/event_faults.h"
#include "tests/faults/full_disk.h"
#include "tests/faults/place_hook.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/deferred_close.h"
#include "tests/support/dialogs.h"
#include "tests/support/import_spy.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/lookup_patch.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

constexpr wchar_t kSavedFile[] = L"saved.qdk";

/// Where the download is, and what the browser does there.
enum class Stage { kPreCheck, kPrompt, kReading, kLastWrite, kSaveDialog, kMessage };
constexpr const char* kStages[] = {"pre-check",  "question",    "read",
                                   "last write", "save dialog", "message"};
enum class Act {
  kQuit,
  kSiteTaken,
  kReleased,
  kAllOfThese,  // as when a window closes
  kOtherPage,
  kLesson,
  kLoopLeft,
  kDialogDestroyed,
  kBrowserDestroyed,
};
constexpr const char* kActs[] = {
    "quits",           "takes its site",           "gives up its last reference",
    "does all three",  "goes to a page",           "goes to another lesson",
    "leaves its loop", "destroys the open window", "destroys its own window"};

struct CCell {
  Stage stage;
  Act act;

  std::string Name() const {
    return std::string(kStages[static_cast<int>(stage)]) + ": browser " +
           kActs[static_cast<int>(act)];
  }
  /// Whether the download is over by that.
  bool Ends() const { return act >= Act::kLoopLeft; }
};

/// One real click into the browser's window: the pre-check serves messages when one comes.
void ClickInto(HWND window) {
  RECT bounds = {};
  GetWindowRect(window, &bounds);
  SetCursorPos((bounds.left + bounds.right) / 2, (bounds.top + bounds.bottom) / 2);
  INPUT inputs[2] = {};
  inputs[0].type = inputs[1].type = INPUT_MOUSE;
  inputs[0].mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
  inputs[1].mi.dwFlags = MOUSEEVENTF_LEFTUP;
  SendInput(2, inputs, sizeof(INPUT));
}

std::wstring g_savePath;

/// Stands in for the system's save dialog, of which each use here keeps a handle.
BOOL WINAPI AskForPath(OPENFILENAMEW* dialog) {
  if (MessageBoxW(dialog->hwndOwner, L"Save?", kSaveTitle, MB_OKCANCEL) != IDOK) {
    return FALSE;
  }
  g_savePath.copy(dialog->lpstrFile, g_savePath.size());
  dialog->lpstrFile[g_savePath.size()] = L'\0';
  return TRUE;
}

/// The browser's thread leaves its loop while the pre-check, which has no dialog to cancel, is at a
/// point of the answer.
struct CQuitCell {
  const char* name;
  std::string point;  // empty: before anything
  size_t requests;
  bool cancelled;
  bool inRead = false;  // when the head is just read, and not at a point
};

class LessonLifetimeFaults : public EventFaults {
 protected:
  void Run(const CCell& cell);
  void RunQuit(const CQuitCell& cell, int times) const;

 private:
  /// One run's parties.
  struct CRun {
    const CCell& cell;
    CBrowserParty& browser;
    const ScriptedPath& path;
    const CHeldThread& worker;
    bool secondCancelled = false;
  };

  static void CancelQuestion();
  void DoAct(CRun& run, HWND dialog) const;
  void LetBrowserAct(CRun& run, HWND dialog) const;
  void PlayUser(CRun& run) const;
  void PlayUserInPreCheck(CRun& run) const;
  void ExpectFiles(const CCell& cell, bool isDelivered) const;

  const CDeferredClose m_deferredClose;
  const ScriptedPath m_second{m_server, Lesson()};
};

void LessonLifetimeFaults::CancelQuestion() {
  const HWND question = WaitForDialog(kPromptTitle);
  Click(question, kCancelButton);
  WaitUntilGone(question);
}

/// The act itself, on the browser's thread.
void LessonLifetimeFaults::DoAct(CRun& run, HWND dialog) const {
  CHelperObject& helper = run.browser.helper;
  const Act act = run.cell.act;
  if (act == Act::kQuit || act == Act::kAllOfThese) {
    DISPPARAMS none = {};
    EXPECT_EQ(helper.Fire(DISPID_ONQUIT, &none), S_OK);
  }
  if (act == Act::kSiteTaken || act == Act::kAllOfThese) {
    EXPECT_EQ(helper->SetSite(nullptr), E_INVALIDARG);
  }
  if (act == Act::kReleased || act == Act::kAllOfThese) {
    helper.Release();
  }
  if (act == Act::kOtherPage) {
    EXPECT_FALSE(helper.Navigate(L"http://localhost/page.html"));
  }
  if (act == Act::kLesson) {
    run.secondCancelled = helper.Navigate(m_second.Url(L"b.qdk"));
  }
  if (act == Act::kLoopLeft) {
    PostQuitMessage(0);
  }
  if (act == Act::kDialogDestroyed) {
    DestroyWindow(dialog);
  }
  if (act == Act::kBrowserDestroyed) {
    DestroyWindow(run.browser.frame);
  }
}

/// On the user's thread: has the browser act beside the open dialog, and deals with what that
/// shows.
void LessonLifetimeFaults::LetBrowserAct(CRun& run, HWND dialog) const {
  run.browser.frame.Begin([this, &run, dialog] { DoAct(run, dialog); });
  if (run.cell.Ends()) {
    WaitUntilGone(dialog);
    return;
  }
  if (run.cell.act == Act::kLesson && run.cell.stage != Stage::kPrompt) {
    CancelQuestion();
  }
  run.browser.frame.Run([] {});  // The act is over when this comes through.
}

void LessonLifetimeFaults::PlayUserInPreCheck(CRun& run) const {
  EXPECT_TRUE(run.path.WaitForHeld());
  if (run.cell.act == Act::kLoopLeft) {
    PostThreadMessageW(GetWindowThreadProcessId(run.browser.frame, nullptr), WM_QUIT, 0, 0);
  } else {
    run.browser.frame.Begin([this, &run] { DoAct(run, nullptr); });
  }
  ClickInto(run.browser.frame);
  run.path.AllowAll();
  if (run.cell.Ends()) {
    return;
  }
  if (run.cell.act == Act::kLesson) {
    CancelQuestion();
  }
  Click(WaitForDialog(kPromptTitle), kOpenButton);
}

void LessonLifetimeFaults::PlayUser(CRun& run) const {
  const Stage stage = run.cell.stage;
  if (stage == Stage::kPreCheck) {
    PlayUserInPreCheck(run);
    return;
  }
  HWND dialog = WaitForDialog(kPromptTitle);
  if (stage == Stage::kPrompt || stage == Stage::kSaveDialog) {
    const bool isPrompt = stage == Stage::kPrompt;
    if (!isPrompt) {
      Click(dialog, kSaveButton);
      dialog = WaitForDialog(kSaveTitle);
    }
    LetBrowserAct(run, dialog);
    if (!run.cell.Ends()) {
      Click(dialog, isPrompt ? kOpenButton : IDOK);
    }
    return;
  }
  Click(dialog, kOpenButton);
  if (stage == Stage::kMessage) {
    const HWND box = WaitForDialog(kMessageTitle);
    LetBrowserAct(run, GetWindow(box, GW_OWNER));
    if (!run.cell.Ends() || IsWindow(box)) {
      EXPECT_TRUE(MessageText(box).starts_with(L"Unable to write to the destination file "));
      Click(box, IDOK);
    }
    return;
  }
  dialog = WaitForDialog(kDownloadTitle);
  if (stage == Stage::kReading) {
    EXPECT_TRUE(run.path.WaitForHeld());
  } else {
    run.worker.WaitUntilHeld();
  }
  LetBrowserAct(run, dialog);
  run.worker.LetGo();
  run.path.AllowAll();
}

void LessonLifetimeFaults::Run(const CCell& cell) {
  const LONG locks = ATL::_pAtlModule->GetLockCount();
  const Stage stage = cell.stage;
  HttpAnswer answer = Lesson();
  if (stage == Stage::kPreCheck || stage == Stage::kReading) {
    answer.Hold(stage == Stage::kReading ? http_point::BodyByte(200000)
                                         : std::string(http_point::kBeforeHeaders));
  }
  const ScriptedPath path(m_server, answer);
  CBrowserParty browser;
  const CHeldThread worker;
  CRun run = {cell, browser, path, worker};
  std::optional<CPlaceHook> hook;
  if (stage == Stage::kLastWrite) {
    hook.emplace(Place::kLastWrite, LessonBytes().size(), [&] { worker.Hold(); });
  }
  std::optional<CFullDisk> disk;
  if (stage == Stage::kMessage) {
    disk.emplace(2);
  }
  const CLaunchRecorder launches;
  const CLookupPatch saveDialog("GetSaveFileNameW", &AskForPath);
  g_savePath = m_sandbox / kSavedFile;

  CNavigationEvent event(path.Url(L"a.qdk"));
  // The object may be released under the call; the browser's pointer into it stays.
  auto* const sink = static_cast<IIEDownload*>(browser.helper.operator->());
  CParallel user([&] { PlayUser(run); });
  const auto navigate = [&] {
    return sink->Invoke(DISPID_BEFORENAVIGATE2, IID_NULL, LOCALE_SYSTEM_DEFAULT, DISPATCH_METHOD,
                        event.Params(), nullptr, nullptr, nullptr);
  };
  EXPECT_EQ(CallGuardedDialog(navigate), S_OK);
  user.Join();
  browser.helper.Release();
  worker.LetGo();
  path.AllowAll();
  EXPECT_TRUE(WaitUntil("the module's locks to go",
                        [=] { return ATL::_pAtlModule->GetLockCount() == locks; }));

  const bool leftLoop = cell.act == Act::kLoopLeft;
  MSG message = {};
  EXPECT_EQ(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) != FALSE, leftLoop)
      << "the browser's own loop gets it";
  EXPECT_EQ(event.Cancelled(), !(leftLoop && stage == Stage::kPreCheck));
  EXPECT_TRUE(event.FlagIntact());
  // While a question is open no other can be asked: that navigation is left to the browser.
  EXPECT_EQ(run.secondCancelled, cell.act == Act::kLesson && stage != Stage::kPrompt);
  const bool isDelivered = !cell.Ends() && stage != Stage::kMessage;
  // The system here ends a dialog whose loop is left with the result of a good end, so that the
  // application is asked for a file that is not there.
  const bool isDownloading =
      stage == Stage::kReading || stage == Stage::kLastWrite || stage == Stage::kMessage;
  const bool isTakenForDelivered = leftLoop && isDownloading;
  EXPECT_EQ(launches.Launches().size(),
            isTakenForDelivered || (isDelivered && stage != Stage::kSaveDialog) ? 1u : 0u);
  ExpectFiles(cell, isDelivered);
}

void LessonLifetimeFaults::ExpectFiles(const CCell& cell, bool isDelivered) const {
  const std::wstring name =
      cell.stage == Stage::kSaveDialog ? kSavedFile : std::wstring(kTempFiles) + L"a.qdk";
  const std::vector<std::wstring> files = m_sandbox.Files();
  EXPECT_EQ(files, isDelivered ? std::vector{name} : std::vector<std::wstring>());
  if (isDelivered) {
    EXPECT_TRUE(ReadFileBytes(m_sandbox / name) == LessonBytes());
  }
  for (const std::wstring& file : files) {
    DeleteFileW((m_sandbox / file).c_str());
  }
}

void LessonLifetimeFaults::RunQuit(const CQuitCell& cell, int times) const {
  HttpAnswer answer = Lesson();
  const ScriptedPath path(m_server, cell.point.empty() ? answer : answer.Hold(cell.point));
  const CBrowserParty browser;
  CNavigationEvent event(path.Url(L"a.qdk"));
  const DWORD thread = GetCurrentThreadId();
  bool quits = false;
  const auto quit = [&] {
    quits = false;
    for (int i = 0; i < times; ++i) {
      PostThreadMessageW(thread, WM_QUIT, 0, 0);
      ClickInto(browser.frame);
    }
  };
  const CImportSpy<&InternetReadFile> reads(
      "wininet.dll", "InternetReadFile",
      [&](HINTERNET request, LPVOID buffer, DWORD size, LPDWORD read) {
        if (quits) {
          quit();
        }
        return reads.CallOriginal(request, buffer, size, read);
      });
  std::optional<CParallel> user;
  if (cell.inRead) {
    quits = true;
  } else if (cell.point.empty()) {
    quit();
  } else {
    user.emplace([&] {
      EXPECT_TRUE(path.WaitForHeld(cell.point));
      quit();
      path.AllowAll();
    });
  }
  CallGuardedDialog([&] { return browser.helper.Fire(DISPID_BEFORENAVIGATE2, event.Params()); });
  EXPECT_EQ(event.Cancelled(), cell.cancelled);
  EXPECT_EQ(path.Requests().size(), cell.requests);
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
  MSG message = {};
  int left = 0;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    left += message.message == WM_QUIT ? 1 : 0;
    DispatchMessageW(&message);
  }
  EXPECT_GE(left, 1) << "the browser's own loop gets it";
}

TEST_F(LessonLifetimeFaults, LoopThatIsLeftEndsThePreCheck) {
  const CQuitCell cells[] = {
      {"before the open", "", 0, false},
      {"during the open", std::string(http_point::kBeforeHeaders), 1, false},
      {"in the answer's head", http_point::HeadByte(9), 1, false},
      // The head is judged all the same, and the question is what ends.
      {"in the read", "", 1, true, true},
  };
  for (const CQuitCell& cell : cells) {
    for (const int times : {1, 2}) {
      SCOPED_TRACE(cell.name);
      Checks().Run([&] { RunQuit(cell, times); });
    }
  }
}

TEST_F(LessonLifetimeFaults, BrowserMayDoAnythingMeanwhile) {
  std::vector<CCell> cells;
  for (size_t stage = 0; stage < std::size(kStages); ++stage) {
    for (size_t act = 0; act < std::size(kActs); ++act) {
      const CCell cell = {static_cast<Stage>(stage), static_cast<Act>(act)};
      if (cell.stage != Stage::kPreCheck || cell.act != Act::kDialogDestroyed) {
        cells.push_back(cell);
      }
    }
  }
  for (const CCell& cell : QuickCut(cells)) {
    SCOPED_TRACE(cell.Name());
    Checks().Run([&] { Run(cell); });
  }
}

}  // namespace
