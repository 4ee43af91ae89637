// Connections that break or drip under the download of an archive.

#include <algorithm>

#include "tests/faults/archive_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/parallel.h"

namespace {

constexpr size_t kSize = 45000;

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
