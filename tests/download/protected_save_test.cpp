// Delivery by the browser's protected-mode functions. Their failures, and one of them missing:
// tests/faults/navigation_faults_test.cpp.

#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/download/download_fixture.h"
#include "tests/support/import_spy.h"
#include "tests/support/lookup_patch.h"
#include "tests/support/run_dialog.h"

namespace {

const HANDLE kState = GetCurrentProcess();  // any value: only handed on

class ProtectedSave : public SteppedDownloadFixture {
 protected:
  CProgressDialog::Ptr MakeProtected(const std::wstring& url) const {
    auto dialog = Make(url);
    dialog->SetTarget(CFilePath(DestPath().c_str()), kState);
    return dialog;
  }

  const CIeFrameDouble m_ieframe;
};

TEST_F(ProtectedSave, WholeFileIsHandedOverAndStays) {
  EXPECT_EQ(MakeProtected(m_url)->DoModal(nullptr), 1);
  EXPECT_EQ(m_ieframe->saveCalls, 1);
  EXPECT_EQ(m_ieframe->savedState, kState);
  EXPECT_EQ(m_ieframe->savedSource, TempPath());
  EXPECT_EQ(m_ieframe->savedSize, 5002) << "closed and complete when it is handed over";
  EXPECT_EQ(m_ieframe->cancelCalls, 0);
  EXPECT_EQ(m_sandbox.Files(), Files{L"temporary.qdk"});
}

TEST_F(ProtectedSave, SaveThatIsNotCompletedIsCancelledOnce) {
  const ScriptedPath page(m_server, HttpAnswer().Bytes("no lesson"));
  const ScriptedPath stalled(m_server, Lesson(1000).Gated());
  const auto run = [](CProgressDialog& dialog) { return dialog.DoModal(nullptr); };
  const auto command = [](WORD id) {
    return [=](CProgressDialog& dialog) {
      return RunDialog(dialog, [=](HWND window) { PostMessageW(window, WM_COMMAND, id, 0); });
    };
  };
  struct {
    const char* name;
    const ScriptedPath& path;
    INT_PTR result;
    std::function<INT_PTR(CProgressDialog&)> run;
    std::wstring message = {};
  } const ways[] = {
      {"failed", page, 3, run, NotAFolivoFile(page.Url(L"a.qdk"))},
      {"cancelled", stalled, 2, command(IDCANCEL)},
      {"ended by OK", stalled, 1, command(IDOK)},
      {"never run", m_path, 0, [](CProgressDialog&) { return 0; }},
      {"without the function", m_path, 1,
       [&](CProgressDialog& dialog) {
         const CLookupPatch patch("IESaveFile",
                                  static_cast<HRESULT(WINAPI*)(HANDLE, LPCWSTR)>(nullptr));
         return run(dialog);
       },
       CannotCreate(TempPath())},
  };
  int cancels = 0;
  for (const auto& way : ways) {
    SCOPED_TRACE(way.name);
    {
      const auto dialog = MakeProtected(way.path.Url(L"a.qdk"));
      EXPECT_EQ(way.run(*dialog), way.result);
    }
    EXPECT_EQ(Messages(), std::vector<std::wstring>(way.message.empty() ? 0 : 1, way.message));
    EXPECT_EQ(m_ieframe->saveCalls, 0);
    EXPECT_EQ(m_ieframe->cancelCalls, ++cancels);
    EXPECT_EQ(m_ieframe->cancelledState, kState);
  }
  stalled.AllowAll();
  AwaitWorkers();
  EXPECT_EQ(m_sandbox.Files(), Files{L"temporary.qdk"}) << "of the last one";
}

TEST_F(ProtectedSave, DestructorCancelsIt) {
  auto dialog =
      std::make_unique<CProgressDialog>(m_url.c_str(), CFilePath(TempPath().c_str()), nullptr);
  dialog->SetTarget(CFilePath(DestPath().c_str()), kState);
  dialog.reset();
  EXPECT_EQ(m_ieframe->cancelCalls, 1);
  EXPECT_EQ(m_ieframe->cancelledState, kState);
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
  EXPECT_TRUE(Messages().empty());
}

TEST_F(ProtectedSave, FileThatCannotBeTakenFromTheWorkerIsNotHandedOver) {
  const CTestEvent ended;
  CProgressDialog::Ptr dialog = MakeProtected(m_url);
  const CImportSpy<&WriteFile> write("kernel32.dll", "WriteFile", [&](auto... arguments) {
    PostMessageW(dialog->m_hWnd, WM_USER, kDownloadDelivered, 0);
    ended.Wait();
    return write.CallOriginal(arguments...);
  });
  EXPECT_EQ(dialog->DoModal(nullptr), 3);
  dialog.reset();
  ended.Set();
  AwaitWorkers();
  EXPECT_EQ(m_ieframe->saveCalls, 0);
  EXPECT_EQ(m_ieframe->cancelCalls, 1);
  EXPECT_TRUE(m_sandbox.Files().empty());
}

}  // namespace
