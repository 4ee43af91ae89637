#include "tests/faults/length_claims.h"

namespace {

constexpr char kLess[] = "1000";

/// The server claims these lengths and hangs up behind the body.
HttpAnswer Claiming(const HttpAnswer& body, const std::vector<std::string>& lengths) {
  HttpAnswer answer = HttpAnswer(body).Close();
  for (const std::string& length : lengths) {
    answer.ClaimLength(length);
  }
  return answer;
}

HttpAnswer Chunked(const HttpAnswer& body) { return HttpAnswer(body).Chunked(); }

}  // namespace

std::vector<CLengthClaim> ClaimsOfAllAndMore(const HttpAnswer& body, size_t size) {
  const std::string exact = std::to_string(size);
  const std::string more = std::to_string(size + 50000);
  return {
      {"no length", HttpAnswer(body).CloseDelimited()},
      {"text", Claiming(body, {"abc"})},
      {"nothing in it", Claiming(body, {""})},
      {"negative", Claiming(body, {"-5"})},
      {"five billion", Claiming(body, {"5000000000"})},
      {"two to the 31st", Claiming(body, {"2147483648"})},
      {"more digits than any number has", Claiming(body, {std::string(400, '9')})},
      {"larger", Claiming(body, {more})},  // a cut body: the system reports it as a normal end
      {"twice the same", Claiming(body, {exact, exact})},
      {"chunked", Chunked(body)},
      {"in many chunks", HttpAnswer(body).Chunked(997)},
      {"chunked with the right length", Chunked(body).ClaimLength(exact)},
      {"chunked with a smaller length", Chunked(body).ClaimLength(kLess)},
      {"chunked with a larger length", Chunked(body).ClaimLength(more)},
  };
}

std::vector<CLengthClaim> ClaimsOfLess(const HttpAnswer& body, size_t size) {
  return {{"zero", Claiming(body, {"0"})},
          {"smaller", Claiming(body, {kLess})},
          {"twice, smaller last", Claiming(body, {std::to_string(size), kLess})}};
}
