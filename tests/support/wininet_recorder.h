#pragma once

#include <windows.h>

#include <wininet.h>

#include <algorithm>
#include <optional>
#include <vector>

#include "tests/support/import_spy.h"

/// Makes this system's WinINet do what Windows' does where the two differ: a success leaves the
/// last error alone, credentials that the user gave are kept for the server, and a number may be
/// queried into a larger buffer. Records the product's calls. One at a time.
class CWinInetRecorder {
 public:
  /// Answers of InternetErrorDlg, from the first on, in place of its own.
  std::vector<DWORD> errorDialogAnswers;
  /// The last error after each opening that succeeds.
  std::optional<DWORD> errorAfterSuccess;
  /// Of the buffers of the queries.
  std::vector<DWORD> querySizes;

  const CImportSpy<&InternetOpenW> sessions{
      "wininet.dll", "InternetOpenW", [this](auto... arguments) {
        const HINTERNET session = sessions.CallOriginal(arguments...);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);  // is no failure of the request
        return session;
      }};
  const CImportSpy<&InternetOpenUrlW> openings{
      "wininet.dll", "InternetOpenUrlW", [this](auto... arguments) {
        const DWORD before = GetLastError();
        const HINTERNET request = openings.CallOriginal(arguments...);
        if (request != nullptr) {
          SetLastError(errorAfterSuccess.value_or(before));
        }
        return request;
      }};
  const CImportSpy<&InternetErrorDlg> errorDialogs{
      "wininet.dll", "InternetErrorDlg", [this](HWND owner, HINTERNET request, auto... others) {
        if (!errorDialogAnswers.empty()) {
          const DWORD answer = errorDialogAnswers.front();
          errorDialogAnswers.erase(errorDialogAnswers.begin());
          if (answer == ERROR_INTERNET_FORCE_RETRY) {
            SetLastError(answer);  // is no failure of the next request
          }
          return answer;
        }
        const DWORD answer = errorDialogs.CallOriginal(owner, request, others...);
        if (answer == ERROR_INTERNET_FORCE_RETRY) {
          HttpSendRequestW(request, nullptr, 0, nullptr, 0);
        }
        return answer;
      }};
  const CImportSpy<&HttpQueryInfoW> queries{
      "wininet.dll", "HttpQueryInfoW",
      [this](HINTERNET request, DWORD level, LPVOID buffer, LPDWORD size, LPDWORD index) {
        querySizes.push_back(*size);
        if ((level & HTTP_QUERY_FLAG_NUMBER) != 0) {
          *size = std::min<DWORD>(*size, sizeof(DWORD));
        }
        return queries.CallOriginal(request, level, buffer, size, index);
      }};
  const CImportSpy<&InternetReadFile> reads{"wininet.dll", "InternetReadFile"};
  const CImportSpy<&InternetCloseHandle> closings{"wininet.dll", "InternetCloseHandle"};
};
