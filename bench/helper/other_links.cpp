#include "bench/helper/other_links.h"

#include <atlbase.h>
#include <exdispid.h>
#include <oleauto.h>

#include <cstdio>

#include "bench/helper/browser_window.h"
#include "bench/helper/helper_library.h"
#include "bench/helper/import_counter.h"
#include "bench/support/contender.h"
#include "bench/support/stopwatch.h"
#include "tests/browser/navigation_event.h"

namespace {

constexpr wchar_t kLink[] = L"http://www.example.com/lessons/year-4/fractions/index.html";

// A batch takes less than a millisecond. Of many, some run without another process on the
// processor, however busy the machine is: the shortest tells the time.
constexpr int kEventsInBatch = 1000;
constexpr int kBatchesInRound = 40;
constexpr double kSeconds = 5;

/// A helper object out of a DLL, subscribed to a browser.
class CSubscriber {
 public:
  CSubscriber(const std::wstring& dll, const CBrowserWindow& browser)
      : m_library(dll), m_helper(m_library.CreateHelper()), m_sink(m_helper) {
    browser.Attach(*m_helper.p);
  }

  HMODULE Module() const { return m_library.Module(); }

  /// Sends it so many events of the link.
  void Fire(int count) {
    for (int i = 0; i < count; ++i) {
      Demand(m_sink->Invoke(DISPID_BEFORENAVIGATE2, IID_NULL, LOCALE_SYSTEM_DEFAULT,
                            DISPATCH_METHOD, m_event.Params(), nullptr, nullptr, nullptr) == S_OK,
             "the event failed");
    }
    Demand(!m_event.Cancelled(), "the helper object took the link over");
  }

 private:
  CHelperLibrary m_library;  // first: the others' code is in it
  CComPtr<IObjectWithSite> m_helper;
  CComQIPtr<IDispatch> m_sink;
  CNavigationEvent m_event{kLink};
};

/// What the product has to call to read the URL.
void MakeRequiredCalls(VARIANT& link, int count) {
  for (int i = 0; i < count; ++i) {
    VARIANT url;
    VariantInit(&url);
    Demand(SUCCEEDED(VariantCopy(&url, &link)), "VariantCopy");
    Demand(SUCCEEDED(VariantChangeType(&url, &url, 0, VT_BSTR)), "VariantChangeType");
    VariantClear(&url);
  }
}

/// Seconds for one of a batch.
template <typename Batch>
double TimeOfOne(Batch batch) {
  const CStopwatch stopwatch;
  batch(kEventsInBatch);
  return stopwatch.Elapsed() / kEventsInBatch;
}

}  // namespace

double MeasureOtherLinks(const CArguments& arguments) {
  const CBrowserWindow browser;
  CSubscriber plugin(arguments[0], browser);
  CSubscriber minimal(arguments[1], browser);
  CComVariant link(kLink);
  return TakeTurns(
      {{"plugin", [&] { return TimeOfOne([&](int count) { plugin.Fire(count); }); }},
       {"minimal", [&] { return TimeOfOne([&](int count) { minimal.Fire(count); }); }},
       {"required", [&] { return TimeOfOne([&](int count) { MakeRequiredCalls(link, count); }); }}},
      {std::stoi(arguments[2]), kBatchesInRound, kSeconds});
}

double CountCalls(const CArguments& arguments) {
  const CBrowserWindow browser;
  CSubscriber plugin(arguments[0], browser);
  const CImportCounter counter(plugin.Module());
  plugin.Fire(std::stoi(arguments[1]));
  LONGLONG total = 0;
  for (const CImportCounter::CCount& count : counter.Calls()) {
    std::printf("%s %s %lld\n", count.library.c_str(), count.function.c_str(), count.calls);
    total += count.calls;
  }
  return static_cast<double>(total);
}
