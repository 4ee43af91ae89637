#pragma once

#include <windows.h>

/// Whether a response with this HTTP status counts as a failed download. Quirk 21: exactly 204,
/// 403, 404, 410 and 500. With any other status, 401 and 503 included, the content check decides.
bool IsRefusedStatus(DWORD status);
