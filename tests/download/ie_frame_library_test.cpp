#include "download/ie_frame_library.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/download/download_test.h"
#include "tests/download/failing_read.h"
#include "tests/support/import_patch.h"
#include "tests/support/lookup_patch.h"
#include "tests/support/message_recorder.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"

namespace {

HANDLE Token(ULONG_PTR value) { return reinterpret_cast<HANDLE>(value); }

TEST(IeFrameLibrary, ProtectedModeIsToldOnSuccessOnly) {
  const CIeFrameDouble ieframe;
  const CIeFrameLibrary library;
  EXPECT_FALSE(library.IsProtectedModeProcess());
  ieframe->isProtectedMode = TRUE;
  EXPECT_TRUE(library.IsProtectedModeProcess());
  ieframe->protectedModeResult = E_FAIL;
  EXPECT_FALSE(library.IsProtectedModeProcess());
  EXPECT_EQ(ieframe->protectedModeCalls, 3);
}

TEST(IeFrameLibrary, SaveDialogGetsItsArgumentsAndGivesItsAnswer) {
  const CIeFrameDouble ieframe;
  wcscpy(ieframe->saveDialogPath, L"C:\\chosen\\a.qdk");
  ieframe->saveDialogState = Token(0x1234);
  const CIeFrameLibrary library;
  constexpr wchar_t kFilter[] = L"Lessons|*.qdk|";
  LPWSTR path = nullptr;
  HANDLE state = nullptr;
  EXPECT_EQ(
      library.ShowSaveFileDialog(GetDesktopWindow(), L"a.qdk", kFilter, 2, 0x806, &path, &state),
      S_OK);
  EXPECT_STREQ(path, L"C:\\chosen\\a.qdk");
  EXPECT_EQ(state, Token(0x1234));
  CoTaskMemFree(path);
  EXPECT_EQ(ieframe->saveDialogCalls, 1);
  EXPECT_EQ(ieframe->saveDialogOwner, GetDesktopWindow());
  EXPECT_STREQ(ieframe->saveDialogFileName, L"a.qdk");
  EXPECT_FALSE(ieframe->saveDialogHasFolder);
  EXPECT_STREQ(ieframe->saveDialogFilter, kFilter);
  EXPECT_FALSE(ieframe->saveDialogHasExtension);
  EXPECT_EQ(ieframe->saveDialogFilterIndex, 2u);
  EXPECT_EQ(ieframe->saveDialogFlags, 0x806u);
}

TEST(IeFrameLibrary, SaveDialogsFailureIsHandedOn) {
  const CIeFrameDouble ieframe;
  ieframe->saveDialogResult = S_FALSE;
  LPWSTR path = nullptr;
  HANDLE state = nullptr;
  EXPECT_EQ(CIeFrameLibrary().ShowSaveFileDialog(nullptr, L"", L"", 1, 0, &path, &state), S_FALSE);
  EXPECT_EQ(path, nullptr);
}

TEST(IeFrameLibrary, CancelAndSavePassTheState) {
  const CIeFrameDouble ieframe;
  ieframe->cancelResult = ieframe->saveResult = E_ACCESSDENIED;  // nobody is told
  const CIeFrameLibrary library;
  library.CancelSaveFile(Token(5));
  EXPECT_EQ(ieframe->cancelCalls, 1);
  EXPECT_EQ(ieframe->cancelledState, Token(5));
  EXPECT_TRUE(library.SaveFile(Token(6), L"C:\\a.qdk"));
  EXPECT_EQ(ieframe->saveCalls, 1);
  EXPECT_EQ(ieframe->savedState, Token(6));
  EXPECT_STREQ(ieframe->savedSource, L"C:\\a.qdk");
}

TEST(IeFrameLibrary, IsFreedWithTheObject) {
  ASSERT_EQ(GetModuleHandleW(L"ieframe.dll"), nullptr);
  {
    const CIeFrameLibrary library;
    EXPECT_NE(GetModuleHandleW(L"ieframe.dll"), nullptr);
  }
  EXPECT_EQ(GetModuleHandleW(L"ieframe.dll"), nullptr);
}

class ProtectedSave : public DownloadTest {};

TEST_F(ProtectedSave, GetsTheWholeFileAndLeavesItInPlace) {
  const ScriptedPath path(m_server, Lesson(300000));
  const CMessageRecorder messages;
  for (const HRESULT result : {S_OK, E_FAIL}) {
    const CIeFrameDouble ieframe;
    ieframe->saveResult = result;
    {
      const auto dialog = Make(path.Url(L"a.qdk"));
      dialog->SetTarget(CFilePath(DestPath().c_str()), Token(0x4711));
      EXPECT_EQ(dialog->DoModal(nullptr), 1);
      EXPECT_EQ(CProgressDialogPeer{*dialog}.SaveState(), nullptr);
    }
    EXPECT_EQ(ieframe->saveCalls, 1);
    EXPECT_EQ(ieframe->savedState, Token(0x4711));
    EXPECT_EQ(ieframe->savedSource, TempPath());
    EXPECT_EQ(ieframe->savedSize, 300002) << "closed and complete when it is handed over";
    EXPECT_EQ(ieframe->cancelCalls, 0);
    EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"temporary.qdk"});
    EXPECT_EQ(ReadFileBytes(TempPath()), LessonBytes(300000));
  }
}

/// Every way in which a dialog that was given a state comes to no save: the state is cancelled
/// once, and nothing is left.
TEST_F(ProtectedSave, IsCancelledOnceWhenItIsNotCarriedOut) {
  CMessageRecorder messages;
  const ScriptedPath lesson(m_server, Lesson(1000));
  const ScriptedPath page(m_server, HttpAnswer().Bytes("no lesson"));
  const ScriptedPath stalled(m_server, Lesson(1000).Gated());
  struct CWay {
    const char* name;
    const ScriptedPath* path;
    INT_PTR result;
    std::function<INT_PTR(CProgressDialog&)> run;
  };
  const auto command = [](WORD id) {
    return [=](CProgressDialog& dialog) {
      return RunDialog(dialog, [=](HWND window) { PostMessageW(window, WM_COMMAND, id, 0); });
    };
  };
  const CWay ways[] = {
      {"failed", &page, 3, [](CProgressDialog& dialog) { return dialog.DoModal(nullptr); }},
      {"cancelled", &stalled, 2, command(IDCANCEL)},
      {"ended by OK", &stalled, 1, command(IDOK)},
      {"never run", &lesson, 0, [](CProgressDialog&) -> INT_PTR { return 0; }},
      {"never run after its check", &lesson, 0,
       [](CProgressDialog& dialog) -> INT_PTR {
         EXPECT_TRUE(dialog.PeekContent(L".qdk"));
         return 0;
       }},
      {"without the file", &lesson, 1,
       [](CProgressDialog& dialog) {
         const CImportPatch end("user32.dll", "EndDialog", +[](HWND, INT_PTR) { return TRUE; });
         LRESULT result = 0;
         dialog.ProcessWindowMessage(nullptr, WM_USER, kDownloadDelivered, 0, result);
         return INT_PTR{1};
       }},
      {"stopped twice", &lesson, 0,
       [](CProgressDialog& dialog) -> INT_PTR {
         CProgressDialogPeer{dialog}.StopDownload();
         CProgressDialogPeer{dialog}.StopDownload();
         return 0;
       }},
  };
  for (const CWay& way : ways) {
    SCOPED_TRACE(way.name);
    const CIeFrameDouble ieframe;
    {
      const auto dialog = Make(way.path->Url(L"a.qdk"));
      dialog->SetTarget(CFilePath(DestPath().c_str()), Token(0x4711));
      EXPECT_EQ(way.run(*dialog), way.result);
    }
    EXPECT_EQ(ieframe->saveCalls, 0);
    EXPECT_EQ(ieframe->cancelCalls, 1);
    EXPECT_EQ(ieframe->cancelledState, Token(0x4711));
  }
  stalled.AllowAll();
  WaitUntil("the workers' ends", [this] { return LocksTaken() == 0; });
  EXPECT_TRUE(m_sandbox.Files().empty());
  EXPECT_EQ(messages.Take().size(), 1u) << "of the failed one";
}

TEST_F(ProtectedSave, WithoutTheSaveFunctionIsCancelledAndReported) {
  const CMessageRecorder messages;
  const CIeFrameDouble ieframe;
  const CLookupPatch patch("IESaveFile", static_cast<HRESULT(WINAPI*)(HANDLE, LPCWSTR)>(nullptr));
  const ScriptedPath path(m_server, Lesson(1000));
  {
    const auto dialog = Make(path.Url(L"a.qdk"));
    dialog->SetTarget(CFilePath(DestPath().c_str()), Token(7));
    EXPECT_EQ(dialog->DoModal(nullptr), 1);
  }
  EXPECT_EQ(ieframe->cancelCalls, 1);
  EXPECT_EQ(ieframe->cancelledState, Token(7));
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"temporary.qdk"});
}

TEST_F(ProtectedSave, EarlyResultLeavesAReadThatFailsMeanwhileSilent) {
  CMessageRecorder messages;
  const CIeFrameDouble ieframe;
  const CLookupPatch save(
      "IESaveFile", +[](HANDLE, LPCWSTR) -> HRESULT {
        CFailingRead::FailAndWaitForTheWorker();
        return S_OK;
      });
  const CFailingRead read;
  const ScriptedPath path(m_server, Lesson(1000000));
  {
    const auto dialog = Make(path.Url(L"a.qdk"));
    dialog->SetTarget(CFilePath(DestPath().c_str()), Token(7));
    const INT_PTR result = RunDialog(*dialog, [](HWND window) {
      CFailingRead::WaitUntilReached();
      PostMessageW(window, WM_USER, kDownloadDelivered, 0);
    });
    EXPECT_EQ(result, 1);
  }
  EXPECT_EQ(ieframe->cancelCalls, 0);
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"temporary.qdk"});
  EXPECT_TRUE(messages.Take().empty());
}

TEST_F(ProtectedSave, FileThatCannotBeTakenFromTheWorkerIsNotHandedOver) {
  static CProgressDialog* dialog;
  static CHandle ended;
  static decltype(&WriteFile) write;
  ended.Attach(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const CImportPatch patch(
      "kernel32.dll", "WriteFile",
      +[](HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) -> BOOL {
        PostMessageW(dialog->m_hWnd, WM_USER, kDownloadDelivered, 0);
        EXPECT_EQ(WaitForSingleObject(ended, 20000), WAIT_OBJECT_0);
        return write(file, data, size, written, overlapped);
      });
  write = patch.Original<decltype(WriteFile)>();
  const CIeFrameDouble ieframe;
  const ScriptedPath path(m_server, Lesson(1000));
  {
    const auto made = Make(path.Url(L"a.qdk"));
    dialog = made.get();
    made->SetTarget(CFilePath(DestPath().c_str()), Token(7));
    EXPECT_EQ(made->DoModal(nullptr), 3);
  }
  SetEvent(ended);
  WaitUntil("the worker's end", [this] { return LocksTaken() == 0; });
  EXPECT_EQ(ieframe->saveCalls, 0);
  EXPECT_EQ(ieframe->cancelCalls, 1);
  EXPECT_TRUE(m_sandbox.Files().empty());
}

}  // namespace
