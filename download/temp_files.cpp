#include "download/temp_files.h"

#include <cstdlib>

#include "base/edition.h"
#include "base/product_texts.h"
#include "base/srw_lock.h"
#include "download/file_operations.h"
#include "download/file_path.h"

namespace {

constexpr wchar_t kCompanyFolder[] = L"MERLO Technologies";
constexpr wchar_t kTempFilesFolder[] = L"TempFiles";
constexpr wchar_t kDefaultTempName[] = L"FVK-%d-%x";
constexpr DWORD kTempPathLength = 260;

// Each browser window has a thread of its own.
SRWLOCK g_tempBaseFolderLock = SRWLOCK_INIT;
CFilePath g_tempBaseFolder;

}  // namespace

CFilePath MakeUniqueFilePath(const CFilePath& folder, const CStringW& baseName,
                             const CStringW& extension) {
  CFilePath path = JoinPath(folder, baseName + extension);
  // Quirk 43: no limit on the number of tries.
  while (PathExists(path)) {
    // Quirk 42: never seeded, so that each thread draws the runtime's default sequence.
    CStringW numbered;
    numbered.Format(L"%s(%d)%s", baseName.GetString(), rand(), extension.GetString());
    path = JoinPath(folder, numbered);
  }
  return path;
}

CFilePath MakeUniqueFolderPath(const CFilePath& parent, const CStringW& name) {
  CFilePath path = JoinPath(parent, name);
  // Quirk 44: a counter without a separator, unlike the number of a file.
  for (int number = 1; PathExists(path); ++number) {
    CStringW numbered;
    numbered.Format(L"%s%d", name.GetString(), number);
    path = JoinPath(parent, numbered);
  }
  return path;
}

CFilePath MakeTempFilePath(const CStringW& extension, const CStringW& baseName) {
  CStringW name = baseName;
  if (name.IsEmpty()) {
    name.Format(kDefaultTempName, GetCurrentProcessId(), GetTickCount());
  }
  return MakeUniqueFilePath(GetTempBaseFolder(), name, extension);
}

void SetTempBaseFolder(const CFilePath& folder) {
  const CSrwLock lock(g_tempBaseFolderLock);
  g_tempBaseFolder = folder;
}

CFilePath GetTempBaseFolder() {
  CFilePath folder;
  {
    const CSrwLock lock(g_tempBaseFolderLock);
    folder = g_tempBaseFolder;
  }
  return folder.IsEmpty() ? GetSystemTempFolder() : folder;
}

CFilePath GetSystemTempFolder() {
  wchar_t folder[kTempPathLength + 1] = {};
  const DWORD length = GetTempPathW(kTempPathLength, folder);
  if (length == 0 || length >= kTempPathLength) {
    return {};
  }
  return CFilePath(folder);
}

CFilePath GetAppTempFilesFolder(const CStringW& application) {
  // Quirk 45: the system's folder, whatever SetTempBaseFolder has set.
  CFilePath folder = GetSystemTempFolder();
  folder.AppendComponent(kCompanyFolder);
  folder.AppendComponent(kSeEdition && application.CompareNoCase(kProductName) == 0
                             ? CStringW(kProductNameSe)
                             : application);
  folder.AppendComponent(kTempFilesFolder);
  return folder;
}

CFilePath PrepareAppTempFilesFolder(const CStringW& application) {
  const CFilePath folder = GetAppTempFilesFolder(application);
  CreateFolderTree(folder);
  return folder;
}
