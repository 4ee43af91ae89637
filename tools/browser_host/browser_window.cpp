#include "tools/browser_host/browser_window.h"

#include <commctrl.h>

#include <cstdio>

#include "tools/browser_host/frame_layout.h"
#include "tools/support/utf8.h"

namespace {

constexpr wchar_t kFrameClass[] = L"IEFrame";  // what helper objects look for
constexpr wchar_t kName[] = L"Browser host";
constexpr UINT_PTR kWakeTimer = 1;
constexpr SIZE kFrameSize{800, 600};

ATOM RegisterFrameClass(WNDPROC procedure) {
  WNDCLASSEXW description{};
  description.cbSize = sizeof(description);
  description.lpfnWndProc = procedure;
  description.hInstance = GetModuleHandleW(nullptr);
  description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  description.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
  description.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
  description.lpszClassName = kFrameClass;
  return RegisterClassExW(&description);
}

/// In the middle of the screen, where message boxes come up: they then lie over the browser.
POINT CentredPlace(const SIZE& size) {
  RECT area{};
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
  return {(area.left + area.right - size.cx) / 2, (area.top + area.bottom - size.cy) / 2};
}

HFONT CreateMessageFont() {
  NONCLIENTMETRICSW metrics{};
  metrics.cbSize = sizeof(metrics);
  SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0);
  return CreateFontIndirectW(&metrics.lfMessageFont);
}

int LineHeight(HWND window, HFONT font) {
  const HDC context = GetDC(window);
  const HGDIOBJ previous = SelectObject(context, font);
  TEXTMETRICW metrics{};
  GetTextMetricsW(context, &metrics);
  SelectObject(context, previous);
  ReleaseDC(window, context);
  return metrics.tmHeight;
}

void Move(HWND window, const RECT& place) {
  MoveWindow(window, place.left, place.top, place.right - place.left, place.bottom - place.top,
             TRUE);
}

std::wstring FailureStatus(const BrowserEvent& event) {
  if (event.status == REGDB_E_CLASSNOTREG) {
    return L"This system has no HTML engine to show the page with.";
  }
  return L"The page cannot be shown (" + FromUtf8(StatusText(event.status)) + L").";
}

std::wstring TextOf(HWND window) {
  std::wstring text(static_cast<size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
  text.resize(
      static_cast<size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
  return text;
}

}  // namespace

CBrowserWindow::~CBrowserWindow() {
  CloseWindow();
  if (m_sink) {
    m_sink->Detach();
  }
  if (m_font) {
    DeleteObject(m_font);
  }
}

HRESULT CBrowserWindow::Create(bool show) {
  if (!RegisterFrameClass(WindowProc) && GetLastError() != ERROR_CLASS_ALREADY_EXISTS) {
    return HRESULT_FROM_WIN32(GetLastError());
  }
  const POINT place = CentredPlace(kFrameSize);
  CreateWindowExW(WS_EX_CONTROLPARENT, kFrameClass, kName, WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                  place.x, place.y, kFrameSize.cx, kFrameSize.cy, nullptr, nullptr,
                  GetModuleHandleW(nullptr), this);
  if (!m_window || !CreateParts()) {
    return HRESULT_FROM_WIN32(GetLastError());
  }
  if (show) {
    ShowWindow(m_window, SW_SHOW);
    SetFocus(GetDlgItem(m_window, kAddressEdit));
  }
  return m_control.Create(this);
}

bool CBrowserWindow::CreateParts() {
  m_font = CreateMessageFont();
  m_lineHeight = LineHeight(m_window, m_font);
  constexpr DWORD kButton = BS_PUSHBUTTON | WS_TABSTOP;
  // In the order of the Tab key.
  const bool made = AddPart(WC_EDITW, L"", ES_AUTOHSCROLL | WS_BORDER | WS_TABSTOP, kAddressEdit) &&
                    AddPart(WC_BUTTONW, L"Go", BS_DEFPUSHBUTTON | WS_TABSTOP, kGoButton) &&
                    AddPart(WC_BUTTONW, L"Back", kButton, kBackButton) &&
                    AddPart(WC_BUTTONW, L"Stop", kButton, kStopButton) &&
                    AddPart(STATUSCLASSNAMEW, L"", SBARS_SIZEGRIP, kStatusBar);
  Layout();
  return made;
}

HWND CBrowserWindow::AddPart(const wchar_t* className, const wchar_t* text, DWORD style, int id) {
  const HWND part = CreateWindowExW(0, className, text, WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0,
                                    m_window, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                                    GetModuleHandleW(nullptr), nullptr);
  SendMessageW(part, WM_SETFONT, reinterpret_cast<WPARAM>(m_font), TRUE);
  return part;
}

HRESULT CBrowserWindow::Start(const std::vector<std::wstring>& helperClsids) {
  m_helpers.Load(helperClsids, m_control.Browser(), [this](const std::wstring& clsid, HRESULT hr) {
    char result[16];
    std::snprintf(result, sizeof(result), "0x%08lx", static_cast<unsigned long>(hr));
    m_output.WriteLine("helper " + ToUtf8(clsid) + " hr=" + result);
  });
  m_sink.Attach(new CEventSink(this));
  return m_control.Advise(m_sink);
}

bool CBrowserWindow::PreTranslateMessage(MSG& message) {
  return m_control.TranslateAccelerator(message) ||
         (m_window && IsDialogMessageW(m_window, &message));
}

RECT CBrowserWindow::ControlRect() const {
  RECT client{};
  GetClientRect(m_window, &client);
  RECT status{};
  GetWindowRect(GetDlgItem(m_window, kStatusBar), &status);
  return LayoutFrame({client.right, client.bottom}, m_lineHeight, status.bottom - status.top)
      .control;
}

void CBrowserWindow::Layout() {
  const HWND statusBar = GetDlgItem(m_window, kStatusBar);
  SendMessageW(statusBar, WM_SIZE, 0, 0);  // it places itself at the bottom
  RECT status{};
  GetWindowRect(statusBar, &status);
  RECT client{};
  GetClientRect(m_window, &client);
  const FrameLayout layout =
      LayoutFrame({client.right, client.bottom}, m_lineHeight, status.bottom - status.top);
  Move(GetDlgItem(m_window, kBackButton), layout.back);
  Move(GetDlgItem(m_window, kStopButton), layout.stop);
  Move(GetDlgItem(m_window, kAddressEdit), layout.address);
  Move(GetDlgItem(m_window, kGoButton), layout.go);
  m_control.Place();
}

void CBrowserWindow::ShowStatus(const wchar_t* text) {
  SendDlgItemMessageW(m_window, kStatusBar, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(text));
}

void CBrowserWindow::ShowLocation(const std::wstring& url) {
  SetDlgItemTextW(m_window, kAddressEdit, url.c_str());
  SetWindowTextW(m_window, (url + L" - " + kName).c_str());
}

void CBrowserWindow::OnBrowserEvent(const BrowserEvent& event) {
  m_output.WriteLine(EventLine(event));
  if (event.browser && !m_control.IsSource(event)) {
    return;  // about a frame within the page
  }
  m_navigation.Seen(event);
  if (m_closed) {
    return;
  }
  if (event.kind == BrowserEventKind::kBeforeNavigate2) {
    if (event.cancel) {
      ShowStatus(L"The navigation was cancelled.");
    } else {
      ShowLocation(event.url);
    }
  } else if (event.kind == BrowserEventKind::kNavigateError) {
    ShowStatus(FailureStatus(event).c_str());
  }
}

HRESULT CBrowserWindow::Navigate(const std::wstring& url) {
  m_navigation.Started();
  SetDlgItemTextW(m_window, kAddressEdit, url.c_str());
  const HRESULT hr = m_control.Navigate(url);
  if (FAILED(hr)) {
    m_navigation.Refused();
  }
  return hr;
}

HRESULT CBrowserWindow::GoBack() { return m_control.GoBack(); }

HRESULT CBrowserWindow::Stop() { return m_control.Stop(); }

bool CBrowserWindow::Idle() const {
  return !m_navigation.UnderWay() && !m_control.Busy() && HIWORD(GetQueueStatus(QS_ALLINPUT)) == 0;
}

void CBrowserWindow::CloseWindow() {
  if (m_window) {
    SendMessageW(m_window, WM_CLOSE, 0, 0);
  }
}

void CBrowserWindow::WakeAfter(DWORD milliseconds) {
  SetTimer(m_window, kWakeTimer, milliseconds, nullptr);
}

void CBrowserWindow::OnCommand(int id) {
  HRESULT hr = S_OK;
  switch (id) {
    case kGoButton:
      hr = Navigate(TextOf(GetDlgItem(m_window, kAddressEdit)));
      break;
    case kBackButton:
      hr = GoBack();
      break;
    case kStopButton:
      hr = Stop();
      break;
    default:
      return;
  }
  if (FAILED(hr) && !m_closed) {
    ShowStatus(L"The browser cannot do this now.");
  }
}

void CBrowserWindow::OnDestroy() {
  // The control first: what it still has to tell, the helper objects are to hear.
  m_control.Close();
  m_helpers.Release();
  m_closed = true;
  PostQuitMessage(0);
}

LRESULT CBrowserWindow::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_SIZE:
      Layout();
      return 0;
    case WM_COMMAND:
      OnCommand(LOWORD(wParam));
      return 0;
    case WM_TIMER:
      if (wParam == kWakeTimer) {
        KillTimer(m_window, kWakeTimer);  // it only had to turn the message loop
      }
      return 0;
    case WM_CLOSE:
      DestroyWindow(m_window);
      return 0;
    case WM_DESTROY:
      OnDestroy();
      return 0;
    default:
      return DefWindowProcW(m_window, message, wParam, lParam);
  }
}

LRESULT CBrowserWindow::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NCCREATE) {
    const auto* parameters = reinterpret_cast<const CREATESTRUCTW*>(lParam);
    auto* created = static_cast<CBrowserWindow*>(parameters->lpCreateParams);
    created->m_window = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(created));
  }
  auto* self = reinterpret_cast<CBrowserWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (!self) {
    return DefWindowProcW(window, message, wParam, lParam);
  }
  const LRESULT result = self->HandleMessage(message, wParam, lParam);
  if (message == WM_NCDESTROY) {
    SetWindowLongPtrW(window, GWLP_USERDATA, 0);
    self->m_window = nullptr;
  }
  return result;
}
