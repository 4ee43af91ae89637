#include "download/file_operations.h"

#include <io.h>
#include <shlwapi.h>

#include <cstddef>
#include <cstdio>

#include "download/file_path.h"

bool PathExists(const CFilePath& path) { return !path.IsEmpty() && PathFileExistsW(path) != FALSE; }

bool IsFolder(const CFilePath& path) { return PathIsDirectoryW(path) != FALSE; }

bool CreateFolderTree(const CFilePath& path) {
  if (PathExists(path)) {
    return true;
  }
  CFilePath parent = path;
  if (parent.RemoveLastComponent()) {
    // Ignores the result: CreateDirectoryW below fails without the parent.
    CreateFolderTree(parent);
  }
  return CreateDirectoryW(path, nullptr) != FALSE;
}

bool DeleteFileForced(const CFilePath& path) {
  if (!PathExists(path)) {
    return true;
  }
  if (!SetFileAttributesW(path, FILE_ATTRIBUTE_NORMAL)) {
    return false;
  }
  return DeleteFileW(path) != FALSE;
}

bool CopyFileTo(const CFilePath& source, const CFilePath& target, bool failIfExists) {
  return CopyFileW(source, target, failIfExists) != FALSE;
}

CFileStream OpenFileNoInherit(const CFilePath& path, LPCWSTR mode) {
  CFileStream stream(_wfopen(path, mode));
  if (stream) {
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream.get())));
    SetHandleInformation(handle, HANDLE_FLAG_INHERIT, 0);
  }
  return stream;
}

bool WriteWholeFile(const CFilePath& path, LPCWSTR mode, const void* data, size_t size) {
  CFileStream stream = OpenFileNoInherit(path, mode);
  if (!stream) {
    return false;
  }
  const bool written = fwrite(data, 1, size, stream.get()) == size;
  if (fclose(stream.release()) == 0 && written) {
    return true;
  }
  DeleteFileForced(path);
  return false;
}

int GetFileSize32(const CFilePath& path) {
  if (!PathExists(path) || IsFolder(path)) {
    return -1;
  }
  const CFileStream stream = OpenFileNoInherit(path, L"rb");
  if (!stream || fseek(stream.get(), 0, SEEK_END) != 0) {
    return -1;
  }
  return ftell(stream.get());
}
