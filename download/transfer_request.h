#pragma once

#include <windows.h>
#include <wininet.h>

#include <cstdint>
#include <optional>

// The HTTP request of a transfer: what the lesson's download and the collection's have in common.

/// The user agent of every session.
inline constexpr wchar_t kUserAgent[] = L"FolivoAX";

/// The flags of every request.
inline constexpr DWORD kOpenFlags =
    INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_KEEP_CONNECTION;

/// Shows the system's dialog if the server or proxy asks for credentials, or if `error`, the
/// thread's last error after the request was opened, calls for one. Returns true when the request
/// is to be opened again, with what the user has entered.
bool MustOpenAgain(HWND owner, HINTERNET request, DWORD error);

/// Opens a request for `url`, and opens it again as long as `MustOpenAgain`.
///
/// `prepare()`: called before each attempt. Releases the request of the attempt before, and returns
/// false to make no further attempt. `hold(request)`: called with the result of each attempt, null
/// included, and takes ownership. Returns the owner window of the system's dialog, or nullopt to
/// end without it. Neither must change the thread's last error, except `prepare` before the
/// attempt: at the end it is that of the last attempt or of the system's dialog.
template <typename Prepare, typename Hold>
void OpenWithCredentials(HINTERNET session, LPCWSTR url, DWORD flags, Prepare prepare, Hold hold) {
  while (prepare()) {
    const HINTERNET request = InternetOpenUrlW(session, url, nullptr, 0, flags, 0);
    const DWORD error = GetLastError();
    const std::optional<HWND> owner = hold(request);
    if (!owner || !MustOpenAgain(*owner, request, error)) {
      return;
    }
  }
}

/// Whether the response has a status that does not count as a failed download. Quirk 21: fails for
/// exactly 204, 403, 404, 410 and 500. With any other status, 401 and 503 included, the content
/// check decides.
bool HasAcceptedStatus(HINTERNET request);

/// Returns the response's Content-Length, as _wtoi reads it from the text that HttpQueryInfo writes
/// to `buffer`; nullopt without one. `queryFlags`: 0, or modifiers such as HTTP_QUERY_FLAG_NUMBER.
/// `buffer` has `size` bytes and, after them, room for a terminator.
std::optional<std::int32_t> ReadContentLength(HINTERNET request, DWORD queryFlags, void* buffer,
                                              DWORD size);
