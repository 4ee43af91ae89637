#pragma once

#include "tests/support/import_patch.h"

/// Lets one of this program's writes meet a full disk. One at a time.
class CFullDisk {
 public:
  /// `failing`: which write of more than a thousand bytes, counted from 1.
  explicit CFullDisk(int failing);
  CFullDisk(const CFullDisk&) = delete;
  CFullDisk& operator=(const CFullDisk&) = delete;

  /// How many such writes there were, the failed one included.
  int Writes() const;

 private:
  CImportPatch m_patch;
};
