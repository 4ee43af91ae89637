#pragma once

#include <windows.h>

#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

/// Why there is no number.
class CMeasurementError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Throws a CMeasurementError that says `what` unless `condition` holds.
inline void Demand(bool condition, const char* what) {
  if (!condition) {
    throw CMeasurementError(what);
  }
}

/// The same for a Windows function that has just been called: with its last error.
inline void DemandSuccess(bool condition, const char* what) {
  if (!condition) {
    throw CMeasurementError(std::string(what) + ": error " + std::to_string(GetLastError()));
  }
}

using CArguments = std::vector<std::wstring>;

/// A measurement: its arguments and, as the result, its number.
struct CMeasurement {
  std::size_t argumentCount;
  std::function<double(const CArguments&)> run;
};

/// The body of a program `NAME MODE ARGUMENTS...`: prints the number that the mode's measurement
/// gives, alone on a line. The program's exit code: 0, 1 when there was no number, 2 for wrong
/// arguments.
int RunMeasurement(int argc, wchar_t** argv,
                   const std::map<std::wstring, CMeasurement>& measurements);
