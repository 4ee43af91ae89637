#include "tests/support/http_server.h"

#include <gtest/gtest.h>
#include <windows.h>
#include <wininet.h>

#include <memory>
#include <stdexcept>
#include <type_traits>

#include "tests/support/http_pattern.h"
#include "tests/support/request_record.h"
#include "tests/support/scripted_path.h"

namespace {

constexpr auto kShort = std::chrono::milliseconds(20);  // for events that must not come

struct InternetCloser {
  void operator()(HINTERNET handle) const { InternetCloseHandle(handle); }
};
using InternetHandle = std::unique_ptr<std::remove_pointer_t<HINTERNET>, InternetCloser>;

// A download by the same library that the product uses.
class Fetch {
 public:
  explicit Fetch(const std::wstring& url)
      : m_session(
            InternetOpenW(L"http_server_test", INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, 0)),
        m_request(InternetOpenUrlW(
            m_session.get(), url.c_str(), nullptr, 0,
            INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_KEEP_CONNECTION,
            0)) {}

  // Up to `length` bytes, fewer at the end of the body or where the connection broke.
  std::string Read(size_t length) const {
    std::string data(length, '\0');
    DWORD count = 0;
    InternetReadFile(m_request.get(), data.data(), static_cast<DWORD>(length), &count);
    data.resize(count);
    return data;
  }

 private:
  const InternetHandle m_session;
  const InternetHandle m_request;
};

class HttpServer : public testing::Test {
 protected:
  const HttpTestServer m_server;
};

TEST_F(HttpServer, PatternIsTheSameOnBothSides) {
  for (const uint64_t seed : {uint64_t{0}, uint64_t{42}, ~uint64_t{0}}) {
    const ScriptedPath path(m_server, HttpAnswer().Bytes("HEAD").Pattern(seed, 300000));
    const std::string body = Fetch(path.Url(L"Lesson.folivo")).Read(400000);
    EXPECT_TRUE(body == "HEAD" + PatternBytes(seed, 0, 300000)) << seed;
  }
}

TEST_F(HttpServer, RequestsOfThePathAreReported) {
  const ScriptedPath path(m_server, PathScript(HttpAnswer().Status(404)).Then(HttpAnswer()));
  const ScriptedPath other(m_server, HttpAnswer());
  EXPECT_FALSE(path.WaitForRequest(1, kShort));
  EXPECT_TRUE(path.Requests().empty());
  Fetch(other.Url(L""));
  Fetch(path.Url(L"My%20Lesson.folivo?v=1&w"));
  Fetch(path.Url(L"b"));
  EXPECT_TRUE(path.WaitForRequest(2));
  EXPECT_FALSE(path.WaitForRequest(3, kShort));
  const auto requests = path.Requests();
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0].method, "GET");
  EXPECT_EQ(requests[0].path, path.Folder() + "My%20Lesson.folivo");
  EXPECT_EQ(requests[0].query, "v=1&w");
  EXPECT_EQ(requests[0].status, 404);
  EXPECT_EQ(requests[0].auth, RequestRecord::Auth::kNotAsked);
  EXPECT_EQ(requests[0].Header("user-agent"), "http_server_test");
  EXPECT_EQ(requests[1].status, 200);
}

TEST_F(HttpServer, RefusedCommandThrows) {
  EXPECT_THROW(ScriptedPath(m_server, HttpAnswer().Hold("nowhere")), std::runtime_error);
  EXPECT_THROW(m_server.Command("GET", "nonsense"), std::runtime_error);
}

TEST_F(HttpServer, WaitsEndWithTheirEventsOnly) {
  const std::string point = http_point::BodyByte(4);
  const ScriptedPath path(m_server, HttpAnswer().Bytes("0123456789").Gated());
  {
    const Fetch fetch(path.Url(L""));
    ASSERT_TRUE(path.WaitForHeld(http_point::BodyByte(0)));
    EXPECT_FALSE(path.WaitForBytesSent(1, kShort));
    path.AllowUpTo(4);
    EXPECT_TRUE(path.WaitForBytesSent(4));
    EXPECT_TRUE(path.WaitForHeld());
    EXPECT_FALSE(path.WaitForHeld(point, 2, kShort));
    EXPECT_EQ(fetch.Read(4), "0123");
    EXPECT_FALSE(path.WaitForEnd(1, kShort));
  }
  EXPECT_TRUE(path.WaitForEnd());
  path.AllowAll();
  EXPECT_EQ(Fetch(path.Url(L"")).Read(10), "0123456789");
}

}  // namespace
