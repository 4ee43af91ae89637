#pragma once

#include "download/file_path.h"

/// A path in `folder` that names no existing file: the name itself, then the name with a random
/// number in parentheses. `extension` with its dot. Creates nothing.
CFilePath MakeUniqueFilePath(const CStringW& folder, const CStringW& baseName,
                             const CStringW& extension);

/// A path in `parent` that names no existing file or folder: the name itself, then name1, name2 ...
CFilePath MakeUniqueFolderPath(const CStringW& parent, const CStringW& name);

/// A unique path in the temporary base folder; an empty base name stands for one made from the
/// process id and the tick count.
CFilePath MakeTempFilePath(const CStringW& extension, const CStringW& baseName);

/// Sets the folder that `MakeTempFilePath` uses; empty returns to the system's. Any thread.
void SetTempBaseFolder(const CStringW& folder);
/// The folder set by `SetTempBaseFolder`, else the system's temporary folder.
CFilePath GetTempBaseFolder();

/// The system's temporary folder; empty when it cannot be told or is too long.
CFilePath GetSystemTempFolder();

/// The folder for temporary files of the application named `application`. Creates nothing.
CFilePath GetAppTempFilesFolder(const CStringW& application);
