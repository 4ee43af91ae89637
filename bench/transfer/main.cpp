// Whole transfers of one URL to one file, by the product's dialog and by its peers:
//   bench_transfer dialog|loop|loop-and-copy|required|urlmon URL FILE   seconds
//   bench_transfer dialog-memory URL FILE                      peak working set, bytes
//   bench_transfer dialog-silence URL FILE                     longest silence of the browser, s
//   bench_transfer idle-silence SECONDS                        the same of a browser at rest

#include <windows.h>

#include <psapi.h>
#include <wininet.h>

#include "bench/support/program.h"
#include "bench/support/stopwatch.h"
#include "bench/transfer/answer_watch.h"
#include "bench/transfer/dialog_download.h"
#include "bench/transfer/peers.h"
#include "bench/transfer/required_calls.h"

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

template <void Download(const std::wstring&, const std::wstring&)>
double MeasureTime(const CArguments& arguments) {
  const CStopwatch stopwatch;
  Download(arguments[0], arguments[1]);
  return stopwatch.Elapsed();
}

double MeasureUrlmon(const CArguments& arguments) {
  const double time = MeasureTime<DownloadByUrlmon>(arguments);
  DeleteUrlCacheEntryW(arguments[0].c_str());  // or the disk would fill up
  return time;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  return RunMeasurement(argc, argv,
                        {{L"dialog", {2, MeasureTime<DownloadByDialog>}},
                         {L"loop", {2, MeasureTime<DownloadByLoop>}},
                         {L"loop-and-copy", {2, MeasureTime<DownloadByLoopAndCopy>}},
                         {L"required", {2, MeasureTime<DownloadByRequiredCalls>}},
                         {L"urlmon", {2, MeasureUrlmon}},
                         {L"dialog-memory", {2, MeasureMemory}},
                         {L"dialog-silence", {2, MeasureSilence}},
                         {L"idle-silence", {1, MeasureIdleSilence}}});
}
