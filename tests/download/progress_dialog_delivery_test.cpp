// Where the downloaded file goes, and what happens when it cannot go there.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "tests/download/download_test.h"
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
    dialog->m_destPath = CFilePath(target.c_str());
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

}  // namespace
