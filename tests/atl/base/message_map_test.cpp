#include <gtest/gtest.h>

#include <atlwin.h>

#include <string>

namespace {

/// Writes down which handler a message reached.
class CBaseMap : public CMessageMap {
 public:
  // clang-format off
  BEGIN_MSG_MAP(CBaseMap)
    MESSAGE_HANDLER(WM_TIMER, OnTimer)
  END_MSG_MAP()
  // clang-format on

  LRESULT OnTimer(UINT, WPARAM, LPARAM, BOOL&) { return Log(L"base-timer;", 1); }
  LRESULT Log(const wchar_t* text, LRESULT result) {
    m_log += text;
    return result;
  }
  std::wstring m_log;

 protected:
  ~CBaseMap() = default;
};

class CTestMap final : public CBaseMap {
 public:
  // clang-format off
  BEGIN_MSG_MAP(CTestMap)
    MESSAGE_HANDLER(WM_USER, OnUserPass)
    MESSAGE_HANDLER(WM_USER, OnUser)
    COMMAND_HANDLER(IDOK, 4, OnCommand)
    CHAIN_MSG_MAP(CBaseMap)
  END_MSG_MAP()
  // clang-format on

  LRESULT OnUserPass(UINT, WPARAM, LPARAM, BOOL& handled) {
    handled = FALSE;
    return Log(L"pass;", 98);
  }
  LRESULT OnUser(UINT message, WPARAM wParam, LPARAM lParam, BOOL& handled) {
    EXPECT_TRUE(handled);
    EXPECT_EQ(static_cast<UINT>(WM_USER), message);
    return Log(L"user;", static_cast<LRESULT>(wParam) + lParam);
  }
  LRESULT OnCommand(WORD code, WORD id, HWND control, BOOL&) {
    EXPECT_EQ(reinterpret_cast<HWND>(0x1234), control);
    return Log(L"command;", code * 1000 + id);
  }

  /// The result, or -1 for an unhandled message.
  LRESULT Send(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
    LRESULT result = 99;
    return ProcessWindowMessage(nullptr, message, wParam, lParam, result) ? result : -1;
  }
  LRESULT Command(WORD id, WORD code) { return Send(WM_COMMAND, MAKEWPARAM(id, code), 0x1234); }
};

TEST(MessageMap, HandlersAreTriedInOrderUntilOneHandles) {
  CTestMap map;
  EXPECT_EQ(7, map.Send(WM_USER, 3, 4));
  EXPECT_EQ(4000 + IDOK, map.Command(IDOK, 4));
  EXPECT_EQ(1, map.Send(WM_TIMER));
  EXPECT_EQ(L"pass;user;command;base-timer;", map.m_log);
}

TEST(MessageMap, OtherMessagesAreNotHandled) {
  CTestMap map;
  EXPECT_EQ(-1, map.Send(WM_PAINT));
  EXPECT_EQ(-1, map.Command(IDOK, 1));
  EXPECT_EQ(-1, map.Command(IDCANCEL, 4));
  EXPECT_EQ(L"", map.m_log);
}

}  // namespace
