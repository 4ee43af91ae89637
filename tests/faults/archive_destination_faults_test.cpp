// The one file that the control has for its archives: devices, two downloads at once, and an
// archive that somebody deletes.

#include "tests/faults/archive_faults.h"
#include "tests/support/message_recorder.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

using Files = std::vector<std::wstring>;

constexpr size_t kSize = 45000;

class ArchiveDestinationFaults : public ArchiveFaults {
 protected:
  std::wstring CannotCreate(const std::wstring& name) const {
    return L"Unable to create the destination file " + (m_sandbox / name) + L".";
  }
};

TEST_F(ArchiveDestinationFaults, DevicesKeepNothing) {
  // No port that the machine may have: what is written there would go out.
  const ScriptedPath path(m_server, Body(kSize));
  for (const wchar_t* name : {L"NUL", L"nul.zip", L"COM9.zip", L"LPT9"}) {
    SCOPED_TRACE(testing::PrintToString(std::wstring(name)));
    Checks().Run([&] {
      const bool isTaken =
          CHandle(CreateFileW((m_sandbox / name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr)) != INVALID_HANDLE_VALUE;
      EXPECT_EQ(DownloadTo(TrustedUrl(path), name).message, isTaken ? L"" : CannotCreate(name));
      EXPECT_EQ(m_sandbox.Files(), Files());
    });
  }
}

TEST_F(ArchiveDestinationFaults, OldArchiveDeletedBeforeItIsReadIsNoArchive) {
  // A local source leaves the archive of an earlier call, which is not held open.
  const CImportSpy<&CopyFileW> copy("kernel32.dll", "CopyFileW",
                                    [&](LPCWSTR source, LPCWSTR target, BOOL failIfExists) {
                                      EXPECT_FALSE(copy.CallOriginal(source, target, failIfExists));
                                      EXPECT_TRUE(DeleteFileW(target));
                                      return FALSE;
                                    });
  Checks().Run([&] {
    const std::wstring source = m_sandbox.Write(L"source.zip", "PK");
    m_sandbox.Write(L"download.zip", "old");
    EXPECT_EQ(DownloadTo(source, L"download.zip").message, L"");
    EXPECT_EQ(m_sandbox.Files(), Files{L"source.zip"});
  });
}

TEST_F(ArchiveDestinationFaults, SecondOfTwoAtOnceCannotCreateTheArchive) {
  Checks().Run([&] {
    const ScriptedPath first(m_server, Body(kSize).Gated());
    const ScriptedPath second(m_server, Body(1000));
    first.AllowUpTo(kSize / 2);
    Files secondMessages;
    INT_PTR secondResult = 0;
    const CParallel otherWindow([&] {
      EXPECT_TRUE(WaitUntil("the archive", [&] { return ArchiveExists(); }));
      CZipProgressDialog dialog(TrustedUrl(second).c_str(), ZipPath().c_str(),
                                ContentFolder().c_str());
      CMessageRecorder messages;
      secondResult = dialog.DoModal(nullptr);
      secondMessages = messages.TakeTexts();
      first.AllowAll();
    });
    const COutcome outcome = DownloadTo(TrustedUrl(first), L"download.zip");
    EXPECT_EQ(outcome.message, L"");
    EXPECT_TRUE(outcome.bytes == BodyBytes(kSize)) << "untouched by the other";
    EXPECT_EQ(secondResult, kCollectionFailed);
    EXPECT_EQ(secondMessages, Files{CannotCreate(L"download.zip")});
    EXPECT_EQ(m_sandbox.Files(), Files());
  });
}

}  // namespace
