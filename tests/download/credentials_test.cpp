// A server that asks for a password: the system's dialog asks the user, and the
// request is sent again with the answer.

#include <gtest/gtest.h>
#include <windows.h>

#include <wininet.h>

#include "tests/download/download_test.h"
#include "tests/support/dialogs.h"
#include "tests/support/import_spy.h"
#include "tests/support/parallel.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"

namespace {

class Credentials : public DownloadTest {
 protected:
  /// Answers the system's dialog by a password.
  static void Answer(const wchar_t* password) {
    constexpr int kUserEdit = 1027;
    constexpr int kPasswordEdit = 1028;
    const HWND prompt = WaitForDialog(L"Authentication Required");
    EXPECT_EQ(TextOf(GetWindow(prompt, GW_OWNER)), kDownloadTitle);
    SendDlgItemMessageW(prompt, kUserEdit, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"ann"));
    SendDlgItemMessageW(prompt, kPasswordEdit, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(password));
    PostMessageW(prompt, WM_COMMAND, IDOK, 0);
    WaitUntilGone(prompt);
  }

 private:
  // These make this system's WinINet do what Windows' does: a success leaves no
  // last error, and credentials that the user gave are kept for the server, not
  // for the one request only.
  const CImportSpy<&InternetOpenUrlW> m_open{
      "wininet.dll", "InternetOpenUrlW", [this](auto... arguments) {
        const auto request = m_open.CallOriginal(arguments...);
        if (request != nullptr) {
          SetLastError(ERROR_SUCCESS);
        }
        return request;
      }};
  const CImportSpy<&InternetErrorDlg> m_errorDialog{
      "wininet.dll", "InternetErrorDlg", [this](HWND owner, HINTERNET request, auto... others) {
        const DWORD answer = m_errorDialog.CallOriginal(owner, request, others...);
        if (answer == ERROR_INTERNET_FORCE_RETRY) {
          HttpSendRequestW(request, nullptr, 0, nullptr, 0);
        }
        return answer;
      }};
};

TEST_F(Credentials, PromptIsOwnedByTheDialogAndComesAgainUntilTheyAreRight) {
  const CForeignForeground foreground;
  PathScript script = Lesson(1000);
  script.Credentials("ann", "right", "Lessons");
  const ScriptedPath path(m_server, script);
  const auto dialog = Make(path.Url(L"a.qdk"));
  const CParallel user([&] {
    Answer(L"wrong");
    Answer(L"right");
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

}  // namespace
