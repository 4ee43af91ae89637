#include "tests/support/http_server.h"

#include <gtest/gtest.h>
#include <windows.h>
#include <wininet.h>

#include <stdexcept>

#include "tests/support/scripted_path.h"

namespace {

constexpr auto kShort = std::chrono::milliseconds(20);  // for events that must not come

// Tests that wait for an event, or hold an answer nowhere, would pass without it.
TEST(HttpServer, WaitSucceedsOnlyAfterItsEvent) {
  const HttpTestServer server;
  EXPECT_THROW(ScriptedPath(server, HttpAnswer().Hold("nowhere")), std::runtime_error);
  const ScriptedPath path(server, HttpAnswer().Bytes("0123456789").Gated());
  EXPECT_FALSE(path.WaitForHeld({}, kShort));
  const HINTERNET session = InternetOpenW(L"test", INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, 0);
  InternetOpenUrlW(session, path.Url(L"a").c_str(), nullptr, 0, INTERNET_FLAG_NO_CACHE_WRITE, 0);
  EXPECT_TRUE(path.WaitForHeld(http_point::BodyByte(0)));
  EXPECT_FALSE(path.WaitForHeld(http_point::BodyByte(4), kShort));
  EXPECT_FALSE(path.WaitForBytesSent(1, kShort));
  path.AllowUpTo(4);
  EXPECT_TRUE(path.WaitForBytesSent(4));
  EXPECT_TRUE(path.WaitForHeld(http_point::BodyByte(4)));
  EXPECT_FALSE(path.WaitForBytesSent(5, kShort));
  InternetCloseHandle(session);
}

}  // namespace
