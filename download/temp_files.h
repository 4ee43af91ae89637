#pragma once

#include "download/file_path.h"

/// Returns a path in `folder` where no file exists: the plain name, else the name with a random
/// number in parentheses. `extension` with its dot. Does not create the file.
CFilePath MakeUniqueFilePath(const CFilePath& folder, const CStringW& baseName,
                             const CStringW& extension);

/// Part of the fixed interface; this module does not call it. Returns a path in `parent` where no
/// file or folder exists: the plain name, else name1, name2 ...
CFilePath MakeUniqueFolderPath(const CFilePath& parent, const CStringW& name);

/// Returns a path in the temporary base folder where no file exists. An empty base name is replaced
/// by one made from the process id and the tick count.
CFilePath MakeTempFilePath(const CStringW& extension, const CStringW& baseName);

/// Sets the folder that `MakeTempFilePath` uses; empty for the system's temporary folder. Any
/// thread.
void SetTempBaseFolder(const CFilePath& folder);
/// Returns the folder set by `SetTempBaseFolder`, else the system's temporary folder. Any thread.
CFilePath GetTempBaseFolder();

/// Returns the system's temporary folder; empty when GetTempPathW fails or the path is too long.
CFilePath GetSystemTempFolder();

/// Returns the folder for temporary files of the application named `application`. Does not create
/// it.
CFilePath GetAppTempFilesFolder(const CStringW& application);

/// Returns the same folder after it has tried to create it if it is missing.
CFilePath PrepareAppTempFilesFolder(const CStringW& application);
