#pragma once

#include <windows.h>

#include <wininet.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/import_spy.h"

/// Answers of WinINet that no server brings about reliably.
struct CWinInetFaults {
  /// Answers of InternetErrorDlg, from the first on, in place of its own.
  std::vector<DWORD> errorDialogAnswers = {};
  /// The last error behind each opening that succeeds.
  DWORD errorBehindSuccess = ERROR_SUCCESS;
  bool failSession = false;
  /// The query that fails.
  std::optional<DWORD> failedQuery = {};
  /// The opening and the read that fail: 1 for the first.
  size_t failedOpening = 0;
  size_t failedRead = 0;
};

/// Makes this system's WinINet do what Windows' does where the two differ: a success leaves no last
/// error, credentials that the user gave are kept for the server, and a number may be queried into
/// a larger buffer. Records the product's calls. One at a time.
class CWinInetRecorder : public CWinInetFaults {
 public:
  struct CSession {
    std::wstring agent;
    DWORD accessType;
    bool hasProxy;  // or a bypass list
    DWORD flags;
    bool operator==(const CSession&) const = default;
  };
  struct COpening {
    HINTERNET session;
    std::wstring url;
    bool hasHeaders;
    DWORD flags;
    DWORD_PTR context;
    DWORD errorBefore;    // the last error that the call found
    size_t closedBefore;  // how many handles had been closed
    bool operator==(const COpening&) const = default;
  };
  struct CErrorDialog {
    HWND owner;
    HINTERNET request;
    DWORD error;
    DWORD flags;
    bool hasData;
    bool operator==(const CErrorDialog&) const = default;
  };
  struct CQuery {
    DWORD level;
    DWORD size;
    bool operator==(const CQuery&) const = default;
  };

  std::vector<CSession> sessions;
  std::vector<COpening> openings;
  std::vector<CErrorDialog> errorDialogs;
  std::vector<CQuery> queries;
  std::vector<DWORD> readSizes;
  std::vector<HINTERNET> closed;

 private:
  const CImportSpy<&InternetOpenW> m_open{
      "wininet.dll", "InternetOpenW",
      [this](LPCWSTR agent, DWORD type, LPCWSTR proxy, LPCWSTR bypass, DWORD flags) {
        sessions.push_back({agent, type, proxy != nullptr || bypass != nullptr, flags});
        const HINTERNET session =
            failSession ? nullptr : m_open.CallOriginal(agent, type, proxy, bypass, flags);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return session;
      }};
  const CImportSpy<&InternetOpenUrlW> m_openUrl{
      "wininet.dll", "InternetOpenUrlW",
      [this](HINTERNET session, LPCWSTR url, LPCWSTR headers, DWORD length, DWORD flags,
             DWORD_PTR context) {
        openings.push_back({session, url, headers != nullptr || length != 0, flags, context,
                            GetLastError(), closed.size()});
        const bool fails = openings.size() == failedOpening;
        const HINTERNET request =
            fails ? nullptr : m_openUrl.CallOriginal(session, url, headers, length, flags, context);
        if (request != nullptr) {
          SetLastError(errorBehindSuccess);
        } else if (fails) {
          SetLastError(ERROR_INTERNET_CANNOT_CONNECT);
        }
        return request;
      }};
  const CImportSpy<&InternetErrorDlg> m_errorDialog{
      "wininet.dll", "InternetErrorDlg",
      [this](HWND owner, HINTERNET request, DWORD error, DWORD flags, LPVOID* data) {
        errorDialogs.push_back({owner, request, error, flags, data != nullptr});
        if (!errorDialogAnswers.empty()) {
          const DWORD answer = errorDialogAnswers.front();
          errorDialogAnswers.erase(errorDialogAnswers.begin());
          return answer;
        }
        const DWORD answer = m_errorDialog.CallOriginal(owner, request, error, flags, data);
        if (answer == ERROR_INTERNET_FORCE_RETRY) {
          HttpSendRequestW(request, nullptr, 0, nullptr, 0);
        }
        return answer;
      }};
  const CImportSpy<&HttpQueryInfoW> m_query{
      "wininet.dll", "HttpQueryInfoW",
      [this](HINTERNET request, DWORD level, LPVOID buffer, LPDWORD size, LPDWORD index) {
        queries.push_back({level, *size});
        if (failedQuery == level) {
          SetLastError(ERROR_HTTP_HEADER_NOT_FOUND);
          return FALSE;
        }
        if ((level & HTTP_QUERY_FLAG_NUMBER) != 0) {
          *size = std::min<DWORD>(*size, sizeof(DWORD));
        }
        return m_query.CallOriginal(request, level, buffer, size, index);
      }};
  const CImportSpy<&InternetReadFile> m_read{
      "wininet.dll", "InternetReadFile",
      [this](HINTERNET request, LPVOID buffer, DWORD size, LPDWORD read) {
        readSizes.push_back(size);
        if (readSizes.size() == failedRead) {
          SetLastError(ERROR_INTERNET_CONNECTION_RESET);
          return FALSE;
        }
        return m_read.CallOriginal(request, buffer, size, read);
      }};
  const CImportSpy<&InternetCloseHandle> m_close{"wininet.dll", "InternetCloseHandle",
                                                 [this](HINTERNET handle) {
                                                   closed.push_back(handle);
                                                   return m_close.CallOriginal(handle);
                                                 }};
};
