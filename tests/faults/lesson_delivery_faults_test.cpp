// Final files of lessons that cannot be made, and files and folders that somebody deletes or makes
// while a lesson is on its way. A final copy that fails is not reported, and the temporary file
// goes.

#include <functional>

#include "tests/faults/lesson_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/dialogs.h"
#include "tests/support/import_spy.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

using Action = std::function<void()>;

constexpr size_t kPattern = 500000;
constexpr wchar_t kFinal[] = L"Lesson.qdk";
// Of the body, within the third of the worker's buffers.
constexpr size_t kMiddle = 300000;

class LessonDeliveryFaults : public LessonFaults {
 protected:
  /// Downloads to `final` below the sandbox, and does these things in the middle of the body and
  /// just before the file is delivered. The dialog ends as after a delivery, without a message, and
  /// leaves these files.
  void Run(const std::wstring& final, const Files& left, const Action& inTheMiddle = nullptr,
           const Action& beforeDelivery = nullptr) {
    const CImportSpy<&CopyFileW> copy("kernel32.dll", "CopyFileW", [&](auto... arguments) {
      if (beforeDelivery) {
        beforeDelivery();
      }
      return copy.CallOriginal(arguments...);
    });
    const ScriptedPath path(m_server, Lesson(kPattern).Gated());
    path.AllowUpTo(kMiddle);
    CProgressDialog::Ptr dialog = Make(path.Url(L"a.qdk"));
    dialog->SetTarget(CFilePath((m_sandbox / final).c_str()), nullptr);
    {
      const CParallel somebody([&] {
        if (inTheMiddle) {
          WaitForDialog(kDownloadTitle);
          EXPECT_TRUE(path.WaitForBytesSent(kMiddle));
          EXPECT_TRUE(WaitUntil("the temporary file", [&] {
            return GetFileAttributesW(TempPath().c_str()) != INVALID_FILE_ATTRIBUTES;
          }));
          inTheMiddle();
        }
        path.AllowAll();
      });
      EXPECT_EQ(CallGuardedDialog([&] { return dialog->DoModal(nullptr); }), kDownloadDelivered);
    }
    dialog.reset();
    EXPECT_EQ(TakeMessages(), Files());
    EXPECT_EQ(m_sandbox.Files(), left);
  }
};

TEST_F(LessonDeliveryFaults, FinalNameThatNoFileMayHaveIsNotReported) {
  // No port that the machine may have: what is written there would go out.
  const std::wstring itself = L"temporary.qdk";  // the file that it comes from
  const std::wstring names[] = {L"missing\\L.qdk",
                                std::wstring(300, L'L') + L".qdk",
                                L"L?.qdk",
                                itself,
                                L"NUL",
                                L"nul.qdk",
                                L"CON",
                                L"con.a.qdk",
                                L"COM9.qdk",
                                L"LPT9"};
  for (const std::wstring& name : QuickCut(names)) {
    SCOPED_TRACE(testing::PrintToString(name));
    Checks().Run([&] { Run(name, {}); });
  }
}

TEST_F(LessonDeliveryFaults, FinalFileThatCannotBeReplacedStays) {
  Checks().Run([&] {
    CHandle user(CreateFileW(m_sandbox.Write(kFinal, "old").c_str(), GENERIC_READ, 0, nullptr,
                             OPEN_EXISTING, 0, nullptr));
    Run(kFinal, {kFinal});
    user.Close();
    EXPECT_TRUE(TakeDelivered() == "old");
  });
  Checks().Run([&] {
    CreateDirectoryW(DestPath().c_str(), nullptr);
    Run(kFinal, {});
    EXPECT_TRUE(RemoveDirectoryW(DestPath().c_str()));
  });
}

TEST_F(LessonDeliveryFaults, FinalFileMadeMeanwhileIsReplaced) {
  Checks().Run([&] {
    Run(kFinal, {kFinal}, [&] { m_sandbox.Write(kFinal, std::string(900000, 'o')); });
    EXPECT_TRUE(TakeDelivered() == LessonBytes(kPattern));
  });
}

TEST_F(LessonDeliveryFaults, TemporaryFileDeletedBeforeItsDeliveryIsNotReported) {
  Checks().Run([&] {
    m_sandbox.Write(kFinal, "old");
    Run(kFinal, {kFinal}, nullptr, [&] { EXPECT_TRUE(DeleteFileW(TempPath().c_str())); });
    EXPECT_TRUE(TakeDelivered() == "old");
  });
}

TEST_F(LessonDeliveryFaults, FolderDeletedMeanwhileIsNotMadeAgain) {
  const std::wstring folder = m_sandbox / L"folder";
  const Action remove = [&] { EXPECT_TRUE(RemoveDirectoryW(folder.c_str())); };
  for (const bool isLate : {false, true}) {
    Checks().Run([&] {
      CreateDirectoryW(folder.c_str(), nullptr);
      Run(L"folder\\Lesson.qdk", {}, isLate ? nullptr : remove, isLate ? remove : nullptr);
      EXPECT_EQ(GetFileAttributesW(folder.c_str()), INVALID_FILE_ATTRIBUTES);
    });
  }
}

}  // namespace
