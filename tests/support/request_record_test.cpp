#include "tests/support/request_record.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(RequestRecord, ReadsEveryField) {
  const auto record = RequestRecord::Parse(
      "request=2\tconnection=7\tmethod=GET\ttarget=/a%2520b?c=d\tpath=/a%2520b\tquery=c=d\t"
      "version=1.1\trequest_body_length=3\tstatus=401\tstate=cut\tauth=wrong\tauth_attempts=4\t"
      "held_at=body:9\tbody_total=100\tbody_sent=50\thead_sent=40\tstarted_ms=1\thead_ms=-1\t"
      "ended_ms=5000000000\theader=X-Tab: a%09b\theader=x-tab: second\theader=Empty: ");
  EXPECT_EQ(record.index, 2);
  EXPECT_EQ(record.connection, 7);
  EXPECT_EQ(record.method, "GET");
  EXPECT_EQ(record.target, "/a%20b?c=d");
  EXPECT_EQ(record.path, "/a%20b");
  EXPECT_EQ(record.query, "c=d");
  EXPECT_EQ(record.version, "1.1");
  EXPECT_EQ(record.request_body_length, 3);
  EXPECT_EQ(record.status, 401);
  EXPECT_EQ(record.state, RequestRecord::State::kCut);
  EXPECT_EQ(record.auth, RequestRecord::Auth::kWrong);
  EXPECT_EQ(record.auth_attempts, 4);
  EXPECT_EQ(record.held_at, "body:9");
  EXPECT_EQ(record.body_total, 100);
  EXPECT_EQ(record.body_sent, 50);
  EXPECT_EQ(record.head_sent, 40);
  EXPECT_EQ(record.started_ms, 1);
  EXPECT_EQ(record.head_ms, -1);
  EXPECT_EQ(record.ended_ms, 5000000000);
  EXPECT_EQ(record.headers.size(), 3u);
  EXPECT_EQ(record.Header("X-TAB"), "a\tb");
  EXPECT_EQ(record.Header("empty"), "");
  EXPECT_TRUE(record.HasHeader("empty"));
  EXPECT_FALSE(record.HasHeader("X-Ta"));
}

TEST(RequestRecord, OddLinesAreRefused) {
  for (const char* line : {"request", "request=", "request=1x", "state=sleeping", "auth=maybe",
                           "header=no colon", "unknown=1", "path=%4"}) {
    EXPECT_THROW(RequestRecord::Parse(line), std::runtime_error) << line;
  }
}

}  // namespace
