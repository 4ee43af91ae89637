#pragma once

#include <atlbase.h>
#include <windows.h>

#include <algorithm>
#include <iterator>
#include <string>

/// The arguments of one BeforeNavigate2 event in the shape in which the browser's control sends
/// them: the URL behind a reference to a variant, the cancel flag by reference. A test may change
/// any of it before it hands `Params` on.
class CNavigationEvent {
 public:
  static constexpr UINT kArgumentCount = 7;

  explicit CNavigationEvent(const std::wstring& url) : m_url(url.c_str()) {
    m_arguments[0].vt = VT_BYREF | VT_BOOL;
    m_arguments[0].pboolVal = &m_flag.value;
    m_arguments[5].vt = VT_BYREF | VT_VARIANT;
    m_arguments[5].pvarVal = &m_url;
  }
  CNavigationEvent(const CNavigationEvent&) = delete;
  CNavigationEvent& operator=(const CNavigationEvent&) = delete;

  DISPPARAMS* Params() { return &m_params; }
  /// The argument at this index of rgvarg, which counts from the last one.
  VARIANT& Argument(UINT index) { return m_arguments[index]; }
  /// The variant that the URL argument refers to.
  CComVariant& Url() { return m_url; }

  bool Cancelled() const { return m_flag.value != VARIANT_FALSE; }
  /// Whether the flag is VARIANT_TRUE or VARIANT_FALSE, and the bytes around it are as they were.
  bool FlagIntact() const {
    return (m_flag.value == VARIANT_TRUE || m_flag.value == VARIANT_FALSE) &&
           m_flag.before == kGuard && m_flag.after == kGuard &&
           std::all_of(std::begin(m_flag.behind), std::end(m_flag.behind),
                       [](USHORT word) { return word == 0xA5A5; });
  }

 private:
  static constexpr ULONGLONG kGuard = 0xA5A5A5A5A5A5A5A5;
  struct CGuardedFlag {
    ULONGLONG before = kGuard;
    VARIANT_BOOL value = VARIANT_FALSE;
    USHORT behind[3] = {0xA5A5, 0xA5A5, 0xA5A5};
    ULONGLONG after = kGuard;
  };

  CGuardedFlag m_flag;
  CComVariant m_url;
  VARIANT m_arguments[kArgumentCount] = {};  // hold nothing of their own
  DISPPARAMS m_params = {m_arguments, nullptr, kArgumentCount, 0};
};
