// Servers that are not there, that hang up, that speak no HTTP, or that send the client elsewhere.

#include <optional>

#include "tests/faults/lesson_faults.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

constexpr size_t kSize = 5000;
constexpr int kChain = 10;
constexpr int kLongLoop = 50;

TEST_F(LessonFaults, ServerThatIsNotThereIsUnavailable) {
  RunAddress(L"http://127.0.0.1:1/a.qdk", {"refused port", {}, LessonEnd::kUnavailable});
  RunAddress(L"http://lessons.invalid/a.qdk", {"unknown host", {}, LessonEnd::kUnavailable});
  RunAddress(L"http:///a.qdk", {"no host", {}, LessonEnd::kUnavailable});
}

TEST_F(LessonFaults, HeadThatIsNoneIsSurvived) {
  const std::string nul("a\0b", 3);
  const std::string line = "\x01\x02 no such line\r\n\r\n";
  // The system gives an answer that never came as one without a status and without a body, and
  // what is no head as a body.
  RunAll({{"hangs up", Lesson(kSize).Cut(http_point::kBeforeHeaders, HttpCut::kGraceful),
           LessonEnd::kEmpty},
          {"resets", Lesson(kSize).Cut(http_point::kBeforeHeaders, HttpCut::kReset),
           LessonEnd::kTornOrUnavailable},
          {"hangs up in the head", Lesson(kSize).Cut(http_point::HeadByte(5), HttpCut::kGraceful),
           LessonEnd::kEmpty},
          {"no status line", Lesson(kSize).RawHead(line), LessonEnd::kNotALesson},
          {"status line without a number", Lesson(kSize).StatusLine("HTTP/1.1 abc"),
           LessonEnd::kDelivered, LessonBytes(kSize)},
          {"zero byte in a header", Lesson(kSize).Header("X-Odd", nul), LessonEnd::kDelivered,
           LessonBytes(kSize)},
          {"100 KB of header", Lesson(kSize).Header("X-Long", std::string(100000, 'x')),
           LessonEnd::kDelivered, LessonBytes(kSize)},
          {"1000 headers",
           [] {
             HttpAnswer answer = Lesson(kSize);
             for (int i = 0; i < 1000; ++i) {
               answer.Header("X-" + std::to_string(i), "x");
             }
             return answer;
           }(),
           LessonEnd::kDelivered, LessonBytes(kSize)}});
}

TEST_F(LessonFaults, RedirectIsFollowed) {
  const ScriptedPath target(m_server, Lesson(kSize));
  const ScriptedPath missing(m_server, HttpAnswer().Status(404));
  std::vector<CLessonFault> faults;
  for (const int status : {301, 302, 303, 307}) {
    const std::string name = std::to_string(status);
    std::wstring elsewhere = target.Url(L"b.qdk");
    const std::wstring address = L"127.0.0.1";
    elsewhere.replace(elsewhere.find(address), address.size(), L"elsewhere.example");
    const std::wstring local = target.Url(L"b.qdk");
    faults.push_back({name, HttpAnswer().Redirect(local).Status(status), LessonEnd::kDelivered,
                      LessonBytes(kSize)});
    faults.push_back({name + " to another host", HttpAnswer().Redirect(elsewhere).Status(status),
                      LessonEnd::kDelivered, LessonBytes(kSize)});
    faults.push_back({name + " to nothing",
                      HttpAnswer().Redirect(missing.Url(L"b.qdk")).Status(status),
                      LessonEnd::kUnavailable});
    faults.push_back({name + " without a target", Lesson(kSize).Status(status),
                      LessonEnd::kDelivered, LessonBytes(kSize)});
  }
  RunAll(faults);
}

TEST_F(LessonFaults, ChainOfRedirectsIsFollowedToItsEnd) {
  PathScript script;
  for (int i = 0; i < kChain; ++i) {
    script.Then(HttpAnswer().Redirect(L"next.qdk"));
  }
  script.Then(Lesson(kSize));
  RunAll({{"chain", script, LessonEnd::kDelivered, LessonBytes(kSize)}});
}

TEST_F(LessonFaults, RedirectInALoopEndsWithTheServer) {
  // Windows gives up by itself; here the server has to end it.
  for (const int status : {301, 302, 307}) {
    for (const bool peeks : {true, false}) {
      SCOPED_TRACE(std::to_string(status) + (peeks ? ", pre-check" : ", dialog alone"));
      Checks().Run([&] {
        std::optional<ScriptedPath> path(std::in_place, m_server,
                                         HttpAnswer().Redirect(L"again.qdk").Status(status));
        CProgressDialog::Ptr dialog = Make(path->Url(L"a.qdk"));
        const std::wstring url = path->Url(L"a.qdk");
        const CParallel watchdog([&] {
          EXPECT_TRUE(path->WaitForRequest(kLongLoop));
          path.reset();  // from now on there is nothing at this address
        });
        if (peeks) {
          EXPECT_FALSE(dialog->PeekContent(L".qdk"));
        } else {
          EXPECT_EQ(CallGuardedDialog([&] { return dialog->DoModal(nullptr); }), 3);
        }
        dialog.reset();
        EXPECT_EQ(TakeMessages(), std::vector{NotAvailable(url)});
        EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
        EXPECT_TRUE(TakePostedResults().empty());
      });
    }
  }
}

TEST_F(LessonFaults, RedirectInALoopIsCancelledAtOnce) {
  Checks().Run([&] {
    std::optional<ScriptedPath> path(std::in_place, m_server, HttpAnswer().Redirect(L"again.qdk"));
    CProgressDialog::Ptr dialog = Make(path->Url(L"a.qdk"));
    const CParallel user([&] {
      const HWND window = WaitForDialog(kDialogTitle);
      EXPECT_TRUE(path->WaitForRequest(kLongLoop));
      Click(window, IDCANCEL);
    });
    EXPECT_EQ(CallGuardedDialog([&] { return dialog->DoModal(nullptr); }), 2);
    dialog.reset();
    path.reset();  // and the worker that is left behind comes back from it
    EXPECT_TRUE(WaitUntil("the worker's end", [&] { return LocksTaken() == 0; }));
    EXPECT_TRUE(TakeMessages().empty());
    EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
  });
}

}  // namespace
