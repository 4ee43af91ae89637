#include "tests/faults/lesson_faults.h"

#include <utility>

#include "tests/support/import_spy.h"

namespace {

bool Peek(CProgressDialog& dialog, const CTransferFault& fault) {
  // When there may be no body to check, the pre-check runs to its time limit: here 300 ms.
  const bool isShort = fault.bytes.empty() || fault.end != TransferEnd::kBody;
  const CImportSpy<&SetWaitableTimer> timer(
      "kernel32.dll", "SetWaitableTimer",
      [&](HANDLE handle, const LARGE_INTEGER* due, auto... others) {
        const LARGE_INTEGER soon = {.QuadPart = -3000000};
        return timer.CallOriginal(handle, isShort ? &soon : due, others...);
      });
  return dialog.PeekContent(fault.extension.c_str());
}

}  // namespace

HttpAnswer LessonFaults::Body(size_t size) {
  const size_t head = sizeof(kQdkHead) - 1;
  return size < head ? HttpAnswer().Bytes(BodyBytes(size)) : Lesson(size - head);
}

CTransferOutcome LessonFaults::Download(bool peeks, const std::wstring& url,
                                        const CTransferFault& fault) {
  CProgressDialog::Ptr dialog = Make(url);
  CTransferOutcome outcome;
  if (peeks && !Peek(*dialog, fault)) {
    dialog.reset();
    const Files messages = TakeMessages();
    EXPECT_LE(messages.size(), 1u);
    EXPECT_TRUE(TakePostedResults().empty());
    outcome = {true, messages.empty() ? L"" : messages[0], ""};
  } else {
    CProgressDialogPeer{*dialog}.SetExtension(fault.extension.c_str());
    outcome = RunAndTake(std::move(dialog));
  }
  EXPECT_EQ(m_sandbox.Files(), Files());
  return outcome;
}

CTransferOutcome LessonFaults::DownloadTo(const std::wstring& url, const std::wstring& file) {
  CProgressDialog::Ptr dialog =
      CProgressDialog::Create(url.c_str(), (m_sandbox / file).c_str(), nullptr);
  dialog->SetTarget(CFilePath(DestPath().c_str()), nullptr);
  CProgressDialogPeer{*dialog}.SetExtension(L".qdk");
  return RunAndTake(std::move(dialog));
}

CTransferOutcome LessonFaults::RunAndTake(CProgressDialog::Ptr dialog) {
  const INT_PTR result = CallGuardedDialog([&] { return dialog->DoModal(nullptr); });
  dialog.reset();
  const Files messages = TakeMessages();
  if (result == kDownloadDelivered) {
    EXPECT_TRUE(messages.empty());
    return {false, L"", TakeDelivered()};
  }
  EXPECT_EQ(result, kDownloadFailed);
  EXPECT_EQ(messages.size(), 1u);
  return {false, messages.empty() ? L"" : messages[0], ""};
}

std::string LessonFaults::TakeDelivered() const {
  const std::string bytes = ReadFileBytes(DestPath());
  EXPECT_TRUE(DeleteFileW(DestPath().c_str()));
  return bytes;
}
