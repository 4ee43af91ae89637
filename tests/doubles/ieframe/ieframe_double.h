#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>

#include "tests/doubles/ieframe/ieframe_record.h"

/// A test's hold on the double in this process: keeps it loaded, with the record reset.
class CIeFrameDouble {
 public:
  CIeFrameDouble() : m_library(LoadLibraryW(L"ieframe.dll")) {
    const auto reset = reinterpret_cast<CIeFrameRecord* (*)()>(
        reinterpret_cast<void*>(GetProcAddress(m_library, "ResetIeFrameRecord")));
    // Wine's own library has no such function.
    if (reset == nullptr) {
      ADD_FAILURE() << "the program does not run with the double; see folivo_use_ieframe";
      TerminateProcess(GetCurrentProcess(), EXIT_FAILURE);
    }
    m_record = reset();
  }
  ~CIeFrameDouble() { FreeLibrary(m_library); }
  CIeFrameDouble(const CIeFrameDouble&) = delete;
  CIeFrameDouble& operator=(const CIeFrameDouble&) = delete;

  CIeFrameRecord* operator->() const { return m_record; }

 private:
  const HMODULE m_library;
  CIeFrameRecord* m_record;
};
