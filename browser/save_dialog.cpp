#include "browser/save_dialog.h"

#include <commdlg.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cwchar>
#include <optional>
#include <span>

#include "browser/browser_texts.h"
#include "browser/current_directory_keeper.h"
#include "download/file_operations.h"
#include "download/file_path.h"
#include "download/file_types.h"
#include "download/ie_frame_library.h"
#include "ui/bind_function.h"
#include "ui/notice.h"

namespace {

constexpr DWORD kPathLength = 260;
constexpr DWORD kFilterIndex = 1;

// OPENFILENAME_SIZE_VERSION_400, whose macro takes a member of a null pointer.
constexpr DWORD kOldDialogSize = offsetof(OPENFILENAMEW, pvReserved);
constexpr DWORD kFlags = OFN_EXPLORER | OFN_NOREADONLYRETURN | OFN_PATHMUSTEXIST |
                         OFN_HIDEREADONLY | OFN_OVERWRITEPROMPT;

/// Buffer for the suggested name and then the chosen path. One character longer than the size
/// passed to the dialog, so that a truncated text still has a terminator.
using CPathBuffer = std::array<wchar_t, kPathLength + 1>;

void CopyTruncated(LPCWSTR text, CPathBuffer& buffer) {
  const size_t length = std::min<size_t>(wcslen(text), kPathLength - 1);
  std::copy_n(text, length, buffer.begin());
  buffer[length] = L'\0';
}

/// Returns the patterns of all types of a kind: "*.a;*.b".
CStringW GetPatterns(FileKind kind) {
  const std::span<const CFileType> types = GetFileTypes();
  CStringW patterns;
  for (int place = 1;; ++place) {
    const auto type = std::ranges::find_if(types, [=](const CFileType& candidate) {
      return candidate.kind == kind && candidate.filterPlace == place;
    });
    if (type == types.end()) {
      return patterns;
    }
    patterns.Append(place > 1 ? L";*" : L"*");
    patterns.Append(type->extension.data(), static_cast<int>(type->extension.size()));
  }
}

/// Quirk 95: the structure of the oldest systems, where GetVersionEx says that this is one.
DWORD OpenFileNameSize() {
  OSVERSIONINFOW version = {};
  version.dwOSVersionInfoSize = sizeof(version);
  const bool hasFullSize = GetVersionExW(&version) &&
                           version.dwPlatformId == VER_PLATFORM_WIN32_NT &&
                           version.dwMajorVersion >= 5;
  return hasFullSize ? sizeof(OPENFILENAMEW) : kOldDialogSize;
}

/// Calls GetSaveFileNameW in a library that is loaded when a file is saved. Loading it with its own
/// imports takes several times as long as loading this module, and would delay every start of the
/// browser. Not a delay-loaded import, whose failure is a structured exception: C++ does not catch
/// it, and it would end the browser. Never frees the library, as shell extensions that the dialog
/// has loaded may still run.
bool ShowCommonDialog(OPENFILENAMEW& dialog) {
  const HMODULE library = LoadLibraryW(L"comdlg32.dll");
  decltype(&GetSaveFileNameW) getSaveFileName = nullptr;
  if (library != nullptr) {
    BindFunction(library, "GetSaveFileNameW", getSaveFileName);
  }
  return getSaveFileName != nullptr && getSaveFileName(&dialog) != FALSE;
}

bool AskCommonDialog(HWND owner, const CStringW& fileName, const CStringW& extension,
                     CPathBuffer& buffer) {
  const CStringW filter = GetCommonDialogFilter(extension);
  // Quirk 18: no initial folder, title or default extension.
  OPENFILENAMEW dialog = {};
  dialog.lStructSize = OpenFileNameSize();
  dialog.hwndOwner = owner;
  dialog.lpstrFilter = filter.IsEmpty() ? nullptr : filter.GetString();
  dialog.nFilterIndex = kFilterIndex;
  dialog.lpstrFile = buffer.data();
  dialog.nMaxFile = kPathLength;
  dialog.Flags = kFlags;
  dialog.nFileExtension = static_cast<WORD>(fileName.ReverseFind(L'.') + 1);
  return ShowCommonDialog(dialog);
}

bool AskBrowserDialog(HWND owner, const CStringW& fileName, const CStringW& extension,
                      CPathBuffer& buffer, CScopedSaveState& saveState) {
  const CStringW filter = GetSaveFilter(extension);
  const CIeFrameLibrary library;
  CComHeapPtr<wchar_t> path;
  HANDLE state = nullptr;
  const HRESULT answer =
      library.ShowSaveFileDialog(owner, fileName, filter.IsEmpty() ? nullptr : filter.GetString(),
                                 kFilterIndex, kFlags, &path, &state);
  if (answer != S_OK) {
    // Also when the state is null.
    library.CancelSaveFile(state);
    return false;
  }
  saveState = CScopedSaveState(state);
  CopyTruncated(path != nullptr ? static_cast<LPCWSTR>(path) : L"", buffer);
  return true;
}

bool AskDialog(HWND owner, bool isProtected, const CStringW& fileName, const CStringW& extension,
               CPathBuffer& buffer, CScopedSaveState& saveState) {
  // The dialog changes the current directory to the chosen folder; libraries that are loaded later
  // would be searched for there.
  const CCurrentDirectoryKeeper keeper;
  return isProtected ? AskBrowserDialog(owner, fileName, extension, buffer, saveState)
                     : AskCommonDialog(owner, fileName, extension, buffer);
}

bool MayReplace(HWND owner, const CFilePath& path) {
  return !PathExists(path) || IsFolder(path) ||
         ConfirmWarning(owner, kReplaceText, path.GetFileNamePart());
}

}  // namespace

CStringW GetSaveFilter(const CStringW& extension) {
  const CFileType* const type = FindFileType(extension.GetString());
  if (type != nullptr && type->filter == SaveFilter::kNone) {
    return {};
  }
  const FileKind kind = type != nullptr ? type->kind : FileKind::kGallery;
  const CStringW patterns = GetPatterns(kind);
  CStringW filter;
  filter.Format(kFilterFormat, kind == FileKind::kLesson ? kLessonFilterName : kGalleryFilterName,
                patterns.GetString(), patterns.GetString());
  return filter;
}

CStringW GetCommonDialogFilter(const CStringW& extension) {
  CStringW filter = GetSaveFilter(extension);
  if (!filter.IsEmpty()) {
    // The string's terminator is the second of the two NULs at the end.
    filter.Replace(L'|', L'\0');
  }
  return filter;
}

std::optional<CSaveChoice> AskSavePath(HWND owner, bool isProtected, const CStringW& fileName,
                                       const CStringW& extension) {
  CPathBuffer buffer = {};
  CopyTruncated(fileName, buffer);
  CSaveChoice choice;
  if (!AskDialog(owner, isProtected, fileName, extension, buffer, choice.saveState)) {
    return std::nullopt;
  }
  choice.path = CFilePath(buffer.data());
  if (choice.path.GetExtension().IsEmpty()) {
    choice.path.ChangeExtension(extension);
    // The common dialog has only asked about the name as typed.
    if (!isProtected && !MayReplace(owner, choice.path)) {
      return std::nullopt;
    }
  }
  return choice;
}
