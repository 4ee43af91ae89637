#include "ui/button_row.h"

#include <atlsimpcoll.h>

#include <algorithm>

#include "base/scoped_handle.h"
#include "ui/selected_font_dc.h"

namespace {

constexpr int kStandardWidth = 60;
constexpr int kStandardHeight = 24;
constexpr int kLabelPadding = 16;
constexpr int kMeasureExtent = 1000;

// The size of NONCLIENTMETRICSW before Windows Vista added a member. Every version accepts it.
constexpr UINT kPreVistaMetricsSize = 500;

/// A button's place, with x measured from the left edge of the row.
struct CPlacedButton {
  int id;
  RECT bounds;
};
using CRow = CSimpleArray<CPlacedButton>;

CScopedFont CreateMessageFont() {
  NONCLIENTMETRICSW metrics = {};
  metrics.cbSize = kPreVistaMetricsSize;
  SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, metrics.cbSize, &metrics, 0);
  return CScopedFont(CreateFontIndirectW(&metrics.lfMessageFont));
}

int WidthOf(const RECT& bounds) { return bounds.right - bounds.left; }
int HeightOf(const RECT& bounds) { return bounds.bottom - bounds.top; }

SIZE StartingSize(HWND button, bool keepSize) {
  RECT bounds = {0, 0, kStandardWidth, kStandardHeight};
  if (keepSize) {
    GetWindowRect(button, &bounds);
  }
  return {WidthOf(bounds), HeightOf(bounds)};
}

SIZE MeasureButton(HWND dialog, HWND button, const CStringW& label, bool keepSize) {
  SIZE size = StartingSize(button, keepSize);
  const CScopedFont font = CreateMessageFont();
  const CSelectedFontDC dc(dialog, font.Get());
  const SIZE text = dc.MeasureText(label, kMeasureExtent, kMeasureExtent);
  size.cx = std::max(size.cx, text.cx + kLabelPadding);
  return size;
}

/// Appends a button at the right of the row.
void AppendButton(CRow& row, HWND dialog, int id, const CStringW& label, bool keepSize) {
  const HWND button = GetDlgItem(dialog, id);
  const SIZE size = MeasureButton(dialog, button, label, keepSize);
  SendMessageW(button, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(label.GetString()));

  int left = 0;
  if (const int count = row.GetSize(); count > 0) {
    const RECT& previous = row[count - 1].bounds;
    left = previous.right + HeightOf(previous) / 2;
  }
  if (!row.Add({id, {left, 0, left + size.cx, size.cy}})) {
    AtlThrow(E_OUTOFMEMORY);
  }
}

/// Moves the measured buttons to their places and returns the width that the row takes.
int PlaceRow(CRow& row, HWND dialog, bool centre) {
  const int count = row.GetSize();
  if (count == 0) {  // never, as long as the first button always has a place
    AtlThrow(E_INVALIDARG);
  }
  const int gap = HeightOf(row[0].bounds) / 2;
  const int rowRight = row[count - 1].bounds.right;
  RECT client = {};
  GetClientRect(dialog, &client);
  const int rowLeft = centre ? (WidthOf(client) - rowRight) / 2 : client.right - rowRight - gap;

  int taken = (count + 1) * gap;
  for (int i = 0; i < count; ++i) {
    const HWND button = GetDlgItem(dialog, row[i].id);
    const RECT& bounds = row[i].bounds;
    SetWindowLongPtrW(button, GWL_STYLE, GetWindowLongPtrW(button, GWL_STYLE) | BS_CENTER);
    MoveWindow(button, rowLeft + bounds.left, client.bottom - 3 * gap, WidthOf(bounds),
               HeightOf(bounds), FALSE);
    taken += WidthOf(bounds);
  }
  return taken;
}

}  // namespace

int LayoutButtonRow(bool centre, HWND dialog, int id1, const CStringW& label1, int id2,
                    const CStringW& label2, int id3, const CStringW& label3, int id4,
                    const CStringW& label4, bool keepSize) {
  CRow row;
  // Quirk 84: the first button has a place in the row even when it was never created.
  AppendButton(row, dialog, id1, label1, keepSize);
  if (id2 != 0) {
    AppendButton(row, dialog, id2, label2, keepSize);
  }
  if (id3 != 0) {
    AppendButton(row, dialog, id3, label3, keepSize);
  }
  if (id4 != 0) {
    AppendButton(row, dialog, id4, label4, keepSize);
  }
  return PlaceRow(row, dialog, centre);
}
