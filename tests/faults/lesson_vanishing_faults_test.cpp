// Files and folders that somebody deletes while a lesson is on its way to them.

#include <functional>

#include "tests/faults/lesson_faults.h"
#include "tests/support/import_patch.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

using Texts = std::vector<std::wstring>;

constexpr size_t kPattern = 500000;
// Of the body, within the third of the worker's buffers.
constexpr size_t kMiddle = 300000;

std::function<void()> g_beforeCopy;
decltype(&CopyFileW) g_copy;

BOOL WINAPI Copy(LPCWSTR source, LPCWSTR target, BOOL failIfExists) {
  g_beforeCopy();
  return g_copy(source, target, failIfExists);
}

class VanishingFaults : public LessonFaults {
 protected:
  VanishingFaults() : m_copy("kernel32.dll", "CopyFileW", &Copy) {
    g_copy = m_copy.Original<decltype(CopyFileW)>();
    g_beforeCopy = [] {};
  }

  /// Downloads to `final`, and does these things in the middle of the body and just before the
  /// file is delivered. The dialog ends with 1 and without a word.
  void Run(const std::wstring& final, const std::function<void()>& inTheMiddle,
           const std::function<void()>& beforeDelivery) {
    const ScriptedPath path(m_server, Lesson(kPattern).Gated());
    path.AllowUpTo(kMiddle);
    CProgressDialog::Ptr dialog = Make(path.Url(L"a.qdk"));
    dialog->SetTarget(CFilePath(final.c_str()), nullptr);
    g_beforeCopy = beforeDelivery;
    {
      const CParallel somebody([&] {
        WaitForDialog(kDialogTitle);
        EXPECT_TRUE(path.WaitForBytesSent(kMiddle));
        EXPECT_TRUE(WaitUntil("the temporary file", [&] {
          return GetFileAttributesW(TempPath().c_str()) != INVALID_FILE_ATTRIBUTES;
        }));
        inTheMiddle();
        path.AllowAll();
      });
      EXPECT_EQ(CallGuardedDialog([&] { return dialog->DoModal(nullptr); }), 1);
    }
    g_beforeCopy = [] {};
    EXPECT_EQ(TakeMessages(), Texts());
  }

 private:
  const CImportPatch m_copy;
};

TEST_F(VanishingFaults, TemporaryFileCannotBeDeletedUnderTheTransfer) {
  Checks().Run([&] {
    Run(
        DestPath(),
        [&] {
          EXPECT_FALSE(DeleteFileW(TempPath().c_str()));
          EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
          EXPECT_FALSE(MoveFileW(TempPath().c_str(), (m_sandbox / L"moved").c_str()));
          EXPECT_TRUE(ReadFileBytes(TempPath()).empty()) << "nor read";
        },
        [] {});
    ExpectDelivered(LessonBytes(kPattern));
  });
}

TEST_F(VanishingFaults, TemporaryFileDeletedBeforeItsDeliveryIsNotMissed) {
  Checks().Run([&] {
    Run(DestPath(), [] {}, [&] { EXPECT_TRUE(DeleteFileW(TempPath().c_str())); });
    EXPECT_EQ(m_sandbox.Files(), Texts());
  });
}

TEST_F(VanishingFaults, OldFileOutlivesADeliveryWithoutATemporaryFile) {
  Checks().Run([&] {
    m_sandbox.Write(L"Lesson.qdk", "old");
    Run(DestPath(), [] {}, [&] { EXPECT_TRUE(DeleteFileW(TempPath().c_str())); });
    EXPECT_EQ(m_sandbox.Files(), Texts{L"Lesson.qdk"});
    EXPECT_EQ(ReadFileBytes(DestPath()), "old");
  });
}

TEST_F(VanishingFaults, FolderDeletedMeanwhileIsNotMadeAgain) {
  const std::wstring folder = m_sandbox / L"folder";
  for (const bool isLate : {false, true}) {
    SCOPED_TRACE(isLate ? "before the delivery" : "during the transfer");
    Checks().Run([&] {
      CreateDirectoryW(folder.c_str(), nullptr);
      const auto remove = [&] { EXPECT_TRUE(RemoveDirectoryW(folder.c_str())); };
      const auto nothing = [] {};
      Run(folder + L"\\Lesson.qdk", isLate ? std::function<void()>(nothing) : remove,
          isLate ? std::function<void()>(remove) : nothing);
      EXPECT_EQ(m_sandbox.Files(), Texts());
      EXPECT_EQ(GetFileAttributesW(folder.c_str()), INVALID_FILE_ATTRIBUTES);
    });
  }
}

TEST_F(VanishingFaults, FinalFileMadeMeanwhileIsReplaced) {
  Checks().Run([&] {
    Run(DestPath(), [&] { m_sandbox.Write(L"Lesson.qdk", std::string(900000, 'o')); }, [] {});
    ExpectDelivered(LessonBytes(kPattern));
  });
}

}  // namespace
