// Archives of sizes around the transfer's buffer, and servers that tell a wrong length, or none.

#include "tests/faults/archive_faults.h"
#include "tests/faults/length_claims.h"

namespace {

constexpr size_t kBuffer = 10000;
constexpr size_t kSize = 45000;

std::vector<CArchiveFault> Cells(const std::vector<CLengthClaim>& claims, ArchiveEnd end) {
  std::vector<CArchiveFault> cells;
  for (const CLengthClaim& claim : claims) {
    cells.push_back({claim.name, claim.answer, end, ArchiveBytes(kSize)});
  }
  return cells;
}

TEST_F(ArchiveFaults, ArchivesOfEverySizeAreWhole) {
  std::vector<CArchiveFault> faults;
  for (const size_t size :
       {size_t{0}, size_t{1}, size_t{7}, size_t{8}, size_t{59}, size_t{60}, size_t{799},
        size_t{800}, size_t{801}, kBuffer - 1, kBuffer, kBuffer + 1, 2 * kBuffer - 1, 2 * kBuffer,
        2 * kBuffer + 1, 7 * kBuffer - 1, 7 * kBuffer, 7 * kBuffer + 1}) {
    faults.push_back(
        {std::to_string(size), Archive(size), ArchiveEnd::kTransferred, ArchiveBytes(size)});
  }
  RunAll(faults);
}

TEST_F(ArchiveFaults, ArchiveIsWholeWhateverLengthIsClaimed) {
  RunAll(Cells(ClaimsOfAllAndMore(Archive(kSize), ArchiveBytes(kSize).size()),
               ArchiveEnd::kTransferred));
}

TEST_F(ArchiveFaults, ArchiveLongerThanItsLengthIsTakenAsTheSystemGivesIt) {
  RunAll(Cells(ClaimsOfLess(Archive(kSize), ArchiveBytes(kSize).size()), ArchiveEnd::kTorn));
}

}  // namespace
