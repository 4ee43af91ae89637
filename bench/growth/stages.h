#pragma once

#include "bench/support/program.h"

// What is done once for each of many files. All give seconds.

/// A path for one more file of the name "Lesson.folivo" in a folder: arguments FOLDER REPEATS; the
/// time of one.
double NameUniquely(const CArguments& arguments);

/// The list of an archive's entries: arguments ARCHIVE COUNT, the number of entries that it has.
double ListArchive(const CArguments& arguments);

/// The collections that a manifest names, added to a content folder: arguments MANIFEST ARCHIVE
/// FOLDER COUNT, the number of elements that it has.
double AddManifest(const CArguments& arguments);
