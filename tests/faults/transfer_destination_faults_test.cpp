// Files that cannot be made where the body first goes, and disks that fill up.

#include "tests/faults/dialog_faults.h"
#include "tests/faults/full_disk.h"
#include "tests/support/import_spy.h"

namespace {

using Files = std::vector<std::wstring>;

constexpr wchar_t kFile[] = L"first.qdk";

class TransferDestinationFaults : public TransferFaults {
 protected:
  static constexpr size_t kSize = 3 * kBuffer + kBuffer / 2;

  /// Downloads to this name below the sandbox. Where that cannot be made, one message names it;
  /// `kept` is what is there in the end.
  void Expect(const std::wstring& file, bool canBeMade, const Files& kept = {}) {
    SCOPED_TRACE(testing::PrintToString(file));
    const ScriptedPath path(m_server, Body(kSize));
    const COutcome outcome = DownloadTo(UrlOf(path), file);
    const std::wstring full = m_sandbox / file;
    EXPECT_EQ(outcome.message,
              canBeMade ? L"" : L"Unable to create the destination file " + full + L".");
    EXPECT_TRUE(outcome.bytes == (canBeMade ? BodyBytes(kSize) : "")) << outcome.bytes.size();
    EXPECT_EQ(m_sandbox.Files(), kept);
  }
};

TEST_F(TransferDestinationFaults, NameThatNoFileMayHaveIsReported) {
  for (const std::wstring& file :
       {std::wstring(L"missing\\a.qdk"), std::wstring(300, L'n') + L".qdk", std::wstring(L"a?.qdk"),
        std::wstring(L"a|b.qdk")}) {
    Checks().Run([&] { Expect(file, false); });
  }
}

TEST_F(TransferDestinationFaults, FolderOrFileInUseIsLeftUntouched) {
  Checks().Run([&] {
    m_sandbox.Write(L"folder.qdk\\mine", "mine");
    Expect(L"folder.qdk", false, {L"folder.qdk\\mine"});
    DeleteFileW((m_sandbox / L"folder.qdk\\mine").c_str());
  });
  Checks().Run([&] {
    CHandle user(CreateFileW(m_sandbox.Write(kFile, "old").c_str(), GENERIC_READ, 0, nullptr,
                             OPEN_EXISTING, 0, nullptr));
    Expect(kFile, false, {kFile});
    user.Close();
    EXPECT_EQ(ReadFileBytes(m_sandbox / kFile), "old");
    DeleteFileW((m_sandbox / kFile).c_str());
  });
}

TEST_F(TransferDestinationFaults, FileThatIsThereIsReplaced) {
  Checks().Run([&] {
    m_sandbox.Write(kFile, std::string(900000, 'o'));
    Expect(kFile, true);
  });
}

TEST_F(TransferDestinationFaults, DiskThatFillsUpLeavesNothing) {
  for (int failing = 1; failing <= 4; ++failing) {
    SCOPED_TRACE(failing);
    Checks().Run([&] {
      const CFullDisk disk(failing);
      const ScriptedPath path(m_server, Body(kSize));
      EXPECT_EQ(DownloadTo(UrlOf(path), kFile).message,
                L"Unable to write to the destination file " + (m_sandbox / kFile) + L".");
      EXPECT_EQ(disk.Writes(), failing) << "nothing is written behind a failure";
      EXPECT_EQ(m_sandbox.Files(), Files());
    });
  }
}

#ifdef FOLIVO_ARCHIVE_FAULTS
TEST_F(TransferDestinationFaults, OldArchiveDeletedBeforeItIsReadIsNoArchive) {
  // A local source leaves the archive of an earlier call, which is not held open.
  const CImportSpy<&CopyFileW> copy("kernel32.dll", "CopyFileW", [&](auto... arguments) {
    EXPECT_FALSE(copy.CallOriginal(arguments...));
    EXPECT_TRUE(DeleteFileW((m_sandbox / L"download.zip").c_str()));
    return FALSE;
  });
  Checks().Run([&] {
    const std::wstring source = m_sandbox.Write(L"source.zip", "PK");
    m_sandbox.Write(L"download.zip", "old");
    EXPECT_EQ(DownloadTo(source, L"download.zip").message, L"");
    EXPECT_EQ(m_sandbox.Files(), Files{L"source.zip"});
  });
}
#endif

}  // namespace
