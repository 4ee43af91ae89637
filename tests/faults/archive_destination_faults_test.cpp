// Archives that cannot be put where they belong, or that somebody else wants at the same time.

#include <functional>
#include <memory>

#include "tests/faults/archive_faults.h"
#include "tests/faults/full_disk.h"
#include "tests/faults/held_file.h"
#include "tests/support/message_recorder.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

using Files = std::vector<std::wstring>;

constexpr size_t kSize = 45000;

/// Takes a file into use; it is let go with what this gives.
using Holder = std::function<std::shared_ptr<void>(const std::wstring& path)>;

std::shared_ptr<void> HoldElsewhere(const std::wstring& path) {
  return std::make_shared<CHeldFile>(path);
}

std::shared_ptr<void> HoldHere(const std::wstring& path) {
  return std::make_shared<CHandle>(
      CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
}

class ArchiveDestinationFaults : public ArchiveFaults {
 protected:
  /// Downloads an archive to this name below the sandbox.
  CRun Download(const std::wstring& name) {
    const ScriptedPath path(m_server, Archive(kSize));
    return RunDialogOnce(TrustedUrl(path), m_sandbox / name);
  }

  void ExpectCannotCreate(const std::wstring& name) {
    EXPECT_EQ(Download(name).message, CannotCreate(m_sandbox / name));
  }

  /// Whether the archive arrives or cannot be made is the system's decision.
  void ExpectAsTheSystemTakesIt(const std::wstring& name, bool canBeMade) {
    const CRun run = Download(name);
    EXPECT_EQ(run.message, canBeMade ? kCannotUnzip : CannotCreate(m_sandbox / name));
    EXPECT_EQ(m_sandbox.Files(), Files());
  }

  /// Whether a new or an existing file of this name can be opened for writing.
  bool CanBeMade(const std::wstring& name, DWORD attributes = FILE_FLAG_DELETE_ON_CLOSE) const {
    const CHandle file(CreateFileW((m_sandbox / name).c_str(), GENERIC_WRITE, 0, nullptr,
                                   CREATE_ALWAYS, attributes, nullptr));
    return file != INVALID_HANDLE_VALUE;
  }

  static std::wstring CannotCreate(const std::wstring& path) {
    return L"Unable to create the destination file " + path + L".";
  }
  static std::wstring CannotWrite(const std::wstring& path) {
    return L"Unable to write to the destination file " + path + L".";
  }
};

TEST_F(ArchiveDestinationFaults, ArchiveThatCannotBeMadeIsNamed) {
  for (const std::wstring& name :
       {std::wstring(L"missing\\download.zip"), std::wstring(300, L'n') + L".zip",
        std::wstring(L"a?.zip"), std::wstring(L"a|b.zip"), std::wstring(L"\\\\")}) {
    SCOPED_TRACE(testing::PrintToString(name));
    Checks().Run([&] {
      ExpectCannotCreate(name);
      EXPECT_EQ(m_sandbox.Files(), Files());
    });
  }
}

TEST_F(ArchiveDestinationFaults, FolderInTheWayStays) {
  Checks().Run([&] {
    m_sandbox.Write(L"download.zip\\mine", "mine");
    ExpectCannotCreate(L"download.zip");
    EXPECT_EQ(m_sandbox.Files(), Files{L"download.zip\\mine"});
  });
}

TEST_F(ArchiveDestinationFaults, ArchiveInUseStaysAsItWas) {
  for (const Holder& hold : {Holder(HoldHere), Holder(HoldElsewhere)}) {
    Checks().Run([&] {
      m_sandbox.Write(L"download.zip", "old");
      std::shared_ptr<void> holder = hold(ZipPath());
      ExpectCannotCreate(L"download.zip");
      holder.reset();
      EXPECT_EQ(ReadFileBytes(ZipPath()), "old");
      DeleteFileW(ZipPath().c_str());
    });
  }
}

TEST_F(ArchiveDestinationFaults, OldArchiveIsReplaced) {
  Checks().Run([&] {
    m_sandbox.Write(L"download.zip", std::string(90000, 'o'));
    const CRun run = Download(L"download.zip");
    EXPECT_EQ(run.message, kCannotUnzip);
    EXPECT_TRUE(run.archive == ArchiveBytes(kSize));
    EXPECT_EQ(m_sandbox.Files(), Files());
  });
}

TEST_F(ArchiveDestinationFaults, ReadOnlyArchiveIsReplacedWhereTheSystemDoesThat) {
  Checks().Run([&] {
    const auto writeReadOnly = [&] {
      SetFileAttributesW(m_sandbox.Write(L"download.zip", "old").c_str(), FILE_ATTRIBUTE_READONLY);
    };
    writeReadOnly();
    const bool isReplaced =
        CHandle(CreateFileW(ZipPath().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr)) != INVALID_HANDLE_VALUE;
    writeReadOnly();
    ExpectAsTheSystemTakesIt(L"download.zip", isReplaced);
  });
}

TEST_F(ArchiveDestinationFaults, PathsMayBeAsLongAsTheSystemTakesThem) {
  const std::wstring folder(50, L'f');
  CreateDirectoryW((m_sandbox / folder).c_str(), nullptr);
  for (const size_t length : {size_t{258}, size_t{259}, size_t{260}, size_t{300}}) {
    SCOPED_TRACE(length);
    const size_t rest = length - (m_sandbox / folder).size() - std::size(L"\\.zip") + 1;
    const std::wstring name = folder + L"\\" + std::wstring(rest, L'n') + L".zip";
    EXPECT_EQ((m_sandbox / name).size(), length);
    Checks().Run([&] { ExpectAsTheSystemTakesIt(name, CanBeMade(name)); });
  }
}

TEST_F(ArchiveDestinationFaults, DevicesKeepNothing) {
  // No port that the machine may have: what is written there would go out.
  for (const wchar_t* name : {L"NUL", L"nul.zip", L"COM9.zip", L"LPT9"}) {
    SCOPED_TRACE(testing::PrintToString(std::wstring(name)));
    Checks().Run([&] { ExpectAsTheSystemTakesIt(name, CanBeMade(name, FILE_ATTRIBUTE_NORMAL)); });
  }
}

TEST_F(ArchiveDestinationFaults, DiskThatFillsUpLeavesNothing) {
  constexpr int kWrites = 5;  // of 10000 bytes, the last of the rest
  for (int failing = 1; failing <= kWrites; ++failing) {
    SCOPED_TRACE(failing);
    Checks().Run([&] {
      const CFullDisk disk(failing);
      EXPECT_EQ(Download(L"download.zip").message, CannotWrite(ZipPath()));
      EXPECT_EQ(disk.Writes(), failing) << "nothing is written behind a failure";
      EXPECT_EQ(m_sandbox.Files(), Files());
    });
  }
}

TEST_F(ArchiveDestinationFaults, ArchiveCannotBeDeletedUnderTheTransfer) {
  Checks().Run([&] {
    const ScriptedPath path(m_server, Archive(kSize).Gated());
    path.AllowUpTo(kSize / 2);
    const CParallel somebody([&] {
      EXPECT_TRUE(path.WaitForBytesSent(kSize / 2));
      EXPECT_TRUE(WaitUntil("the archive", [&] { return ArchiveExists(); }));
      EXPECT_FALSE(DeleteFileW(ZipPath().c_str()));
      EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
      path.AllowAll();
    });
    const CRun run = RunDialogOnce(TrustedUrl(path), ZipPath());
    EXPECT_EQ(run.message, kCannotUnzip);
    EXPECT_TRUE(run.archive == ArchiveBytes(kSize));
    EXPECT_EQ(m_sandbox.Files(), Files());
  });
}

TEST_F(ArchiveDestinationFaults, OldArchiveDeletedBeforeItIsReadIsNoArchive) {
  // A local source leaves the archive of an earlier call, which is not held open.
  static decltype(&CopyFileW) copy;
  const CImportPatch patch(
      "kernel32.dll", "CopyFileW", +[](LPCWSTR source, LPCWSTR target, BOOL failIfExists) -> BOOL {
        const BOOL copied = copy(source, target, failIfExists);
        EXPECT_FALSE(copied);
        EXPECT_TRUE(DeleteFileW(target));
        return copied;
      });
  copy = patch.Original<decltype(CopyFileW)>();
  Checks().Run([&] {
    m_sandbox.Write(L"download.zip", "old");
    const std::wstring source = m_sandbox.Write(L"source.zip", "new");
    EXPECT_EQ(RunDialogOnce(source, ZipPath()).message, kCannotUnzip);
    EXPECT_EQ(m_sandbox.Files(), Files{L"source.zip"});
  });
}

TEST_F(ArchiveDestinationFaults, SecondOfTwoAtOnceCannotCreateTheArchive) {
  // Both go to the one file that the control has for its archives.
  Checks().Run([&] {
    const ScriptedPath first(m_server, Archive(kSize).Gated());
    const ScriptedPath second(m_server, Archive(1000));
    first.AllowUpTo(kSize / 2);
    std::wstring secondMessage;
    INT_PTR secondResult = 0;
    const CParallel otherWindow([&] {
      EXPECT_TRUE(WaitUntil("the archive", [&] { return ArchiveExists(); }));
      CZipProgressDialog dialog(TrustedUrl(second).c_str(), ZipPath().c_str(),
                                ContentFolder().c_str());
      CMessageRecorder messages;
      secondResult = dialog.DoModal(nullptr);
      const Files texts = messages.TakeTexts();
      secondMessage = texts.size() == 1 ? texts[0] : L"not one message";
      first.AllowAll();
    });
    const CRun run = RunDialogOnce(TrustedUrl(first), ZipPath());
    EXPECT_EQ(run.message, kCannotUnzip);
    EXPECT_TRUE(run.archive == ArchiveBytes(kSize)) << "untouched by the other";
    EXPECT_EQ(secondResult, 3);
    EXPECT_EQ(secondMessage, CannotCreate(ZipPath()));
    EXPECT_EQ(m_sandbox.Files(), Files());
  });
}

}  // namespace
