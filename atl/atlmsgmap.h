#pragma once

#include <atlbase.h>

namespace ATL {

/// What has a message map.
class ATL_NO_VTABLE CMessageMap {
 public:
  /// TRUE when the message was handled; lResult is then its result. dwMsgMapID selects the map.
  virtual BOOL ProcessWindowMessage(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam,
                                    LRESULT& lResult, DWORD dwMsgMapID) = 0;

 protected:
  ~CMessageMap() = default;  // never deleted through this base
};

/// The message being processed.
struct _ATL_MSG : MSG {
  _ATL_MSG(HWND hWnd, UINT uMsg, WPARAM wParamIn, LPARAM lParamIn) noexcept : MSG{} {
    hwnd = hWnd;
    message = uMsg;
    wParam = wParamIn;
    lParam = lParamIn;
  }
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
                            [[maybe_unused]] LRESULT& lResult, DWORD dwMsgMapID = 0) {      \
    ATL_MSG_MAP_DECLARATION_END                                                             \
    [[maybe_unused]] BOOL bHandled = TRUE;                                                  \
    switch (dwMsgMapID) {                                                                   \
      case 0:

/// Starts an alternate map, reached with dwMsgMapID == msgMapID.
#define ALT_MSG_MAP(msgMapID) \
  break;                      \
  case (msgMapID):

#define END_MSG_MAP() \
  break;              \
  default:            \
    ATLASSERT(FALSE); \
    break;            \
    }                 \
    return FALSE;     \
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
#define MESSAGE_RANGE_HANDLER(msgFirst, msgLast, func) \
  ATL_MSG_MAP_ENTRY(uMsg >= (msgFirst) && uMsg <= (msgLast), func(uMsg, wParam, lParam, bHandled))

/// LRESULT func(WORD wNotifyCode, WORD wID, HWND hWndCtl, BOOL& bHandled)
#define ATL_COMMAND_ENTRY(condition, func) \
  ATL_MSG_MAP_ENTRY(                       \
      uMsg == WM_COMMAND && (condition),   \
      func(HIWORD(wParam), LOWORD(wParam), reinterpret_cast<HWND>(lParam), bHandled))
#define COMMAND_HANDLER(id, code, func) \
  ATL_COMMAND_ENTRY((id) == LOWORD(wParam) && (code) == HIWORD(wParam), func)
#define COMMAND_ID_HANDLER(id, func) ATL_COMMAND_ENTRY((id) == LOWORD(wParam), func)
#define COMMAND_CODE_HANDLER(code, func) ATL_COMMAND_ENTRY((code) == HIWORD(wParam), func)
#define COMMAND_RANGE_HANDLER(idFirst, idLast, func) \
  ATL_COMMAND_ENTRY(LOWORD(wParam) >= (idFirst) && LOWORD(wParam) <= (idLast), func)

/// LRESULT func(int idCtrl, LPNMHDR pnmh, BOOL& bHandled)
#define NOTIFY_HANDLER(id, cd, func)                                                          \
  ATL_MSG_MAP_ENTRY(uMsg == WM_NOTIFY && (id) == reinterpret_cast<LPNMHDR>(lParam)->idFrom && \
                        (cd) == reinterpret_cast<LPNMHDR>(lParam)->code,                      \
                    func(static_cast<int>(wParam), reinterpret_cast<LPNMHDR>(lParam), bHandled))

/// Goes on in a base class's map, or in one of a base's alternate maps.
#define CHAIN_MSG_MAP(theChainClass)                                              \
  if (theChainClass::ProcessWindowMessage(hWnd, uMsg, wParam, lParam, lResult)) { \
    return TRUE;                                                                  \
  }
#define CHAIN_MSG_MAP_ALT(theChainClass, msgMapID)                                          \
  if (theChainClass::ProcessWindowMessage(hWnd, uMsg, wParam, lParam, lResult, msgMapID)) { \
    return TRUE;                                                                            \
  }

/// Gives messages that the parent window reflects to its child (OCM_ messages) the default
/// processing of the original ones.
#define DEFAULT_REFLECTION_HANDLER()                                         \
  if (this->DefaultReflectionHandler(hWnd, uMsg, wParam, lParam, lResult)) { \
    return TRUE;                                                             \
  }
