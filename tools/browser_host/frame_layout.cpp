#include "tools/browser_host/frame_layout.h"

#include <algorithm>

FrameLayout LayoutFrame(SIZE client, int lineHeight, int statusHeight) {
  const int gap = lineHeight / 3;
  const int barHeight = lineHeight + lineHeight / 2;
  const int buttonWidth = 4 * lineHeight;
  const int right = static_cast<int>(client.cx);
  const int bottom = static_cast<int>(client.cy) - statusHeight;

  const auto onBar = [&](int from, int to) {
    return RECT{std::min(from, right), gap, std::min(std::max(from, to), right), gap + barHeight};
  };
  const int backLeft = gap;
  const int stopLeft = backLeft + buttonWidth + gap;
  const int addressLeft = stopLeft + buttonWidth + gap;
  const int goLeft = std::max(addressLeft, right - gap - buttonWidth);
  const int controlTop = barHeight + 2 * gap;
  return {.back = onBar(backLeft, backLeft + buttonWidth),
          .stop = onBar(stopLeft, stopLeft + buttonWidth),
          .address = onBar(addressLeft, goLeft - gap),
          .go = onBar(goLeft, goLeft + buttonWidth),
          .control = {0, controlTop, right, std::max(controlTop, bottom)}};
}
