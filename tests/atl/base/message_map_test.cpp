#include <gtest/gtest.h>

#include <atlstr.h>
#include <atlwin.h>

namespace {

/// Writes down which handler a message reached.
class CBaseMap : public CMessageMap {
 public:
  // clang-format off
  BEGIN_MSG_MAP(CBaseMap)
    MESSAGE_HANDLER(WM_TIMER, OnTimer)
  ALT_MSG_MAP(7)
    MESSAGE_HANDLER(WM_SIZE, OnSize)
  END_MSG_MAP()
  // clang-format on

  LRESULT OnTimer(UINT, WPARAM, LPARAM, BOOL&) { return Log(L"base-timer", 1); }
  LRESULT OnSize(UINT, WPARAM, LPARAM, BOOL&) { return Log(L"base-alt-size", 2); }

  LRESULT Log(const wchar_t* text, LRESULT result) {
    m_log += text;
    m_log += L";";
    return result;
  }
  CString m_log;

 protected:
  ~CBaseMap() = default;
};

class CTestMap final : public CBaseMap {
 public:
  enum { kFirst = 100, kLast = 110 };

  // clang-format off
  BEGIN_MSG_MAP(CTestMap)
    MESSAGE_HANDLER(WM_USER, OnUserPass)
    MESSAGE_HANDLER(WM_USER, OnUser)
    MESSAGE_RANGE_HANDLER(WM_USER + 1, WM_USER + 5, OnRange)
    COMMAND_HANDLER(IDOK, 0, OnCommand)
    COMMAND_ID_HANDLER(IDCANCEL, OnCommand)
    COMMAND_CODE_HANDLER(9, OnCommand)
    COMMAND_RANGE_HANDLER(kFirst, kLast, OnCommand)
    NOTIFY_HANDLER(55, NM_CLICK, OnNotify)
    CHAIN_MSG_MAP(CBaseMap)
    CHAIN_MSG_MAP_ALT(CBaseMap, 7)
  ALT_MSG_MAP(1)
    MESSAGE_HANDLER(WM_USER, OnAltUser)
  END_MSG_MAP()
  // clang-format on

  LRESULT OnUserPass(UINT, WPARAM, LPARAM, BOOL& handled) {
    handled = FALSE;
    return Log(L"pass", 98);
  }
  LRESULT OnUser(UINT message, WPARAM wParam, LPARAM lParam, BOOL& handled) {
    EXPECT_TRUE(handled);
    EXPECT_EQ(static_cast<UINT>(WM_USER), message);
    return Log(L"user", static_cast<LRESULT>(wParam) + lParam);
  }
  LRESULT OnRange(UINT message, WPARAM, LPARAM, BOOL&) { return Log(L"range", message); }
  LRESULT OnCommand(WORD code, WORD id, HWND control, BOOL&) {
    EXPECT_EQ(reinterpret_cast<HWND>(0x1234), control);
    return Log(L"command", code * 1000 + id);
  }
  LRESULT OnNotify(int id, LPNMHDR header, BOOL&) {
    EXPECT_EQ(55U, header->idFrom);
    return Log(L"notify", id);
  }
  LRESULT OnAltUser(UINT, WPARAM, LPARAM, BOOL&) { return Log(L"alt", 5); }

  /// The result, or -1 for an unhandled message.
  LRESULT Send(UINT message, WPARAM wParam = 0, LPARAM lParam = 0, DWORD map = 0) {
    LRESULT result = 99;
    return ProcessWindowMessage(nullptr, message, wParam, lParam, result, map) ? result : -1;
  }
  LRESULT Command(WORD id, WORD code) { return Send(WM_COMMAND, MAKEWPARAM(id, code), 0x1234); }
};

TEST(MessageMap, HandlersAreTriedInOrderUntilOneHandles) {
  CTestMap map;
  EXPECT_EQ(7, map.Send(WM_USER, 3, 4));
  EXPECT_STREQ(L"pass;user;", map.m_log);
}

TEST(MessageMap, UnhandledMessage) {
  CTestMap map;
  EXPECT_EQ(-1, map.Send(WM_PAINT));
  EXPECT_STREQ(L"", map.m_log);
}

TEST(MessageMap, Ranges) {
  CTestMap map;
  EXPECT_EQ(WM_USER + 1, map.Send(WM_USER + 1));
  EXPECT_EQ(WM_USER + 5, map.Send(WM_USER + 5));
  EXPECT_EQ(-1, map.Send(WM_USER + 6));
}

TEST(MessageMap, Commands) {
  CTestMap map;
  EXPECT_EQ(IDOK, map.Command(IDOK, 0));
  EXPECT_EQ(-1, map.Command(IDOK, 1));
  EXPECT_EQ(4000 + IDCANCEL, map.Command(IDCANCEL, 4));
  EXPECT_EQ(9500, map.Command(500, 9));
  EXPECT_EQ(-1, map.Command(99, 0));
  EXPECT_EQ(100, map.Command(100, 0));
  EXPECT_EQ(110, map.Command(110, 0));
  EXPECT_EQ(-1, map.Command(111, 0));
}

TEST(MessageMap, Notifications) {
  CTestMap map;
  NMHDR header = {nullptr, 55, static_cast<UINT>(NM_CLICK)};
  EXPECT_EQ(55, map.Send(WM_NOTIFY, 55, reinterpret_cast<LPARAM>(&header)));
  header.code = static_cast<UINT>(NM_RCLICK);
  EXPECT_EQ(-1, map.Send(WM_NOTIFY, 55, reinterpret_cast<LPARAM>(&header)));
  header = {nullptr, 56, static_cast<UINT>(NM_CLICK)};
  EXPECT_EQ(-1, map.Send(WM_NOTIFY, 56, reinterpret_cast<LPARAM>(&header)));
}

TEST(MessageMap, ChainsAndAlternateMaps) {
  CTestMap map;
  EXPECT_EQ(1, map.Send(WM_TIMER));
  EXPECT_EQ(2, map.Send(WM_SIZE));
  EXPECT_EQ(5, map.Send(WM_USER, 0, 0, 1));
  EXPECT_EQ(-1, map.Send(WM_TIMER, 0, 0, 1));
  EXPECT_STREQ(L"base-timer;base-alt-size;alt;", map.m_log);
}

}  // namespace
