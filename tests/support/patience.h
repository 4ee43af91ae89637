#pragma once

#include <windows.h>

/// For how long a test waits for what must happen, in milliseconds: a minute, as other machines are
/// slower, or what the environment says in FOLIVO_PATIENCE_MS (./run mutate, where much never
/// happens).
DWORD PatienceMs();
