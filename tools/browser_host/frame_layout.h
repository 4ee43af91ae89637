// Where the parts of the browser window stand.
#pragma once

#include <windows.h>

/// Places in client coordinates, in pixels.
struct FrameLayout {
  RECT back;
  RECT stop;
  RECT address;
  RECT go;
  RECT control;
};

/// Lays out a client area of this size. `lineHeight` is the height of a line of text in the
/// window's font, `statusHeight` what the status bar at the bottom takes. No part is ever wider or
/// higher than what is left: in a window that is too small, parts shrink to nothing.
FrameLayout LayoutFrame(SIZE client, int lineHeight, int statusHeight);
