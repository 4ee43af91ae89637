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
#include "tests/support/import_spy.h"
#include "tests/support/lookup_patch.h"
#include "tests/support/message_recorder.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"

namespace {

HANDLE Token(ULONG_PTR value) { return reinterpret_cast<HANDLE>(value); }

TEST(IeFrameLibrary, ProtectedModeNeedsASuccessfulAnswer) {
  const CIeFrameDouble ieframe;
  const CIeFrameLibrary library;
  EXPECT_FALSE(library.IsProtectedModeProcess());
  ieframe->isProtectedMode = TRUE;
  EXPECT_TRUE(library.IsProtectedModeProcess());
  ieframe->protectedModeResult = E_FAIL;
  EXPECT_FALSE(library.IsProtectedModeProcess());
  EXPECT_EQ(ieframe->protectedModeCalls, 3);
}

TEST(IeFrameLibrary, SaveDialogGetsItsArgumentsAndReturnsItsResult) {
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
  wcscpy(ieframe->saveDialogPath, L"");
  ieframe->saveDialogResult = S_FALSE;
  EXPECT_EQ(library.ShowSaveFileDialog(nullptr, L"", L"", 1, 0, &path, &state), S_FALSE);
  EXPECT_EQ(path, nullptr);
}

TEST(IeFrameLibrary, IsFreedWithTheObject) {
  ASSERT_EQ(GetModuleHandleW(L"ieframe.dll"), nullptr);
  {
    const CIeFrameLibrary library;
    EXPECT_NE(GetModuleHandleW(L"ieframe.dll"), nullptr);
  }
  EXPECT_EQ(GetModuleHandleW(L"ieframe.dll"), nullptr);
}

const HANDLE kState = Token(0x4711);

class ProtectedSave : public DownloadTest {
 protected:
  CProgressDialog::Ptr MakeProtected(const std::wstring& url) const {
    auto dialog = Make(url);
    dialog->SetTarget(CFilePath(DestPath().c_str()), kState);
    return dialog;
  }

  const CIeFrameDouble m_ieframe;
  CMessageRecorder m_messages;
};

TEST_F(ProtectedSave, GetsTheWholeFileAndLeavesItInPlace) {
  const ScriptedPath path(m_server, Lesson(300000));
  int saves = 0;
  for (const HRESULT result : {S_OK, E_FAIL}) {
    m_ieframe->saveResult = result;
    {
      const auto dialog = MakeProtected(path.Url(L"a.qdk"));
      EXPECT_EQ(dialog->DoModal(nullptr), 1);
      EXPECT_EQ(CProgressDialogPeer{*dialog}.SaveState(), nullptr);
    }
    EXPECT_EQ(m_ieframe->saveCalls, ++saves);
    EXPECT_EQ(m_ieframe->savedState, kState);
    EXPECT_EQ(m_ieframe->savedSource, TempPath());
    EXPECT_EQ(m_ieframe->savedSize, 300002) << "closed and complete when it is handed over";
    EXPECT_EQ(m_ieframe->cancelCalls, 0);
    EXPECT_EQ(m_sandbox.Files(), Files{L"temporary.qdk"});
    EXPECT_EQ(ReadFileBytes(TempPath()), LessonBytes(300000));
  }
}

TEST_F(ProtectedSave, IsCancelledOnceWhenItIsNotCompleted) {
  const ScriptedPath lesson(m_server, Lesson(1000));
  const ScriptedPath page(m_server, HttpAnswer().Bytes("no lesson"));
  const ScriptedPath stalled(m_server, Lesson(1000).Gated());
  const auto command = [](WORD id) {
    return [=](CProgressDialog& dialog) {
      return RunDialog(dialog, [=](HWND window) { PostMessageW(window, WM_COMMAND, id, 0); });
    };
  };
  struct {
    const char* name;
    const ScriptedPath* path;
    INT_PTR result;
    std::function<INT_PTR(CProgressDialog&)> run;
  } const ways[] = {
      {"failed", &page, 3, [](CProgressDialog& dialog) { return dialog.DoModal(nullptr); }},
      {"cancelled", &stalled, 2, command(IDCANCEL)},
      {"ended by OK", &stalled, 1, command(IDOK)},
      {"never run", &lesson, 0, [](CProgressDialog&) { return 0; }},
      {"never run after its pre-check", &lesson, TRUE,
       [](CProgressDialog& dialog) { return dialog.PeekContent(L".qdk"); }},
      {"without the file", &lesson, TRUE,
       [](CProgressDialog& dialog) {
         const CImportPatch end("user32.dll", "EndDialog", +[](HWND, INT_PTR) { return TRUE; });
         LRESULT result = 0;
         return dialog.ProcessWindowMessage(nullptr, WM_USER, kDownloadDelivered, 0, result);
       }},
      {"stopped twice", &lesson, 0,
       [](CProgressDialog& dialog) {
         CProgressDialogPeer{dialog}.StopDownload();
         CProgressDialogPeer{dialog}.StopDownload();
         return 0;
       }},
  };
  int cancels = 0;
  for (const auto& way : ways) {
    SCOPED_TRACE(way.name);
    {
      const auto dialog = MakeProtected(way.path->Url(L"a.qdk"));
      EXPECT_EQ(way.run(*dialog), way.result);
    }
    EXPECT_EQ(m_ieframe->saveCalls, 0);
    EXPECT_EQ(m_ieframe->cancelCalls, ++cancels);
    EXPECT_EQ(m_ieframe->cancelledState, kState);
  }
  stalled.AllowAll();
  AwaitWorkers();
  EXPECT_TRUE(m_sandbox.Files().empty());
  EXPECT_EQ(m_messages.Take().size(), 1u) << "of the failed one";
}

TEST_F(ProtectedSave, WithoutTheSaveFunctionIsCancelledAndReported) {
  const CLookupPatch patch("IESaveFile", static_cast<HRESULT(WINAPI*)(HANDLE, LPCWSTR)>(nullptr));
  const ScriptedPath path(m_server, Lesson(1000));
  {
    const auto dialog = MakeProtected(path.Url(L"a.qdk"));
    EXPECT_EQ(dialog->DoModal(nullptr), 1);
  }
  EXPECT_EQ(m_messages.TakeTexts(), std::vector{CannotCreate(TempPath())});
  EXPECT_EQ(m_ieframe->cancelCalls, 1);
  EXPECT_EQ(m_ieframe->cancelledState, kState);
  EXPECT_EQ(m_sandbox.Files(), Files{L"temporary.qdk"});
}

TEST_F(ProtectedSave, EarlyResultLeavesAReadThatFailsMeanwhileUnreported) {
  static const CFailingRead* failing;
  static HWND dialogWindow;
  const CFailingRead read;
  failing = &read;
  const CLookupPatch save(
      "IESaveFile", +[](HANDLE, LPCWSTR) -> HRESULT {
        failing->FailAndWaitForTheWorker();
        SendMessageW(dialogWindow, WM_COMMAND, IDCANCEL, 0);  // does not delete the browser's file
        return S_OK;
      });
  const ScriptedPath path(m_server, Lesson(1000000));
  {
    const auto dialog = MakeProtected(path.Url(L"a.qdk"));
    const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
      read.WaitUntilReached();
      dialogWindow = window;
      PostMessageW(window, WM_USER, kDownloadDelivered, 0);
    });
    EXPECT_EQ(result, 1);
  }
  EXPECT_EQ(m_ieframe->cancelCalls, 0);
  EXPECT_EQ(m_sandbox.Files(), Files{L"temporary.qdk"});
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(ProtectedSave, FileThatCannotBeTakenFromTheWorkerIsNotHandedOver) {
  const CTestEvent ended;
  CProgressDialog::Ptr dialog;
  const CImportSpy<&WriteFile> write("kernel32.dll", "WriteFile", [&](auto... arguments) {
    PostMessageW(dialog->m_hWnd, WM_USER, kDownloadDelivered, 0);
    ended.Wait();
    return write.CallOriginal(arguments...);
  });
  const ScriptedPath path(m_server, Lesson(1000));
  dialog = MakeProtected(path.Url(L"a.qdk"));
  EXPECT_EQ(dialog->DoModal(nullptr), 3);
  dialog.reset();
  ended.Set();
  AwaitWorkers();
  EXPECT_EQ(m_ieframe->saveCalls, 0);
  EXPECT_EQ(m_ieframe->cancelCalls, 1);
  EXPECT_TRUE(m_sandbox.Files().empty());
}

}  // namespace
