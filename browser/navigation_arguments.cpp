#include "browser/navigation_arguments.h"

#include <utility>

namespace {

// DISPPARAMS holds the arguments in reverse order.
constexpr UINT kCancelArgument = 0;
constexpr UINT kUrlArgument = 5;

}  // namespace

bool HasNavigationArguments(const DISPPARAMS& params) {
  return params.cArgs > kUrlArgument && params.rgvarg != nullptr;
}

CComBSTR GetNavigationUrl(const DISPPARAMS& params) {
  CComBSTR url;
  VARIANT* argument = &params.rgvarg[kUrlArgument];
  if (argument->vt == (VT_BYREF | VT_VARIANT)) {
    argument = argument->pvarVal;
    if (argument == nullptr) {
      return url;
    }
  }
  CComVariant copy;
  const HRESULT copied = VariantCopy(&copy, argument);
  if (FAILED(copied)) {
    AtlThrow(copied);
  }
  if (SUCCEEDED(VariantChangeType(&copy, &copy, 0, VT_BSTR))) {
    std::swap(url.m_str, copy.bstrVal);  // nearly every URL is only looked at: no second copy
  }
  return url;
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
