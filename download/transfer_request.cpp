#include "download/transfer_request.h"

#include <cstdint>
#include <cstdlib>
#include <optional>

namespace {

constexpr DWORD kErrorDialogFlags = FLAGS_ERROR_UI_FILTER_FOR_ERRORS |
                                    FLAGS_ERROR_UI_FLAGS_CHANGE_OPTIONS |
                                    FLAGS_ERROR_UI_FLAGS_GENERATE_DATA;

bool IsRefusedStatus(DWORD status) {
  // Quirk 21: these five and no other.
  switch (status) {
    case HTTP_STATUS_NO_CONTENT:
    case HTTP_STATUS_FORBIDDEN:
    case HTTP_STATUS_NOT_FOUND:
    case HTTP_STATUS_GONE:
    case HTTP_STATUS_SERVER_ERROR:
      return true;
    default:
      return false;
  }
}

}  // namespace

bool MustOpenAgain(HWND owner, HINTERNET request, DWORD error) {
  return InternetErrorDlg(owner, request, error, kErrorDialogFlags, nullptr) ==
         ERROR_INTERNET_FORCE_RETRY;
}

bool HasAcceptedStatus(HINTERNET request) {
  DWORD status = 0;
  DWORD size = sizeof(status);
  return HttpQueryInfoW(request, HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size,
                        nullptr) &&
         !IsRefusedStatus(status);
}

std::optional<std::int32_t> ReadContentLength(HINTERNET request, DWORD queryFlags, void* buffer,
                                              DWORD size) {
  DWORD length = size;
  DWORD index = 0;
  if (!HttpQueryInfoW(request, HTTP_QUERY_CONTENT_LENGTH | queryFlags, buffer, &length, &index)) {
    return std::nullopt;
  }
  return _wtoi(static_cast<const wchar_t*>(buffer));
}
