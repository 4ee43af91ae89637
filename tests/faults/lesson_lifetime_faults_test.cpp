// What a browser does while a download is somewhere on its way: it quits, lets go of its helper
// object, navigates again, or takes windows away.

#include <commdlg.h>

#include <functional>
#include <optional>

#include "tests/faults/event_faults.h"
#include "tests/faults/full_disk.h"
#include "tests/faults/place_hook.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/deferred_close.h"
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
  kLoopLeft,  // from here on the download is over by that
  kDialogDestroyed,
  kBrowserDestroyed,
};
constexpr const char* kActs[] = {
    "quits",           "takes its site",           "gives up its last reference",
    "does all three",  "goes to a page",           "goes to another lesson",
    "leaves its loop", "destroys the open window", "destroys its own window"};

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

class LessonLifetimeFaults : public EventFaults {
 protected:
  struct CRun {
    const Stage stage;
    const Act act;
    CBrowserParty browser = {};
    CHeldThread worker = {};
    bool secondCancelled = false;

    bool Ends() const { return act >= Act::kLoopLeft; }
  };

  void Run(Stage stage, Act act);

 private:
  void DoAct(CRun& run, HWND dialog) const;
  void PlayUser(CRun& run, const ScriptedPath& path) const;

  const CDeferredClose m_deferredClose;
  const ScriptedPath m_second{m_server, Lesson()};
};

/// The act itself, on the browser's thread.
void LessonLifetimeFaults::DoAct(CRun& run, HWND dialog) const {
  CHelperObject& helper = run.browser.helper;
  const Act act = run.act;
  if (act == Act::kQuit || act == Act::kAllOfThese) {
    DISPPARAMS none = {};
    EXPECT_EQ(helper.Fire(DISPID_ONQUIT, &none), S_OK);
  }
  if (act == Act::kSiteTaken || act == Act::kAllOfThese) {
    EXPECT_EQ(helper->SetSite(nullptr), E_INVALIDARG);
  }
  if (act == Act::kReleased || act == Act::kAllOfThese) {
    helper.Release();
  } else if (act == Act::kOtherPage) {
    EXPECT_FALSE(helper.Navigate(L"http://localhost/page.html"));
  } else if (act == Act::kLesson) {
    run.secondCancelled = helper.Navigate(m_second.Url(L"b.qdk"));
  } else if (act == Act::kLoopLeft) {
    PostQuitMessage(0);
  } else if (act == Act::kDialogDestroyed) {
    DestroyWindow(dialog);
  } else if (act == Act::kBrowserDestroyed) {
    DestroyWindow(run.browser.frame);
  }
}

/// On the user's thread: goes to the stage, has the browser act there, and goes on if that is
/// still possible.
void LessonLifetimeFaults::PlayUser(CRun& run, const ScriptedPath& path) const {
  const Stage stage = run.stage;
  CBrowserFrame& frame = run.browser.frame;
  HWND dialog = nullptr;
  HWND box = nullptr;
  if (stage == Stage::kPreCheck) {
    EXPECT_TRUE(path.WaitForHeld());
  } else {
    dialog = WaitForDialog(kPromptTitle);
    if (stage != Stage::kPrompt) {
      Click(dialog, stage == Stage::kSaveDialog ? kSaveButton : kOpenButton);
    }
  }
  if (stage == Stage::kSaveDialog) {
    dialog = WaitForDialog(kSaveTitle);
  } else if (stage == Stage::kMessage) {
    box = WaitForDialog(kMessageTitle);
    dialog = GetWindow(box, GW_OWNER);
  } else if (stage == Stage::kReading) {
    dialog = WaitForDialog(kDownloadTitle);
    EXPECT_TRUE(path.WaitForHeld());
  } else if (stage == Stage::kLastWrite) {
    dialog = WaitForDialog(kDownloadTitle);
    run.worker.WaitUntilHeld();
  }

  if (stage == Stage::kPreCheck && run.act == Act::kLoopLeft) {
    PostThreadMessageW(GetWindowThreadProcessId(frame, nullptr), WM_QUIT, 0, 0);
  } else {
    frame.Begin([this, &run, dialog] { DoAct(run, dialog); });
  }
  if (stage == Stage::kPreCheck) {
    ClickInto(frame);
    path.AllowAll();
  }
  if (run.act == Act::kLesson && stage != Stage::kPrompt) {
    const HWND question = WaitForDialog(kPromptTitle);
    Click(question, kCancelButton);
    WaitUntilGone(question);
  }
  if (run.Ends()) {
    EXPECT_TRUE(dialog == nullptr || WaitUntilGone(dialog));
  } else {
    frame.Run([] {});  // The act is over when this comes through.
    if (stage == Stage::kPreCheck) {
      dialog = WaitForDialog(kPromptTitle);
    }
    if (stage <= Stage::kPrompt || stage == Stage::kSaveDialog) {
      Click(dialog, stage == Stage::kSaveDialog ? IDOK : kOpenButton);
    }
  }
  if (box != nullptr && (!run.Ends() || IsWindow(box))) {
    EXPECT_TRUE(MessageText(box).starts_with(L"Unable to write to the destination file "));
    Click(box, IDOK);
  }
  run.worker.LetGo();
  path.AllowAll();
}

void LessonLifetimeFaults::Run(Stage stage, Act act) {
  const LONG locks = ATL::_pAtlModule->GetLockCount();
  CRun run = {stage, act};
  HttpAnswer answer = Lesson();
  if (stage == Stage::kPreCheck || stage == Stage::kReading) {
    answer.Hold(stage == Stage::kReading ? http_point::BodyByte(200000)
                                         : std::string(http_point::kBeforeHeaders));
  }
  const ScriptedPath path(m_server, answer);
  std::optional<CPlaceHook> hook;
  if (stage == Stage::kLastWrite) {
    hook.emplace(Place::kLastWrite, LessonBytes().size(), [&] { run.worker.Hold(); });
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
  auto* const sink = static_cast<IIEDownload*>(run.browser.helper.operator->());
  CParallel user([&] { PlayUser(run, path); });
  const auto navigate = [&] {
    return sink->Invoke(DISPID_BEFORENAVIGATE2, IID_NULL, LOCALE_SYSTEM_DEFAULT, DISPATCH_METHOD,
                        event.Params(), nullptr, nullptr, nullptr);
  };
  EXPECT_EQ(CallGuardedDialog(navigate), S_OK);
  user.Join();
  run.browser.helper.Release();
  EXPECT_TRUE(WaitUntil("the module's locks to go",
                        [=] { return ATL::_pAtlModule->GetLockCount() == locks; }));

  const bool leftLoop = act == Act::kLoopLeft;
  MSG message = {};
  EXPECT_EQ(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) != FALSE, leftLoop)
      << "the browser's own loop gets it";
  EXPECT_EQ(event.Cancelled(), !(leftLoop && stage == Stage::kPreCheck));
  EXPECT_TRUE(event.FlagIntact());
  // While a question is open no other can be asked: that navigation is left to the browser.
  EXPECT_EQ(run.secondCancelled, act == Act::kLesson && stage != Stage::kPrompt);
  const bool isDelivered = !run.Ends() && stage != Stage::kMessage;
  // The system here ends a dialog whose loop is left with the result of a good end, so that the
  // application is asked for a file that is not there.
  const bool isTakenForDelivered =
      leftLoop &&
      (stage == Stage::kReading || stage == Stage::kLastWrite || stage == Stage::kMessage);
  const bool isSaved = stage == Stage::kSaveDialog;
  EXPECT_EQ(launches.Launches().size(), isTakenForDelivered || (isDelivered && !isSaved) ? 1u : 0u);
  const std::wstring name = isSaved ? kSavedFile : kTempFiles + std::wstring(L"a.qdk");
  EXPECT_EQ(m_sandbox.Files(), isDelivered ? Files{name} : Files());
  EXPECT_TRUE(!isDelivered || ReadFileBytes(m_sandbox / name) == LessonBytes());
  DeleteFileW((m_sandbox / name).c_str());
}

TEST_F(LessonLifetimeFaults, BrowserEventAtAnyStageLeavesNoResources) {
  for (const size_t cell : RunIndices(std::size(kStages) * std::size(kActs))) {
    const auto stage = static_cast<Stage>(cell / std::size(kActs));
    const auto act = static_cast<Act>(cell % std::size(kActs));
    if (stage == Stage::kPreCheck && act == Act::kDialogDestroyed) {
      continue;  // It has no dialog.
    }
    SCOPED_TRACE(std::string(kStages[cell / std::size(kActs)]) + ": browser " +
                 kActs[cell % std::size(kActs)]);
    Checks().Run([&] { Run(stage, act); });
  }
}

}  // namespace
