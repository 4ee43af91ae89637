// Whole transfers to one file, by the product's dialog and by its peers:
//   bench_transfer turns URL FILE SIZE ROUNDS SECONDS          seconds, for each round and each way
//   bench_transfer dialog-memory URL FILE                      peak working set, bytes
//   bench_transfer dialog-silence URL FILE                     longest silence of the browser, s
//   bench_transfer idle-silence SECONDS                        the same of a browser at rest

#include <windows.h>

#include <psapi.h>

#include "bench/support/program.h"
#include "bench/support/stopwatch.h"
#include "bench/transfer/answer_watch.h"
#include "bench/transfer/dialog_download.h"
#include "bench/transfer/turns.h"

namespace {

double PeakMemory() {
  PROCESS_MEMORY_COUNTERS counters = {};
  DemandSuccess(GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters)) != FALSE,
                "GetProcessMemoryInfo");
  return static_cast<double>(counters.PeakWorkingSetSize);
}

double MeasureMemory(const CArguments& arguments) {
  DownloadByDialog(arguments[0], arguments[1]);
  return PeakMemory();
}

double MeasureSilence(const CArguments& arguments) {
  CAnswerWatch watch;
  DownloadByDialog(arguments[0], arguments[1]);
  return watch.LongestSilence();
}

double MeasureIdleSilence(const CArguments& arguments) {
  CAnswerWatch watch;
  const double seconds = std::stod(arguments[0]);
  for (const CStopwatch stopwatch; stopwatch.Elapsed() < seconds;) {
    watch.ServeOneMessage();
  }
  return watch.LongestSilence();
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  return RunMeasurement(argc, argv,
                        {{L"turns", {5, MeasureTransfers}},
                         {L"dialog-memory", {2, MeasureMemory}},
                         {L"dialog-silence", {2, MeasureSilence}},
                         {L"idle-silence", {1, MeasureIdleSilence}}});
}
