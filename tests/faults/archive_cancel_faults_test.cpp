// Cancelling the download of an archive. Once it has begun nothing is served until its end, so a
// click waits there and comes too late (Quirk 61).

#include <optional>

#include "tests/faults/archive_faults.h"
#include "tests/faults/place_hook.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

constexpr size_t kSize = 45000;

struct CMoment {
  const char* name;
  std::string held;
  std::optional<Place> place = std::nullopt;
};

const CMoment kMoments[] = {
    {"before the open", "", Place::kBeforeOpen},
    {"during the open", std::string(http_point::kBeforeHeaders)},
    {"in the answer's head", http_point::HeadByte(9)},
    {"in the first read", http_point::BodyByte(0)},
    {"in a read", http_point::BodyByte(25000)},
    {"in the last read", http_point::BodyByte(kSize - 1)},
    {"between chunks", "", Place::kBetweenChunks},
    {"in the last write", "", Place::kLastWrite},
    {"under the message", "", Place::kMessageShown},
    {"behind the end", "", Place::kDialogEnding},
};

void ClickCancel(HWND window) { Click(window, IDCANCEL); }

struct CWay {
  const char* name;
  std::vector<void (*)(HWND)> actions;
};
const CWay kWays[] = {
    {"Cancel", {&ClickCancel}},
    {"Cancel twice", {&ClickCancel, &ClickCancel}},
    {"close box, Cancel", {&Close, &ClickCancel}},
};

struct CCell {
  const CMoment* moment;
  const CWay* way;
};

class ArchiveCancelFaults : public ArchiveFaults {
 protected:
  void RunCell(const CCell& cell) {
    const CMoment& moment = *cell.moment;
    HttpAnswer answer = Archive(kSize);
    const ScriptedPath path(m_server, moment.held.empty() ? answer : answer.Hold(moment.held));
    const auto cancel = [&] {
      const HWND window = FindWindowW(L"#32770", kDialogTitle);  // hidden in the end
      ASSERT_NE(window, nullptr);
      for (void (*const action)(HWND) : cell.way->actions) {
        action(window);
      }
    };
    std::optional<CPlaceHook> hook;
    std::optional<CParallel> user;
    if (moment.place) {
      hook.emplace(*moment.place, kSize, cancel);
    } else {
      user.emplace([&] {
        EXPECT_TRUE(path.WaitForHeld(moment.held));
        cancel();
        path.AllowAll();
      });
    }
    RunOnce(TrustedUrl(path),
            {cell.moment->name, {}, ArchiveEnd::kTransferred, ArchiveBytes(kSize)});
    EXPECT_TRUE(!hook || hook->WasReached());
  }
};

TEST_F(ArchiveCancelFaults, CancelComesTooLateOnceItHasBegun) {
  std::vector<CCell> cells;
  for (const CMoment& moment : kMoments) {
    for (const CWay& way : kWays) {
      cells.push_back({&moment, &way});
    }
  }
  for (const CCell& cell : QuickCut(cells)) {
    SCOPED_TRACE(std::string(cell.moment->name) + ", " + cell.way->name);
    Checks().Run([&] { RunCell(cell); });
  }
}

decltype(&SetTimer) g_setTimer;
const CWay* g_way;

/// Has the clicks wait in the dialog's queue, before its first tick.
UINT_PTR WINAPI SetTimerBehindClicks(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC proc) {
  for (void (*const action)(HWND) : g_way->actions) {
    action(window);
  }
  return g_setTimer(window, id, milliseconds, proc);
}

TEST_F(ArchiveCancelFaults, CancelBeforeItHasBegunAsksNobody) {
  const ScriptedPath path(m_server, Archive(kSize));
  const CImportPatch patch("user32.dll", "SetTimer", &SetTimerBehindClicks);
  g_setTimer = patch.Original<decltype(SetTimer)>();
  for (const CWay& way : kWays) {
    SCOPED_TRACE(way.name);
    g_way = &way;
    Checks().Run([&] {
      CZipProgressDialog dialog(TrustedUrl(path).c_str(), ZipPath().c_str(),
                                ContentFolder().c_str());
      EXPECT_EQ(CallGuardedDialog([&] { return dialog.DoModal(nullptr); }), 2);
      EXPECT_TRUE(TakeMessages().empty());
      EXPECT_TRUE(m_sandbox.Files().empty());
    });
  }
  EXPECT_TRUE(path.Requests().empty());
}

}  // namespace
