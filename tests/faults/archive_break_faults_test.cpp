// Connections that break or drip under the download of an archive.

#include <algorithm>

#include "tests/faults/archive_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

constexpr size_t kSize = 45000;
constexpr DWORD kShortWaitMs = 300;

struct CPlace {
  const char* name;
  size_t offset;
};
constexpr CPlace kPlaces[] = {
    {"at the begin", 0},
    {"in the first 800 bytes", 500},
    {"in the second buffer", 15000},
    {"at the last byte", kSize - 1},
};

TEST_F(ArchiveFaults, CutBodyIsTakenForAllOfIt) {
  // The system reports the end of the connection as a normal end.
  std::vector<CArchiveFault> faults;
  for (const CPlace& place : kPlaces) {
    const std::string bytes = ArchiveBytes(place.offset);
    const std::string point = http_point::BodyByte(place.offset);
    faults.push_back({place.name, Archive(kSize).Cut(point, HttpCut::kGraceful),
                      ArchiveEnd::kTransferred, bytes});
    faults.push_back({std::string("in chunks, ") + place.name,
                      Archive(kSize).Chunked(1000).Cut(point, HttpCut::kGraceful),
                      ArchiveEnd::kTransferred, bytes});
  }
  RunAll(faults);
}

TEST_F(ArchiveFaults, ResetIsReportedOrTakenForTheEnd) {
  std::vector<CArchiveFault> faults;
  for (const CPlace& place : kPlaces) {
    faults.push_back({place.name,
                      Archive(kSize).Cut(http_point::BodyByte(place.offset), HttpCut::kReset),
                      ArchiveEnd::kTornOrUnavailable, ArchiveBytes(place.offset)});
  }
  RunAll(faults);
}

TEST_F(ArchiveFaults, StalledServerIsWaitedForWhateverIsPressed) {
  // The pipeline serves no input: what is pressed meanwhile comes too late.
  for (const CPlace& place : QuickCut(kPlaces)) {
    SCOPED_TRACE(place.name);
    Checks().Run([&] {
      const std::string point = http_point::BodyByte(place.offset);
      const ScriptedPath path(m_server, Archive(kSize).Hold(point));
      const CParallel user([&] {
        EXPECT_TRUE(path.WaitForHeld(point));
        const HWND window = WaitForDialog(kDialogTitle);  // of a thread that is in the read
        Click(window, IDCANCEL);
        Close(window);
        Sleep(kShortWaitMs);  // nothing tells that nothing happens
        EXPECT_TRUE(IsWindowVisible(window)) << "not before the server goes on";
        path.AllowAll();
      });
      const CRun run = RunDialogOnce(TrustedUrl(path), ZipPath());
      EXPECT_EQ(run.message, kCannotUnzip);
      EXPECT_TRUE(run.archive == ArchiveBytes(kSize));
      EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
    });
  }
}

TEST_F(ArchiveFaults, StalledServerThatGivesUpIsTheEnd) {
  for (const CPlace& place : QuickCut(kPlaces)) {
    for (const HttpCut how : {HttpCut::kGraceful, HttpCut::kReset}) {
      SCOPED_TRACE(place.name + std::string(how == HttpCut::kReset ? ", reset" : ", closed"));
      Checks().Run([&] {
        const std::string point = http_point::BodyByte(place.offset);
        const ScriptedPath path(m_server, Archive(kSize).Hold(point).Cut(point, how));
        const CParallel flow([&] {
          EXPECT_TRUE(path.WaitForHeld(point));
          path.AllowAll();
        });
        const CRun run = RunDialogOnce(TrustedUrl(path), ZipPath());
        EXPECT_TRUE(run.message == kCannotUnzip ||
                    (how == HttpCut::kReset && run.message == kUnavailable));
        EXPECT_TRUE(ArchiveBytes(place.offset).starts_with(run.archive));
        EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
      });
    }
  }
}

TEST_F(ArchiveFaults, DrippingServerIsWaitedFor) {
  for (const CPlace& place : QuickCut(kPlaces)) {
    SCOPED_TRACE(place.name);
    const ScriptedPath path(m_server, Archive(kSize).Gated());
    const CParallel flow([&] {
      path.AllowUpTo(place.offset);
      for (size_t sent = place.offset + 1; sent < place.offset + 3; ++sent) {
        EXPECT_TRUE(path.WaitForBytesSent(std::min(sent - 1, kSize)));
        Sleep(1000);  // the server's tempo
        path.AllowUpTo(sent);
      }
      path.AllowAll();
    });
    RunAddress(TrustedUrl(path), {place.name, {}, ArchiveEnd::kTransferred, ArchiveBytes(kSize)});
  }
}

}  // namespace
