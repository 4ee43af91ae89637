// Servers of archives that are not there, that hang up, that speak no HTTP, or that send the client
// elsewhere.

#include <optional>

#include "tests/faults/archive_faults.h"
#include "tests/support/parallel.h"

namespace {

constexpr size_t kSize = 15000;
constexpr int kChain = 10;
constexpr int kLongLoop = 50;

TEST_F(ArchiveFaults, ServerThatIsNotThereIsUnavailable) {
  RunAddress(L"http://folivo-collections.example:1/a.zip",
             {"refused port", {}, ArchiveEnd::kUnavailable});
  // What follows a trusted name is not looked at.
  RunAddress(L"http://folivo-collections.example.invalid/a.zip",
             {"unknown host", {}, ArchiveEnd::kUnavailable});
}

TEST_F(ArchiveFaults, HeadThatIsNoneIsSurvived) {
  const std::string nul("a\0b", 3);
  const std::string bytes = ArchiveBytes(kSize);
  // The system gives an answer that never came as one without a status and without a body, and
  // what is behind a line that is no status line as a body.
  RunAll({{"hangs up", Archive(kSize).Cut(http_point::kBeforeHeaders, HttpCut::kGraceful),
           ArchiveEnd::kTransferred},
          {"resets", Archive(kSize).Cut(http_point::kBeforeHeaders, HttpCut::kReset),
           ArchiveEnd::kTornOrUnavailable},
          {"hangs up in the head", Archive(kSize).Cut(http_point::HeadByte(5), HttpCut::kGraceful),
           ArchiveEnd::kTransferred},
          {"no status line", Archive(kSize).RawHead("no such line\r\n"), ArchiveEnd::kTransferred,
           bytes},
          {"status line without a number", Archive(kSize).StatusLine("HTTP/1.1 abc"),
           ArchiveEnd::kTransferred, bytes},
          {"zero byte in a header", Archive(kSize).Header("X-Odd", nul), ArchiveEnd::kTransferred,
           bytes},
          {"100 KB of header", Archive(kSize).Header("X-Long", std::string(100000, 'x')),
           ArchiveEnd::kTransferred, bytes}});
}

TEST_F(ArchiveFaults, RedirectIsFollowed) {
  const ScriptedPath target(m_server, Archive(kSize));
  const ScriptedPath missing(m_server, HttpAnswer().Status(404));
  const std::string bytes = ArchiveBytes(kSize);
  std::vector<CArchiveFault> faults;
  for (const int status : {301, 302, 303, 307}) {
    const std::string name = std::to_string(status);
    const auto to = [&](const std::wstring& url) {
      return HttpAnswer().Redirect(url).Status(status);
    };
    faults.push_back({name, to(TrustedUrl(target)), ArchiveEnd::kTransferred, bytes});
    faults.push_back({name + " to another host", to(TrustedUrl(target, L"merlo-content.example")),
                      ArchiveEnd::kTransferred, bytes});
    // The rule is for the address that the page gives; the host there is trusted to redirect.
    faults.push_back({name + " to an untrusted host", to(TrustedUrl(target, L"elsewhere.example")),
                      ArchiveEnd::kTransferred, bytes});
    faults.push_back({name + " to nothing", to(TrustedUrl(missing)), ArchiveEnd::kUnavailable});
    faults.push_back({name + " without a target", Archive(kSize).Status(status),
                      ArchiveEnd::kTransferred, bytes});
  }
  RunAll(faults);
}

TEST_F(ArchiveFaults, ChainOfRedirectsIsFollowedToItsEnd) {
  PathScript script;
  for (int i = 0; i < kChain; ++i) {
    script.Then(HttpAnswer().Redirect(L"next.zip"));
  }
  script.Then(Archive(kSize));
  RunAll({{"chain", script, ArchiveEnd::kTransferred, ArchiveBytes(kSize)}});
}

TEST_F(ArchiveFaults, RedirectInALoopEndsWithTheServer) {
  // Windows gives up by itself; here the server has to end it. Nobody else can: the dialog serves
  // no input meanwhile.
  for (const int status : {301, 302, 307}) {
    SCOPED_TRACE(status);
    Checks().Run([&] {
      std::optional<ScriptedPath> path(std::in_place, m_server,
                                       HttpAnswer().Redirect(L"again.zip").Status(status));
      const std::wstring url = TrustedUrl(*path);
      const CParallel watchdog([&] {
        EXPECT_TRUE(path->WaitForRequest(kLongLoop));
        path.reset();  // from now on there is nothing at this address
      });
      EXPECT_EQ(RunDialogOnce(url, ZipPath()).message, kUnavailable);
      EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
    });
  }
}

}  // namespace
