// A helper object as the browser uses it, out of the DLL that is named:
//   bench_helper load DLL             seconds to load the DLL, make the object and set its site
//   bench_helper other-links DLL MINIMAL_DLL ROUNDS
//                                     seconds for one event of a link that is none of ours, for
//                                     each round and contender
//   bench_helper calls DLL COUNT      calls of imported functions under so many such events, one
//                                     line for each function and, last, their number
//   bench_helper prompt DLL URL       seconds from the click on a lesson until the question
//   bench_helper bare-prompt URL      the same by system calls alone

#include "bench/helper/browser_window.h"
#include "bench/helper/helper_library.h"
#include "bench/helper/other_links.h"
#include "bench/helper/prompt.h"
#include "bench/support/program.h"
#include "bench/support/stopwatch.h"

namespace {

double MeasureLoad(const CArguments& arguments) {
  const CBrowserWindow browser;
  const CStopwatch stopwatch;
  const CHelperLibrary library(arguments[0]);
  const CComPtr<IObjectWithSite> helper = library.CreateHelper();
  browser.Attach(*helper.p);
  return stopwatch.Elapsed();
}

double MeasurePrompt(const CArguments& arguments) {
  const CBrowserWindow browser;
  const CHelperLibrary library(arguments[0]);
  const CComPtr<IObjectWithSite> helper = library.CreateHelper();
  browser.Attach(*helper.p);
  TimePrompt(*helper.p, arguments[1]);  // loads fonts, libraries and the like
  return TimePrompt(*helper.p, arguments[1]);
}

double MeasureBarePrompt(const CArguments& arguments) {
  const CBrowserWindow browser;
  TimeBarePrompt(browser, arguments[0]);
  return TimeBarePrompt(browser, arguments[0]);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  return RunMeasurement(argc, argv,
                        {{L"load", {1, MeasureLoad}},
                         {L"other-links", {3, MeasureOtherLinks}},
                         {L"calls", {2, CountCalls}},
                         {L"prompt", {2, MeasurePrompt}},
                         {L"bare-prompt", {1, MeasureBarePrompt}}});
}
