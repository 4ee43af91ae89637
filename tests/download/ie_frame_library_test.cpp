#include "download/ie_frame_library.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>

#include <string>
#include <vector>

#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/download/download_test.h"
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
      dialog->m_saveState = Token(0x4711);
      EXPECT_EQ(dialog->DoModal(nullptr), 1);
      EXPECT_EQ(dialog->m_saveState, nullptr);
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

TEST_F(ProtectedSave, IsNotMadeForAFailedDownload) {
  CMessageRecorder messages;
  const CIeFrameDouble ieframe;
  const ScriptedPath path(m_server, HttpAnswer().Bytes("no lesson"));
  const auto dialog = Make(path.Url(L"a.qdk"));
  dialog->m_saveState = Token(1);
  EXPECT_EQ(dialog->DoModal(nullptr), 3);
  EXPECT_EQ(ieframe->saveCalls, 0);
  EXPECT_TRUE(m_sandbox.Files().empty());
  EXPECT_EQ(messages.Take().size(), 1u);
}

TEST_F(ProtectedSave, IsNotMadeForACancelledDownload) {
  const CIeFrameDouble ieframe;
  const ScriptedPath path(m_server, Lesson(1000).Gated());
  const auto dialog = Make(path.Url(L"a.qdk"));
  dialog->m_saveState = Token(1);
  EXPECT_EQ(RunDialog(*dialog, [](HWND window) { Click(window, IDCANCEL); }), 2);
  EXPECT_EQ(ieframe->saveCalls, 0);
  EXPECT_EQ(dialog->m_saveState, nullptr);
  EXPECT_TRUE(m_sandbox.Files().empty());
  path.AllowAll();
}

}  // namespace
