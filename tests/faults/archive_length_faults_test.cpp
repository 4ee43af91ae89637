// Archives of sizes around the transfer's buffer, and servers that tell a wrong length, or none.

#include "tests/faults/archive_faults.h"

namespace {

constexpr size_t kBuffer = 10000;
constexpr size_t kSize = 45000;

HttpAnswer Claiming(const std::vector<std::string>& lengths) {
  HttpAnswer answer = Archive(kSize).Close();
  for (const std::string& length : lengths) {
    answer.ClaimLength(length);
  }
  return answer;
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
  const std::string bytes = ArchiveBytes(kSize);
  const std::string exact = std::to_string(bytes.size());
  const std::pair<std::string, HttpAnswer> answers[] = {
      {"no length", Archive(kSize).CloseDelimited()},
      {"text", Claiming({"abc"})},
      {"nothing in it", Claiming({""})},
      {"negative", Claiming({"-5"})},
      {"five billion", Claiming({"5000000000"})},
      {"two to the 31st", Claiming({"2147483648"})},
      {"more digits than any number has", Claiming({std::string(400, '9')})},
      {"larger", Claiming({"90000"})},  // a cut body: the system reports it as a normal end
      {"twice the same", Claiming({exact, exact})},
      {"chunked", Archive(kSize).Chunked()},
      {"in many chunks", Archive(kSize).Chunked(997)},
      {"chunked with the right length", Archive(kSize).Chunked().ClaimLength(exact)},
      {"chunked with a smaller length", Archive(kSize).Chunked().ClaimLength("1000")},
      {"chunked with a larger length", Archive(kSize).Chunked().ClaimLength("90000")},
  };
  std::vector<CArchiveFault> faults;
  for (const auto& [name, answer] : answers) {
    faults.push_back({name, answer, ArchiveEnd::kTransferred, bytes});
  }
  RunAll(faults);
}

TEST_F(ArchiveFaults, ArchiveLongerThanItsLengthIsTakenAsTheSystemGivesIt) {
  const std::string bytes = ArchiveBytes(kSize);
  const std::string exact = std::to_string(bytes.size());
  RunAll({{"zero", Claiming({"0"}), ArchiveEnd::kTorn, bytes},
          {"smaller", Claiming({"1000"}), ArchiveEnd::kTorn, bytes},
          {"twice, smaller last", Claiming({exact, "1000"}), ArchiveEnd::kTorn, bytes}});
}

}  // namespace
