// A helper object as the browser uses it, out of the DLL that is named:
//   bench_helper load DLL             seconds to load the DLL, make the object and set its site
//   bench_helper events DLL COUNT     seconds for so many events of a link that is none of ours
//   bench_helper conversions COUNT    seconds for so many copies and conversions of that link's
//                                     text by the system's calls alone
//   bench_helper calls DLL COUNT      calls of imported functions under them, one line for each
//                                     function and, last, their number
//   bench_helper prompt DLL URL       seconds from the click on a lesson until the question
//   bench_helper bare-prompt URL      the same by system calls alone

#include <exdispid.h>

#include <cstdio>

#include "bench/helper/browser_window.h"
#include "bench/helper/helper_library.h"
#include "bench/helper/import_counter.h"
#include "bench/helper/prompt.h"
#include "bench/support/program.h"
#include "bench/support/stopwatch.h"
#include "tests/browser/navigation_event.h"

namespace {

constexpr wchar_t kOtherLink[] = L"http://www.example.com/lessons/year-4/fractions/index.html";
constexpr int kWarmUpEvents = 1000;

double MeasureLoad(const CArguments& arguments) {
  const CBrowserWindow browser;
  const CStopwatch stopwatch;
  const CHelperLibrary library(arguments[0]);
  const CComPtr<IObjectWithSite> helper = library.CreateHelper();
  browser.Attach(*helper.p);
  return stopwatch.Elapsed();
}

void FireEvents(IDispatch& sink, int count) {
  CNavigationEvent event(kOtherLink);
  for (int i = 0; i < count; ++i) {
    if (sink.Invoke(DISPID_BEFORENAVIGATE2, IID_NULL, LOCALE_SYSTEM_DEFAULT, DISPATCH_METHOD,
                    event.Params(), nullptr, nullptr, nullptr) != S_OK) {
      throw CMeasurementError("the event failed");
    }
  }
  Demand(!event.Cancelled(), "the helper object took the link over");
}

double MeasureEvents(const CArguments& arguments) {
  const CBrowserWindow browser;
  const CHelperLibrary library(arguments[0]);
  const CComPtr<IObjectWithSite> helper = library.CreateHelper();
  browser.Attach(*helper.p);
  const CComQIPtr<IDispatch> sink(helper);
  FireEvents(*sink.p, kWarmUpEvents);
  const CStopwatch stopwatch;
  FireEvents(*sink.p, std::stoi(arguments[1]));
  return stopwatch.Elapsed();
}

double MeasureConversions(const CArguments& arguments) {
  const int count = std::stoi(arguments[0]);
  CComVariant link(kOtherLink);
  const CStopwatch stopwatch;
  for (int i = 0; i < count; ++i) {
    CComVariant url;
    Demand(SUCCEEDED(VariantCopy(&url, &link)), "VariantCopy");
    Demand(SUCCEEDED(VariantChangeType(&url, &url, 0, VT_BSTR)), "VariantChangeType");
  }
  return stopwatch.Elapsed();
}

double CountCalls(const CArguments& arguments) {
  const CBrowserWindow browser;
  const CHelperLibrary library(arguments[0]);
  const CComPtr<IObjectWithSite> helper = library.CreateHelper();
  browser.Attach(*helper.p);
  const CComQIPtr<IDispatch> sink(helper);
  const CImportCounter counter(library.Module());
  FireEvents(*sink.p, std::stoi(arguments[1]));
  LONGLONG total = 0;
  for (const CImportCounter::CCount& count : counter.Calls()) {
    std::printf("%s %s %lld\n", count.library.c_str(), count.function.c_str(), count.calls);
    total += count.calls;
  }
  return static_cast<double>(total);
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
                         {L"events", {2, MeasureEvents}},
                         {L"conversions", {1, MeasureConversions}},
                         {L"calls", {2, CountCalls}},
                         {L"prompt", {2, MeasurePrompt}},
                         {L"bare-prompt", {1, MeasureBarePrompt}}});
}
