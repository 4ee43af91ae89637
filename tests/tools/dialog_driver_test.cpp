// The dialog driver as a process of its own, against dialogs of this test program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>

#include <array>
#include <functional>
#include <string>

#include "tests/tools/tool_process.h"
#include "tools/support/utf8.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/// Shows something modal on a thread of its own; ends it at scope end if nobody has.
class CModalThread {
 public:
  explicit CModalThread(std::function<INT_PTR()> show) : m_show(std::move(show)) {
    m_thread = CreateThread(nullptr, 0, Run, this, 0, &m_threadId);
  }
  ~CModalThread() {
    PostThreadMessageW(m_threadId, WM_QUIT, 0, 0);  // ends modal loops, too
    WaitForSingleObject(m_thread, INFINITE);
    CloseHandle(m_thread);
  }
  CModalThread(const CModalThread&) = delete;
  CModalThread& operator=(const CModalThread&) = delete;

  /// Waits for the end of the dialog and returns what it ended with.
  INT_PTR Result() {
    EXPECT_EQ(WaitForSingleObject(m_thread, kToolTimeout), WAIT_OBJECT_0);
    return m_result;
  }

 private:
  static DWORD WINAPI Run(void* parameter) {
    auto* self = static_cast<CModalThread*>(parameter);
    self->m_result = self->m_show();
    return 0;
  }

  const std::function<INT_PTR()> m_show;
  HANDLE m_thread = nullptr;
  DWORD m_threadId = 0;
  INT_PTR m_result = -1;
};

/// Runs the driver once; its lines are in Lines() and its exit code is the result.
struct DriverRun {
  DWORD exitCode = 0;
  std::vector<std::string> lines;
};

DriverRun Drive(const std::wstring& arguments) {
  CToolProcess driver(ToolPath(L"dialog_driver.exe"), arguments);
  DriverRun run;
  run.exitCode = driver.WaitForExit();
  run.lines = driver.Lines();
  return run;
}

/// Waits for a window of this process and returns its handle as the driver prints it.
std::wstring AwaitWindow(const std::wstring& title) {
  const DriverRun run = Drive(L"wait-window --title \"" + title + L"\" --class #32770 --pid " +
                              std::to_wstring(GetCurrentProcessId()));
  EXPECT_EQ(run.exitCode, 0u);
  return run.lines.empty() ? L"0" : FromUtf8(run.lines[0].substr(0, run.lines[0].find('\t')));
}

INT_PTR ShowBox(const wchar_t* title, UINT type) {
  return MessageBoxW(nullptr, L"Zeile \u00e4\nnext\tline", title, type);
}

constexpr int kCheck = 20;
constexpr int kBar = 21;
constexpr int kEdit = 22;
constexpr UINT_PTR kEnableTimer = 1;

INT_PTR CALLBACK FormProc(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
  const auto add = [dialog](const wchar_t* className, DWORD style, int id, int top) {
    return CreateWindowExW(0, className, L"", WS_CHILD | WS_VISIBLE | style, 10, top, 200, 24,
                           dialog, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr,
                           nullptr);
  };
  switch (message) {
    case WM_INITDIALOG:
      SetWindowTextW(dialog, L"Driver form");
      add(WC_BUTTONW, BS_AUTOCHECKBOX, kCheck, 10);
      SendMessageW(add(PROGRESS_CLASSW, 0, kBar, 40), PBM_SETPOS, 37, 0);
      add(WC_EDITW, WS_BORDER, kEdit, 70);
      add(WC_BUTTONW, WS_DISABLED, IDOK, 100);
      SetTimer(dialog, kEnableTimer, 300, nullptr);
      return TRUE;
    case WM_TIMER:
      KillTimer(dialog, kEnableTimer);
      EnableWindow(GetDlgItem(dialog, IDOK), TRUE);
      return TRUE;
    case WM_COMMAND:
      if (wParam == IDOK || wParam == IDCANCEL) {
        std::array<wchar_t, 32> text{};
        GetDlgItemTextW(dialog, kEdit, text.data(), static_cast<int>(text.size()));
        const bool expected = std::wstring(text.data()) == L"--\u00fcber alles" &&
                              IsDlgButtonChecked(dialog, kCheck) == BST_CHECKED;
        EndDialog(dialog, wParam == IDOK && expected ? 77 : 78);
      }
      return TRUE;
    default:
      return FALSE;
  }
}

INT_PTR ShowForm() {
  struct {
    DLGTEMPLATE header;
    WORD menuClassTitle[3];
  } form{};
  form.header.style = WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_VISIBLE;
  form.header.cx = 160;
  form.header.cy = 100;
  return DialogBoxIndirectParamW(nullptr, &form.header, nullptr, FormProc, 0);
}

}  // namespace

TEST(DialogDriver, FindsReadsAndClicksAMessageBox) {
  CModalThread box([] { return ShowBox(L"Driver \u00e4", MB_YESNOCANCEL); });
  const std::wstring window = AwaitWindow(L"Driver \u00e4");
  const DriverRun texts = Drive(L"texts " + window);
  EXPECT_EQ(texts.exitCode, 0u);
  EXPECT_THAT(texts.lines, Contains(StartsWith("65535\tStatic\tZeile \xc3\xa4 next line\tvisible\t"
                                               "enabled\t")));
  EXPECT_THAT(texts.lines, Contains(AllOf(StartsWith("7\tButton\t"), EndsWith("\tchecked=0"))));
  EXPECT_THAT(Drive(L"list").lines, Contains(StartsWith(ToUtf8(window) + "\t")));

  EXPECT_EQ(Drive(L"click " + window + L" 0x7").exitCode, 0u);
  EXPECT_EQ(Drive(L"wait-gone " + window).exitCode, 0u);
  EXPECT_EQ(box.Result(), IDNO);
}

TEST(DialogDriver, FillsAFormAsAPersonWould) {
  CModalThread form(ShowForm);
  const std::wstring window = AwaitWindow(L"Driver form");
  // The button is disabled at first: like a person, the driver waits until it is not.
  EXPECT_EQ(Drive(L"set-text " + window + L" 22 -- \"--\u00fcber alles\"").exitCode, 0u);
  EXPECT_EQ(Drive(L"click " + window + L" 20").exitCode, 0u);
  const DriverRun texts = Drive(L"texts " + window);
  EXPECT_THAT(texts.lines,
              Contains(AllOf(StartsWith("21\tmsctls_progress32\t"), EndsWith("\tpos=37"))));
  EXPECT_THAT(texts.lines, Contains(AllOf(StartsWith("20\tButton\t"), EndsWith("\tchecked=1"))));
  EXPECT_THAT(texts.lines, Contains(HasSubstr("\t--\xc3\xbc"
                                              "ber alles\t")));
  EXPECT_EQ(Drive(L"click " + window + L" 1").exitCode, 0u);
  EXPECT_EQ(form.Result(), 77);
}

TEST(DialogDriver, SaysWhatIsNotThere) {
  EXPECT_EQ(Drive(L"wait-window --title \"No such window\" --timeout 50").exitCode, 1u);
  EXPECT_EQ(Drive(L"close 0x7ffffff0").exitCode, 1u);
  EXPECT_EQ(Drive(L"texts 0x7ffffff0").exitCode, 1u);
  EXPECT_EQ(Drive(L"wait-gone 0x7ffffff0").exitCode, 0u);
  CModalThread box([] { return ShowBox(L"Driver missing", MB_YESNO); });
  const std::wstring window = AwaitWindow(L"Driver missing");
  EXPECT_EQ(Drive(L"click " + window + L" 4711 --timeout 50").exitCode, 1u);
  EXPECT_EQ(Drive(L"wait-gone " + window + L" --timeout 50").exitCode, 1u);
  EXPECT_EQ(Drive(L"click " + window + L" 6").exitCode, 0u);
}
