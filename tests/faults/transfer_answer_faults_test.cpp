// Answers of every status, length and size that a server may give, and bodies that are not what was
// asked for.

#include "tests/faults/dialog_faults.h"

namespace {

constexpr size_t kSize = 5000;

class TransferAnswerFaults : public TransferFaults {};

/// The server claims these lengths and hangs up behind the body.
HttpAnswer Claiming(HttpAnswer body, const std::vector<std::string>& lengths) {
  body.Close();
  for (const std::string& length : lengths) {
    body.ClaimLength(length);
  }
  return body;
}

TEST_F(TransferAnswerFaults, RefusedStatusIsUnavailableAndAnyOtherLeavesItToTheBody) {
  std::vector<CTransferFault> faults = {
      {"204", HttpAnswer().Status(204), TransferEnd::kUnavailable},
      {"304", HttpAnswer().Status(304), TransferEnd::kBody}};
  for (const int status : {403, 404, 410, 500}) {
    for (const char* reason : {"", "Fine, take it"}) {
      faults.push_back({std::to_string(status) + " " + reason, Body(kSize).Status(status, reason),
                        TransferEnd::kUnavailable});
    }
  }
  for (const int status : {206, 401, 407, 429, 503}) {
    for (const std::string& bytes : {BodyBytes(kSize), std::string(kPage), std::string()}) {
      faults.push_back({std::to_string(status) + ", " + std::to_string(bytes.size()) + " bytes",
                        HttpAnswer().Status(status).Bytes(bytes), TransferEnd::kBody, bytes});
    }
  }
  RunAll(faults);
}

TEST_F(TransferAnswerFaults, BodyIsJudgedByItsExtension) {
  const std::string body = "PK\x03\x04 and more";
  RunAll({{"its own", HttpAnswer().Bytes(body), TransferEnd::kBody, body, L".folivo"},
          {"another", HttpAnswer().Bytes(body), TransferEnd::kBody, body, L".fvk"},
          {"none", HttpAnswer().Bytes(body), TransferEnd::kBody, body, L""}});
}

TEST_F(TransferAnswerFaults, BodyOfAnySizeIsWhole) {
  std::vector<CTransferFault> faults;
  for (const size_t middle : {size_t{1}, size_t{8}, size_t{60}, kPeekBuffer, kBuffer,
                              kBuffer + kPeekBuffer, 2 * kBuffer, 5 * kBuffer}) {
    for (const size_t size : {middle - 1, middle, middle + 1}) {
      faults.push_back(
          {std::to_string(size) + " bytes", Body(size), TransferEnd::kBody, BodyBytes(size)});
    }
  }
  RunAll(faults);
}

TEST_F(TransferAnswerFaults, BodyIsWholeWhateverLengthIsClaimed) {
  constexpr size_t kLong = kBuffer + 9000;
  const std::string exact = std::to_string(kLong);
  const std::string more = std::to_string(kLong + 50000);
  const std::pair<const char*, HttpAnswer> answers[] = {
      {"no length", Body(kLong).CloseDelimited()},
      {"text", Claiming(Body(kLong), {"abc"})},
      {"nothing in it", Claiming(Body(kLong), {""})},
      {"negative", Claiming(Body(kLong), {"-5"})},
      {"five billion", Claiming(Body(kLong), {"5000000000"})},
      {"two to the 31st", Claiming(Body(kLong), {"2147483648"})},
      {"more digits than any number has", Claiming(Body(kLong), {std::string(400, '9')})},
      {"larger", Claiming(Body(kLong), {more})},  // a cut body: the system reports a normal end
      {"twice the same", Claiming(Body(kLong), {exact, exact})},
      {"chunked", Body(kLong).Chunked()},
      {"in many chunks", Body(kLong).Chunked(997)},
      {"chunked with the right length", Body(kLong).Chunked().ClaimLength(exact)},
      {"chunked with a smaller length", Body(kLong).Chunked().ClaimLength("1000")},
      {"chunked with a larger length", Body(kLong).Chunked().ClaimLength(more)},
  };
  std::vector<CTransferFault> faults;
  for (const auto& [name, answer] : answers) {
    faults.push_back({name, answer, TransferEnd::kBody, BodyBytes(kLong)});
  }
  for (const auto& [name, lengths] : {std::pair("zero", std::vector<std::string>{"0"}),
                                      {"smaller", {"1000"}},
                                      {"twice, smaller last", {exact, "1000"}}}) {
    faults.push_back({name, Claiming(Body(kLong), lengths), TransferEnd::kTorn, BodyBytes(kLong)});
  }
  RunAll(faults);
}

TEST_F(TransferAnswerFaults, HeadThatIsNoneIsSurvived) {
  const auto body = [](const char* name, const HttpAnswer& answer) {
    return CTransferFault{name, answer, TransferEnd::kBody, BodyBytes(kSize)};
  };
  HttpAnswer headers = Body(kSize);
  for (int i = 0; i < 1000; ++i) {
    headers.Header("X-" + std::to_string(i), "x");
  }
  // The system gives an answer that never came as one without a status and without a body, and
  // what is behind a line that is no status line as a body.
  RunAll({{"hangs up", Body(kSize).Cut(http_point::kBeforeHeaders, HttpCut::kGraceful),
           TransferEnd::kBody},
          {"resets", Body(kSize).Cut(http_point::kBeforeHeaders, HttpCut::kReset),
           TransferEnd::kTornOrUnavailable},
          {"hangs up in the head", Body(kSize).Cut(http_point::HeadByte(5), HttpCut::kGraceful),
           TransferEnd::kBody},
          body("no status line", Body(kSize).RawHead("no such line\r\n")),
          body("status line without a number", Body(kSize).StatusLine("HTTP/1.1 abc")),
          body("zero byte in a header", Body(kSize).Header("X-Odd", std::string("a\0b", 3))),
          body("100 KB of header", Body(kSize).Header("X-Long", std::string(100000, 'x'))),
          body("1000 headers", headers)});
}

}  // namespace
