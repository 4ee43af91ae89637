// Files that cannot be made where the body first goes, and disks that fill up.

#include "tests/faults/dialog_faults.h"
#include "tests/faults/full_disk.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

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

  /// Whether the system makes or replaces a file of this name.
  bool CanBeMade(const std::wstring& file) const {
    const CHandle made(CreateFileW((m_sandbox / file).c_str(), GENERIC_WRITE, 0, nullptr,
                                   CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    return made != INVALID_HANDLE_VALUE;
  }

  void Remove(const std::wstring& file) const {
    SetFileAttributesW((m_sandbox / file).c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileW((m_sandbox / file).c_str());
  }
};

TEST_F(TransferDestinationFaults, NameThatNoFileMayHaveIsReported) {
  for (const std::wstring& file :
       {std::wstring(L"missing\\a.qdk"), std::wstring(300, L'n') + L".qdk", std::wstring(L"a?.qdk"),
        std::wstring(L"a|b.qdk")}) {
    Checks().Run([&] { Expect(file, false); });
  }
}

TEST_F(TransferDestinationFaults, FolderOrFileInUseStays) {
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
    Remove(kFile);
  });
}

TEST_F(TransferDestinationFaults, FileThatIsThereIsReplaced) {
  // A read-only one where the system does that.
  for (const DWORD attributes : {FILE_ATTRIBUTE_NORMAL, FILE_ATTRIBUTE_READONLY}) {
    Checks().Run([&] {
      const auto write = [&] {
        SetFileAttributesW(m_sandbox.Write(kFile, std::string(900000, 'o')).c_str(), attributes);
      };
      write();
      const bool isReplaced = CanBeMade(kFile);
      Remove(kFile);
      write();
      EXPECT_TRUE(isReplaced || attributes == FILE_ATTRIBUTE_READONLY);
      Expect(kFile, isReplaced);
    });
  }
}

TEST_F(TransferDestinationFaults, PathsMayBeAsLongAsTheSystemTakesThem) {
  const std::wstring folder(50, L'f');
  CreateDirectoryW((m_sandbox / folder).c_str(), nullptr);
  for (const size_t length : {258u, 259u, 260u, 300u}) {
    const size_t rest = length - (m_sandbox / folder).size() - std::size(L"\\.qdk") + 1;
    const std::wstring file = folder + L"\\" + std::wstring(rest, L'n') + L".qdk";
    EXPECT_EQ((m_sandbox / file).size(), length);
    Checks().Run([&] {
      const bool canBeMade = CanBeMade(file);
      Remove(file);
      Expect(file, canBeMade);
    });
  }
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

TEST_F(TransferDestinationFaults, FileCannotBeDeletedUnderTheTransfer) {
  Checks().Run([&] {
    const ScriptedPath path(m_server, Body(kSize).Gated());
    path.AllowUpTo(kSize / 2);
    const std::wstring file = m_sandbox / kFile;
    const CParallel somebody([&] {
      EXPECT_TRUE(path.WaitForBytesSent(kSize / 2));
      EXPECT_TRUE(WaitUntil(
          "the file", [&] { return GetFileAttributesW(file.c_str()) != INVALID_FILE_ATTRIBUTES; }));
      EXPECT_FALSE(DeleteFileW(file.c_str()));
      EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
      EXPECT_FALSE(MoveFileW(file.c_str(), (m_sandbox / L"moved").c_str()));
      path.AllowAll();
    });
    const COutcome outcome = DownloadTo(UrlOf(path), kFile);
    EXPECT_EQ(outcome.message, L"");
    EXPECT_TRUE(outcome.bytes == BodyBytes(kSize));
    EXPECT_EQ(m_sandbox.Files(), Files());
  });
}

}  // namespace
