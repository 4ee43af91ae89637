// Servers that tell a wrong length, or none. The transfer goes by the body; the length only moves
// the bar.

#include "tests/faults/lesson_faults.h"

namespace {

constexpr size_t kSize = 140000;

/// A lesson whose server claims these lengths and hangs up behind the body.
HttpAnswer Claiming(const std::vector<std::string>& lengths) {
  HttpAnswer answer = Lesson(kSize).Close();
  for (const std::string& length : lengths) {
    answer.ClaimLength(length);
  }
  return answer;
}

TEST_F(LessonFaults, BodyIsWholeWhateverLengthIsClaimed) {
  const std::string bytes = LessonBytes(kSize);
  const std::string exact = std::to_string(bytes.size());
  const std::pair<std::string, HttpAnswer> answers[] = {
      {"no length", Lesson(kSize).CloseDelimited()},
      {"text", Claiming({"abc"})},
      {"nothing in it", Claiming({""})},
      {"negative", Claiming({"-5"})},
      {"five billion", Claiming({"5000000000"})},
      {"two to the 31st", Claiming({"2147483648"})},
      {"more digits than any number has", Claiming({std::string(400, '9')})},
      {"larger", Claiming({"200000"})},  // a cut body: the system reports it as a normal end
      {"twice the same", Claiming({exact, exact})},
      {"chunked", Lesson(kSize).Chunked()},
      {"in many chunks", Lesson(kSize).Chunked(997)},
      {"chunked with the right length", Lesson(kSize).Chunked().ClaimLength(exact)},
      {"chunked with a smaller length", Lesson(kSize).Chunked().ClaimLength("1000")},
      {"chunked with a larger length", Lesson(kSize).Chunked().ClaimLength("200000")},
  };
  std::vector<CLessonFault> faults;
  for (const auto& [name, answer] : answers) {
    faults.push_back({name, answer, LessonEnd::kDelivered, bytes});
  }
  RunAll(faults);
}

TEST_F(LessonFaults, BodyLongerThanItsLengthIsTakenAsTheSystemGivesIt) {
  const std::string bytes = LessonBytes(kSize);
  const std::string exact = std::to_string(bytes.size());
  RunAll({{"zero", Claiming({"0"}), LessonEnd::kTorn, bytes},
          {"smaller", Claiming({"1000"}), LessonEnd::kTorn, bytes},
          {"twice, smaller last", Claiming({exact, "1000"}), LessonEnd::kTorn, bytes}});
}

}  // namespace
