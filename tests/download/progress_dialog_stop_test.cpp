// Stopping a download that is under way.

#include <gtest/gtest.h>
#include <windows.h>

#include <wininet.h>

#include <vector>

#include "tests/download/download_test.h"
#include "tests/support/import_patch.h"
#include "tests/support/scripted_path.h"

namespace {

class StoppedDownload : public DownloadTest {};

TEST_F(StoppedDownload, IsStoppedTwiceWithoutHarm) {
  const ScriptedPath path(m_server, Lesson(1000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  ASSERT_TRUE(dialog->PeekContent(L".qdk"));
  CProgressDialogPeer peer{*dialog};
  dialog->m_saveState = dialog.get();
  peer.StopDownload();
  EXPECT_FALSE(peer.IsRunning());
  EXPECT_EQ(peer.File(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(peer.Request(), nullptr);
  EXPECT_EQ(peer.Session(), nullptr);
  EXPECT_EQ(dialog->m_saveState, nullptr);
  peer.StopDownload();
}

std::vector<HINTERNET> g_closedInternet;
bool g_fileWasClosedFirst;
std::vector<bool> g_runningWhenClosed;
CProgressDialog* g_stopped;
HANDLE g_file;
decltype(&CloseHandle) g_closeHandle;
decltype(&InternetCloseHandle) g_closeInternet;

TEST_F(StoppedDownload, ClosesFileThenRequestThenSession) {
  const ScriptedPath path(m_server, Lesson(1000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  ASSERT_TRUE(dialog->PeekContent(L".qdk"));
  CProgressDialogPeer peer{*dialog};
  const std::vector<HINTERNET> expected = {peer.Request(), peer.Session()};
  g_file = peer.File();
  g_stopped = dialog.get();
  g_closedInternet.clear();
  g_runningWhenClosed.clear();
  const CImportPatch filePatch(
      "kernel32.dll", "CloseHandle", +[](HANDLE handle) -> BOOL {
        g_runningWhenClosed.push_back(CProgressDialogPeer{*g_stopped}.IsRunning());
        return g_closeHandle(handle);
      });
  g_closeHandle = filePatch.Original<BOOL WINAPI(HANDLE)>();
  const CImportPatch patch(
      "wininet.dll", "InternetCloseHandle", +[](HINTERNET handle) -> BOOL {
        DWORD flags = 0;
        g_fileWasClosedFirst = !GetHandleInformation(g_file, &flags);
        g_closedInternet.push_back(handle);
        return g_closeInternet(handle);
      });
  g_closeInternet = patch.Original<BOOL WINAPI(HINTERNET)>();
  peer.StopDownload();
  EXPECT_TRUE(g_fileWasClosedFirst);
  EXPECT_EQ(g_closedInternet, expected);
  EXPECT_EQ(g_runningWhenClosed, std::vector<bool>{false}) << "stopped before anything is closed";
}

}  // namespace
