// Without the browser's functions for saving outside its protected mode: run
// once without the library and once with a library that has none of them.

#include <gtest/gtest.h>
#include <windows.h>

#include "download/ie_frame_library.h"
#include "tests/download/download_test.h"
#include "tests/support/parallel.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"

namespace {

TEST(MissingIeFrameLibrary, IsWhatThisProgramFinds) {
  const HMODULE library = LoadLibraryW(L"ieframe.dll");
  EXPECT_EQ(library != nullptr, FOLIVO_IEFRAME_IS_THERE != 0);
  EXPECT_EQ(GetProcAddress(library, "IsEmptyIeFrame") != nullptr, FOLIVO_IEFRAME_IS_THERE != 0);
  FreeLibrary(library);
}

TEST(MissingIeFrameLibrary, AnswersWithoutItsFunctionsAndIsFreed) {
  {
    const CIeFrameLibrary library;
    EXPECT_FALSE(library.IsProtectedModeProcess());
    auto path = const_cast<LPWSTR>(L"untouched");
    HANDLE state = &path;
    EXPECT_EQ(library.ShowSaveFileDialog(nullptr, L"a.qdk", L"", 1, 0, &path, &state), E_NOTIMPL);
    EXPECT_EQ(path, nullptr);
    EXPECT_EQ(state, nullptr);
    library.CancelSaveFile(&path);
    EXPECT_FALSE(library.SaveFile(&path, L"C:\\a.qdk"));
  }
  EXPECT_EQ(GetModuleHandleW(L"ieframe.dll"), nullptr);
}

class MissingProtectedSave : public DownloadTest {};

TEST_F(MissingProtectedSave, IsReportedAndTheFileStays) {
  const ScriptedPath path(m_server, Lesson(1000));
  {
    const auto dialog = Make(path.Url(L"a.qdk"));
    dialog->SetTarget(CFilePath(DestPath().c_str()), dialog.get());
    const CParallel user([&] { EXPECT_EQ(DismissMessage(), CannotCreate(TempPath())); });
    EXPECT_EQ(dialog->DoModal(nullptr), 1);
    EXPECT_EQ(CProgressDialogPeer{*dialog}.SaveState(), nullptr);
  }
  EXPECT_EQ(m_sandbox.Files(), Files{L"temporary.qdk"});
  EXPECT_EQ(ReadFileBytes(TempPath()), LessonBytes(1000));
}

}  // namespace
