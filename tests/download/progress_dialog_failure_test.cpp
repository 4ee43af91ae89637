// Transfers that fail while the dialog is shown: one message each, as the user sees it.

#include <atlbase.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <wininet.h>

#include <atomic>
#include <string>
#include <vector>

#include "tests/download/download_test.h"
#include "tests/support/import_patch.h"
#include "tests/support/parallel.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"

namespace {

class FailedDownload : public DownloadTest {
 protected:
  /// Runs the dialog for a URL that fails, and gives the message that the user dismisses.
  std::wstring MessageOf(CProgressDialog& dialog) {
    std::wstring text;
    CParallel user([&] { text = DismissMessage(); });
    EXPECT_EQ(dialog.DoModal(nullptr), 3);
    user.Join();
    return text;
  }

  void ExpectNothingLeft() const {
    EXPECT_TRUE(m_sandbox.Files().empty());
    EXPECT_EQ(FindDialog(L"MERLO Folivo"), nullptr);
  }
};

TEST_F(FailedDownload, MissingPageIsReportedByItsAddress) {
  const ScriptedPath path(m_server, HttpAnswer().Status(404));
  const std::wstring url = path.Url(L"My%20Lesson.qdk?a=%25s");
  const auto dialog = Make(url);
  EXPECT_EQ(MessageOf(*dialog), NotAvailable(url));
  ExpectNothingLeft();
}

TEST_F(FailedDownload, DialogOwnsTheMessage) {
  const CForeignForeground foreground;
  const ScriptedPath path(m_server, HttpAnswer().Status(404).Hold(http_point::kBeforeHeaders));
  const auto dialog = Make(path.Url(L"a.qdk"));
  const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
    path.AllowAll();
    const HWND box = WaitForDialog(L"MERLO Folivo");
    EXPECT_EQ(GetWindow(box, GW_OWNER), window);
    Click(box, IDOK);
  });
  EXPECT_EQ(result, 3);
}

TEST_F(FailedDownload, OtherContentIsReported) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("<html>Sorry</html>"));
  const std::wstring url = path.Url(L"a.qdk");
  const auto dialog = Make(url);
  EXPECT_EQ(MessageOf(*dialog), L"The file " + url +
                                    L" is not a valid Folivo file. Please ensure that the link to "
                                    L"the Folivo file is valid.");
  ExpectNothingLeft();
}

TEST_F(FailedDownload, BrokenConnectionIsReportedWhileTheFileIsStillThere) {
  static std::atomic<int> reads;
  static decltype(&InternetReadFile) read;
  static HANDLE isShown;
  reads = 0;
  const CHandle shown(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  isShown = shown;
  // This system reports a break only to a read that waits just then. Not before the dialog is seen:
  // a box over a dialog that is just being shown would keep it invisible here.
  const CImportPatch patch(
      "wininet.dll", "InternetReadFile",
      +[](HINTERNET request, LPVOID buffer, DWORD size, LPDWORD count) -> BOOL {
        if (++reads == 3) {
          WaitForSingleObject(isShown, kUserPatienceMs);
          SetLastError(ERROR_INTERNET_CONNECTION_RESET);
          return FALSE;
        }
        return read(request, buffer, size, count);
      });
  read = patch.Original<BOOL WINAPI(HINTERNET, LPVOID, DWORD, LPDWORD)>();
  const CForeignForeground foreground;
  const ScriptedPath path(m_server, Lesson(1000000));
  const std::wstring url = path.Url(L"a.qdk");
  const auto dialog = Make(url);
  const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
    SetEvent(isShown);
    const HWND box = WaitForDialog(L"MERLO Folivo");
    EXPECT_EQ(MessageText(box), NotAvailable(url));
    EXPECT_EQ(GetWindow(box, GW_OWNER), window);
    EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"temporary.qdk"});
    Click(box, IDOK);
  });
  EXPECT_EQ(result, 3);
  EXPECT_EQ(reads, 3);
  ExpectNothingLeft();
}

TEST_F(FailedDownload, UnwritableFolderIsReported) {
  const ScriptedPath path(m_server, Lesson(1000));
  const std::wstring target = m_sandbox / L"missing\\a.qdk";
  const auto dialog = CProgressDialog::Create(path.Url(L"a.qdk").c_str(), target.c_str(), nullptr);
  EXPECT_EQ(MessageOf(*dialog), L"Unable to create the destination file " + target + L".");
  ExpectNothingLeft();
}

TEST_F(FailedDownload, FullDiskIsReported) {
  const ScriptedPath path(m_server, Lesson(1000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  const CImportPatch patch(
      "kernel32.dll", "WriteFile", +[](HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED) -> BOOL {
        SetLastError(ERROR_DISK_FULL);
        return FALSE;
      });
  EXPECT_EQ(MessageOf(*dialog), L"Unable to write to the destination file " + TempPath() + L".");
  ExpectNothingLeft();
}

TEST_F(FailedDownload, FullDiskInTheMiddleLeavesNoPart) {
  static int writes = 0;
  static decltype(&WriteFile) write;
  const ScriptedPath path(m_server, Lesson(1000000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  const CImportPatch patch(
      "kernel32.dll", "WriteFile",
      +[](HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) -> BOOL {
        if (++writes == 4) {
          SetLastError(ERROR_DISK_FULL);
          return FALSE;
        }
        return write(file, data, size, written, overlapped);
      });
  write = patch.Original<BOOL WINAPI(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED)>();
  EXPECT_EQ(MessageOf(*dialog), L"Unable to write to the destination file " + TempPath() + L".");
  EXPECT_EQ(writes, 4);
  ExpectNothingLeft();
}

}  // namespace
