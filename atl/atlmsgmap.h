#pragma once

#include <atldef.h>

namespace ATL {

/// Base of classes with a message map.
class CMessageMap {
 public:
  /// Returns TRUE when the message was handled, with its result in lResult. dwMsgMapID is 0: a
  /// class has one map.
  virtual BOOL ProcessWindowMessage(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam,
                                    LRESULT& lResult, DWORD dwMsgMapID) = 0;

 protected:
  ~CMessageMap() = default;
};

}  // namespace ATL

// ProcessWindowMessage is without "override", as the class need not have the base CMessageMap.
#define BEGIN_MSG_MAP(theClass)                                                             \
 public:                                                                                    \
  ATL_BEGIN_UNMARKED_OVERRIDES                                                              \
  BOOL ProcessWindowMessage([[maybe_unused]] HWND hWnd, [[maybe_unused]] UINT uMsg,         \
                            [[maybe_unused]] WPARAM wParam, [[maybe_unused]] LPARAM lParam, \
                            [[maybe_unused]] LRESULT& lResult, DWORD /*dwMsgMapID*/ = 0) {  \
    ATL_END_UNMARKED_OVERRIDES                                                              \
    [[maybe_unused]] BOOL bHandled = TRUE;

#define END_MSG_MAP() \
  return FALSE;       \
  }

/// Calls a handler if `condition` is true. The handler clears bHandled to pass the message on.
#define ATL_MSG_MAP_ENTRY(condition, call) \
  if (condition) {                         \
    bHandled = TRUE;                       \
    lResult = call;                        \
    if (bHandled) {                        \
      return TRUE;                         \
    }                                      \
  }

/// LRESULT func(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled)
#define MESSAGE_HANDLER(msg, func) \
  ATL_MSG_MAP_ENTRY(uMsg == (msg), func(uMsg, wParam, lParam, bHandled))

/// LRESULT func(WORD wNotifyCode, WORD wID, HWND hWndCtl, BOOL& bHandled)
#define COMMAND_HANDLER(id, code, func)                                         \
  ATL_MSG_MAP_ENTRY(                                                            \
      uMsg == WM_COMMAND && (id) == LOWORD(wParam) && (code) == HIWORD(wParam), \
      func(HIWORD(wParam), LOWORD(wParam), reinterpret_cast<HWND>(lParam), bHandled))

/// Continues with the map of a base class.
#define CHAIN_MSG_MAP(theChainClass)                                              \
  if (theChainClass::ProcessWindowMessage(hWnd, uMsg, wParam, lParam, lResult)) { \
    return TRUE;                                                                  \
  }

/// Calls the default procedure for messages that the parent window reflects to its child (OCM_
/// messages).
#define DEFAULT_REFLECTION_HANDLER()                                         \
  if (this->DefaultReflectionHandler(hWnd, uMsg, wParam, lParam, lResult)) { \
    return TRUE;                                                             \
  }
