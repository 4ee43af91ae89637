#include "tests/collections/wininet_recorder.h"

#include <algorithm>

CWinInetRecorder::CWinInetRecorder()
    : m_open("wininet.dll", "InternetOpenW",
             [this](LPCWSTR agent, DWORD type, LPCWSTR proxy, LPCWSTR bypass, DWORD flags) {
               sessions.push_back({agent, type, proxy != nullptr || bypass != nullptr, flags});
               SetLastError(ERROR_NOT_ENOUGH_MEMORY);
               return failSession ? nullptr
                                  : m_open.CallOriginal(agent, type, proxy, bypass, flags);
             }),
      m_openUrl("wininet.dll", "InternetOpenUrlW",
                [this](HINTERNET session, LPCWSTR url, LPCWSTR headers, DWORD length, DWORD flags,
                       DWORD_PTR context) -> HINTERNET {
                  openings.push_back({session, url, headers != nullptr || length != 0, flags,
                                      context, GetLastError(), closed.size()});
                  if (openings.size() == failedOpening) {
                    SetLastError(ERROR_INTERNET_CANNOT_CONNECT);
                    return nullptr;
                  }
                  const HINTERNET request =
                      m_openUrl.CallOriginal(session, url, headers, length, flags, context);
                  if (request != nullptr) {
                    SetLastError(errorBehindSuccess);
                  }
                  return request;
                }),
      m_errorDialog("wininet.dll", "InternetErrorDlg",
                    [this](HWND owner, HINTERNET request, DWORD error, DWORD flags, LPVOID* data) {
                      errorDialogs.push_back({owner, request, error, flags, data != nullptr});
                      if (!errorDialogAnswers.empty()) {
                        const DWORD answer = errorDialogAnswers.front();
                        errorDialogAnswers.erase(errorDialogAnswers.begin());
                        return answer;
                      }
                      const DWORD answer =
                          m_errorDialog.CallOriginal(owner, request, error, flags, data);
                      if (answer == ERROR_INTERNET_FORCE_RETRY) {
                        HttpSendRequestW(request, nullptr, 0, nullptr, 0);
                      }
                      return answer;
                    }),
      m_query("wininet.dll", "HttpQueryInfoW",
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
              }),
      m_read("wininet.dll", "InternetReadFile",
             [this](HINTERNET request, LPVOID buffer, DWORD size, LPDWORD read) {
               readSizes.push_back(size);
               if (readSizes.size() == failedRead) {
                 SetLastError(ERROR_INTERNET_CONNECTION_RESET);
                 return FALSE;
               }
               return m_read.CallOriginal(request, buffer, size, read);
             }),
      m_close("wininet.dll", "InternetCloseHandle", [this](HINTERNET handle) {
        closed.push_back(handle);
        return m_close.CallOriginal(handle);
      }) {}
