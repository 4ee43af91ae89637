#include "download/transfer_request.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/import_spy.h"

namespace {

using QuerySpy = CImportSpy<&HttpQueryInfoW>;

constexpr DWORD kRetry = ERROR_INTERNET_FORCE_RETRY;

TEST(TransferRequest, ExactlyFiveStatusesAreRefused) {
  DWORD status = 0;
  const QuerySpy query("wininet.dll", "HttpQueryInfoW",
                       [&](HINTERNET, DWORD level, LPVOID value, LPDWORD size, LPDWORD) {
                         EXPECT_EQ(level, 0x20000013u);
                         EXPECT_EQ(*size, 4u);
                         *static_cast<DWORD*>(value) = status;
                         return TRUE;
                       });
  for (; status < 1000; ++status) {
    const bool isRefused =
        status == 204 || status == 403 || status == 404 || status == 410 || status == 500;
    EXPECT_EQ(HasAcceptedStatus(nullptr), !isRefused) << status;
  }
  const QuerySpy failing("wininet.dll", "HttpQueryInfoW", [](auto...) { return FALSE; });
  EXPECT_FALSE(HasAcceptedStatus(nullptr));
}

TEST(TransferRequest, LengthIsTheNumberThatTheAnswersTextBeginsWith) {
  const struct {
    std::optional<std::wstring> answer;
    std::optional<int> length;
  } cases[] = {{L"1000", 1000}, {L"2147483647", 2147483647},
               {L"7 or 8", 7},  {L"abc", 0},
               {L"-5", -5},     {L"", 0},
               {{}, {}}};
  for (const DWORD flags : {DWORD{0}, DWORD{HTTP_QUERY_FLAG_NUMBER}}) {
    for (const auto& [answer, length] : cases) {
      const QuerySpy query("wininet.dll", "HttpQueryInfoW",
                           [&](HINTERNET, DWORD level, LPVOID buffer, LPDWORD size, LPDWORD index) {
                             EXPECT_EQ(level, 5 | flags);
                             EXPECT_EQ(*size, 200u);
                             EXPECT_EQ(*index, 0u);
                             std::wcscpy(static_cast<wchar_t*>(buffer),
                                         answer.value_or(L"9").c_str());
                             return answer.has_value();
                           });
      wchar_t buffer[101] = {};
      EXPECT_EQ(ReadContentLength(nullptr, flags, buffer, 200), length);
    }
  }
}

TEST(TransferRequest, IsOpenedAgainAsLongAsTheErrorDialogSaysSo) {
  const struct {
    int attempts;                // that are prepared
    std::vector<DWORD> answers;  // of the error dialog; none: it gets no owner
    const char* steps;
  } cases[] = {
      {9,
       {kRetry, kRetry, ERROR_CANCELLED},
       "prepare open hold ask prepare open hold ask prepare open hold ask "},
      {9, {ERROR_SUCCESS}, "prepare open hold ask "},
      {1, {kRetry}, "prepare open hold ask prepare "},
      {9, {}, "prepare open hold "},
  };
  const HWND owner = GetDesktopWindow();
  for (const auto& [attempts, answers, expected] : cases) {
    std::string steps;
    int prepared = 0;
    const HINTERNET request = &steps;
    const CImportSpy<&InternetOpenUrlW> open("wininet.dll", "InternetOpenUrlW", [&](auto...) {
      steps += "open ";
      SetLastError(4711);
      return request;
    });
    const CImportSpy<&InternetErrorDlg> ask(
        "wininet.dll", "InternetErrorDlg",
        [&](HWND over, HINTERNET of, DWORD error, DWORD flags, LPVOID* data) {
          EXPECT_EQ(over, owner);
          EXPECT_EQ(of, request);
          EXPECT_EQ(error, 4711u) << "of the opening";
          EXPECT_EQ(flags, 7u);
          EXPECT_EQ(data, nullptr);
          steps += "ask ";
          return answers[ask.Calls().size() - 1];
        });
    OpenWithCredentials(
        nullptr, L"http://a/b", 0,
        [&] {
          steps += "prepare ";
          return prepared++ < attempts;
        },
        [&](HINTERNET held) {
          EXPECT_EQ(held, request);
          steps += "hold ";
          return answers.empty() ? std::nullopt : std::optional(owner);
        });
    EXPECT_EQ(steps, expected);
  }
}

}  // namespace
