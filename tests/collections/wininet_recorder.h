#pragma once

#include <windows.h>

#include <wininet.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/support/import_spy.h"

/// Makes this system's WinINet do what Windows' does where the two differ: a success leaves no last
/// error, credentials that the user gave are kept for the server, and a number may be queried into
/// a larger buffer. Records the product's calls, and gives answers that no server brings about
/// reliably. One at a time.
class CWinInetRecorder {
 public:
  CWinInetRecorder();

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

  /// The last error behind each opening that succeeds.
  DWORD errorBehindSuccess = ERROR_SUCCESS;
  /// Answers of InternetErrorDlg, from the first on, in place of its own.
  std::vector<DWORD> errorDialogAnswers;
  bool failSession = false;
  /// The query that fails.
  std::optional<DWORD> failedQuery;
  /// The opening and the read that fail: 1 for the first.
  size_t failedOpening = 0;
  size_t failedRead = 0;

 private:
  const CImportSpy<&InternetOpenW> m_open;
  const CImportSpy<&InternetOpenUrlW> m_openUrl;
  const CImportSpy<&InternetErrorDlg> m_errorDialog;
  const CImportSpy<&HttpQueryInfoW> m_query;
  const CImportSpy<&InternetReadFile> m_read;
  const CImportSpy<&InternetCloseHandle> m_close;
};
