#include "bench/helper/other_links.h"

#include <atlbase.h>
#include <exdispid.h>
#include <oleauto.h>

#include <algorithm>
#include <cstdio>
#include <limits>

#include "bench/helper/browser_window.h"
#include "bench/helper/helper_library.h"
#include "bench/helper/import_counter.h"
#include "bench/support/stopwatch.h"
#include "tests/browser/navigation_event.h"

namespace {

constexpr wchar_t kLink[] = L"http://www.example.com/lessons/year-4/fractions/index.html";

// A batch takes less than a millisecond. Of many, some run without another process on the
// processor, however busy the machine is: the shortest tells the time.
constexpr int kEventsInBatch = 1000;
constexpr int kBatchesInRound = 40;

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

/// A contender and the shortest of its batches, in seconds.
class CContender {
 public:
  CContender(const char* name, std::function<void()> batch)
      : m_name(name), m_batch(std::move(batch)) {}

  void RunBatch() {
    const CStopwatch stopwatch;
    m_batch();
    m_shortest = std::min(m_shortest, stopwatch.Elapsed());
  }

  void EndRound() {
    std::printf("%s %.9g\n", m_name, m_shortest / kEventsInBatch);
    m_shortest = kNever;
  }

 private:
  static constexpr double kNever = std::numeric_limits<double>::max();

  const char* m_name;
  std::function<void()> m_batch;
  double m_shortest = kNever;
};

}  // namespace

double MeasureOtherLinks(const CArguments& arguments) {
  const CBrowserWindow browser;
  CSubscriber plugin(arguments[0], browser);
  CSubscriber minimal(arguments[1], browser);
  CComVariant link(kLink);
  CContender contenders[] = {{"plugin", [&] { plugin.Fire(kEventsInBatch); }},
                             {"minimal", [&] { minimal.Fire(kEventsInBatch); }},
                             {"required", [&] { MakeRequiredCalls(link, kEventsInBatch); }}};
  const int rounds = std::stoi(arguments[2]);
  for (int round = 0; round < rounds; ++round) {
    for (int batch = 0; batch < kBatchesInRound; ++batch) {
      for (CContender& contender : contenders) {
        contender.RunBatch();
      }
    }
    for (CContender& contender : contenders) {
      contender.EndRound();
    }
  }
  return rounds;
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
