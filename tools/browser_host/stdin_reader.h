// Commands from standard input.
#pragma once

#include <windows.h>

#include <memory>

#include "tools/browser_host/command_queue.h"

/// Posted to the window whenever the queue has got a new entry.
constexpr UINT kCommandArrived = WM_APP + 1;

/// Starts a thread that reads lines of UTF-8 from standard input into the queue until they end; the
/// end counts as the command "quit". Empty lines are skipped. "close" does not wait its turn: the
/// window is asked to close as soon as the line has been read, and the entry follows for the
/// answer. The thread lives until the input or the process ends, so it shares the queue. False when
/// it could not be started.
bool StartStdinReader(std::shared_ptr<CCommandQueue> queue, HWND window);
