// A server that asks for a password: the system's dialog asks the user, and the request goes out
// again with the answer.

#include <gtest/gtest.h>
#include <windows.h>

#include <wininet.h>

#include <string>
#include <vector>

#include "tests/download/download_test.h"
#include "tests/support/import_patch.h"
#include "tests/support/parallel.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"

namespace {

constexpr wchar_t kPromptTitle[] = L"Authentication Required";
constexpr int kUserEdit = 1027;
constexpr int kPasswordEdit = 1028;

/// Makes this system's WinINet do what Windows' does: a success leaves no last error, and
/// credentials that the user gave are kept for the server, not for the one request only.
class CWindowsLikeWinInet {
 public:
  CWindowsLikeWinInet()
      : m_open("wininet.dll", "InternetOpenUrlW", &Open),
        m_errorDialog("wininet.dll", "InternetErrorDlg", &ShowErrorDialog) {
    s_open =
        m_open.Original<HINTERNET WINAPI(HINTERNET, LPCWSTR, LPCWSTR, DWORD, DWORD, DWORD_PTR)>();
    s_errorDialog = m_errorDialog.Original<DWORD WINAPI(HWND, HINTERNET, DWORD, DWORD, LPVOID*)>();
  }

 private:
  static HINTERNET WINAPI Open(HINTERNET session, LPCWSTR url, LPCWSTR headers, DWORD length,
                               DWORD flags, DWORD_PTR context) {
    const HINTERNET request = s_open(session, url, headers, length, flags, context);
    if (request != nullptr) {
      SetLastError(ERROR_SUCCESS);
    }
    return request;
  }

  static DWORD WINAPI ShowErrorDialog(HWND owner, HINTERNET request, DWORD error, DWORD flags,
                                      LPVOID* data) {
    const DWORD answer = s_errorDialog(owner, request, error, flags, data);
    if (answer == ERROR_INTERNET_FORCE_RETRY) {
      HttpSendRequestW(request, nullptr, 0, nullptr, 0);
    }
    return answer;
  }

  static inline HINTERNET(WINAPI* s_open)(HINTERNET, LPCWSTR, LPCWSTR, DWORD, DWORD, DWORD_PTR);
  static inline DWORD(WINAPI* s_errorDialog)(HWND, HINTERNET, DWORD, DWORD, LPVOID*);
  CImportPatch m_open;
  CImportPatch m_errorDialog;
};

class Credentials : public DownloadTest {
 protected:
  /// Credentials are kept for the whole process and the server's name: each test has its own.
  Credentials() : m_password(L"pass " + std::to_wstring(++s_passwords)) {}

  PathScript ProtectedLesson() const {
    PathScript script = Lesson(1000);
    script.Credentials("ann", std::string(m_password.begin(), m_password.end()), "Lessons");
    return script;
  }

  /// Answers the system's dialog.
  static void Answer(const std::wstring& password) {
    const HWND prompt = WaitForDialog(kPromptTitle);
    SetText(prompt, kUserEdit, L"ann");
    SetText(prompt, kPasswordEdit, password.c_str());
    PostMessageW(prompt, WM_COMMAND, IDOK, 0);
    WaitUntilGone(prompt);
  }
  static void Refuse() {
    const HWND prompt = WaitForDialog(kPromptTitle);
    PostMessageW(prompt, WM_COMMAND, IDCANCEL, 0);
    WaitUntilGone(prompt);
  }

  const std::wstring m_password;

 private:
  static void SetText(HWND dialog, int id, LPCWSTR text) {
    SendDlgItemMessageW(dialog, id, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text));
  }

  static inline int s_passwords = 0;
  CWindowsLikeWinInet m_winInet;
};

TEST_F(Credentials, RightOnesFetchTheLesson) {
  const CForeignForeground foreground;
  const ScriptedPath path(m_server, ProtectedLesson());
  const auto dialog = Make(path.Url(L"a.qdk"));
  const CParallel user([&] {
    const HWND prompt = WaitForDialog(kPromptTitle);
    EXPECT_EQ(TextOf(GetWindow(prompt, GW_OWNER)), kDialogTitle);
    Answer(m_password);
  });
  EXPECT_EQ(dialog->DoModal(nullptr), 1);
  EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(1000));
  const auto requests = path.Requests();
  EXPECT_NE(requests.front().auth, RequestRecord::Auth::kRight);
  EXPECT_EQ(requests.back().auth, RequestRecord::Auth::kRight);
  for (const RequestRecord& request : requests) {
    EXPECT_EQ(request.path, path.Folder() + "a.qdk");
  }
}

TEST_F(Credentials, WrongOnesAreAskedForAgain) {
  const ScriptedPath path(m_server, ProtectedLesson());
  const auto dialog = Make(path.Url(L"a.qdk"));
  const CParallel user([&] {
    Answer(L"wrong");
    Answer(m_password);
  });
  EXPECT_EQ(dialog->DoModal(nullptr), 1);
  EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(1000));
}

TEST_F(Credentials, RefusedPromptLeavesTheAnswerToItsContent) {
  const ScriptedPath path(m_server, ProtectedLesson());
  const std::wstring url = path.Url(L"a.qdk");
  const auto dialog = Make(url);
  std::wstring message;
  CParallel user([&] {
    Refuse();
    message = DismissMessage();
  });
  EXPECT_EQ(dialog->DoModal(nullptr), 3);
  user.Join();
  EXPECT_EQ(message, L"The file " + url +
                         L" is not a valid Folivo file. Please ensure that the link to the Folivo "
                         L"file is valid.");
  EXPECT_EQ(path.Requests().back().status, 401);
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(Credentials, PreCheckAsksOverTheForegroundWindow) {
  const HWND browser = CreateWindowExW(0, L"static", L"Browser", WS_POPUP | WS_VISIBLE, 0, 0, 300,
                                       300, nullptr, nullptr, nullptr, nullptr);
  SetForegroundWindow(browser);
  const ScriptedPath path(m_server, ProtectedLesson());
  const auto dialog = Make(path.Url(L"a.qdk"));
  const CParallel user([&] {
    const HWND prompt = WaitForDialog(kPromptTitle);
    EXPECT_EQ(TextOf(GetWindow(prompt, GW_OWNER)), L"Browser");
    Answer(m_password);
  });
  EXPECT_TRUE(dialog->PeekContent(L".qdk"));
  EXPECT_EQ(dialog->DoModal(nullptr), 1);
  EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(1000));
  DestroyWindow(browser);
}

TEST_F(Credentials, RefusedPromptUnderThePreCheckIsSilent) {
  const HWND browser = CreateWindowExW(0, L"static", L"Browser", WS_POPUP | WS_VISIBLE, 0, 0, 300,
                                       300, nullptr, nullptr, nullptr, nullptr);
  SetForegroundWindow(browser);
  const ScriptedPath path(m_server, ProtectedLesson());
  const CParallel user([] { Refuse(); });
  EXPECT_FALSE(Make(path.Url(L"a.qdk"))->PeekContent(L".qdk"));
  EXPECT_EQ(FindDialog(L"MERLO Folivo"), nullptr);
  DestroyWindow(browser);
}

}  // namespace
