#pragma once

// Included into mutated sources only: which of the faults in this build is planted, and which are
// reached. Both are decided when the program starts: tests replace system functions later.

#include <windows.h>

#include <cstdlib>

namespace folivo_faults {

/// `reached`: one byte for each fault, null unless the environment names a file for them.
struct CSwitch {
  int planted;
  volatile unsigned char* reached;
};

inline CSwitch ReadEnvironment() noexcept {
  const char* const number = std::getenv("FOLIVO_FAULT");
  CSwitch result{number ? std::atoi(number) : 0, nullptr};
  const char* const path = std::getenv("FOLIVO_FAULTS_REACHED");
  if (path) {
    const HANDLE file =
        CreateFileA(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
    const HANDLE mapping = CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 0, nullptr);
    if (mapping) {
      // The view stays until the process ends.
      result.reached = static_cast<unsigned char*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0));
      CloseHandle(mapping);
    }
    CloseHandle(file);
  }
  return result;
}

inline const CSwitch fault_switch = ReadEnvironment();

inline bool IsPlanted(int number) noexcept {
  if (fault_switch.reached) {
    fault_switch.reached[number] = 1;
  }
  return fault_switch.planted == number;
}

}  // namespace folivo_faults

#define FOLIVO_FAULT(number) (::folivo_faults::IsPlanted(number))
