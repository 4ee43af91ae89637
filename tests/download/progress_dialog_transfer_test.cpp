// The steps of a transfer.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <wininet.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/download/download_fixture.h"
#include "tests/support/import_spy.h"
#include "tests/support/wininet_recorder.h"

namespace {

using testing::_;
using testing::Each;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::StrEq;
using Texts = std::vector<std::wstring>;
using ReadSpy = CImportSpy<&InternetReadFile>;

class ProgressDialogTransfer : public SteppedDownloadFixture {};

TEST_F(ProgressDialogTransfer, FirstStepOpensSessionRequestAndFile) {
  m_sandbox.Write(L"temporary.qdk", "something old");
  const CImportSpy<&InternetOpenW> session("wininet.dll", "InternetOpenW");
  const CImportSpy<&InternetSetOptionW> option(
      "wininet.dll", "InternetSetOptionW", [&](HINTERNET handle, DWORD, LPVOID value, DWORD) {
        EXPECT_EQ(handle, m_peer.Session());
        EXPECT_EQ(*static_cast<const DWORD*>(value), 25000u);
        return TRUE;
      });
  const CImportSpy<&CreateFileW> file("kernel32.dll", "CreateFileW");
  EXPECT_TRUE(m_peer.Step());
  EXPECT_TRUE(m_peer.IsOpened());
  EXPECT_TRUE(m_peer.IsCheckPending());
  EXPECT_EQ(m_peer.FileSize(), 0);
  EXPECT_EQ(Messages(), Texts());

  EXPECT_THAT(session.Calls(),
              ElementsAre(FieldsAre(StrEq(L"FolivoAX"), DWORD{INTERNET_OPEN_TYPE_PRECONFIG},
                                    nullptr, nullptr, 0u)));
  EXPECT_THAT(option.Calls(),
              ElementsAre(FieldsAre(_, DWORD{INTERNET_OPTION_CONNECT_TIMEOUT}, _, 4u)));
  EXPECT_THAT(file.Calls(),
              ElementsAre(FieldsAre(StrEq(TempPath()), DWORD{GENERIC_WRITE}, 0u, nullptr,
                                    DWORD{CREATE_ALWAYS}, DWORD{FILE_ATTRIBUTE_NORMAL}, nullptr)));
  const auto requests = m_path.Requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].Header("User-Agent"), "FolivoAX");
  EXPECT_EQ(requests[0].method, "GET");
}

/// A failure is reported by one message. It ends the worker, and under the pre-check signals the
/// event.
class ProgressDialogTransferFailure : public ProgressDialogTransfer {
 protected:
  /// The step after `steps` successful ones fails, with and without the pre-check. A refusal posts
  /// the worker's result at once, and fails the step under the pre-check too.
  void Expect(const std::wstring& message, const std::wstring& url, int steps = 0,
              bool isRefusal = false) {
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
      EXPECT_EQ(peer.Step(1000), peeking && !isRefusal);
      const auto shown = m_messages.Take();
      ASSERT_EQ(shown.size(), 1u);
      EXPECT_EQ(shown[0].text, message);
      EXPECT_EQ(shown[0].caption, kMessageTitle);
      EXPECT_EQ(shown[0].style, UINT{MB_ICONEXCLAMATION});
      EXPECT_EQ(peeking && peer.IsPeekSignalled(), peeking);
      const bool posts = isRefusal && !peeking;
      EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>(posts ? 1 : 0, 3));
      EXPECT_EQ(peer.IsFinished(), posts);
      EXPECT_EQ(peer.IsOpened(), steps > 0);
      EXPECT_EQ(peer.IsValid(), steps > 1);
      EXPECT_EQ(m_sandbox.Files(), steps > 0 ? Files{L"temporary.qdk"} : Files());
    }
    EXPECT_TRUE(m_sandbox.Files().empty()) << "its file is deleted with the dialog";
  }
};

TEST_F(ProgressDialogTransferFailure, RefusedStatusIsReported) {
  const ScriptedPath path(m_server, HttpAnswer().Status(404));
  Expect(NotAvailable(path.Url(L"a.qdk")), path.Url(L"a.qdk"), 0, true);
}

TEST_F(ProgressDialogTransferFailure, UrlWithoutAServerIsReportedAsItIs) {
  const CImportSpy<&InternetErrorDlg> error("wininet.dll", "InternetErrorDlg");
  for (const LPCWSTR url : {L"http://127.0.0.1:1/a.qdk", L"", L"100%s%n", L"http://"}) {
    Expect(NotAvailable(url), url);
  }
  EXPECT_TRUE(error.Calls().empty()) << "there is no request";
}

TEST_F(ProgressDialogTransferFailure, FailedOrPartialWriteIsReported) {
  for (const auto& [result, missing] : {std::pair(FALSE, 1000), {FALSE, 0}, {TRUE, 1}}) {
    const CImportSpy<&WriteFile> write(
        "kernel32.dll", "WriteFile",
        [=](HANDLE, LPCVOID, DWORD size, LPDWORD written, LPOVERLAPPED) {
          *written = size - missing;
          return result;
        });
    Expect(CannotWrite(TempPath()), m_url, 1);
  }
}

TEST_F(ProgressDialogTransferFailure, FailedReadIsReportedAndTheFileStaysWhileItIsOpen) {
  const ReadSpy read(  // every second read fails
      "wininet.dll", "InternetReadFile", [&](auto... arguments) {
        return read.Calls().size() % 2 == 0 ? FALSE : read.CallOriginal(arguments...);
      });
  Expect(NotAvailable(m_url), m_url, 2);
}

TEST_F(ProgressDialogTransferFailure, FailedReadDeletesAClosedFileBeforeItIsReported) {
  ASSERT_TRUE(m_peer.Step());
  m_peer.CloseFile();
  EXPECT_EQ(m_sandbox.Files(), Files{L"temporary.qdk"});
  const ReadSpy read("wininet.dll", "InternetReadFile", [](auto...) { return FALSE; });
  const CImportSpy<&MessageBoxW> message("user32.dll", "MessageBoxW", [&](auto...) {
    EXPECT_TRUE(m_sandbox.Files().empty());
    return IDOK;
  });
  EXPECT_FALSE(m_peer.Step());
  EXPECT_EQ(message.Calls().size(), 1u);
}

TEST_F(ProgressDialogTransfer, RepeatedOpenClosesWhatTheFirstLeft) {
  m_peer.BeginPeek();
  CreateDirectoryW(TempPath().c_str(), nullptr);
  ASSERT_TRUE(m_peer.Step());
  EXPECT_EQ(Messages(), Texts{CannotCreate(TempPath())});
  RemoveDirectoryW(TempPath().c_str());
  const std::vector<std::tuple<HINTERNET>> expected = {{m_peer.Request()}, {m_peer.Session()}};
  const CImportSpy<&InternetCloseHandle> close("wininet.dll", "InternetCloseHandle");
  EXPECT_TRUE(m_peer.Step());
  EXPECT_EQ(close.Calls(), expected);
  EXPECT_TRUE(m_peer.IsOpened());
}

TEST_F(ProgressDialogTransfer, FileThatCouldNotBeCreatedIsNotWaitedFor) {
  CProgressDialog::Ptr dialog = Make(m_url);
  CProgressDialogPeer peer{*dialog};
  peer.BeginPeek();
  CreateDirectoryW(TempPath().c_str(), nullptr);
  ASSERT_TRUE(peer.Step());
  const CImportSpy<&SwitchToThread> wait("kernel32.dll", "SwitchToThread");
  dialog.reset();
  EXPECT_TRUE(wait.Calls().empty());
  EXPECT_EQ(Messages(), Texts{CannotCreate(TempPath())});
  RemoveDirectoryW(TempPath().c_str());
}

TEST_F(ProgressDialogTransfer, FirstChunkIsWrittenOnlyIfValid) {
  const ScriptedPath page(m_server, HttpAnswer().Bytes("<html>").Pattern(1, 5000));
  for (const bool valid : {true, false}) {
    const std::wstring url = valid ? m_url : page.Url(L"a.qdk");
    for (const bool peeking : {true, false}) {
      const auto dialog = Make(url);
      CProgressDialogPeer peer{*dialog};
      if (peeking) {
        peer.BeginPeek();
      }
      ASSERT_TRUE(peer.Step(800));
      EXPECT_FALSE(peeking && peer.IsPeekSignalled());
      EXPECT_EQ(peer.Step(800), valid || peeking);
      EXPECT_EQ(peeking && peer.IsPeekSignalled(), peeking);
      EXPECT_EQ(peer.IsValid(), valid);
      EXPECT_FALSE(peer.IsCheckPending());
      EXPECT_EQ(peer.FileSize(), valid ? 800 : 0);
      EXPECT_EQ(Messages(), Texts(valid || peeking ? 0 : 1, NotAFolivoFile(url)));
    }
  }
}

TEST_F(ProgressDialogTransfer, OnlyTheFirstChunkIsCheckedAndAClosedFileEndsSilently) {
  ASSERT_TRUE(m_peer.Step());
  ASSERT_TRUE(m_peer.Step(2));
  m_peer.SetExtension(L".qdt");  // no content is valid any more
  EXPECT_TRUE(m_peer.Step(100));
  EXPECT_EQ(m_peer.FileSize(), 102);
  m_peer.CloseFile();
  EXPECT_FALSE(m_peer.Step(100));
  EXPECT_EQ(Messages(), Texts());
}

TEST_F(ProgressDialogTransfer, StoppedTransferMakesNoCall) {
  ASSERT_TRUE(m_peer.Step());
  const auto unopened = Make(m_url);
  const CImportSpy<&InternetOpenW> session("wininet.dll", "InternetOpenW");
  const CImportSpy<&InternetOpenUrlW> request("wininet.dll", "InternetOpenUrlW");
  const CImportSpy<&HttpQueryInfoW> query("wininet.dll", "HttpQueryInfoW");
  const ReadSpy read("wininet.dll", "InternetReadFile");
  for (const auto& dialog : {m_dialog, unopened}) {
    CProgressDialogPeer peer{*dialog};
    peer.SetRunning(false);
    EXPECT_FALSE(peer.Step());
  }
  EXPECT_EQ(session.Calls().size() + request.Calls().size(), 0u);
  EXPECT_EQ(query.Calls().size() + read.Calls().size(), 0u);
  EXPECT_EQ(Messages(), Texts());
  EXPECT_TRUE(TakePostedResults().empty());
}

TEST_F(ProgressDialogTransfer, StopBehindTheHeadersLeavesAnotherDownloadsFileAlone) {
  m_sandbox.Write(L"temporary.qdk", "another download");
  const CImportSpy<&HttpQueryInfoW> query("wininet.dll", "HttpQueryInfoW",
                                          [&](HINTERNET request, DWORD level, auto... others) {
                                            m_peer.SetRunning(level != HTTP_QUERY_CONTENT_LENGTH);
                                            return query.CallOriginal(request, level, others...);
                                          });
  EXPECT_FALSE(m_peer.Step());
  EXPECT_FALSE(m_peer.IsRunning());
  EXPECT_EQ(ReadFileBytes(TempPath()), "another download");
  EXPECT_EQ(Messages(), Texts());
}

TEST_F(ProgressDialogTransfer, RetryClosesTheRequestAndOpensTheSameAgain) {
  const HWND foreground = GetDesktopWindow();
  const CImportSpy<&GetForegroundWindow> find("user32.dll", "GetForegroundWindow",
                                              [=] { return foreground; });
  CWinInetRecorder winInet;
  winInet.errorDialogAnswers = {ERROR_INTERNET_FORCE_RETRY, ERROR_CANCELLED};
  const CImportSpy<&InternetOpenUrlW> open("wininet.dll", "InternetOpenUrlW", [&](auto... all) {
    EXPECT_EQ(winInet.closings.Calls().size() + 1, open.Calls().size()) << "closed before";
    return open.CallOriginal(all...);
  });
  EXPECT_TRUE(m_peer.Step());
  EXPECT_THAT(winInet.openings.Calls(), Each(FieldsAre(m_peer.Session(), StrEq(m_url), nullptr, 0u,
                                                       0x84400000u, DWORD_PTR{0})));
  const auto asked = winInet.errorDialogs.Calls();
  ASSERT_EQ(asked.size(), 2u);
  EXPECT_EQ(std::get<0>(asked[0]), foreground) << "the dialog has no window yet";
  EXPECT_THAT(winInet.closings.Calls(), ElementsAre(FieldsAre(std::get<1>(asked[0]))));
  EXPECT_EQ(std::get<1>(asked[1]), m_peer.Request());
  EXPECT_EQ(m_path.Requests().size(), 2u);
}

}  // namespace
