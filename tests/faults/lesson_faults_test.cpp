// The lesson's dialog. Cancelling a download at every place of it, once and again and again. Final
// files that cannot be made, and files and folders that somebody deletes or makes meanwhile: a
// final copy that fails is not reported, and the temporary file goes.

#include <functional>

#include "download/content_check.h"
#include "tests/browser/browser_frame.h"
#include "tests/faults/cancel_faults.h"
#include "tests/faults/lesson_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/dialog_texts.h"
#include "tests/support/import_spy.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

constexpr size_t kSize = 300000;
constexpr ULONGLONG kAtOnceMs = 10000;

/// Serves what other threads send to this one's windows until the event is signalled.
void ServeSentMessagesUntil(HANDLE event) {
  while (MsgWaitForMultipleObjects(1, &event, FALSE, PatienceMs(), QS_SENDMESSAGE) ==
         WAIT_OBJECT_0 + 1) {
    MSG message = {};
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
  }
}

/// The worker's result lies in the dialog's queue when the user cancels.
struct CLateCell {
  const char* name;
  HttpAnswer answer;
  int clicksBefore;  // that the dialog meets before the result
  int clicksBehind;
  INT_PTR result;
};

class LessonFaultsCancel : public LessonFaults {
 protected:
  void ExpectEnd(INT_PTR result, INT_PTR expected) {
    EXPECT_EQ(result, expected);
    if (expected == kDownloadDelivered) {
      EXPECT_TRUE(TakeDelivered() == BodyBytes(kSize));
    }
    EXPECT_EQ(m_sandbox.Files(), Files());
  }

  void Run(const CMoment& moment, const CWay& way, bool peeks) {
    // Once the end is shown the button reads "Close".
    const bool isComplete = moment.place == Place::kEndShown;
    const ScriptedPath path(m_server, moment.Answer(Body(kSize)));
    CProgressDialog::Ptr dialog = Make(path.Url(L"a.qdk"));
    ASSERT_TRUE(!peeks || dialog->PeekContent(L".qdk"));
    // The pre-check has written the head.
    const CHeldTransfer transfer(moment, path, peeks ? kSize - kContentHeadSize : kSize);
    ULONGLONG cancelled = 0;
    CParallel user([&] {
      const HWND window = WaitForDialog(kDownloadTitle);
      transfer.WaitUntilHeld();
      cancelled = GetTickCount64();
      way.Cancel(window);
      if (isComplete) {
        transfer.LetGo();  // A complete download waits for its worker, a step from its end.
      }
      WaitUntilGone(window);
    });
    const INT_PTR result = CallGuardedDialog([&] { return dialog->DoModal(nullptr); });
    EXPECT_LT(GetTickCount64() - cancelled, kAtOnceMs) << "whatever disk and network do";
    user.Join();
    dialog.reset();
    transfer.LetGo();
    EXPECT_EQ(path.Requests().size(), moment.place == Place::kBeforeOpen ? 0u : 1u);
    // Its worker comes back only now, and closes and deletes what is left.
    EXPECT_TRUE(WaitUntil("the worker's end", [&] { return LocksTaken() == 0; }));
    EXPECT_TRUE(TakeMessages().empty());
    ExpectEnd(result, isComplete ? kDownloadDelivered : kDownloadCancelled);
  }

  void RunLate(const CLateCell& cell) {
    const CBrowserFrame frame;
    const ScriptedPath path(m_server, HttpAnswer(cell.answer).Hold(http_point::BodyByte(0)));
    CProgressDialog::Ptr dialog = Make(path.Url(L"a.qdk"));
    const CHandle posted(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const CPlaceHook hook(Place::kResultPosted, kSize, [&] { SetEvent(posted); });
    CParallel user([&] {
      const HWND window = WaitForDialog(kDownloadTitle);
      // The browser's thread is busy while the download comes to its end.
      frame.Run([&] {
        path.AllowAll();
        ServeSentMessagesUntil(posted);
        for (int i = 0; i < cell.clicksBefore; ++i) {
          SendMessageW(window, WM_COMMAND, IDCANCEL, 0);
        }
        for (int i = 0; i < cell.clicksBehind; ++i) {
          Click(window, IDCANCEL);
        }
      });
    });
    const INT_PTR result = CallGuardedDialog([&] { return dialog->DoModal(nullptr); });
    user.Join();
    EXPECT_TRUE(hook.WasReached());
    dialog.reset();
    EXPECT_EQ(TakeMessages().size(), cell.result == kDownloadDelivered ? 0u : 1u);
    ExpectEnd(result, cell.result);
  }
};

TEST_F(LessonFaultsCancel, CancelEndsTheDownloadWhereverItIs) {
  std::vector<CMoment> moments = Moments(kSize);
  const size_t first = 4;  // that may be met after the pre-check, too
  moments.push_back({"while the end is shown", "", Place::kEndShown});
  const size_t count = moments.size() + moments.size() - first;
  for (const size_t cell : RunIndices(count * std::size(kWays))) {
    const size_t index = cell / std::size(kWays);
    const bool peeks = index >= moments.size();
    const CMoment& moment = moments[peeks ? index - moments.size() + first : index];
    const CWay& way = kWays[cell % std::size(kWays)];
    SCOPED_TRACE(std::string(moment.name) + ", " + way.name +
                 (peeks ? ", pre-check" : ", dialog alone"));
    m_checks.Run([&] { Run(moment, way, peeks); });
  }
}

TEST_F(LessonFaultsCancel, CancelAfterTheResultWasPosted) {
  const HttpAnswer page = HttpAnswer().Bytes(kPage).Pattern(1, kSize);
  const CLateCell cells[] = {
      {"complete, Cancel twice", Body(kSize), 2, 0, kDownloadDelivered},
      {"complete, Cancel after it", Body(kSize), 0, 1, kDownloadDelivered},
      {"complete, Cancel on both sides", Body(kSize), 1, 2, kDownloadDelivered},
      {"failed, Cancel twice", page, 2, 0, kDownloadCancelled},
      {"failed, Cancel after it", page, 0, 1, kDownloadFailed},
      {"failed, Cancel on both sides", page, 1, 2, kDownloadCancelled},
  };
  for (const CLateCell& cell : QuickCut(cells)) {
    SCOPED_TRACE(cell.name);
    m_checks.Run([&] { RunLate(cell); });
  }
}

using Action = std::function<void()>;

constexpr size_t kPattern = 500000;
constexpr wchar_t kFinal[] = L"Lesson.qdk";
// Of the body, within the third of the worker's buffers.
constexpr size_t kMiddle = 300000;

class LessonFaultsDelivery : public LessonFaults {
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

TEST_F(LessonFaultsDelivery, FinalNameThatNoFileMayHaveIsNotReported) {
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
    m_checks.Run([&] { Run(name, {}); });
  }
}

TEST_F(LessonFaultsDelivery, FinalFileThatCannotBeReplacedStays) {
  m_checks.Run([&] {
    CHandle user(CreateFileW(m_sandbox.Write(kFinal, "old").c_str(), GENERIC_READ, 0, nullptr,
                             OPEN_EXISTING, 0, nullptr));
    Run(kFinal, {kFinal});
    user.Close();
    EXPECT_TRUE(TakeDelivered() == "old");
  });
  m_checks.Run([&] {
    CreateDirectoryW(DestPath().c_str(), nullptr);
    Run(kFinal, {});
    EXPECT_TRUE(RemoveDirectoryW(DestPath().c_str()));
  });
}

TEST_F(LessonFaultsDelivery, FinalFileMadeMeanwhileIsReplaced) {
  m_checks.Run([&] {
    Run(kFinal, {kFinal}, [&] { m_sandbox.Write(kFinal, std::string(900000, 'o')); });
    EXPECT_TRUE(TakeDelivered() == LessonBytes(kPattern));
  });
}

TEST_F(LessonFaultsDelivery, TemporaryFileDeletedBeforeItsDeliveryIsNotReported) {
  m_checks.Run([&] {
    m_sandbox.Write(kFinal, "old");
    Run(kFinal, {kFinal}, nullptr, [&] { EXPECT_TRUE(DeleteFileW(TempPath().c_str())); });
    EXPECT_TRUE(TakeDelivered() == "old");
  });
}

TEST_F(LessonFaultsDelivery, FolderDeletedMeanwhileIsNotMadeAgain) {
  const std::wstring folder = m_sandbox / L"folder";
  const Action remove = [&] { EXPECT_TRUE(RemoveDirectoryW(folder.c_str())); };
  for (const bool isLate : {false, true}) {
    m_checks.Run([&] {
      CreateDirectoryW(folder.c_str(), nullptr);
      Run(L"folder\\Lesson.qdk", {}, isLate ? nullptr : remove, isLate ? remove : nullptr);
      EXPECT_EQ(GetFileAttributesW(folder.c_str()), INVALID_FILE_ATTRIBUTES);
    });
  }
}

}  // namespace
