#include "download/http_status.h"

#include <wininet.h>

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
