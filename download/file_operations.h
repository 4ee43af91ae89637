#pragma once

#include <cstddef>
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

/// Creates the folder, and those above it that are missing. Returns true when the path existed
/// before or the folder was created.
bool CreateFolderTree(const CFilePath& path);

/// Deletes a file, even a read-only one. Returns true when it is missing or was deleted.
bool DeleteFileForced(const CFilePath& path);

/// Copies a file. Returns true on success.
bool CopyFileTo(const CFilePath& source, const CFilePath& target, bool failIfExists);

/// Opens a C stream whose handle child processes do not inherit; null on failure.
CFileStream OpenFileNoInherit(const CFilePath& path, LPCWSTR mode);

/// Creates or replaces a file with these bytes; `mode` as for fopen. Returns true on success.
/// Deletes the file after a failed write.
bool WriteWholeFile(const CFilePath& path, LPCWSTR mode, const void* data, size_t size);

/// Part of the fixed interface; this module does not call it. Returns the file's size in bytes, as
/// a signed 32-bit value; -1 for a folder and for a file that is missing or cannot be read.
int GetFileSize32(const CFilePath& path);
