#pragma once

#include <windows.h>

/// Whether an answer of this HTTP status is refused. Quirk 21: exactly 204, 403, 404, 410 and 500
/// are; every other answer is judged by its content, 401 and 503 included.
bool IsRefusedStatus(DWORD status);
