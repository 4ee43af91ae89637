#include "bench/transfer/required_calls.h"

#include <windows.h>

#include <commctrl.h>

#include <bit>
#include <boost/thread/thread.hpp>
#include <cstdint>
#include <exception>

#include "bench/support/program.h"
#include "bench/transfer/peers.h"
#include "download/progress_arithmetic.h"

namespace {

constexpr int kBar = 1;

/// A window with a progress bar, which the thread that makes it has to serve.
class CBarWindow {
 public:
  CBarWindow() {
    const INITCOMMONCONTROLSEX controls = {sizeof(controls), ICC_PROGRESS_CLASS};
    InitCommonControlsEx(&controls);
    m_window = CreateWindowExW(0, L"static", L"Download", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100,
                               100, 400, 120, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    DemandSuccess(m_window != nullptr, "CreateWindow");
    const HWND bar = CreateWindowExW(0, PROGRESS_CLASSW, nullptr, WS_CHILD | WS_VISIBLE, 10, 30,
                                     350, 20, m_window, std::bit_cast<HMENU>(INT_PTR{kBar}),
                                     GetModuleHandleW(nullptr), nullptr);
    DemandSuccess(bar != nullptr, "CreateWindow of the bar");
    SendMessageW(bar, PBM_SETRANGE32, 1, 100);
  }
  ~CBarWindow() { DestroyWindow(m_window); }
  CBarWindow(const CBarWindow&) = delete;
  CBarWindow& operator=(const CBarWindow&) = delete;

  HWND Get() const { return m_window; }

 private:
  HWND m_window = nullptr;
};

/// As a modal dialog does.
void ServeMessagesUntilQuit() {
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    DispatchMessageW(&message);
  }
}

}  // namespace

void DownloadByRequiredCalls(const std::wstring& url, const std::wstring& destination) {
  const std::wstring temporary = destination + L".temporary";
  const CBarWindow window;
  std::exception_ptr failure;
  boost::thread worker([&, caller = GetCurrentThreadId()] {
    try {
      std::int32_t done = 0;
      DownloadByLoop(url, temporary, [&](DWORD received, std::int32_t total) {
        done = WrappingAdd(done, static_cast<std::int32_t>(received));
        if (const auto percent = ProgressPercent(done, total)) {
          SendDlgItemMessageW(window.Get(), kBar, PBM_SETPOS, static_cast<WPARAM>(*percent), 0);
        }
        Sleep(0);
      });
    } catch (...) {
      failure = std::current_exception();
    }
    PostThreadMessageW(caller, WM_QUIT, 0, 0);
  });
  ServeMessagesUntilQuit();
  worker.join();
  if (failure) {
    std::rethrow_exception(failure);
  }
  DemandSuccess(CopyFileW(temporary.c_str(), destination.c_str(), FALSE) != FALSE, "CopyFile");
  DemandSuccess(DeleteFileW(temporary.c_str()) != FALSE, "DeleteFile");
}
