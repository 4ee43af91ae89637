// Cancelling the download of an archive. Once it has begun nothing is served until its end, so a
// click waits there and comes too late (Quirk 61).

#include "tests/faults/archive_faults.h"
#include "tests/faults/cancel_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/parallel.h"

namespace {

constexpr size_t kSize = 45000;

class ArchiveCancelFaults : public ArchiveFaults {
 protected:
  void Run(const CMoment& moment, const CWay& way) {
    const ScriptedPath path(m_server, moment.Answer(Body(kSize)));
    const CHeldTransfer transfer(moment, path, kSize);
    const CParallel user([&] {
      transfer.WaitUntilHeld();
      way.Cancel(FindWindowW(L"#32770", kCollectionTitle));
      transfer.LetGo();
    });
    const COutcome outcome = DownloadTo(TrustedUrl(path), L"download.zip");
    EXPECT_EQ(outcome.message, L"");
    EXPECT_TRUE(outcome.bytes == BodyBytes(kSize));
    EXPECT_TRUE(m_sandbox.Files().empty());
  }
};

TEST_F(ArchiveCancelFaults, CancelComesTooLateOnceItHasBegun) {
  for (const CMoment& moment : QuickCut(Moments(kSize))) {
    for (const CWay& way : kWays) {
      SCOPED_TRACE(std::string(moment.name) + ", " + way.name);
      Checks().Run([&] { Run(moment, way); });
    }
  }
}

TEST_F(ArchiveCancelFaults, CancelBeforeTheFirstStepSendsNoRequest) {
  const ScriptedPath path(m_server, Body(kSize));
  for (const CWay& way : kWays) {
    SCOPED_TRACE(way.name);
    // The clicks wait in the dialog's queue, before its first tick.
    const CImportSpy<&SetTimer> timer("user32.dll", "SetTimer", [&](HWND window, auto... others) {
      way.Cancel(window);
      return timer.CallOriginal(window, others...);
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
