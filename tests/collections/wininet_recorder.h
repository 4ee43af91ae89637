#pragma once

#include <windows.h>

#include <wininet.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/support/import_patch.h"

/// Makes this system's WinINet do, while it lives, what Windows' does where the two differ: a
/// success leaves no last error, credentials that the user gave are kept for the server, and a
/// number may be queried into a buffer that has more room than it takes. Takes down what the
/// product asks for, and gives answers that no server brings about reliably. One at a time.
class CWinInetRecorder {
 public:
  CWinInetRecorder();
  ~CWinInetRecorder();
  CWinInetRecorder(const CWinInetRecorder&) = delete;
  CWinInetRecorder& operator=(const CWinInetRecorder&) = delete;

  struct CSession {
    std::wstring agent;
    DWORD accessType;
    bool hasProxy;  // or a bypass list
    DWORD flags;
  };
  struct COpening {
    HINTERNET session;
    std::wstring url;
    bool hasHeaders;
    DWORD flags;
    DWORD_PTR context;
    DWORD errorBefore;    // the last error that the call found
    size_t closedBefore;  // how many handles had been closed
  };
  struct CErrorDialog {
    HWND owner;
    HINTERNET request;
    DWORD error;
    DWORD flags;
    bool hasData;
  };
  struct CQuery {
    DWORD level;
    DWORD size;
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
  static HINTERNET WINAPI Open(LPCWSTR agent, DWORD type, LPCWSTR proxy, LPCWSTR bypass,
                               DWORD flags);
  static HINTERNET WINAPI OpenUrl(HINTERNET session, LPCWSTR url, LPCWSTR headers, DWORD length,
                                  DWORD flags, DWORD_PTR context);
  static DWORD WINAPI ErrorDialog(HWND owner, HINTERNET request, DWORD error, DWORD flags,
                                  LPVOID* data);
  static BOOL WINAPI Query(HINTERNET request, DWORD level, LPVOID buffer, LPDWORD size,
                           LPDWORD index);
  static BOOL WINAPI Read(HINTERNET request, LPVOID buffer, DWORD size, LPDWORD read);
  static BOOL WINAPI Close(HINTERNET handle);

  CImportPatch m_open;
  CImportPatch m_openUrl;
  CImportPatch m_errorDialog;
  CImportPatch m_query;
  CImportPatch m_read;
  CImportPatch m_close;
};
