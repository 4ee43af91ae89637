#pragma once

#include <cstdio>
#include <memory>

#include "download/file_path.h"

/// Closes a C stream.
struct CFileCloser {
  void operator()(FILE* stream) const { fclose(stream); }
};
/// Owner of a C stream.
using CFileStream = std::unique_ptr<FILE, CFileCloser>;

/// True when a file or folder of that path exists; false for an empty path.
bool PathExists(const CFilePath& path);
/// True when a folder of that path exists.
bool IsFolder(const CFilePath& path);

/// Creates the folder and those above it. True when it exists afterwards or was created.
bool CreateFolderTree(const CFilePath& path);

/// Deletes a file, a read-only one too. True when it is absent or was deleted.
bool DeleteFileForced(const CFilePath& path);

/// Copies a file; true on success.
bool CopyFileTo(const CFilePath& source, const CFilePath& target, bool failIfExists);

/// Opens a C stream whose handle child processes do not inherit; null on failure.
CFileStream OpenFileNoInherit(const CFilePath& path, LPCWSTR mode);

/// The file's size in bytes, as far as 32 signed bits hold it; -1 for a folder or an unreadable
/// file.
int GetFileSize32(const CFilePath& path);
