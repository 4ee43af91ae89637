#include "bench/helper/prompt.h"

#include <exdispid.h>

#include "bench/helper/shown_dialog.h"
#include "bench/support/internet_request.h"
#include "bench/support/program.h"
#include "tests/browser/navigation_event.h"

namespace {

constexpr DWORD kHeadSize = 800;  // as the product reads for its check

}  // namespace

double TimePrompt(IObjectWithSite& helper, const std::wstring& url) {
  const CComQIPtr<IDispatch> sink(&helper);
  CNavigationEvent event(url);
  const CShownDialog shown;
  sink->Invoke(DISPID_BEFORENAVIGATE2, IID_NULL, LOCALE_SYSTEM_DEFAULT, DISPATCH_METHOD,
               event.Params(), nullptr, nullptr, nullptr);
  Demand(event.Cancelled(), "the helper object left the link to the browser");
  return shown.TimeUntilShown();
}

double TimeBarePrompt(const CBrowserWindow& browser, const std::wstring& url) {
  const CShownDialog shown;
  const CInternetRequest request(url);
  BYTE head[kHeadSize];
  Demand(request.Read(head, kHeadSize) == kHeadSize, "there is no body");
  MessageBoxW(browser.Window(), L"Would you like to open or save this Folivo file?",
              L"File Download", MB_YESNOCANCEL | MB_ICONQUESTION);
  return shown.TimeUntilShown();
}
