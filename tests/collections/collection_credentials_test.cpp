// A server that asks for a password: the system's dialog asks the user, and the archive is
// requested again with the answer.

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
  static PathScript ProtectedArchive() {
    PathScript script = HttpAnswer().Bytes("PK archive");
    script.Credentials("ann", "right", "Collections");
    return script;
  }

  /// Has the user end the system's prompt.
  static void Answer(const wchar_t* password, int button) {
    const HWND prompt = WaitForDialog(kPromptTitle);
    const HWND dialog = GetWindow(prompt, GW_OWNER);
    EXPECT_EQ(TextOf(dialog), kDialogTitle);
    SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, 0), 0);  // does not end the dialog
    for (const auto& [id, text] : {std::pair(kUserEdit, L"ann"), {kPasswordEdit, password}}) {
      SendDlgItemMessageW(prompt, id, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text));
    }
    PostMessageW(prompt, WM_COMMAND, static_cast<WPARAM>(button), 0);
    WaitUntilGone(prompt);
  }

  const CWinInetRecorder m_winInet;
  const ScriptedPath m_path{m_server, ProtectedArchive()};
};

// First: the right credentials are kept for the process.
TEST_F(CollectionCredentials, RefusedPromptTakesWhatTheServerSent) {
  COpenDialog dialog = Open(TrustedUrl(m_path));
  const CParallel user([] { Answer(L"", IDCANCEL); });
  ASSERT_TRUE(dialog->DownloadArchive()) << "401 is no refused status";
  EXPECT_EQ(m_winInet.openings.size(), 1u);
  EXPECT_EQ(m_path.Requests().back().status, 401);
}

TEST_F(CollectionCredentials, UserIsAskedUntilTheCredentialsAreRight) {
  COpenDialog dialog = Open(TrustedUrl(m_path));
  const CParallel user([] {
    Answer(L"wrong", IDOK);
    Answer(L"right", IDOK);
  });
  ASSERT_TRUE(dialog->DownloadArchive());
  dialog->EndWithResult(2);
  EXPECT_EQ(ReadFileBytes(ZipPath()), "PK archive");
  EXPECT_EQ(m_path.Requests().back().auth, RequestRecord::Auth::kRight);
  EXPECT_EQ(m_winInet.openings.size(), 3u);
  EXPECT_EQ(m_winInet.closed.size(), 4u) << "three requests and the session";
}

}  // namespace
