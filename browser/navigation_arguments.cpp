#include "browser/navigation_arguments.h"

#include "base/exception_boundary.h"

namespace {

// DISPPARAMS holds the arguments in reverse order.
constexpr UINT kCancelArgument = 0;
constexpr UINT kUrlArgument = 5;

}  // namespace

bool HasNavigationArguments(const DISPPARAMS& params) {
  return params.cArgs > kUrlArgument && params.rgvarg != nullptr;
}

CStringW GetNavigationUrl(const DISPPARAMS& params) {
  VARIANT* argument = &params.rgvarg[kUrlArgument];
  if (argument->vt == (VT_BYREF | VT_VARIANT)) {
    argument = argument->pvarVal;
    if (argument == nullptr) {
      return {};
    }
  }
  CComVariant url;
  const HRESULT copied = VariantCopy(&url, argument);
  if (FAILED(copied)) {
    AtlThrow(copied);
  }
  if (FAILED(VariantChangeType(&url, &url, 0, VT_BSTR))) {
    return {};
  }
  CStringW text;
  // Out of memory gives an empty URL, with which the browser navigates as usual.
  CallGuarded([&] { text = url.bstrVal; });
  return text;
}

void CancelNavigation(const DISPPARAMS& params) {
  const VARIANT& cancel = params.rgvarg[kCancelArgument];
  if (cancel.vt == (VT_BYREF | VT_BOOL) && cancel.pboolVal != nullptr) {
    *cancel.pboolVal = VARIANT_TRUE;
  } else if (cancel.vt == (VT_BYREF | VT_VARIANT) && cancel.pvarVal != nullptr) {
    VariantClear(cancel.pvarVal);
    cancel.pvarVal->vt = VT_BOOL;
    cancel.pvarVal->boolVal = VARIANT_TRUE;
  }
}
