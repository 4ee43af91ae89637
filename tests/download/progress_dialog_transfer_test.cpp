// The steps of a transfer, driven one by one without a window.

#include <gtest/gtest.h>
#include <windows.h>

#include <wininet.h>

#include <string>
#include <vector>

#include "tests/download/transfer_step.h"
#include "tests/support/import_spy.h"
#include "tests/support/scripted_path.h"

namespace {

constexpr DWORD kPeekSize = 800;
constexpr wchar_t kNoServer[] = L"http://127.0.0.1:1/a.qdk";

TEST_F(TransferStep, FirstOneOpensSessionRequestAndFile) {
  m_sandbox.Write(L"temporary.qdk", "something old");
  const CImportSpy<&InternetOpenW> session("wininet.dll", "InternetOpenW",
                                           [&](LPCWSTR agent, auto... others) {
                                             EXPECT_STREQ(agent, L"FolivoAX");
                                             return session.CallOriginal(agent, others...);
                                           });
  const CImportSpy<&InternetSetOptionW> option(
      "wininet.dll", "InternetSetOptionW",
      [&](HINTERNET handle, DWORD number, LPVOID value, DWORD size) {
        EXPECT_EQ(*static_cast<const DWORD*>(value), 25000u);
        return option.CallOriginal(handle, number, value, size);
      });
  const CImportSpy<&CreateFileW> file("kernel32.dll", "CreateFileW",
                                      [&](LPCWSTR path, auto... others) {
                                        EXPECT_EQ(path, TempPath());
                                        return file.CallOriginal(path, others...);
                                      });
  const ScriptedPath path(m_server, Lesson(1000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  EXPECT_TRUE(peer.Step());
  EXPECT_TRUE(peer.IsOpened());
  EXPECT_TRUE(peer.IsCheckPending());
  EXPECT_EQ(peer.FileSize(), 0);

  ASSERT_EQ(session.Calls().size(), 1u);
  const auto [agent, access, proxy, bypass, flags] = session.Calls()[0];
  EXPECT_EQ(access, static_cast<DWORD>(INTERNET_OPEN_TYPE_PRECONFIG)) << "the user's proxy";
  EXPECT_EQ(proxy, nullptr);
  EXPECT_EQ(bypass, nullptr);
  EXPECT_EQ(flags, 0u);
  ASSERT_EQ(option.Calls().size(), 1u);
  const auto [handle, number, value, size] = option.Calls()[0];
  EXPECT_EQ(handle, peer.Session());
  EXPECT_EQ(number, static_cast<DWORD>(INTERNET_OPTION_CONNECT_TIMEOUT));
  EXPECT_EQ(size, 4u);
  ASSERT_EQ(path.Requests().size(), 1u);
  EXPECT_EQ(path.Requests()[0].Header("User-Agent"), "FolivoAX");
  EXPECT_EQ(path.Requests()[0].method, "GET");
  ASSERT_EQ(file.Calls().size(), 1u);
  const auto [name, rights, share, security, creation, attributes, model] = file.Calls()[0];
  EXPECT_EQ(rights, GENERIC_WRITE);
  EXPECT_EQ(share, 0u);
  EXPECT_EQ(security, nullptr);
  EXPECT_EQ(creation, static_cast<DWORD>(CREATE_ALWAYS));
  EXPECT_EQ(attributes, static_cast<DWORD>(FILE_ATTRIBUTE_NORMAL));
  EXPECT_EQ(model, nullptr);
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(TransferStep, EveryOtherStatusIsAccepted) {
  for (const int status : {200, 201, 202, 203, 206, 300, 304, 400, 401, 402, 405,
                           406, 409, 411, 418, 429, 501, 502, 503, 504, 505, 599}) {
    const ScriptedPath path(m_server, Lesson(10).Status(status));
    const auto dialog = Make(path.Url(L"a.qdk"));
    EXPECT_TRUE(CProgressDialogPeer{*dialog}.Step()) << status;
    EXPECT_TRUE(m_messages.Take().empty()) << status;
    EXPECT_TRUE(TakePostedResults().empty()) << status;
  }
}

/// A failure is reported by one message. It ends the worker, and under the pre-check signals the
/// event.
class FailedStep : public TransferStep {
 protected:
  /// What else a failure shows. A refusal posts the worker's result at once, and fails the step
  /// under the pre-check too.
  struct CExpected {
    std::wstring message;
    bool isRefusal = false;
    Files files;
  };

  /// The step behind `steps` successful ones fails, with and without the pre-check.
  void Expect(const CExpected& expected, const std::wstring& url, int steps = 0) {
    for (const bool peeking : {false, true}) {
      SCOPED_TRACE(testing::Message() << url << (peeking ? ", pre-check" : ""));
      const auto dialog = Make(url);
      CProgressDialogPeer peer{*dialog};
      if (peeking) {
        peer.BeginPeek();
      }
      for (int i = 0; i < steps; ++i) {
        ASSERT_TRUE(peer.Step(1000));
      }
      EXPECT_EQ(peer.Step(1000), peeking && !expected.isRefusal);
      EXPECT_EQ(OnlyMessage(), expected.message);
      EXPECT_EQ(peeking && peer.IsPeekSignalled(), peeking);
      const bool posts = expected.isRefusal && !peeking;
      EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>(posts ? 1 : 0, 3));
      EXPECT_EQ(peer.IsFinished(), posts);
      EXPECT_EQ(peer.IsOpened(), steps > 0);
      EXPECT_EQ(peer.IsValid(), steps > 1);
      EXPECT_EQ(m_sandbox.Files(), expected.files);
    }
    EXPECT_TRUE(m_sandbox.Files().empty()) << "its file is deleted with the dialog";
  }
};

TEST_F(FailedStep, ExactlyFiveStatusesAreRefused) {
  for (const int status : {204, 403, 404, 410, 500}) {
    const ScriptedPath path(m_server, HttpAnswer().Status(status));
    const std::wstring url = path.Url(L"a.qdk");
    Expect({.message = NotAvailable(url), .isRefusal = true, .files = {}}, url);
  }
}

TEST_F(FailedStep, FailedStatusQueryIsARefusal) {
  const ScriptedPath path(m_server, Lesson(10));
  const std::wstring url = path.Url(L"a.qdk");
  const CImportSpy<&HttpQueryInfoW> query("wininet.dll", "HttpQueryInfoW",
                                          [](auto...) { return FALSE; });
  Expect({.message = NotAvailable(url), .isRefusal = true, .files = {}}, url);
}

TEST_F(FailedStep, UrlWithoutAServerIsReportedAsItIs) {
  const CImportSpy<&InternetErrorDlg> error("wininet.dll", "InternetErrorDlg");
  for (const LPCWSTR url : {kNoServer, L"", L"nonsense", L"100%s%n", L"http://"}) {
    Expect({.message = NotAvailable(url), .files = {}}, url);
  }
  EXPECT_TRUE(error.Calls().empty()) << "there is no request";
}

TEST_F(FailedStep, FileThatCannotBeCreatedIsReported) {
  const ScriptedPath path(m_server, Lesson(10));
  CreateDirectoryW(TempPath().c_str(), nullptr);
  Expect({.message = CannotCreate(TempPath()), .files = {}}, path.Url(L"a.qdk"));
}

TEST_F(FailedStep, FailedOrPartialWriteIsReported) {
  const ScriptedPath path(m_server, Lesson(5000));
  struct {
    BOOL result;
    DWORD missing;
  } const cases[] = {{FALSE, 1000}, {FALSE, 0}, {TRUE, 1}};
  for (const auto& c : cases) {
    const CImportSpy<&WriteFile> write(
        "kernel32.dll", "WriteFile",
        [&](HANDLE, LPCVOID, DWORD size, LPDWORD written, LPOVERLAPPED) {
          *written = size - c.missing;
          return c.result;
        });
    Expect({.message = CannotWrite(TempPath()), .files = {L"temporary.qdk"}}, path.Url(L"a.qdk"),
           1);
  }
}

TEST_F(TransferStep, FailedReadIsReportedAndTheFileStaysWhileItIsOpen) {
  const ScriptedPath path(m_server, Lesson(10000));
  const std::wstring url = path.Url(L"a.qdk");
  for (const bool peeking : {false, true}) {
    const auto dialog = Make(url);
    CProgressDialogPeer peer{*dialog};
    if (peeking) {
      peer.BeginPeek();
    }
    ASSERT_TRUE(peer.Step());
    ASSERT_TRUE(peer.Step(1000));
    const CImportSpy<&InternetReadFile> read("wininet.dll", "InternetReadFile",
                                             [](auto...) { return FALSE; });
    EXPECT_EQ(peer.Step(), peeking);
    EXPECT_EQ(OnlyMessage(), NotAvailable(url));
    EXPECT_EQ(peeking && peer.IsPeekSignalled(), peeking);
    EXPECT_EQ(m_sandbox.Files(), Files{L"temporary.qdk"});
  }
  EXPECT_TRUE(m_sandbox.Files().empty()) << "deleted with the dialog";
}

TEST_F(TransferStep, FailedReadDeletesAClosedFileBeforeItIsReported) {
  const ScriptedPath path(m_server, Lesson(10000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step());
  peer.CloseFile();
  EXPECT_EQ(m_sandbox.Files(), Files{L"temporary.qdk"});
  const CImportSpy<&InternetReadFile> read("wininet.dll", "InternetReadFile",
                                           [](auto...) { return FALSE; });
  const CImportSpy<&MessageBoxW> message("user32.dll", "MessageBoxW", [&](auto...) {
    EXPECT_TRUE(m_sandbox.Files().empty());
    return IDOK;
  });
  EXPECT_FALSE(peer.Step());
  EXPECT_EQ(message.Calls().size(), 1u);
}

TEST_F(TransferStep, RepeatedOpenClosesWhatTheFirstLeft) {
  const ScriptedPath path(m_server, Lesson(10));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  peer.BeginPeek();
  CreateDirectoryW(TempPath().c_str(), nullptr);
  ASSERT_TRUE(peer.Step());
  OnlyMessage();
  RemoveDirectoryW(TempPath().c_str());
  const std::vector<std::tuple<HINTERNET>> expected = {{peer.Request()}, {peer.Session()}};
  const CImportSpy<&InternetCloseHandle> close("wininet.dll", "InternetCloseHandle");
  EXPECT_TRUE(peer.Step());
  EXPECT_EQ(close.Calls(), expected);
  EXPECT_TRUE(peer.IsOpened());
}

TEST_F(TransferStep, ContentLengthSetsTheTotal) {
  struct {
    HttpAnswer answer;
    bool known;
    int total;
  } const cases[] = {
      {Lesson(998), true, 1000},
      {Lesson(998).Chunked(), false, 1000000},
      {Lesson(998).CloseDelimited(), false, 1000000},
      {Lesson(998).ClaimLength("abc"), true, 0},
      {Lesson(998).ClaimLength("5000"), true, 5000},
      {Lesson(998).ClaimLength("2147483647"), true, 2147483647},
      {Lesson(10).ClaimLength(std::string(2000, '1')), false, 1000000},  // longer than the buffer
  };
  for (const auto& c : cases) {
    const ScriptedPath path(m_server, c.answer);
    const auto dialog = Make(path.Url(L"a.qdk"));
    CProgressDialogPeer peer{*dialog};
    ASSERT_TRUE(peer.Step(kPeekSize));
    EXPECT_EQ(peer.IsLengthKnown(), c.known);
    EXPECT_EQ(peer.Total(), c.total);
  }
}

TEST_F(TransferStep, EachReadsOneBufferful) {
  const ScriptedPath path(m_server, Lesson(2500));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step(1000));
  for (const int received : {1000, 2000, 2502}) {
    EXPECT_TRUE(peer.Step(1000));
    EXPECT_EQ(peer.Received(), received);
    EXPECT_EQ(peer.FileSize(), received);
  }
  EXPECT_FALSE(peer.Step(1000));
  EXPECT_TRUE(peer.IsComplete());
  EXPECT_NE(peer.File(), INVALID_HANDLE_VALUE) << "the dialog closes it";
  peer.CloseFile();
  EXPECT_EQ(ReadFileBytes(TempPath()), LessonBytes(2500));
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(TransferStep, FirstChunkUnderThePreCheckIsWrittenOnlyIfValid) {
  for (const bool valid : {true, false}) {
    const ScriptedPath path(m_server,
                            HttpAnswer().Bytes(valid ? kLessonHead : "<html>").Pattern(1, 5000));
    const auto dialog = Make(path.Url(L"a.qdk"));
    CProgressDialogPeer peer{*dialog};
    peer.BeginPeek();
    ASSERT_TRUE(peer.Step(kPeekSize));
    EXPECT_FALSE(peer.IsPeekSignalled());
    EXPECT_TRUE(peer.Step(kPeekSize));
    EXPECT_TRUE(peer.IsPeekSignalled());
    EXPECT_EQ(peer.IsValid(), valid);
    EXPECT_FALSE(peer.IsCheckPending());
    EXPECT_EQ(peer.FileSize(), valid ? 800 : 0);
    EXPECT_EQ(peer.Received(), 0) << "only the worker's bytes are counted";
  }
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(TransferStep, InvalidFirstChunkWithoutPreCheckIsReported) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("<html>").Pattern(1, 5000));
  const std::wstring url = path.Url(L"a.qdk");
  const auto dialog = Make(url);
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step());
  EXPECT_FALSE(peer.Step());
  EXPECT_EQ(OnlyMessage(), NotAFolivoFile(url));
  EXPECT_EQ(peer.FileSize(), 0);
}

TEST_F(TransferStep, OnlyTheFirstChunkIsCheckedAndAClosedFileEndsSilently) {
  const ScriptedPath path(m_server, Lesson(5000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step());
  ASSERT_TRUE(peer.Step(2));
  peer.SetExtension(L".qdt");  // no content is valid any more
  EXPECT_TRUE(peer.Step(100));
  EXPECT_EQ(peer.FileSize(), 102);
  peer.CloseFile();
  EXPECT_FALSE(peer.Step(100));
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(TransferStep, StoppedTransferMakesNoCall) {
  const ScriptedPath path(m_server, Lesson(5000));
  const auto opened = Make(path.Url(L"a.qdk"));
  ASSERT_TRUE(CProgressDialogPeer{*opened}.Step());
  const auto unopened = Make(path.Url(L"a.qdk"));
  const CImportSpy<&InternetOpenW> session("wininet.dll", "InternetOpenW");
  const CImportSpy<&InternetOpenUrlW> request("wininet.dll", "InternetOpenUrlW");
  const CImportSpy<&InternetReadFile> read("wininet.dll", "InternetReadFile");
  for (const auto& dialog : {opened, unopened}) {
    CProgressDialogPeer peer{*dialog};
    peer.SetRunning(false);
    EXPECT_FALSE(peer.Step());
  }
  EXPECT_EQ(session.Calls().size() + request.Calls().size() + read.Calls().size(), 0u);
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_TRUE(TakePostedResults().empty());
}

TEST_F(TransferStep, TransferThatIsStoppedBehindTheHeadersLeavesAnothersFileAlone) {
  m_sandbox.Write(L"temporary.qdk", "another download");
  const ScriptedPath path(m_server, Lesson(5000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  const CImportSpy<&HttpQueryInfoW> query("wininet.dll", "HttpQueryInfoW",
                                          [&](HINTERNET request, DWORD level, auto... others) {
                                            if (level == HTTP_QUERY_CONTENT_LENGTH) {
                                              peer.SetRunning(false);
                                            }
                                            return query.CallOriginal(request, level, others...);
                                          });
  EXPECT_FALSE(peer.Step());
  EXPECT_FALSE(peer.IsRunning());
  EXPECT_EQ(ReadFileBytes(TempPath()), "another download");
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(TransferStep, RetryOfTheErrorDialogOpensTheSameRequestAgain) {
  const ScriptedPath path(m_server, Lesson(10));
  const std::wstring url = path.Url(L"a.qdk");
  std::string order;
  const CImportSpy<&InternetOpenUrlW> open("wininet.dll", "InternetOpenUrlW",
                                           [&](HINTERNET session, LPCWSTR address, LPCWSTR headers,
                                               DWORD length, DWORD flags, DWORD_PTR context) {
                                             order += "open ";
                                             EXPECT_EQ(address, url);
                                             EXPECT_EQ(headers, nullptr);
                                             EXPECT_EQ(flags, 0x84400000u);
                                             const HINTERNET request = open.CallOriginal(
                                                 session, address, headers, length, flags, context);
                                             SetLastError(4711);
                                             return request;
                                           });
  const CImportSpy<&InternetErrorDlg> ask(
      "wininet.dll", "InternetErrorDlg",
      [&](HWND owner, HINTERNET, DWORD error, DWORD flags, LPVOID* data) -> DWORD {
        order += "ask ";
        EXPECT_EQ(owner, CForeignForeground::Window()) << "the dialog has no window yet";
        EXPECT_EQ(error, 4711u) << "the last error of the open";
        EXPECT_EQ(flags, 7u);
        EXPECT_EQ(data, nullptr);
        return ask.Calls().size() < 3 ? ERROR_INTERNET_FORCE_RETRY : ERROR_CANCELLED;
      });
  const CImportSpy<&InternetCloseHandle> close("wininet.dll", "InternetCloseHandle",
                                               [&](HINTERNET handle) {
                                                 order += "close ";
                                                 return close.CallOriginal(handle);
                                               });
  const CForeignForeground foreground;
  const auto dialog = Make(url);
  EXPECT_TRUE(CProgressDialogPeer{*dialog}.Step());
  EXPECT_EQ(order, "open ask close open ask close open ask ");
  EXPECT_EQ(path.Requests().size(), 3u);
}

}  // namespace
