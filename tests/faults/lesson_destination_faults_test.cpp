// Destinations that take no file, and disks that fill up.

#include <functional>

#include "tests/faults/lesson_faults.h"
#include "tests/support/import_patch.h"

namespace {

constexpr size_t kPattern = 500000;

enum class Delivery {
  kDelivered,
  kLost,          // a final copy that fails is not reported, and the temporary file goes
  kCannotCreate,  // one message that names the temporary file
};

struct CDestinationFault {
  const char* name;
  std::wstring temporary;  // below the sandbox
  std::wstring final;
  Delivery end;
  std::vector<std::wstring> kept = {};  // files that were there before and stay
  std::function<void(const CTempSandbox&)> prepare = [](const CTempSandbox&) {};
};

CHandle g_holder;

void Hold(const CTempSandbox& sandbox, const std::wstring& name) {
  g_holder.Close();
  g_holder.Attach(CreateFileW(sandbox.Write(name, "old").c_str(), GENERIC_READ, 0, nullptr,
                              OPEN_EXISTING, 0, nullptr));
}

void WriteReadOnly(const CTempSandbox& sandbox, const std::wstring& name) {
  SetFileAttributesW(sandbox.Write(name, "old").c_str(), FILE_ATTRIBUTE_READONLY);
}

void Remove(const std::wstring& path) {
  SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  if (!DeleteFileW(path.c_str())) {
    RemoveDirectoryW(path.c_str());
  }
}

class DestinationFaults : public LessonFaults {
 protected:
  void Run(const CDestinationFault& fault) {
    SCOPED_TRACE(fault.name);
    Checks().Run([&] {
      fault.prepare(m_sandbox);
      const ScriptedPath path(m_server, Lesson(kPattern));
      const std::wstring temporary = m_sandbox / fault.temporary;
      const std::wstring final = m_sandbox / fault.final;
      CProgressDialog::Ptr dialog =
          CProgressDialog::Create(path.Url(L"a.qdk").c_str(), temporary.c_str());
      dialog->m_destPath = CFilePath(final.c_str());
      CProgressDialogPeer{*dialog}.SetExtension(L".qdk");
      const INT_PTR result = CallGuardedDialog([&] { return dialog->DoModal(nullptr); });
      dialog.reset();
      g_holder.Close();

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
};

TEST_F(DestinationFaults, TemporaryFileThatCannotBeMadeIsReported) {
  const auto makeFolder = [](const CTempSandbox& sandbox) {
    CreateDirectoryW((sandbox / L"t.qdk").c_str(), nullptr);
  };
  const CDestinationFault faults[] = {
      {"folder missing", L"missing\\t.qdk", L"L.qdk", Delivery::kCannotCreate},
      {"a folder itself", L"t.qdk", L"L.qdk", Delivery::kCannotCreate, {}, makeFolder},
      {"held open",
       L"t.qdk",
       L"L.qdk",
       Delivery::kCannotCreate,
       {L"t.qdk"},
       [](const CTempSandbox& sandbox) { Hold(sandbox, L"t.qdk"); }},
      {"300 characters", std::wstring(300, L't') + L".qdk", L"L.qdk", Delivery::kCannotCreate},
      {"forbidden character", L"t?.qdk", L"L.qdk", Delivery::kCannotCreate},
  };
  for (const CDestinationFault& fault : faults) {
    Run(fault);
  }
}

TEST_F(DestinationFaults, FinalCopyThatFailsIsNotReported) {
  const CDestinationFault faults[] = {
      {"folder missing", L"t.qdk", L"missing\\L.qdk", Delivery::kLost},
      {"a folder itself",
       L"t.qdk",
       L"L.qdk",
       Delivery::kLost,
       {},
       [](const CTempSandbox& sandbox) {
         CreateDirectoryW((sandbox / L"L.qdk").c_str(), nullptr);
       }},
      {"held open",
       L"t.qdk",
       L"L.qdk",
       Delivery::kLost,
       {L"L.qdk"},
       [](const CTempSandbox& sandbox) { Hold(sandbox, L"L.qdk"); }},
      {"read-only",
       L"t.qdk",
       L"L.qdk",
       Delivery::kLost,
       {L"L.qdk"},
       [](const CTempSandbox& sandbox) { WriteReadOnly(sandbox, L"L.qdk"); }},
      {"300 characters", L"t.qdk", std::wstring(300, L'L') + L".qdk", Delivery::kLost},
      {"forbidden character", L"t.qdk", L"L?.qdk", Delivery::kLost},
      {"there before",
       L"t.qdk",
       L"L.qdk",
       Delivery::kDelivered,
       {},
       [](const CTempSandbox& sandbox) { sandbox.Write(L"L.qdk", std::string(900000, 'o')); }},
  };
  for (const CDestinationFault& fault : faults) {
    Run(fault);
  }
}

int g_writes;
int g_failing;
decltype(&WriteFile) g_write;

/// The n-th write of more than a thousand bytes meets a full disk.
BOOL WINAPI WriteUntilFull(HANDLE file, LPCVOID data, DWORD size, LPDWORD written,
                           LPOVERLAPPED overlapped) {
  if (size > 1000 && ++g_writes == g_failing) {
    *written = 0;
    SetLastError(ERROR_DISK_FULL);
    return FALSE;
  }
  return g_write(file, data, size, written, overlapped);
}

TEST_F(DestinationFaults, DiskThatFillsUpLeavesNothing) {
  constexpr int kWrites = 4;  // of 131072 bytes, the last of the rest
  const CImportPatch patch("kernel32.dll", "WriteFile", &WriteUntilFull);
  g_write = patch.Original<decltype(WriteFile)>();
  for (g_failing = 1; g_failing <= kWrites; ++g_failing) {
    SCOPED_TRACE(g_failing);
    Checks().Run([&] {
      g_writes = 0;
      const ScriptedPath path(m_server, Lesson(kPattern));
      CProgressDialog::Ptr dialog = Make(path.Url(L"a.qdk"));
      EXPECT_EQ(CallGuardedDialog([&] { return dialog->DoModal(nullptr); }), 3);
      dialog.reset();
      EXPECT_EQ(g_writes, g_failing) << "nothing is written behind a failure";
      EXPECT_EQ(TakeMessages(),
                std::vector{L"Unable to write to the destination file " + TempPath() + L"."});
      EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
    });
  }
}

}  // namespace
