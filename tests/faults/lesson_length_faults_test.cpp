// Servers that tell a wrong length, or none. The transfer goes by the body; the length only moves
// the bar.

#include "tests/faults/length_claims.h"
#include "tests/faults/lesson_faults.h"

namespace {

constexpr size_t kSize = 140000;

std::vector<CLessonFault> Cells(const std::vector<CLengthClaim>& claims, LessonEnd end) {
  std::vector<CLessonFault> cells;
  for (const CLengthClaim& claim : claims) {
    cells.push_back({claim.name, claim.answer, end, LessonBytes(kSize)});
  }
  return cells;
}

TEST_F(LessonFaults, BodyIsWholeWhateverLengthIsClaimed) {
  RunAll(
      Cells(ClaimsOfAllAndMore(Lesson(kSize), LessonBytes(kSize).size()), LessonEnd::kDelivered));
}

TEST_F(LessonFaults, BodyLongerThanItsLengthIsTakenAsTheSystemGivesIt) {
  RunAll(Cells(ClaimsOfLess(Lesson(kSize), LessonBytes(kSize).size()), LessonEnd::kTorn));
}

}  // namespace
