// Cancelling the download of an archive. Once it has begun nothing is served until its end, so a
// click waits there and comes too late (Quirk 61).

#include <optional>
#include <utility>

#include "tests/faults/archive_faults.h"
#include "tests/faults/place_hook.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/dialogs.h"
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

using Act = void (*)(HWND window);

void ClickCancel(HWND window) { Click(window, IDCANCEL); }

const std::pair<const char*, std::vector<Act>> kWays[] = {
    {"Cancel", {&ClickCancel}},
    {"Cancel twice", {&ClickCancel, &ClickCancel}},
    {"close box, Cancel", {&Close, &ClickCancel}},
};

class ArchiveCancelFaults : public ArchiveFaults {
 protected:
  void Run(const CMoment& moment, const std::vector<Act>& acts) {
    HttpAnswer answer = Body(kSize);
    const ScriptedPath path(m_server, moment.held.empty() ? answer : answer.Hold(moment.held));
    const auto cancel = [&] {
      const HWND window = FindWindowW(L"#32770", kCollectionTitle);  // hidden in the end
      ASSERT_NE(window, nullptr);
      for (const Act act : acts) {
        act(window);
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
    const COutcome outcome = DownloadTo(TrustedUrl(path), L"download.zip");
    EXPECT_EQ(outcome.message, L"");
    EXPECT_TRUE(outcome.bytes == BodyBytes(kSize));
    EXPECT_TRUE(!hook || hook->WasReached());
    EXPECT_TRUE(m_sandbox.Files().empty());
  }
};

TEST_F(ArchiveCancelFaults, CancelComesTooLateOnceItHasBegun) {
  for (const CMoment& moment : QuickCut(kMoments)) {
    for (const auto& [way, acts] : kWays) {
      SCOPED_TRACE(std::string(moment.name) + ", " + way);
      Checks().Run([&, &all = acts] { Run(moment, all); });
    }
  }
}

TEST_F(ArchiveCancelFaults, CancelBeforeItHasBegunAsksNobody) {
  const ScriptedPath path(m_server, Body(kSize));
  for (const auto& [way, acts] : kWays) {
    SCOPED_TRACE(way);
    // The clicks wait in the dialog's queue, before its first tick.
    const CImportSpy<&SetTimer> timer(
        "user32.dll", "SetTimer",
        [&, &all = acts](HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC procedure) {
          for (const Act act : all) {
            act(window);
          }
          return timer.CallOriginal(window, id, milliseconds, procedure);
        });
    Checks().Run([&] {
      CZipProgressDialog dialog(TrustedUrl(path).c_str(), ZipPath().c_str(),
                                ContentFolder().c_str());
      EXPECT_EQ(CallGuardedDialog([&] { return dialog.DoModal(nullptr); }), kCollectionNo);
      EXPECT_TRUE(TakeMessages().empty());
      EXPECT_TRUE(m_sandbox.Files().empty());
    });
  }
  EXPECT_TRUE(path.Requests().empty());
}

}  // namespace
