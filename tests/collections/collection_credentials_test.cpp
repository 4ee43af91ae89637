// A server that asks for a password: the system's dialog asks the user, and the archive is asked
// for again with the answer.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <utility>

#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/collections/wininet_recorder.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

constexpr wchar_t kPromptTitle[] = L"Authentication Required";
constexpr int kUserEdit = 1027;
constexpr int kPasswordEdit = 1028;

class CollectionCredentials : public CollectionTest {
 protected:
  /// Credentials are kept for the whole process and the server's name: each test has its own.
  CollectionCredentials() : m_password(L"pass " + std::to_wstring(++s_passwords)) {}

  PathScript ProtectedArchive() const {
    PathScript script = HttpAnswer().Bytes("PK archive");
    script.Credentials("ann", std::string(m_password.begin(), m_password.end()), "Collections");
    return script;
  }

  static void Answer(const std::wstring& password) {
    const HWND prompt = WaitForDialog(kPromptTitle);
    EXPECT_EQ(TextOf(GetWindow(prompt, GW_OWNER)), kDialogTitle);
    for (const auto& [id, text] :
         {std::pair(kUserEdit, L"ann"), {kPasswordEdit, password.c_str()}}) {
      SendDlgItemMessageW(prompt, id, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text));
    }
    PostMessageW(prompt, WM_COMMAND, IDOK, 0);
    WaitUntilGone(prompt);
  }
  static void Refuse() {
    const HWND prompt = WaitForDialog(kPromptTitle);
    PostMessageW(prompt, WM_COMMAND, IDCANCEL, 0);
    WaitUntilGone(prompt);
  }

  const std::wstring m_password;
  CWinInetRecorder m_winInet;

 private:
  static inline int s_passwords = 0;
};

TEST_F(CollectionCredentials, RightOnesFetchTheArchive) {
  const ScriptedPath path(m_server, ProtectedArchive());
  COpenDialog dialog(TrustedUrl(path), ZipPath(), ContentFolder());
  const CParallel user([&] { Answer(m_password); });
  ASSERT_TRUE(dialog->DownloadArchive());
  dialog->EndWithResult(2);
  EXPECT_EQ(ReadFileBytes(ZipPath()), "PK archive");
  EXPECT_EQ(path.Requests().back().auth, RequestRecord::Auth::kRight);
  EXPECT_EQ(m_winInet.openings.size(), 2u);
  EXPECT_EQ(m_winInet.closed.size(), 3u) << "the first request, the second, the session";
}

TEST_F(CollectionCredentials, WrongOnesAreAskedForAgain) {
  const ScriptedPath path(m_server, ProtectedArchive());
  COpenDialog dialog(TrustedUrl(path), ZipPath(), ContentFolder());
  const CParallel user([&] {
    Answer(L"wrong");
    Answer(m_password);
  });
  ASSERT_TRUE(dialog->DownloadArchive());
  dialog->EndWithResult(2);
  EXPECT_EQ(ReadFileBytes(ZipPath()), "PK archive");
}

TEST_F(CollectionCredentials, RefusedPromptTakesWhatTheServerSent) {
  const ScriptedPath path(m_server, ProtectedArchive());
  COpenDialog dialog(TrustedUrl(path), ZipPath(), ContentFolder());
  const CParallel user([] { Refuse(); });
  ASSERT_TRUE(dialog->DownloadArchive()) << "401 is no refused status";
  dialog->EndWithResult(2);
  EXPECT_EQ(m_winInet.openings.size(), 1u);
  EXPECT_EQ(path.Requests().back().status, 401);
}

TEST_F(CollectionCredentials, ClickUnderThePromptDoesNotEndTheDialog) {
  const ScriptedPath path(m_server, ProtectedArchive());
  COpenDialog dialog(TrustedUrl(path), ZipPath(), ContentFolder());
  const CParallel user([&] {
    const HWND prompt = WaitForDialog(kPromptTitle);
    SendMessageW(GetWindow(prompt, GW_OWNER), WM_COMMAND, MAKEWPARAM(IDCANCEL, 0), 0);
    Answer(m_password);
  });
  ASSERT_TRUE(dialog->DownloadArchive());
  dialog->EndWithResult(2);
  EXPECT_EQ(ReadFileBytes(ZipPath()), "PK archive");
}

}  // namespace
