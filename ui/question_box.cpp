#include "ui/question_box.h"

#include <atlwin.h>

#include <algorithm>
#include <atomic>
#include <iterator>

#include "base/edition.h"
#include "base/exception_boundary.h"
#include "base/product_texts.h"
#include "ui/button_row.h"
#include "ui/gui_lang.h"
#include "ui/selected_font_dc.h"

namespace {

// In pixels, as the window is laid out after its creation.
constexpr int kBoxWidth = 450;
constexpr int kHeightAroundContent = 60;
constexpr int kIconExtent = 32;
constexpr int kMargin = 10;
constexpr int kTextLeft = 52;
constexpr int kTextRight = 438;
constexpr int kTextWidth = kTextRight - kTextLeft;
constexpr int kCheckTextWidth = 374;
constexpr int kCheckSpacing = 24;
constexpr int kCheckGap = 22;
constexpr int kMeasureHeight = 10000;

constexpr int kButtonCount = 4;
constexpr int kButtonIds[kButtonCount] = {kMessageBoxButton1, kMessageBoxButton2,
                                          kMessageBoxButton3, kMessageBoxButton4};

constexpr DWORD kBoxStyle = WS_POPUP | WS_VISIBLE | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME;
constexpr DWORD kIconStyle = WS_CHILD | WS_VISIBLE | SS_ICON;
constexpr DWORD kTextStyle = WS_CHILD | WS_VISIBLE;
constexpr DWORD kCheckStyle =
    WS_CHILD | WS_VISIBLE | WS_GROUP | WS_TABSTOP | BS_MULTILINE | BS_AUTOCHECKBOX;
constexpr DWORD kPlainStyle = WS_CHILD | WS_VISIBLE | WS_TABSTOP | BS_MULTILINE;
constexpr DWORD kDefaultStyle = kPlainStyle | WS_GROUP | BS_DEFPUSHBUTTON;

/// A dialog template without items. The system reads menu, class and title after the header.
struct CEmptyTemplate {
  DLGTEMPLATE header;
  WORD menu;
  WORD windowClass;
  WORD title;
  WORD padding;
};
static_assert(sizeof(CEmptyTemplate) == 26);

/// Inputs and child windows of the box. Quirk 83: one set for the module, so only one box is open
/// at a time, and the check state outlives its box.
struct CBoxState {
  CStringW title;
  CStringW text;
  CStringW labels[kButtonCount];
  CStringW checkLabel;
  LONG checkState = 0;
  UINT iconId = 0;
  HWND icon = nullptr;
  HWND textControl = nullptr;
  HWND checkBox = nullptr;
  HWND buttons[kButtonCount] = {};
  HRESULT failure = S_OK;

  void ForgetChildren() {
    icon = textControl = checkBox = nullptr;
    std::fill(std::begin(buttons), std::end(buttons), nullptr);
  }
};
CBoxState g_box;
std::atomic<bool> g_boxIsOpen{false};

/// Marks the box as open until scope end. `Entered` is false when another one is open.
class COpenBoxGuard {
 public:
  COpenBoxGuard() : m_entered(!g_boxIsOpen.exchange(true)) {}
  ~COpenBoxGuard() {
    if (m_entered) {
      g_boxIsOpen = false;
    }
  }
  COpenBoxGuard(const COpenBoxGuard&) = delete;
  COpenBoxGuard& operator=(const COpenBoxGuard&) = delete;
  bool Entered() const { return m_entered; }

 private:
  const bool m_entered;
};

/// Quirk 79: the box and its controls are created in the name of the host program, not of this DLL.
HINSTANCE HostModule() { return GetModuleHandleW(nullptr); }

HWND CreateChild(HWND dialog, LPCWSTR windowClass, LPCWSTR text, DWORD style, const RECT& bounds,
                 int id) {
  return CreateWindowExW(0, windowClass, text, style, bounds.left, bounds.top,
                         bounds.right - bounds.left, bounds.bottom - bounds.top, dialog,
                         reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), HostModule(), nullptr);
}

void SetControlFont(HWND control, HGDIOBJ font) {
  SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
}

void CreateIconControl(HWND dialog) {
  const RECT bounds = {kMargin, kMargin, kMargin + kIconExtent, kMargin + kIconExtent};
  g_box.icon = CreateChild(dialog, L"static", L"", kIconStyle, bounds, 0);
  const HICON icon = LoadIconW(nullptr, MAKEINTRESOURCEW(g_box.iconId));
  SendMessageW(g_box.icon, STM_SETICON, reinterpret_cast<WPARAM>(icon), 0);
}

void CreateText(HWND dialog, int textHeight, HGDIOBJ font) {
  RECT bounds = {kTextLeft, kMargin, kTextRight, std::max(textHeight, kIconExtent) + kMargin};
  if (textHeight < kIconExtent) {
    bounds.top = (kIconExtent - textHeight) / 2 + kMargin;
  }
  g_box.textControl = CreateChild(dialog, L"static", g_box.text, kTextStyle, bounds, 0);
  SetControlFont(g_box.textControl, font);
}

void CreateCheckBox(HWND dialog, int textHeight, int checkHeight, HGDIOBJ font) {
  const int above = std::max(textHeight, kIconExtent);
  const RECT bounds = {kTextLeft, above + kCheckGap, kTextRight, above + checkHeight + kMargin};
  g_box.checkBox = CreateChild(dialog, L"button", g_box.checkLabel, kCheckStyle, bounds, 0);
  SetControlFont(g_box.checkBox, font);
  SendMessageW(g_box.checkBox, BM_SETCHECK, g_box.checkState != 0 ? BST_CHECKED : BST_UNCHECKED, 0);
}

/// Button 1 has the default style. Button 2 is plain when button 1 has a label, else default.
/// Quirk 80: buttons 3 and 4 are both plain when button 2 has a label, else default.
DWORD ButtonStyle(int index) {
  switch (index) {
    case 0:
      return kDefaultStyle;
    case 1:
      return g_box.labels[0].IsEmpty() ? kDefaultStyle : kPlainStyle;
    default:
      return g_box.labels[1].IsEmpty() ? kDefaultStyle : kPlainStyle;
  }
}

void CreateButtons(HWND dialog, HGDIOBJ font) {
  for (int i = 0; i < kButtonCount; ++i) {
    if (!g_box.labels[i].IsEmpty()) {
      g_box.buttons[i] = CreateChild(dialog, L"button", g_box.labels[i], ButtonStyle(i),
                                     {0, 0, 50, 14}, kButtonIds[i]);
      SetControlFont(g_box.buttons[i], font);
    }
  }
  const auto slot = [](int index) { return g_box.labels[index].IsEmpty() ? 0 : kButtonIds[index]; };
  LayoutButtonRow(true, dialog, kButtonIds[0], g_box.labels[0], slot(1), g_box.labels[1], slot(2),
                  g_box.labels[2], slot(3), g_box.labels[3], false);
}

void FocusFirstButton() {
  const auto* const first = std::find_if(std::begin(g_box.buttons), std::end(g_box.buttons),
                                         [](HWND button) { return button != nullptr; });
  if (first != std::end(g_box.buttons)) {
    SetFocus(*first);
  }
}

void InitialiseBox(HWND dialog) {
  SetWindowTextW(dialog, g_box.title);
  const HGDIOBJ font = GetStockObject(DEFAULT_GUI_FONT);
  {
    const CSelectedFontDC dc(dialog, font);
    const int textHeight = dc.MeasureText(g_box.text, kTextWidth, kMeasureHeight).cy;
    int contentHeight = textHeight;
    int checkHeight = 0;
    if (!g_box.checkLabel.IsEmpty()) {
      checkHeight =
          dc.MeasureText(g_box.checkLabel, kCheckTextWidth, kMeasureHeight).cy + kCheckSpacing;
      contentHeight += checkHeight;
    }

    ShowWindow(dialog, SW_HIDE);
    MoveWindow(dialog, 0, 0, kBoxWidth,
               std::max(contentHeight, kIconExtent) + GetSystemMetrics(SM_CYCAPTION) +
                   kHeightAroundContent,
               FALSE);
    CWindow(dialog).CenterWindow();

    CreateIconControl(dialog);
    CreateText(dialog, textHeight, font);
    if (!g_box.checkLabel.IsEmpty()) {
      CreateCheckBox(dialog, textHeight, checkHeight, font);
    }
    CreateButtons(dialog, font);
    FocusFirstButton();
    BringWindowToTop(dialog);
  }
  UpdateWindow(dialog);
  // The browser may have lost the foreground during the pre-check; the question must not open
  // behind another window.
  RECT bounds = {};
  GetWindowRect(dialog, &bounds);
  SetWindowPos(dialog, HWND_TOPMOST, bounds.left, bounds.top, bounds.right - bounds.left,
               bounds.bottom - bounds.top, SWP_SHOWWINDOW);
}

void DestroyChild(HWND& child) {
  if (child != nullptr && DestroyWindow(child)) {
    child = nullptr;
  }
}

void DestroyChildren() {
  for (HWND& button : g_box.buttons) {
    DestroyChild(button);
  }
  DestroyChild(g_box.checkBox);
  DestroyChild(g_box.textControl);
  DestroyChild(g_box.icon);
}

/// An exception must not leave the dialog procedure: it ends the box, and ShowCustomMessageBox
/// throws it again.
void FailBox(HWND dialog, HRESULT failure) {
  g_box.failure = failure;
  DestroyChildren();
  EndDialog(dialog, IDCANCEL);
}

INT_PTR CALLBACK BoxProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      if (const HRESULT result = CallGuarded([=] { InitialiseBox(dialog); }); FAILED(result)) {
        FailBox(dialog, result);
      }
      return FALSE;  // The focus set above stays.
    case WM_COMMAND:
      // Quirk 81: by handle, as the check box shares its identifier 0 with the statics.
      if (g_box.checkBox != nullptr && reinterpret_cast<HWND>(lParam) == g_box.checkBox) {
        g_box.checkState = SendMessageW(g_box.checkBox, BM_GETCHECK, 0, 0) == BST_CHECKED ? 1 : 0;
        return TRUE;
      }
      // Quirk 82: any other command closes the box, with its whole parameter as the result.
      DestroyChildren();
      EndDialog(dialog, static_cast<INT_PTR>(wParam));
      return TRUE;
    default:
      return FALSE;
  }
}

DWORD ExtendedStyle(HWND owner) {
  DWORD style = IsWindowVisible(owner) ? 0 : WS_EX_TOPMOST;
  if (GetGUILang().IsRightToLeft()) {
    style |= WS_EX_LAYOUTRTL;
  }
  return style;
}

}  // namespace

int ShowCustomMessageBox(HWND owner, LPCWSTR title, LPCWSTR text, UINT iconId,
                         const CStringW& button1, const CStringW& button2, const CStringW& button3,
                         const CStringW& button4, const CStringW& checkLabel, LONG* checkState) {
  const COpenBoxGuard guard;
  if (!guard.Entered()) {
    return kMessageBoxRefused;
  }

  // The previous box did not clear its handles if its owner was destroyed while it was open.
  g_box.ForgetChildren();
  g_box.title = title != nullptr ? title : L"";
  if (kSeEdition && g_box.title == kProductName) {
    g_box.title = kProductNameSe;
  }
  g_box.labels[0] = button1;
  g_box.labels[1] = button2;
  g_box.labels[2] = button3;
  g_box.labels[3] = button4;
  g_box.checkLabel = checkLabel;
  if (checkState != nullptr) {
    g_box.checkState = *checkState;
  }
  g_box.text = text != nullptr ? text : L"";
  g_box.iconId = iconId;
  g_box.failure = S_OK;

  alignas(DWORD) CEmptyTemplate boxTemplate = {};
  boxTemplate.header.style = kBoxStyle;
  boxTemplate.header.dwExtendedStyle = ExtendedStyle(owner);
  boxTemplate.header.x = 50;
  boxTemplate.header.y = 50;
  // Placeholders. The dialog procedure sizes the window in pixels after it has measured the text.
  boxTemplate.header.cx = 4000;
  boxTemplate.header.cy = 400;
  const auto result = static_cast<int>(
      DialogBoxIndirectParamW(HostModule(), &boxTemplate.header, owner, BoxProc, 0));

  if (FAILED(g_box.failure)) {
    AtlThrow(g_box.failure);
  }
  if (!g_box.checkLabel.IsEmpty() && checkState != nullptr) {
    *checkState = g_box.checkState;
  }
  return result;
}
