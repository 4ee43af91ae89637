// The pre-check: the head of the body is fetched and judged before there is a dialog.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "tests/download/download_test.h"
#include "tests/support/import_patch.h"
#include "tests/support/message_recorder.h"
#include "tests/support/parallel.h"
#include "tests/support/process_counts.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"

namespace {

const std::string kZip = "PK\x03\x04";
const std::string kCompoundFile = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
const std::string kLessonXml = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?><qdk )";

// How far GetTickCount64 may lag behind a timer.
constexpr ULONGLONG kTickMs = 20;

/// While it lives, waitable timers are due after 300 ms and what they were asked for is kept.
class CShortTimers {
 public:
  static constexpr ULONGLONG kDueMs = 300;

  CShortTimers() : m_patch("kernel32.dll", "SetWaitableTimer", &Shorten) {
    s_original = m_patch.Original<BOOL WINAPI(HANDLE, const LARGE_INTEGER*, LONG, PTIMERAPCROUTINE,
                                              LPVOID, BOOL)>();
    s_asked.clear();
  }
  static const std::vector<LONGLONG>& Asked() { return s_asked; }
  static LONG Period() { return s_period; }

 private:
  static BOOL WINAPI Shorten(HANDLE timer, const LARGE_INTEGER* due, LONG period,
                             PTIMERAPCROUTINE routine, LPVOID argument, BOOL resume) {
    s_asked.push_back(due->QuadPart);
    s_period = period;
    LARGE_INTEGER soon = {};
    soon.QuadPart = -10000 * static_cast<LONGLONG>(kDueMs);
    return s_original(timer, &soon, period, routine, argument, resume);
  }

  static inline BOOL(WINAPI* s_original)(HANDLE, const LARGE_INTEGER*, LONG, PTIMERAPCROUTINE,
                                         LPVOID, BOOL);
  static inline std::vector<LONGLONG> s_asked;
  static inline LONG s_period;
  CImportPatch m_patch;
};

class PeekContent : public DownloadTest {
 protected:
  CMessageRecorder m_messages;
};

TEST_F(PeekContent, GenuineHeadIsKeptAndTheRequestStaysOpen) {
  const ScriptedPath path(m_server, Lesson(300000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  ASSERT_TRUE(dialog->PeekContent(L".qdk"));
  CProgressDialogPeer peer{*dialog};
  EXPECT_TRUE(peer.IsOpened());
  EXPECT_FALSE(peer.IsPeeking());
  EXPECT_EQ(peer.FileSize(), 800);

  peer.RunWorker();
  EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>{1});
  peer.CloseFile();
  EXPECT_EQ(ReadFileBytes(TempPath()), LessonBytes(300000));
  EXPECT_EQ(path.Requests().size(), 1u);
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(PeekContent, BodiesOfEveryLengthAreJudgedByTheirHead) {
  struct CCase {
    LPCWSTR extension;
    std::string body;
    bool valid;
  };
  const CCase cases[] = {
      {L".qdk", "\x78", false},
      {L".qdk", "\x78\x9C", true},
      {L".QDK", "\x78\x9C", true},
      {L".fvk", kCompoundFile.substr(0, 7), false},
      {L".fvk", kCompoundFile, true},
      {L".qdk", kLessonXml.substr(0, 59), false},
      {L".qdk", kLessonXml, true},
      {L".qdk", kLessonXml + std::string(740, 'x'), true},
      {L".qdk", kLessonXml + std::string(741, 'x'), true},
      {L".folivo", "PK\x03", false},
      {L".folivo", kZip, true},
      {L".gallery", kZip, true},
      {L".galleryitem", kZip, true},
      {L".qdt", kZip, false},
      {L".qdt", kLessonXml, false},
      {L".qdi", kZip, false},
      {L"", kZip, false},
  };
  for (const CCase& c : cases) {
    const ScriptedPath path(m_server, HttpAnswer().Bytes(c.body));
    const auto dialog = Make(path.Url(L"a"));
    EXPECT_EQ(dialog->PeekContent(c.extension), c.valid) << c.extension << " " << c.body;
    EXPECT_EQ(CProgressDialogPeer{*dialog}.FileSize(),
              c.valid ? static_cast<LONGLONG>(std::min<size_t>(c.body.size(), 800)) : 0);
  }
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_TRUE(m_sandbox.Files().empty()) << "dialogs that never ran take their files with them";
}

TEST_F(PeekContent, RefusedStatusGivesOneMessageAtOnce) {
  for (const int status : {404, 500}) {
    const ScriptedPath path(m_server, HttpAnswer().Status(status));
    const std::wstring url = path.Url(L"a.qdk");
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(Make(url)->PeekContent(L".qdk"));
    EXPECT_LT(GetTickCount64() - start, 10000u) << "not after the time limit";
    EXPECT_EQ(m_messages.TakeTexts(), std::vector{NotAvailable(url)});
    EXPECT_EQ(path.Requests().size(), 1u);
  }
  EXPECT_TRUE(TakePostedResults().empty());
}

TEST_F(PeekContent, FailuresGiveOneMessageAndFalse) {
  {
    const std::wstring url = L"http://127.0.0.1:1/a.qdk";
    EXPECT_FALSE(Make(url)->PeekContent(L".qdk"));
    EXPECT_EQ(m_messages.TakeTexts(), std::vector{NotAvailable(url)});
  }
  const ScriptedPath path(m_server, Lesson(5000));
  {
    const std::wstring target = m_sandbox / L"missing\\a.qdk";
    const auto dialog =
        CProgressDialog::Create(path.Url(L"a.qdk").c_str(), target.c_str(), nullptr);
    EXPECT_FALSE(dialog->PeekContent(L".qdk"));
    EXPECT_EQ(m_messages.TakeTexts(),
              std::vector{L"Unable to create the destination file " + target + L"."});
  }
  {
    const CImportPatch patch(
        "kernel32.dll", "WriteFile", +[](HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED) -> BOOL {
          SetLastError(ERROR_DISK_FULL);
          return FALSE;
        });
    EXPECT_FALSE(Make(path.Url(L"a.qdk"))->PeekContent(L".qdk"));
    EXPECT_EQ(m_messages.TakeTexts(),
              std::vector{L"Unable to write to the destination file " + TempPath() + L"."});
  }
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(PeekContent, MessageIsOwnedByTheBrowsersWindow) {
  const CForeignForeground foreground;
  const ScriptedPath missing(m_server, HttpAnswer().Status(404));
  const HWND browser = CreateWindowExW(0, L"static", L"Browser", WS_POPUP, 0, 0, 10, 10, nullptr,
                                       nullptr, nullptr, nullptr);
  const auto owner = [&](HWND browserWindow, const std::wstring& url) {
    EXPECT_FALSE(Make(url, browserWindow)->PeekContent(L".qdk"));
    const auto shown = m_messages.Take();
    EXPECT_EQ(shown.size(), 1u);
    return shown.empty() ? INVALID_HANDLE_VALUE : static_cast<HANDLE>(shown[0].owner);
  };
  for (const std::wstring& url : {missing.Url(L"a.qdk"), std::wstring(L"http://127.0.0.1:1/b")}) {
    EXPECT_EQ(owner(browser, url), browser);
    EXPECT_EQ(owner(nullptr, url), nullptr);
  }
  DestroyWindow(browser);
  EXPECT_EQ(owner(browser, missing.Url(L"a.qdk")), nullptr) << "with a dead one it is not shown";
}

TEST_F(PeekContent, MessageIsShownBeforeTheEventIsSignalled) {
  static CProgressDialog* peeking;
  static std::vector<bool> signalledWhenShown;
  signalledWhenShown.clear();
  const CImportPatch message(
      "user32.dll", "MessageBoxW", +[](HWND, LPCWSTR, LPCWSTR, UINT) -> int {
        signalledWhenShown.push_back(CProgressDialogPeer{*peeking}.IsPeekSignalled());
        return IDOK;
      });
  const auto dialog = Make(L"http://127.0.0.1:1/a.qdk");
  peeking = dialog.get();
  EXPECT_FALSE(dialog->PeekContent(L".qdk"));
  EXPECT_EQ(signalledWhenShown, std::vector<bool>{false});
}

BOOL WINAPI FailToSetTimer(HANDLE, const LARGE_INTEGER*, LONG, PTIMERAPCROUTINE, LPVOID, BOOL) {
  return FALSE;
}
HANDLE WINAPI FailToMakeTimer(LPSECURITY_ATTRIBUTES, BOOL, LPCWSTR) { return nullptr; }
HANDLE WINAPI FailToMakeEvent(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCWSTR) { return nullptr; }

TEST_F(PeekContent, OneThatCouldNotEndIsNotBegun) {
  const ScriptedPath path(m_server, Lesson(5000));
  const auto expectNothing = [&] {
    const auto dialog = Make(path.Url(L"a.qdk"));
    EXPECT_FALSE(dialog->PeekContent(L".qdk"));
    EXPECT_FALSE(CProgressDialogPeer{*dialog}.IsPeeking());
    EXPECT_FALSE(CProgressDialogPeer{*dialog}.IsOpened());
  };
  {
    const CImportPatch patch("kernel32.dll", "SetWaitableTimer", &FailToSetTimer);
    expectNothing();
  }
  {
    const CImportPatch patch("kernel32.dll", "CreateWaitableTimerW", &FailToMakeTimer);
    expectNothing();
  }
  {
    const CImportPatch patch("kernel32.dll", "CreateEventW", &FailToMakeEvent);
    expectNothing();
  }
  EXPECT_TRUE(path.Requests().empty());
}

TEST_F(PeekContent, FileInUseIsReported) {
  const ScriptedPath path(m_server, Lesson(5000));
  const CHandle held(CreateFileW(m_sandbox.Write(L"temporary.qdk", "old").c_str(), GENERIC_READ, 0,
                                 nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  EXPECT_FALSE(Make(path.Url(L"a.qdk"))->PeekContent(L".qdk"));
  EXPECT_EQ(m_messages.TakeTexts(),
            std::vector{L"Unable to create the destination file " + TempPath() + L"."});
}

TEST_F(PeekContent, HeadThatCannotBeReadIsReported) {
  const ScriptedPath path(m_server, Lesson(500));
  const std::wstring url = path.Url(L"a.qdk");
  const CImportPatch patch(
      "wininet.dll", "InternetReadFile",
      +[](HINTERNET, LPVOID, DWORD, LPDWORD) -> BOOL { return FALSE; });
  EXPECT_FALSE(Make(url)->PeekContent(L".qdk"));
  EXPECT_EQ(m_messages.TakeTexts(), std::vector{NotAvailable(url)});
}

TEST_F(PeekContent, EmptyBodyWaitsForTheTimeLimit) {
  const CShortTimers timers;
  const ScriptedPath path(m_server, HttpAnswer());
  const ULONGLONG start = GetTickCount64();
  EXPECT_FALSE(Make(path.Url(L"a.qdk"))->PeekContent(L".qdk"));
  EXPECT_GE(GetTickCount64() - start, CShortTimers::kDueMs - kTickMs);
  EXPECT_EQ(CShortTimers::Asked(), std::vector<LONGLONG>{-250000000}) << "25 s, once";
  EXPECT_EQ(CShortTimers::Period(), 0);
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_EQ(path.Requests().size(), 1u);
}

TEST_F(PeekContent, EmptyBodyLeavesTheProcessorToOthers) {
  const CShortTimers timers;
  const ScriptedPath path(m_server, HttpAnswer());
  const auto dialog = Make(path.Url(L"a.qdk"));
  FILETIME created;
  FILETIME exited;
  FILETIME kernel[2];
  FILETIME user[2];
  GetThreadTimes(GetCurrentThread(), &created, &exited, &kernel[0], &user[0]);
  dialog->PeekContent(L".qdk");
  GetThreadTimes(GetCurrentThread(), &created, &exited, &kernel[1], &user[1]);
  const DWORD used = (kernel[1].dwLowDateTime - kernel[0].dwLowDateTime) +
                     (user[1].dwLowDateTime - user[0].dwLowDateTime);
  EXPECT_LT(used, 1500000u) << "at most half of the 300 ms, in units of 100 ns";
}

TEST_F(PeekContent, StalledServerIsGivenUpSilently) {
  const CShortTimers timers;
  for (const std::string& point :
       {std::string(http_point::kBeforeHeaders), http_point::BodyByte(1)}) {
    const ScriptedPath path(m_server, Lesson(5000).Hold(point));
    const auto dialog = Make(path.Url(L"a.qdk"));
    // A synchronous call comes back from a stalled server only when that lets go.
    const CParallel server([&] {
      EXPECT_TRUE(path.WaitForHeld(point));
      Sleep(400);  // the time limit itself is what is waited for
      path.AllowAll();
    });
    const bool valid = dialog->PeekContent(L".qdk");
    // Held before the headers: too late for a look at the body. Held in it: that look was under
    // way.
    EXPECT_EQ(valid, point != http_point::kBeforeHeaders);
  }
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(PeekContent, ServerThatHangsUpWithoutAnAnswerIsNoLesson) {
  const CShortTimers timers;
  const ScriptedPath path(m_server, Lesson(10).Cut(http_point::kBeforeHeaders, HttpCut::kGraceful));
  EXPECT_FALSE(Make(path.Url(L"a.qdk"))->PeekContent(L".qdk"));
}

TEST_F(PeekContent, ManyLeaveNoHandles) {
  const ScriptedPath good(m_server, Lesson(5000));
  const ScriptedPath bad(m_server, HttpAnswer().Bytes("no lesson").Pattern(1, 5000));
  const ScriptedPath missing(m_server, HttpAnswer().Status(404));
  const auto peekAll = [&] {
    for (const ScriptedPath* path : {&good, &bad, &missing}) {
      Make(path->Url(L"a.qdk"))->PeekContent(L".qdk");
    }
  };
  peekAll();
  const int before = CountHandles();
  for (int i = 0; i < 30; ++i) {
    peekAll();
  }
  EXPECT_LE(CountHandles(), before + 5);
  EXPECT_TRUE(m_sandbox.Files().empty());
}

std::vector<UINT> g_clicks;

LRESULT CALLBACK ClickedProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_LBUTTONDOWN || message == WM_LBUTTONUP) {
    g_clicks.push_back(message);
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

/// A window all over the screen that takes clicks down.
class CClickedWindow {
 public:
  CClickedWindow() {
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = &ClickedProcedure;
    windowClass.lpszClassName = kClass;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    RegisterClassW(&windowClass);
    m_window = CreateWindowExW(WS_EX_TOPMOST, kClass, L"", WS_POPUP | WS_VISIBLE, 0, 0, 1280, 1024,
                               nullptr, nullptr, windowClass.hInstance, nullptr);
    g_clicks.clear();
    MSG message = {};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      DispatchMessageW(&message);
    }
  }
  ~CClickedWindow() {
    DestroyWindow(m_window);
    UnregisterClassW(kClass, GetModuleHandleW(nullptr));
  }
  CClickedWindow(const CClickedWindow&) = delete;
  CClickedWindow& operator=(const CClickedWindow&) = delete;

  /// One real click.
  static void Click() {
    INPUT inputs[2] = {};
    inputs[0].type = inputs[1].type = INPUT_MOUSE;
    inputs[0].mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
    inputs[1].mi.dwFlags = MOUSEEVENTF_LEFTUP;
    SendInput(2, inputs, sizeof(INPUT));
  }

 private:
  static constexpr wchar_t kClass[] = L"FolivoClickedWindow";
  HWND m_window;
};

TEST_F(PeekContent, ClicksAreServedWhileItRuns) {
  const CShortTimers timers;
  const CClickedWindow window;
  // An empty body, so that there is time between the steps.
  const ScriptedPath path(m_server, HttpAnswer().Hold(http_point::kBeforeHeaders));
  const auto dialog = Make(path.Url(L"a.qdk"));
  const CParallel user([&] {
    EXPECT_TRUE(path.WaitForHeld());
    CClickedWindow::Click();
    path.AllowAll();
  });
  EXPECT_FALSE(dialog->PeekContent(L".qdk"));
  // One message for each input that arrives: the rest is left to the browser's own loop.
  ASSERT_FALSE(g_clicks.empty());
  EXPECT_EQ(g_clicks.front(), static_cast<UINT>(WM_LBUTTONDOWN));
}

TEST_F(PeekContent, QuitMessageEndsItAndIsPutBack) {
  const CClickedWindow window;
  const ScriptedPath path(m_server, HttpAnswer().Hold(http_point::kBeforeHeaders));
  const auto dialog = Make(path.Url(L"a.qdk"));
  const DWORD thread = GetCurrentThreadId();
  const CParallel user([&] {
    EXPECT_TRUE(path.WaitForHeld());
    PostThreadMessageW(thread, WM_QUIT, 17, 0);
    CClickedWindow::Click();
    path.AllowAll();
  });
  const ULONGLONG start = GetTickCount64();
  EXPECT_FALSE(dialog->PeekContent(L".qdk"));
  EXPECT_LT(GetTickCount64() - start, 10000u);
  MSG message = {};
  ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  EXPECT_EQ(message.wParam, 17u);
}

}  // namespace
