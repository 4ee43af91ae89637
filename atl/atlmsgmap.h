#pragma once

#include <atldef.h>

namespace ATL {

/// What has a message map.
class ATL_NO_VTABLE CMessageMap {
 public:
  /// TRUE when the message was handled; lResult is then its result. A class has one map, so that
  /// dwMsgMapID is 0.
  virtual BOOL ProcessWindowMessage(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam,
                                    LRESULT& lResult, DWORD dwMsgMapID) = 0;

 protected:
  ~CMessageMap() = default;  // never deleted through this base
};

}  // namespace ATL

// The map is public and overrides CMessageMap's function where the class has that base. It may also
// stand in a class without it, so that "override" cannot be said, of which clang would complain.
#ifdef __clang__
#define ATL_MSG_MAP_DECLARATION_BEGIN \
  _Pragma("clang diagnostic push")    \
      _Pragma("clang diagnostic ignored \"-Winconsistent-missing-override\"")
#define ATL_MSG_MAP_DECLARATION_END _Pragma("clang diagnostic pop")
#else
#define ATL_MSG_MAP_DECLARATION_BEGIN
#define ATL_MSG_MAP_DECLARATION_END
#endif

#define BEGIN_MSG_MAP(theClass)                                                             \
 public:                                                                                    \
  ATL_MSG_MAP_DECLARATION_BEGIN                                                             \
  BOOL ProcessWindowMessage([[maybe_unused]] HWND hWnd, [[maybe_unused]] UINT uMsg,         \
                            [[maybe_unused]] WPARAM wParam, [[maybe_unused]] LPARAM lParam, \
                            [[maybe_unused]] LRESULT& lResult, DWORD /*dwMsgMapID*/ = 0) {  \
    ATL_MSG_MAP_DECLARATION_END                                                             \
    [[maybe_unused]] BOOL bHandled = TRUE;

#define END_MSG_MAP() \
  return FALSE;       \
  }

/// Calls a handler when `condition` holds. It may clear bHandled to let the message go on.
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

/// Goes on in a base class's map.
#define CHAIN_MSG_MAP(theChainClass)                                              \
  if (theChainClass::ProcessWindowMessage(hWnd, uMsg, wParam, lParam, lResult)) { \
    return TRUE;                                                                  \
  }

/// Gives messages that the parent window reflects to its child (OCM_ messages) the default
/// processing of the original ones.
#define DEFAULT_REFLECTION_HANDLER()                                         \
  if (this->DefaultReflectionHandler(hWnd, uMsg, wParam, lParam, lResult)) { \
    return TRUE;                                                             \
  }
