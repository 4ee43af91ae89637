#include "tests/collections/wininet_recorder.h"

#include <algorithm>

namespace {

CWinInetRecorder* g_recorder = nullptr;

}  // namespace

CWinInetRecorder::CWinInetRecorder()
    : m_open("wininet.dll", "InternetOpenW", &Open),
      m_openUrl("wininet.dll", "InternetOpenUrlW", &OpenUrl),
      m_errorDialog("wininet.dll", "InternetErrorDlg", &ErrorDialog),
      m_query("wininet.dll", "HttpQueryInfoW", &Query),
      m_read("wininet.dll", "InternetReadFile", &Read),
      m_close("wininet.dll", "InternetCloseHandle", &Close) {
  g_recorder = this;
}

CWinInetRecorder::~CWinInetRecorder() { g_recorder = nullptr; }

HINTERNET WINAPI CWinInetRecorder::Open(LPCWSTR agent, DWORD type, LPCWSTR proxy, LPCWSTR bypass,
                                        DWORD flags) {
  g_recorder->sessions.push_back({agent, type, proxy != nullptr || bypass != nullptr, flags});
  if (g_recorder->failSession) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  return g_recorder->m_open.Original<HINTERNET WINAPI(LPCWSTR, DWORD, LPCWSTR, LPCWSTR, DWORD)>()(
      agent, type, proxy, bypass, flags);
}

HINTERNET WINAPI CWinInetRecorder::OpenUrl(HINTERNET session, LPCWSTR url, LPCWSTR headers,
                                           DWORD length, DWORD flags, DWORD_PTR context) {
  g_recorder->openings.push_back({session, url, headers != nullptr || length != 0, flags, context,
                                  GetLastError(), g_recorder->closed.size()});
  if (g_recorder->openings.size() == g_recorder->failedOpening) {
    SetLastError(ERROR_INTERNET_CANNOT_CONNECT);
    return nullptr;
  }
  const HINTERNET request =
      g_recorder->m_openUrl
          .Original<HINTERNET WINAPI(HINTERNET, LPCWSTR, LPCWSTR, DWORD, DWORD, DWORD_PTR)>()(
              session, url, headers, length, flags, context);
  if (request != nullptr) {
    SetLastError(g_recorder->errorBehindSuccess);
  }
  return request;
}

DWORD WINAPI CWinInetRecorder::ErrorDialog(HWND owner, HINTERNET request, DWORD error, DWORD flags,
                                           LPVOID* data) {
  g_recorder->errorDialogs.push_back({owner, request, error, flags, data != nullptr});
  std::vector<DWORD>& answers = g_recorder->errorDialogAnswers;
  if (!answers.empty()) {
    const DWORD answer = answers.front();
    answers.erase(answers.begin());
    return answer;
  }
  const DWORD answer =
      g_recorder->m_errorDialog.Original<DWORD WINAPI(HWND, HINTERNET, DWORD, DWORD, LPVOID*)>()(
          owner, request, error, flags, data);
  if (answer == ERROR_INTERNET_FORCE_RETRY) {
    HttpSendRequestW(request, nullptr, 0, nullptr, 0);
  }
  return answer;
}

BOOL WINAPI CWinInetRecorder::Query(HINTERNET request, DWORD level, LPVOID buffer, LPDWORD size,
                                    LPDWORD index) {
  g_recorder->queries.push_back({level, *size});
  if (g_recorder->failedQuery == level) {
    SetLastError(ERROR_HTTP_HEADER_NOT_FOUND);
    return FALSE;
  }
  if ((level & HTTP_QUERY_FLAG_NUMBER) != 0) {
    *size = std::min<DWORD>(*size, sizeof(DWORD));
  }
  return g_recorder->m_query.Original<BOOL WINAPI(HINTERNET, DWORD, LPVOID, LPDWORD, LPDWORD)>()(
      request, level, buffer, size, index);
}

BOOL WINAPI CWinInetRecorder::Read(HINTERNET request, LPVOID buffer, DWORD size, LPDWORD read) {
  g_recorder->readSizes.push_back(size);
  if (g_recorder->readSizes.size() == g_recorder->failedRead) {
    SetLastError(ERROR_INTERNET_CONNECTION_RESET);
    return FALSE;
  }
  return g_recorder->m_read.Original<BOOL WINAPI(HINTERNET, LPVOID, DWORD, LPDWORD)>()(
      request, buffer, size, read);
}

BOOL WINAPI CWinInetRecorder::Close(HINTERNET handle) {
  g_recorder->closed.push_back(handle);
  return g_recorder->m_close.Original<BOOL WINAPI(HINTERNET)>()(handle);
}
