#include "tests/support/http_server.h"

#include <gmock/gmock.h>
#include <windows.h>
#include <wininet.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>

#include "tests/support/http_pattern.h"

namespace {

using namespace std::chrono_literals;

constexpr auto kShort = 20ms;  // for events that must not come

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

  bool IsOpen() const { return m_request != nullptr; }

  DWORD Status() const {
    DWORD status = 0;
    DWORD size = sizeof(status);
    HttpQueryInfoW(m_request.get(), HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size,
                   nullptr);
    return status;
  }

  // Up to `length` bytes, fewer at the end of the body; nothing if the connection broke.
  std::optional<std::string> Read(size_t length) const {
    std::string data(length, '\0');
    DWORD count = 0;
    if (!InternetReadFile(m_request.get(), data.data(), static_cast<DWORD>(length), &count)) {
      return std::nullopt;
    }
    data.resize(count);
    return data;
  }

 private:
  const InternetHandle m_session;
  const InternetHandle m_request;
};

class HttpServerTest : public testing::Test {
 protected:
  const HttpTestServer m_server;
};

using State = RequestRecord::State;

TEST_F(HttpServerTest, FetchedBytesAreThePatternOnBothSides) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("HEAD").Pattern(42, 300000));
  const Fetch fetch(path.Url(L"Lesson.folivo"));
  ASSERT_TRUE(fetch.IsOpen());
  EXPECT_EQ(fetch.Status(), 200u);
  const auto body = fetch.Read(400000);
  ASSERT_TRUE(body.has_value());
  ASSERT_EQ(body->size(), 300004u);
  EXPECT_EQ(body->substr(0, 4), "HEAD");
  EXPECT_EQ(FindPatternMismatch(42, 0, body->substr(4)), std::nullopt);
}

TEST_F(HttpServerTest, PatternsAgreeForOtherSeedsAndFarOffsets) {
  for (const uint64_t seed : {uint64_t{0}, uint64_t{1}, uint64_t{0xFFFFFFFFFFFFFFFF}}) {
    for (const uint64_t start : {uint64_t{65530}, uint64_t{5000000000}}) {
      const ScriptedPath path(m_server, HttpAnswer().Pattern(seed, 70000, start));
      const auto body = Fetch(path.Url(L"")).Read(80000);
      ASSERT_TRUE(body.has_value());
      EXPECT_EQ(body->size(), 70000u);
      EXPECT_EQ(FindPatternMismatch(seed, start, *body), std::nullopt) << seed << " " << start;
    }
  }
}

TEST_F(HttpServerTest, RecordsTellWhatWasAskedAndSent) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("abc"));
  EXPECT_TRUE(path.Requests().empty());
  ASSERT_EQ(Fetch(path.Url(L"My%20Lesson.folivo?v=1&w")).Read(10), "abc");
  const auto requests = path.Requests();
  ASSERT_EQ(requests.size(), 1u);
  const RequestRecord& request = requests.front();
  EXPECT_EQ(request.index, 1);
  EXPECT_EQ(request.method, "GET");
  EXPECT_EQ(request.path, path.Folder() + "My%20Lesson.folivo");
  EXPECT_EQ(request.query, "v=1&w");
  EXPECT_EQ(request.Header("user-agent"), "http_server_test");
  EXPECT_EQ(request.Header("Host"), "127.0.0.1:" + std::to_string(m_server.Port()));
  EXPECT_EQ(request.status, 200);
  EXPECT_EQ(request.state, State::kFinished);
  EXPECT_EQ(request.body_sent, 3);
  EXPECT_EQ(request.body_total, 3);
  EXPECT_GE(request.ended_ms, request.started_ms);
}

TEST_F(HttpServerTest, AnswersComeInOrder) {
  PathScript script = HttpAnswer().Status(404);
  script.Then(HttpAnswer().Status(299, "Third time lucky"));
  const ScriptedPath path(m_server, script);
  EXPECT_EQ(Fetch(path.Url(L"a")).Status(), 404u);
  EXPECT_EQ(Fetch(path.Url(L"b")).Status(), 299u);
  EXPECT_EQ(Fetch(path.Url(L"c")).Status(), 299u);
  EXPECT_TRUE(path.WaitForFinished(3));
}

TEST_F(HttpServerTest, RedirectsLeadToAnotherPath) {
  const ScriptedPath target(m_server, HttpAnswer().Bytes("there"));
  const ScriptedPath start(m_server, HttpAnswer().Redirect(target.Url(L"new.folivo")));
  EXPECT_EQ(Fetch(start.Url(L"old.folivo")).Read(10), "there");
  EXPECT_EQ(start.Requests().size(), 1u);
  EXPECT_EQ(target.Requests().size(), 1u);
}

TEST_F(HttpServerTest, EveryFieldOfAnAnswerIsUnderstood) {
  const ScriptedPath path(m_server, HttpAnswer()
                                        .Status(203, "Odd \"reason\"")
                                        .Header("X-Text", "a \"quoted\" \\ \xE4")
                                        .Bytes(std::string("\0\xFF", 2))
                                        .Chunked(1)
                                        .ClaimLength("2")
                                        .ClaimLength("3")
                                        .Hold(http_point::HeadByte(4))
                                        .Hold(http_point::kAfterHeaders)
                                        .Rate(1000)
                                        .Cut(http_point::BodyByte(2), HttpCut::kGraceful)
                                        .Close());
  path.AllowAll();
  const Fetch cut_fetch(path.Url(L""));
  EXPECT_EQ(cut_fetch.Status(), 203u);
  ASSERT_TRUE(path.WaitForEnd());
  EXPECT_EQ(path.Requests().front().state, State::kCut);

  const ScriptedPath raw(m_server, HttpAnswer().RawHead("HTTP/1.1 201 X\r\n\r\n").Bytes("body"));
  const Fetch fetch(raw.Url(L""));
  EXPECT_EQ(fetch.Status(), 201u);
  EXPECT_EQ(fetch.Read(10), "body");

  const ScriptedPath line(m_server, HttpAnswer().StatusLine("HTTP/1.1 202").CloseDelimited());
  EXPECT_EQ(Fetch(line.Url(L"")).Status(), 202u);
}

TEST_F(HttpServerTest, MistakesAreReported) {
  EXPECT_THROW(ScriptedPath(m_server, HttpAnswer().Hold("nowhere")), std::runtime_error);
  EXPECT_THROW(ScriptedPath(m_server, HttpAnswer().File("/nonexistent")), std::runtime_error);
  EXPECT_THROW(m_server.Command("GET", "nonsense"), std::runtime_error);
}

TEST_F(HttpServerTest, GatedBytesFlowAsFarAsAllowed) {
  const ScriptedPath path(m_server, HttpAnswer().Pattern(1, 100).Gated());
  const Fetch fetch(path.Url(L""));
  ASSERT_TRUE(fetch.IsOpen());
  ASSERT_TRUE(path.WaitForHeld(http_point::BodyByte(0)));
  EXPECT_FALSE(path.WaitForBytesSent(1, kShort));
  path.Allow(30);
  ASSERT_TRUE(path.WaitForBytesSent(30));
  EXPECT_EQ(fetch.Read(30), PatternBytes(1, 0, 30));
  path.AllowUpTo(50);
  ASSERT_TRUE(path.WaitForHeld(http_point::BodyByte(50)));
  EXPECT_EQ(path.Requests().front().body_sent, 50);
  EXPECT_FALSE(path.WaitForEnd(1, kShort));
  path.AllowAll();
  EXPECT_EQ(fetch.Read(100), PatternBytes(1, 30, 70));
  EXPECT_TRUE(path.WaitForFinished());
}

TEST_F(HttpServerTest, HeldPointsPassWhenAllowed) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("0123456789").Hold(http_point::BodyByte(4)));
  for (int i = 1; i <= 2; ++i) {
    const Fetch fetch(path.Url(L""));
    EXPECT_EQ(fetch.Read(4), "0123");
    ASSERT_TRUE(path.WaitForHeld(http_point::BodyByte(4)));
    path.AllowPoint(http_point::BodyByte(4), 1);
    EXPECT_EQ(fetch.Read(10), "456789");
    ASSERT_TRUE(path.WaitForFinished(i));
  }
  path.AllowPoint(http_point::BodyByte(4));
  EXPECT_EQ(Fetch(path.Url(L"")).Read(10), "0123456789");
}

TEST_F(HttpServerTest, AClientThatLeavesIsNoticed) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("0123456789").Hold(http_point::BodyByte(4)));
  {
    const Fetch fetch(path.Url(L""));
    ASSERT_TRUE(fetch.IsOpen());
    EXPECT_FALSE(path.WaitForAborted(1, kShort));
  }
  ASSERT_TRUE(path.WaitForAborted());
  const auto request = path.Requests().front();
  EXPECT_EQ(request.state, State::kAborted);
  EXPECT_EQ(request.body_sent, 4);
}

TEST_F(HttpServerTest, ABrokenConnectionIsSeen) {
  const std::string point = http_point::BodyByte(40);
  const ScriptedPath path(m_server,
                          HttpAnswer().Pattern(1, 100).Hold(point).Cut(point, HttpCut::kReset));
  const Fetch fetch(path.Url(L""));
  EXPECT_EQ(fetch.Read(40), PatternBytes(1, 0, 40));
  ASSERT_TRUE(path.WaitForHeld(point));
  path.AllowPoint(point);
  ASSERT_TRUE(path.WaitForEnd());
  EXPECT_EQ(fetch.Read(100).value_or(""), "");  // failure or early end: WinINet has both
  const auto request = path.Requests().front();
  EXPECT_EQ(request.state, State::kCut);
  EXPECT_EQ(request.body_sent, 40);
}

TEST_F(HttpServerTest, TheEndOfAPathReleasesItsAnswers) {
  std::optional<ScriptedPath> path(std::in_place, m_server,
                                   HttpAnswer().Bytes("abc").Hold(http_point::kAfterHeaders));
  const std::wstring url = path->Url(L"");
  const Fetch fetch(url);
  ASSERT_TRUE(path->WaitForHeld());
  path.reset();
  EXPECT_EQ(fetch.Read(10), "abc");
  EXPECT_EQ(Fetch(url).Status(), 404u);
}

TEST_F(HttpServerTest, CredentialsAreJudged) {
  // WinINet sends credentials that were right once to this host for as long as the process lives.
  ASSERT_TRUE(InternetSetOptionW(nullptr, INTERNET_OPTION_END_BROWSER_SESSION, nullptr, 0));
  PathScript script = HttpAnswer().Bytes("in");
  script.Credentials("ann", "secret", "Lessons");
  const ScriptedPath path(m_server, script);
  EXPECT_EQ(Fetch(path.Url(L"")).Status(), 401u);
  std::wstring url = path.Url(L"");
  url.insert(url.find(L"//") + 2, L"ann:secret@");
  EXPECT_EQ(Fetch(url).Read(10), "in");
  const auto requests = path.Requests();
  EXPECT_EQ(requests.front().auth, RequestRecord::Auth::kMissing);
  EXPECT_EQ(requests.back().auth, RequestRecord::Auth::kRight);
  EXPECT_EQ(requests.back().auth_attempts, 1);
}

TEST_F(HttpServerTest, PathsOfOneTestAreTheirOwn) {
  const ScriptedPath first(m_server, HttpAnswer().Bytes("1"));
  const ScriptedPath second(m_server, HttpAnswer().Bytes("2"));
  EXPECT_NE(first.Folder(), second.Folder());
  EXPECT_EQ(Fetch(second.Url(L"")).Read(2), "2");
  EXPECT_TRUE(first.Requests().empty());
  EXPECT_FALSE(first.WaitForRequest(1, kShort));
  EXPECT_TRUE(second.WaitForRequest());
}

TEST_F(HttpServerTest, TheLogOfAllHasUnscriptedRequestsToo) {
  const std::wstring url =
      m_server.BaseUrl() + L"/unscripted/" + std::to_wstring(GetCurrentProcessId());
  EXPECT_EQ(Fetch(url).Status(), 404u);
  const auto has_path =
      testing::Field(&RequestRecord::path, "/unscripted/" + std::to_string(GetCurrentProcessId()));
  EXPECT_THAT(m_server.AllRequests(), testing::Contains(has_path));
}

}  // namespace
