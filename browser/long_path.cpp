#include "browser/long_path.h"

#include <shlwapi.h>

#include <algorithm>

#include "base/scoped_handle.h"
#include "download/file_path.h"

namespace {

constexpr int kPathLimit = 260;

// Quirk 19: room for the number in parentheses that a unique name may add.
constexpr int kSpareCharacters = 5;

struct CFindTraits {
  using Handle = HANDLE;
  static Handle Empty() { return INVALID_HANDLE_VALUE; }
  static void Close(Handle find) { FindClose(find); }
};
using CScopedFind = CScopedHandle<CFindTraits>;

/// Returns the length of a drive or share root, including its closing backslash; 0 for other paths.
int RootLength(const CStringW& path) {
  if (path.GetLength() > 2 && path[2] == L'\\') {
    return 3;
  }
  if (path.Left(2) == L"\\\\") {
    const int serverEnd = path.Find(L'\\', 2);
    const int shareEnd = serverEnd < 0 ? -1 : path.Find(L'\\', serverEnd + 1);
    return shareEnd < 0 ? path.GetLength() : shareEnd + 1;
  }
  return 0;
}

/// Returns the component as the file system stores it, or unchanged when it was deleted meanwhile.
CStringW StoredName(const CStringW& parent, const CStringW& component) {
  if (component == L"." || component == L"..") {
    return component;
  }
  WIN32_FIND_DATAW data = {};
  const CScopedFind find(FindFirstFileW(parent + component, &data));
  return find ? CStringW(data.cFileName) : component;
}

CStringW Expand(const CStringW& path, int rootLength) {
  CStringW expanded = path.Left(rootLength);
  int start = rootLength;
  while (start < path.GetLength()) {
    const int found = path.Find(L'\\', start);
    const int end = found < 0 ? path.GetLength() : found;
    if (end > start) {
      if (!expanded.IsEmpty() && expanded[expanded.GetLength() - 1] != L'\\') {
        expanded += L'\\';
      }
      expanded += StoredName(expanded, path.Mid(start, end - start));
    }
    start = end + 1;
  }
  return expanded;
}

}  // namespace

DWORD GetLongPathForm(LPCWSTR path, LPWSTR buffer, DWORD bufferLength) {
  const CStringW text(path);
  if (text.GetLength() > kPathLimit || !PathFileExistsW(text)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const int rootLength = RootLength(text);
  if (rootLength == 0) {
    SetLastError(ERROR_INVALID_DATA);
    return 0;
  }
  const CStringW expanded = Expand(text, rootLength);
  const auto length = static_cast<DWORD>(expanded.GetLength());
  if (length > kPathLimit || (buffer != nullptr && length >= bufferLength)) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  if (buffer != nullptr) {
    std::copy_n(expanded.GetString(), length + 1, buffer);
  }
  SetLastError(ERROR_SUCCESS);
  return length;
}

bool FitPathLength(const CFilePath& destination, const CStringW& extension, CStringW& baseName) {
  int folderLength = destination.GetParentFolder().GetText().GetLength();
  wchar_t expanded[kPathLimit + 1] = {};
  const auto expandedLength = static_cast<int>(
      GetLongPathForm(destination.GetParentFolder(), expanded, ARRAYSIZE(expanded)));
  if (expandedLength > 0 && expandedLength < kPathLimit) {
    folderLength = expandedLength;
  }
  const int excess = folderLength + baseName.GetLength() + extension.GetLength() - kPathLimit;
  if (excess <= 0) {
    return false;
  }
  baseName = baseName.Left(std::max(0, baseName.GetLength() - excess - kSpareCharacters));
  return true;
}
