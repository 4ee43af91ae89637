// Where the downloaded file goes, and what happens when it cannot go there.

#include <gtest/gtest.h>
#include <windows.h>

#include <shlwapi.h>

#include <string>

#include "tests/download/download_test.h"
#include "tests/download/failing_read.h"
#include "tests/support/import_spy.h"
#include "tests/support/message_recorder.h"
#include "tests/support/scripted_path.h"

namespace {

class Delivery : public DownloadTest {
 protected:
  /// Downloads a small lesson to `target`, which ends with the result 1,
  /// without a message and without the temporary file.
  void DownloadTo(const std::wstring& target) {
    SCOPED_TRACE(testing::PrintToString(target));
    const ScriptedPath path(m_server, Lesson(1000));
    const auto dialog = Make(path.Url(L"a.qdk"));
    dialog->SetTarget(CFilePath(target.c_str()), nullptr);
    EXPECT_EQ(dialog->DoModal(nullptr), 1);
    EXPECT_TRUE(m_messages.Take().empty());
    EXPECT_EQ(GetFileAttributesW(TempPath().c_str()), INVALID_FILE_ATTRIBUTES);
  }

  CMessageRecorder m_messages;
};

TEST_F(Delivery, ReplacesTheFileInItsPlace) {
  const std::wstring target =
      m_sandbox.Write(L"L\x00e9\x00e7on \x4f60.qdk", std::string(5000, 'o'));
  DownloadTo(target);
  EXPECT_EQ(ReadFileBytes(target), LessonBytes(1000));
}

TEST_F(Delivery, MissingFolderIsNotReported) {
  for (const std::wstring& target :
       {m_sandbox / L"missing\\folder\\Lesson.qdk", m_sandbox.Path(), std::wstring()}) {
    DownloadTo(target);
    EXPECT_TRUE(m_sandbox.Files().empty());
  }
}

/// A result that comes early, while the worker fails: inside its read, or where
/// it has come to the deletion behind that. The worker ends before the file is
/// copied.
TEST_F(Delivery, EarlyResultDeliversWhereverTheWorkerIs) {
  for (const bool inTheRead : {true, false}) {
    const CFailingRead read;
    const CTestEvent answered;
    HWND dialogWindow = nullptr;
    const CImportSpy<&PathFileExistsW> exists("shlwapi.dll", "PathFileExistsW", [&](LPCWSTR file) {
      // Before the result only the worker looks for the file.
      if (!inTheRead && exists.Calls().size() == 1) {
        PostMessageW(dialogWindow, WM_USER, kDownloadDelivered, 0);
        answered.Wait();
      }
      return exists.CallOriginal(file);
    });
    const CImportSpy<&SwitchToThread> pause("kernel32.dll", "SwitchToThread", [&] {
      answered.Set();
      return FALSE;
    });
    const CImportSpy<&CopyFileW> copy("kernel32.dll", "CopyFileW", [&](auto... arguments) {
      answered.Set();
      read.FailAndWaitForTheWorker();
      return copy.CallOriginal(arguments...);
    });
    const ScriptedPath path(m_server, Lesson(1000000));
    const auto dialog = Make(path.Url(L"a.qdk"));
    const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
      read.WaitUntilReached();
      dialogWindow = window;
      if (inTheRead) {
        PostMessageW(window, WM_USER, kDownloadDelivered, 0);
      } else {
        read.FailAndWaitForTheWorker();
      }
    });
    EXPECT_EQ(result, 1);
    EXPECT_EQ(m_sandbox.Files(), Files{L"Lesson.qdk"}) << inTheRead;
    DeleteFileW(DestPath().c_str());
  }
  EXPECT_TRUE(m_messages.Take().empty());
}

}  // namespace
