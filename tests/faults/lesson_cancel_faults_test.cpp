// Cancelling a lesson's download at every place of it, once and again and again.

#include <optional>
#include <utility>

#include "download/content_check.h"
#include "tests/browser/browser_frame.h"
#include "tests/faults/lesson_faults.h"
#include "tests/faults/place_hook.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/dialogs.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

constexpr size_t kSize = 300000;
constexpr ULONGLONG kAtOnceMs = 10000;
constexpr int kLongCircle = 50;

/// Where the download is when the user cancels: held by the server, or at a place in the worker.
struct CMoment {
  const char* name;
  std::string held;
  std::optional<Place> place = std::nullopt;
  bool afterPreCheck = true;  // may be met there too
  INT_PTR result = kDownloadCancelled;
  bool isCircle = false;  // of redirects
};

const CMoment kMoments[] = {
    {"before the open", "", Place::kBeforeOpen, false},
    {"during the open", std::string(http_point::kBeforeHeaders), std::nullopt, false},
    {"in the answer's head", http_point::HeadByte(9), std::nullopt, false},
    {"in the first read", http_point::BodyByte(0), std::nullopt, false},
    {"in a circle of redirects", "", std::nullopt, false, kDownloadCancelled, true},
    {"in a read", http_point::BodyByte(200000)},
    {"in the last read", http_point::BodyByte(kSize - 1)},
    {"between chunks", "", Place::kBetweenChunks},
    {"in the last write", "", Place::kLastWrite},
    // The button reads "Close" by then.
    {"while the end is shown", "", Place::kEndShown, true, kDownloadDelivered},
};

using Act = void (*)(HWND window, HWND button);

void ClickCancel(HWND, HWND button) { PostMessageW(button, BM_CLICK, 0, 0); }
void PressEscape(HWND window, HWND) { PostMessageW(window, WM_KEYDOWN, VK_ESCAPE, 1); }
void CloseBox(HWND window, HWND) { Close(window); }

// The first one may end the dialog before the second comes.
const std::pair<const char*, std::vector<Act>> kWays[] = {
    {"Cancel", {&ClickCancel}},
    {"Cancel twice", {&ClickCancel, &ClickCancel}},
    {"close box, Escape, Cancel", {&CloseBox, &PressEscape, &ClickCancel}},
};

class CancelFaults : public LessonFaults {
 protected:
  void ExpectEnd(INT_PTR result, INT_PTR expected) {
    EXPECT_EQ(result, expected);
    EXPECT_TRUE(TakeMessages().empty());
    if (expected == kDownloadDelivered) {
      EXPECT_TRUE(TakeDelivered() == BodyBytes(kSize));
    }
    EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
  }

  void Run(const CMoment& moment, const std::vector<Act>& acts, bool peeks) {
    HttpAnswer answer = moment.isCircle ? HttpAnswer().Redirect(L"again.qdk") : Body(kSize);
    std::optional<ScriptedPath> path(std::in_place, m_server,
                                     moment.held.empty() ? answer : answer.Hold(moment.held));
    CProgressDialog::Ptr dialog = Make(path->Url(L"a.qdk"));
    if (peeks) {
      ASSERT_TRUE(dialog->PeekContent(L".qdk"));
    }
    const CHeldThread worker;
    std::optional<CPlaceHook> hook;
    if (moment.place) {
      // The pre-check has written the head.
      hook.emplace(*moment.place, peeks ? kSize - kContentHeadSize : kSize, [&] { worker.Hold(); });
    }
    ULONGLONG cancelled = 0;
    CParallel user([&] {
      const HWND window = WaitForDialog(kCollectionTitle);
      if (moment.place) {
        worker.WaitUntilHeld();
      } else if (moment.isCircle) {
        EXPECT_TRUE(path->WaitForRequest(kLongCircle));
      } else {
        EXPECT_TRUE(path->WaitForHeld(moment.held));
      }
      cancelled = GetTickCount64();
      const HWND button = GetDlgItem(window, IDCANCEL);
      for (const Act act : acts) {
        act(window, button);
      }
      if (moment.result == kDownloadDelivered) {
        worker.LetGo();  // A complete download waits for its worker, which is a step from its end.
      }
      WaitUntilGone(window);
    });
    const INT_PTR result = CallGuardedDialog([&] { return dialog->DoModal(nullptr); });
    EXPECT_LT(GetTickCount64() - cancelled, kAtOnceMs) << "whatever disk and network do";
    user.Join();
    dialog.reset();
    worker.LetGo();
    const size_t requests = path->Requests().size();
    EXPECT_TRUE(requests == (moment.place == Place::kBeforeOpen ? 0u : 1u) || moment.isCircle);
    path.reset();
    // Its worker comes back only now, and closes and deletes what is left.
    EXPECT_TRUE(WaitUntil("the worker's end", [&] { return LocksTaken() == 0; }));
    ExpectEnd(result, moment.result);
  }
};

TEST_F(CancelFaults, CancelEndsTheDownloadWhereverItIs) {
  struct CCell {
    const CMoment& moment;
    const std::pair<const char*, std::vector<Act>>& way;
    bool peeks;
  };
  std::vector<CCell> cells;
  for (const CMoment& moment : kMoments) {
    for (const auto& way : kWays) {
      cells.push_back({moment, way, false});
      if (moment.afterPreCheck) {
        cells.push_back({moment, way, true});
      }
    }
  }
  for (const auto& [moment, way, peeks] : QuickCut(cells)) {
    SCOPED_TRACE(std::string(moment.name) + ", " + way.first +
                 (peeks ? ", pre-check" : ", dialog alone"));
    Checks().Run([&] { Run(moment, way.second, peeks); });
  }
}

/// Serves what other threads send to this one's windows until the event is signalled.
void ServeSentMessagesUntil(HANDLE event) {
  while (MsgWaitForMultipleObjects(1, &event, FALSE, kUserPatienceMs, QS_SENDMESSAGE) ==
         WAIT_OBJECT_0 + 1) {
    MSG message = {};
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
  }
}

/// The worker's result lies in the dialog's queue when the user cancels.
struct CLateCell {
  const char* name;
  HttpAnswer answer;
  int clicksBefore;  // that the dialog meets before the result
  int clicksBehind;
  INT_PTR result;
};

class LateCancelFaults : public CancelFaults {
 protected:
  void RunLate(const CLateCell& cell) {
    const CBrowserFrame frame;
    const ScriptedPath path(m_server, HttpAnswer(cell.answer).Hold(http_point::BodyByte(0)));
    CProgressDialog::Ptr dialog = Make(path.Url(L"a.qdk"));
    const CHandle posted(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const CPlaceHook hook(Place::kResultPosted, kSize, [&] { SetEvent(posted); });
    CParallel user([&] {
      const HWND window = WaitForDialog(kCollectionTitle);
      // The browser's thread is busy while the download comes to its end.
      frame.Run([&] {
        path.AllowAll();
        ServeSentMessagesUntil(posted);
        for (int i = 0; i < cell.clicksBefore; ++i) {
          SendMessageW(window, WM_COMMAND, IDCANCEL, 0);
        }
        for (int i = 0; i < cell.clicksBehind; ++i) {
          Click(window, IDCANCEL);
        }
      });
    });
    const INT_PTR result = CallGuardedDialog([&] { return dialog->DoModal(nullptr); });
    user.Join();
    EXPECT_TRUE(hook.WasReached());
    dialog.reset();
    const std::vector<std::wstring> messages = TakeMessages();
    EXPECT_EQ(messages.size(), cell.result == kDownloadDelivered ? 0u : 1u);
    ExpectEnd(result, cell.result);
  }
};

TEST_F(LateCancelFaults, CancelAfterTheResultWasPosted) {
  const HttpAnswer page = HttpAnswer().Bytes(kPage).Pattern(1, kSize);
  const CLateCell cells[] = {
      {"complete, Cancel", Body(kSize), 1, 0, kDownloadDelivered},
      {"complete, Cancel twice", Body(kSize), 2, 0, kDownloadDelivered},
      {"complete, Cancel behind it", Body(kSize), 0, 1, kDownloadDelivered},
      {"complete, Cancel on both sides", Body(kSize), 1, 2, kDownloadDelivered},
      {"failed, Cancel", page, 1, 0, kDownloadCancelled},
      {"failed, Cancel twice", page, 2, 0, kDownloadCancelled},
      {"failed, Cancel behind it", page, 0, 1, kDownloadFailed},
      {"failed, Cancel on both sides", page, 1, 2, kDownloadCancelled},
  };
  for (const CLateCell& cell : QuickCut(cells)) {
    SCOPED_TRACE(cell.name);
    Checks().Run([&] { RunLate(cell); });
  }
}

}  // namespace
