// Destinations that take no file, and disks that fill up.

#include <functional>
#include <memory>

#include "tests/faults/full_disk.h"
#include "tests/faults/held_file.h"
#include "tests/faults/lesson_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/import_patch.h"

namespace {

constexpr size_t kPattern = 500000;

enum class Delivery {
  kDelivered,
  kLost,          // a final copy that fails is not reported, and the temporary file goes
  kCannotCreate,  // one message that names the temporary file
};

struct CDestinationFault {
  std::string name;
  std::wstring temporary;  // below the sandbox
  std::wstring final;
  Delivery end;
  std::vector<std::wstring> kept = {};  // files that were there before and stay
  /// What it gives lives as long as the run.
  std::function<std::shared_ptr<void>(const CTempSandbox&)> prepare = [](const CTempSandbox&) {
    return nullptr;
  };
};

using Prepare = decltype(CDestinationFault::prepare);

/// Another program has the file open.
Prepare HoldElsewhere(const std::wstring& name) {
  return [=](const CTempSandbox& sandbox) {
    return std::make_shared<CHeldFile>(sandbox.Write(name, "old"));
  };
}

/// So has this one.
Prepare HoldHere(const std::wstring& name) {
  return [=](const CTempSandbox& sandbox) {
    return std::make_shared<CHandle>(CreateFileW(sandbox.Write(name, "old").c_str(), GENERIC_READ,
                                                 0, nullptr, OPEN_EXISTING, 0, nullptr));
  };
}

Prepare MakeFolder(const std::wstring& name, DWORD attributes = FILE_ATTRIBUTE_NORMAL) {
  return [=](const CTempSandbox& sandbox) {
    CreateDirectoryW((sandbox / name).c_str(), nullptr);
    SetFileAttributesW((sandbox / name).c_str(), attributes);
    return nullptr;
  };
}

Prepare WriteOld(const std::wstring& name, DWORD attributes = FILE_ATTRIBUTE_NORMAL) {
  return [=](const CTempSandbox& sandbox) {
    SetFileAttributesW(sandbox.Write(name, std::string(900000, 'o')).c_str(), attributes);
    return nullptr;
  };
}

void Remove(const std::wstring& path) {
  SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  if (!DeleteFileW(path.c_str())) {
    RemoveDirectoryW(path.c_str());
  }
}

// No port that the machine may have: what is written there would go out.
constexpr const wchar_t* kDevices[] = {L"NUL",       L"nul.qdk",  L"CON",
                                       L"con.a.qdk", L"COM9.qdk", L"LPT9"};

class DestinationFaults : public LessonFaults {
 protected:
  void Run(const CDestinationFault& fault) {
    SCOPED_TRACE(fault.name);
    Checks().Run([&] {
      std::shared_ptr<void> held = fault.prepare(m_sandbox);
      const ScriptedPath path(m_server, Lesson(kPattern));
      const std::wstring temporary = m_sandbox / fault.temporary;
      const std::wstring final = m_sandbox / fault.final;
      CProgressDialog::Ptr dialog =
          CProgressDialog::Create(path.Url(L"a.qdk").c_str(), temporary.c_str(), nullptr);
      dialog->SetTarget(CFilePath(final.c_str()), nullptr);
      CProgressDialogPeer{*dialog}.SetExtension(L".qdk");
      const INT_PTR result = CallGuardedDialog([&] { return dialog->DoModal(nullptr); });
      dialog.reset();
      held.reset();

      const bool isCreated = fault.end != Delivery::kCannotCreate;
      EXPECT_EQ(result, isCreated ? 1 : 3);
      EXPECT_EQ(TakeMessages(), isCreated ? std::vector<std::wstring>()
                                          : std::vector{L"Unable to create the destination file " +
                                                        temporary + L"."});
      std::vector<std::wstring> files = fault.kept;
      if (fault.end == Delivery::kDelivered) {
        files.push_back(fault.final);
        EXPECT_TRUE(ReadFileBytes(final) == LessonBytes(kPattern));
      }
      EXPECT_EQ(m_sandbox.Files(), files);
      Remove(final);
      Remove(temporary);
    });
  }

  /// A name that makes up a path of this length in the sandbox, by way of a folder, and whether the
  /// system takes it.
  std::wstring LongName(size_t length) const {
    const std::wstring folder(50, L'f');
    CreateDirectoryW((m_sandbox / folder).c_str(), nullptr);
    const size_t rest = length - (m_sandbox / folder).size() - std::size(L"\\.qdk") + 1;
    return folder + L"\\" + std::wstring(rest, L'n') + L".qdk";
  }
  bool CanBeMade(const std::wstring& name) const {
    const CHandle file(CreateFileW((m_sandbox / name).c_str(), GENERIC_WRITE, 0, nullptr,
                                   CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    return file != INVALID_HANDLE_VALUE;
  }
};

TEST_F(DestinationFaults, TemporaryFileThatCannotBeMadeIsReported) {
  const CDestinationFault faults[] = {
      {"folder missing", L"missing\\t.qdk", L"L.qdk", Delivery::kCannotCreate},
      {"a folder itself", L"t.qdk", L"L.qdk", Delivery::kCannotCreate, {}, MakeFolder(L"t.qdk")},
      {"held here", L"t.qdk", L"L.qdk", Delivery::kCannotCreate, {L"t.qdk"}, HoldHere(L"t.qdk")},
      {"held by another program",
       L"t.qdk",
       L"L.qdk",
       Delivery::kCannotCreate,
       {L"t.qdk"},
       HoldElsewhere(L"t.qdk")},
      {"304 characters in one name", std::wstring(300, L't') + L".qdk", L"L.qdk",
       Delivery::kCannotCreate},
      {"forbidden character", L"t?.qdk", L"L.qdk", Delivery::kCannotCreate},
  };
  for (const CDestinationFault& fault : QuickCut(faults)) {
    Run(fault);
  }
}

TEST_F(DestinationFaults, FinalCopyThatFailsIsNotReported) {
  const CDestinationFault faults[] = {
      {"folder missing", L"t.qdk", L"missing\\L.qdk", Delivery::kLost},
      {"a folder itself", L"t.qdk", L"L.qdk", Delivery::kLost, {}, MakeFolder(L"L.qdk")},
      {"held here", L"t.qdk", L"L.qdk", Delivery::kLost, {L"L.qdk"}, HoldHere(L"L.qdk")},
      {"held by another program",
       L"t.qdk",
       L"L.qdk",
       Delivery::kLost,
       {L"L.qdk"},
       HoldElsewhere(L"L.qdk")},
      {"read-only",
       L"t.qdk",
       L"L.qdk",
       Delivery::kLost,
       {L"L.qdk"},
       WriteOld(L"L.qdk", FILE_ATTRIBUTE_READONLY)},
      {"304 characters in one name", L"t.qdk", std::wstring(300, L'L') + L".qdk", Delivery::kLost},
      {"forbidden character", L"t.qdk", L"L?.qdk", Delivery::kLost},
  };
  for (const CDestinationFault& fault : QuickCut(faults)) {
    Run(fault);
  }
}

TEST_F(DestinationFaults, FilesThatAreThereAreReplaced) {
  const CDestinationFault faults[] = {
      {"final file", L"t.qdk", L"L.qdk", Delivery::kDelivered, {}, WriteOld(L"L.qdk")},
      {"temporary file", L"t.qdk", L"L.qdk", Delivery::kDelivered, {}, WriteOld(L"t.qdk")},
      {"both are one", L"t.qdk", L"t.qdk", Delivery::kLost},
  };
  for (const CDestinationFault& fault : QuickCut(faults)) {
    Run(fault);
  }
}

TEST_F(DestinationFaults, ReadOnlyTemporaryFileIsReplacedWhereTheSystemDoesThat) {
  WriteOld(L"t.qdk", FILE_ATTRIBUTE_READONLY)(m_sandbox);
  const bool isReplaced =
      CHandle(CreateFileW((m_sandbox / L"t.qdk").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                          FILE_ATTRIBUTE_NORMAL, nullptr)) != INVALID_HANDLE_VALUE;
  // It goes in either case: the name is the dialog's, whatever lies there.
  Run({"read-only",
       L"t.qdk",
       L"L.qdk",
       isReplaced ? Delivery::kDelivered : Delivery::kCannotCreate,
       {},
       WriteOld(L"t.qdk", FILE_ATTRIBUTE_READONLY)});
}

TEST_F(DestinationFaults, PathsMayBeAsLongAsTheSystemTakesThem) {
  for (const size_t length : {size_t{258}, size_t{259}, size_t{260}, size_t{300}}) {
    const std::wstring name = LongName(length);
    EXPECT_EQ((m_sandbox / name).size(), length);
    const bool canBeMade = CanBeMade(name);
    const std::string number = std::to_string(length);
    Run({"temporary file of " + number, name, L"L.qdk",
         canBeMade ? Delivery::kDelivered : Delivery::kCannotCreate});
    Run({"final file of " + number, L"t.qdk", name,
         canBeMade ? Delivery::kDelivered : Delivery::kLost});
  }
}

TEST_F(DestinationFaults, DevicesKeepNothing) {
  for (const std::wstring name : kDevices) {
    Run({"final file " + std::string(name.begin(), name.end()), L"t.qdk", name, Delivery::kLost});
  }
}

TEST_F(DestinationFaults, DiskThatFillsUpLeavesNothing) {
  constexpr int kWrites = 4;  // of 131072 bytes, the last of the rest
  for (int failing = 1; failing <= kWrites; ++failing) {
    SCOPED_TRACE(failing);
    Checks().Run([&] {
      const CFullDisk disk(failing);
      const ScriptedPath path(m_server, Lesson(kPattern));
      CProgressDialog::Ptr dialog = Make(path.Url(L"a.qdk"));
      EXPECT_EQ(CallGuardedDialog([&] { return dialog->DoModal(nullptr); }), 3);
      dialog.reset();
      EXPECT_EQ(disk.Writes(), failing) << "nothing is written behind a failure";
      EXPECT_EQ(TakeMessages(),
                std::vector{L"Unable to write to the destination file " + TempPath() + L"."});
      EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
    });
  }
}

}  // namespace
