// Windows as lines of the dialog driver's output.
#pragma once

#include <string>

#include "tools/dialog_driver/window_query.h"

/// A top-level window: "HWND PID CLASS TITLE LEFT,TOP,RIGHT,BOTTOM", separated by tabs.
std::string TopLevelLine(const WindowFacts& facts);

/// A control: "ID CLASS TEXT visible|hidden enabled|disabled LEFT,TOP,RIGHT,BOTTOM [STATE]",
/// separated by tabs. Asks progress bars and buttons for their state.
std::string ControlLine(const WindowFacts& facts);
