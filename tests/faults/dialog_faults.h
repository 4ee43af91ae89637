#pragma once

// The tables that the dialogs of lessons and of archives share are compiled for each.
#ifdef FOLIVO_ARCHIVE_FAULTS
#include "tests/faults/archive_faults.h"
using TransferFaults = ArchiveFaults;
#else
#include "tests/faults/lesson_faults.h"
using TransferFaults = LessonFaults;
#endif
