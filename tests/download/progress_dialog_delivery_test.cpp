// Where the downloaded file goes, and what happens when it cannot go there.

#include <gtest/gtest.h>
#include <windows.h>

#include <shlwapi.h>

#include <atomic>
#include <string>
#include <utility>
#include <vector>

#include "tests/download/download_test.h"
#include "tests/download/failing_read.h"
#include "tests/support/import_patch.h"
#include "tests/support/message_recorder.h"
#include "tests/support/scripted_path.h"

namespace {

class Delivery : public DownloadTest {
 protected:
  /// Downloads a small lesson to `target`, which must end with the result 1 and no message.
  void DownloadTo(const std::wstring& target) {
    CMessageRecorder messages;
    const ScriptedPath path(m_server, Lesson(1000));
    const auto dialog = Make(path.Url(L"a.qdk"));
    dialog->SetTarget(CFilePath(target.c_str()), nullptr);
    EXPECT_EQ(dialog->DoModal(nullptr), 1);
    EXPECT_TRUE(messages.Take().empty());
    EXPECT_EQ(GetFileAttributesW(TempPath().c_str()), INVALID_FILE_ATTRIBUTES);
  }
};

TEST_F(Delivery, OverwritesWhatIsThere) {
  m_sandbox.Write(L"Lesson.qdk", std::string(5000, 'o'));
  DownloadTo(DestPath());
  EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(1000));
}

TEST_F(Delivery, MissingFolderIsNotReported) {
  DownloadTo(m_sandbox / L"missing\\folder\\Lesson.qdk");
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(Delivery, NoDestinationIsNotReported) {
  DownloadTo(L"");
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(Delivery, FileInUseIsNotReported) {
  m_sandbox.Write(L"Lesson.qdk", "old");
  CHandle held(CreateFileW(DestPath().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL, nullptr));
  DownloadTo(DestPath());
  held.Close();
  EXPECT_EQ(ReadFileBytes(DestPath()), "old");
}

TEST_F(Delivery, FolderInTheWayIsNotReported) {
  DownloadTo(m_sandbox.Path());
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(Delivery, OtherScriptsInNamesAreKept) {
  const std::wstring target = m_sandbox / L"L\x00e9\x00e7on \x4f60\x597d.qdk";
  DownloadTo(target);
  EXPECT_EQ(ReadFileBytes(target), LessonBytes(1000));
}

/// A result that comes early, while the worker fails: inside its read, or where it has come to the
/// deletion behind that. The worker ends before the file is copied.
class CResultDuringAFailure {
 public:
  enum Place { kRead, kDeletion };

  CResultDuringAFailure(Place place, std::wstring file)
      : m_exists("shlwapi.dll", "PathFileExistsW", &Exists),
        m_pause("kernel32.dll", "SwitchToThread", &Pause),
        m_copy("kernel32.dll", "CopyFileW", &Copy) {
    s_exists = m_exists.Original<decltype(PathFileExistsW)>();
    s_copy = m_copy.Original<decltype(CopyFileW)>();
    s_place = place;
    s_file = std::move(file);
    s_looks = 0;
    s_answered.Close();
    s_answered.Attach(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  }

  static void Post(HWND window) {
    CFailingRead::WaitUntilReached();
    s_window = window;
    if (s_place == kRead) {
      PostMessageW(window, WM_USER, kDownloadDelivered, 0);
    } else {
      CFailingRead::FailAndWaitForTheWorker();
    }
  }

 private:
  static BOOL WINAPI Exists(LPCWSTR path) {
    // Before the result only the worker looks for the file.
    if (s_place == kDeletion && path == s_file && s_looks++ == 0) {
      PostMessageW(s_window, WM_USER, kDownloadDelivered, 0);
      EXPECT_EQ(WaitForSingleObject(s_answered, 20000), WAIT_OBJECT_0);
    }
    return s_exists(path);
  }
  static BOOL WINAPI Pause() {
    SetEvent(s_answered);
    return FALSE;
  }
  static BOOL WINAPI Copy(LPCWSTR source, LPCWSTR target, BOOL failIfExists) {
    SetEvent(s_answered);
    CFailingRead::FailAndWaitForTheWorker();
    return s_copy(source, target, failIfExists);
  }

  static inline decltype(&PathFileExistsW) s_exists;
  static inline decltype(&CopyFileW) s_copy;
  static inline Place s_place;
  static inline std::wstring s_file;
  static inline HWND s_window;
  static inline std::atomic<int> s_looks;
  static inline CHandle s_answered;
  const CFailingRead m_read;
  CImportPatch m_exists;
  CImportPatch m_pause;
  CImportPatch m_copy;
};

TEST_F(Delivery, EarlyResultDeliversWhateverTheWorkerIsAbout) {
  CMessageRecorder messages;
  for (const auto place : {CResultDuringAFailure::kRead, CResultDuringAFailure::kDeletion}) {
    const CResultDuringAFailure early(place, TempPath());
    const ScriptedPath path(m_server, Lesson(1000000));
    const auto dialog = Make(path.Url(L"a.qdk"));
    EXPECT_EQ(RunDialog(*dialog, &CResultDuringAFailure::Post), 1);
    EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"Lesson.qdk"}) << place;
    DeleteFileW(DestPath().c_str());
  }
  EXPECT_TRUE(messages.Take().empty());
}

}  // namespace
