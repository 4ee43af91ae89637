// Transfers that fail: each shows one message, once, and leaves nothing behind.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/collections/wininet_recorder.h"
#include "tests/support/http_pattern.h"
#include "tests/support/import_spy.h"

namespace {

constexpr DWORD kStatusQuery = 0x20000013;
constexpr DWORD kRetry = ERROR_INTERNET_FORCE_RETRY;
constexpr DWORD kOtherError = ERROR_INTERNET_UNRECOGNIZED_SCHEME;

using Lines = CDialogTrace::Lines;

class ZipProgressDialogTransferFailure : public CollectionTest {
 protected:
  /// Runs the whole dialog, which ends with 3 and leaves no archive. Returns its only message.
  std::wstring Fail(const std::wstring& source) {
    CZipProgressDialog dialog(source.c_str(), ZipPath().c_str(), ContentFolder().c_str());
    CDialogTrace trace;
    EXPECT_EQ(dialog.DoModal(nullptr), 3);
    Lines lines = trace.Take();
    EXPECT_EQ(std::ranges::count(lines, End(3)), 1);
    EXPECT_EQ(lines.back(), End(3));
    std::erase_if(lines, [](const auto& line) { return !line.starts_with(Message(L"")); });
    EXPECT_EQ(lines.size(), 1u);
    EXPECT_FALSE(ArchiveExists());
    EXPECT_TRUE(CZipProgressDialogPeer{dialog}.AddedFiles().empty());
    return lines.at(0).substr(Message(L"").size());
  }
};

TEST_F(ZipProgressDialogTransferFailure, UntrustedHostIsNeverAsked) {
  const CWinInetRecorder winInet;
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  for (const std::wstring& url :
       {TrustedUrl(path, L"elsewhere.example"), path.Url(L"a.zip"),
        std::wstring(L"http://folivo-collections.example"), std::wstring(L"javascript:void(0)")}) {
    EXPECT_EQ(Fail(url), kMissing);
  }
  EXPECT_TRUE(winInet.sessions.empty());
}

TEST_F(ZipProgressDialogTransferFailure, FailedRequestIsUnavailable) {
  const struct {
    const char* name;
    std::function<void(CWinInetRecorder&)> prepare;
    int status;
    std::vector<DWORD> errors;  // that the system's error dialogs get
    size_t queries;
    size_t closed;
  } cases[] = {
      {"no session", [](auto& winInet) { winInet.failSession = true; }, 200, {}, 0, 0},
      {"no request", [](auto& winInet) { winInet.failedOpening = 1; }, 200, {}, 0, 1},
      {"no request by a retry",
       [](auto& winInet) {
         winInet.errorDialogAnswers = {kRetry, 0};
         winInet.failedOpening = 2;
       },
       200,
       {0},
       0,
       2},
      {"last error behind a success",
       [](auto& winInet) { winInet.errorBehindSuccess = kOtherError; },
       200,
       {kOtherError},
       0,
       2},
      {"unknown status", [](auto& winInet) { winInet.failedQuery = kStatusQuery; }, 200, {0}, 1, 2},
      {"refused status", [](auto&) {}, 404, {0}, 1, 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const ScriptedPath path(m_server, HttpAnswer().Status(c.status).Bytes("PK"));
    CWinInetRecorder winInet;
    c.prepare(winInet);
    EXPECT_EQ(Fail(TrustedUrl(path)), kUnavailable);
    std::vector<DWORD> errors;
    for (const auto& dialog : winInet.errorDialogs) {
      errors.push_back(dialog.error);
    }
    EXPECT_EQ(errors, c.errors);
    EXPECT_EQ(winInet.queries.size(), c.queries);
    EXPECT_EQ(winInet.closed.size(), c.closed);
  }
}

TEST_F(ZipProgressDialogTransferFailure, LastErrorOfTheWindowCheckIsIgnored) {
  for (const bool fails : {false, true}) {
    const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
    CWinInetRecorder winInet;
    winInet.errorBehindSuccess = fails ? kOtherError : ERROR_SUCCESS;
    const CImportSpy<&IsWindow> check("user32.dll", "IsWindow", [&](HWND window) {
      const BOOL isWindow = check.CallOriginal(window);
      SetLastError(fails ? ERROR_SUCCESS : ERROR_INVALID_WINDOW_HANDLE);
      return isWindow;
    });
    const CDialogTrace trace;
    COpenDialog dialog = Open(TrustedUrl(path));
    EXPECT_EQ(dialog->DownloadArchive(), !fails);
  }
}

TEST_F(ZipProgressDialogTransferFailure, RetryClosesTheRequestAndAsksAgain) {
  const CDialogTrace trace;
  CWinInetRecorder winInet;
  PathScript script;
  script.Then(HttpAnswer().Bytes("one")).Then(HttpAnswer().Bytes("two"));
  script.Then(HttpAnswer().Bytes("three"));
  const ScriptedPath path(m_server, script);
  winInet.errorDialogAnswers = {kRetry, kRetry, ERROR_INTERNET_NAME_NOT_RESOLVED};
  COpenDialog dialog = Open(TrustedUrl(path));
  ASSERT_TRUE(dialog->DownloadArchive());
  ASSERT_EQ(winInet.errorDialogs.size(), 3u);
  EXPECT_EQ(winInet.sessions.size(), 1u);
  EXPECT_EQ(winInet.closed,
            (std::vector{winInet.errorDialogs[0].request, winInet.errorDialogs[1].request}));
  EXPECT_EQ(dialog->Request(), winInet.errorDialogs[2].request);
  ASSERT_EQ(winInet.openings.size(), 3u);
  for (size_t i = 0; i < winInet.openings.size(); ++i) {
    EXPECT_EQ(winInet.openings[i].errorBefore, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(winInet.openings[i].closedBefore, i) << "closed before the next is opened";
  }
  dialog->EndWithResult(2);
  EXPECT_EQ(ReadFileBytes(ZipPath()), "three");
}

TEST_F(ZipProgressDialogTransferFailure, BrokenBodyIsDeletedThenReported) {
  const ScriptedPath path(m_server, HttpAnswer().Pattern(1, 100000));
  CWinInetRecorder winInet;
  winInet.failedRead = 4;
  CDialogTrace trace;
  COpenDialog dialog = Open(TrustedUrl(path));
  EXPECT_FALSE(dialog->DownloadArchive());
  const Lines lines = trace.Take();
  ASSERT_GE(lines.size(), 4u);
  // The first deletion fails, as the file is open.
  EXPECT_EQ(
      Lines(lines.end() - 4, lines.end()),
      (Lines{Delete(L"download.zip"), Message(kUnavailable), Delete(L"download.zip"), End(3)}));
  EXPECT_EQ(winInet.readSizes.size(), 4u);
  EXPECT_FALSE(ArchiveExists());
}

TEST_F(ZipProgressDialogTransferFailure, ChunkWrittenInPartIsReported) {
  const CWinInetRecorder winInet;
  const ScriptedPath path(m_server, HttpAnswer().Pattern(1, 50000));
  const CImportSpy<&WriteFile> write(
      "kernel32.dll", "WriteFile",
      [&](HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) {
        return write.CallOriginal(file, data, size == 10000 ? size - 1 : size, written, overlapped);
      });
  EXPECT_EQ(Fail(TrustedUrl(path)), L"Unable to write to the destination file " + ZipPath() + L".");
  EXPECT_EQ(winInet.readSizes.size(), 1u);
}

}  // namespace
