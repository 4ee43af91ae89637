// Transfers that fail: each says one thing, once, and leaves nothing behind.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/collections/wininet_recorder.h"
#include "tests/support/http_pattern.h"
#include "tests/support/import_patch.h"

namespace {

constexpr DWORD kStatusQuery = 0x20000013;
constexpr DWORD kLengthQuery = 0x20000005;

using Lines = CDialogTrace::Lines;

class CollectionTransferFailure : public CollectionTest {
 protected:
  /// Runs the whole dialog: it ends with 3 behind one message, which is given, and no archive is
  /// left.
  std::wstring Fail(const std::wstring& source, const std::wstring& zipPath) {
    CZipProgressDialog dialog(source.c_str(), zipPath.c_str(), ContentFolder().c_str());
    m_trace.Take();
    EXPECT_EQ(dialog.DoModal(nullptr), 3);
    const Lines lines = m_trace.Take();
    std::wstring message;
    int messages = 0;
    int ends = 0;
    for (const std::wstring& line : lines) {
      if (line.rfind(Message(L""), 0) == 0) {
        message = line.substr(Message(L"").size());
        ++messages;
      }
      ends += line.rfind(L"end ", 0) == 0 ? 1 : 0;
    }
    EXPECT_EQ(messages, 1);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(lines.back(), End(3));
    EXPECT_FALSE(ArchiveExists());
    EXPECT_TRUE(CZipProgressDialogPeer{dialog}.AddedFiles().empty());
    return message;
  }
  std::wstring Fail(const std::wstring& source) { return Fail(source, ZipPath()); }

  CWinInetRecorder m_winInet;
  CDialogTrace m_trace;
};

TEST_F(CollectionTransferFailure, UntrustedHostIsNeverAsked) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  std::wstring https = TrustedUrl(path);
  https.replace(0, 4, L"https");
  for (const std::wstring& url :
       {TrustedUrl(path, L"elsewhere.example"), path.Url(L"a.zip"), https,
        TrustedUrl(path, L"elsewhere.folivo-collections.example"),
        std::wstring(L"http://folivo-collections.example"),
        std::wstring(L"file:///C:/windows/win.ini"), std::wstring(L"javascript:void(0)")}) {
    EXPECT_EQ(Fail(url), kMissing);
  }
  EXPECT_TRUE(path.Requests().empty());
  EXPECT_TRUE(m_winInet.sessions.empty());
}

TEST_F(CollectionTransferFailure, UnreachableServerIsUnavailable) {
  EXPECT_EQ(Fail(L"http://folivo-collections.example:1/a.zip"), kUnavailable);
  EXPECT_TRUE(m_winInet.errorDialogs.empty()) << "there is no request to ask about";
  EXPECT_EQ(m_winInet.closed.size(), 1u) << "the session";
}

TEST_F(CollectionTransferFailure, WithoutASessionItIsUnavailable) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  m_winInet.failSession = true;
  EXPECT_EQ(Fail(TrustedUrl(path)), kUnavailable);
  EXPECT_TRUE(path.Requests().empty());
  EXPECT_TRUE(m_winInet.closed.empty());
}

TEST_F(CollectionTransferFailure, RefusedStatusIsUnavailable) {
  for (const int status : {204, 403, 404, 410, 500}) {
    HttpAnswer answer = HttpAnswer().Status(status);
    const ScriptedPath path(m_server, status == 204 ? answer : answer.Bytes("PK content"));
    EXPECT_EQ(Fail(TrustedUrl(path)), kUnavailable) << status;
    EXPECT_EQ(path.Requests().size(), 1u);
  }
}

TEST_F(CollectionTransferFailure, UnknownStatusIsUnavailable) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  m_winInet.failedQuery = kStatusQuery;
  EXPECT_EQ(Fail(TrustedUrl(path)), kUnavailable);
}

TEST_F(CollectionTransferFailure, UnknownLengthIsNoFailure) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  m_winInet.failedQuery = kLengthQuery;
  COpenDialog dialog(TrustedUrl(path), ZipPath(), ContentFolder());
  EXPECT_TRUE(dialog->DownloadArchive());
  EXPECT_EQ(dialog->Total(), 2000000);
}

TEST_F(CollectionTransferFailure, LastErrorBehindASuccessIsAFailure) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  m_winInet.errorBehindSuccess = ERROR_INTERNET_UNRECOGNIZED_SCHEME;
  EXPECT_EQ(Fail(TrustedUrl(path)), kUnavailable);
  ASSERT_EQ(m_winInet.errorDialogs.size(), 1u);
  EXPECT_EQ(m_winInet.errorDialogs[0].error, DWORD{ERROR_INTERNET_UNRECOGNIZED_SCHEME});
  EXPECT_EQ(m_winInet.closed.size(), 2u);
  EXPECT_TRUE(m_winInet.queries.empty());
}

DWORD g_errorOfIsWindow;
decltype(&IsWindow) g_isWindow;

BOOL WINAPI IsWindowWithError(HWND window) {
  const BOOL isWindow = g_isWindow(window);
  SetLastError(g_errorOfIsWindow);
  return isWindow;
}

TEST_F(CollectionTransferFailure, LastErrorOfTheWindowCheckIsIgnored) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  const CImportPatch patch("user32.dll", "IsWindow", &IsWindowWithError);
  g_isWindow = patch.Original<BOOL WINAPI(HWND)>();
  g_errorOfIsWindow = ERROR_SUCCESS;
  m_winInet.errorBehindSuccess = ERROR_INTERNET_UNRECOGNIZED_SCHEME;
  EXPECT_EQ(Fail(TrustedUrl(path)), kUnavailable);
  g_errorOfIsWindow = ERROR_INVALID_WINDOW_HANDLE;
  m_winInet.errorBehindSuccess = ERROR_SUCCESS;
  COpenDialog dialog(TrustedUrl(path), ZipPath(), ContentFolder());
  EXPECT_TRUE(dialog->DownloadArchive());
}

TEST_F(CollectionTransferFailure, RetryClosesTheRequestAndAsksAgain) {
  PathScript script;
  script.Then(HttpAnswer().Bytes("one")).Then(HttpAnswer().Bytes("two"));
  script.Then(HttpAnswer().Bytes("three"));
  const ScriptedPath path(m_server, script);
  m_winInet.errorDialogAnswers = {12032, 12032, 12007};  // any other answer than 12032 is an end
  COpenDialog dialog(TrustedUrl(path), ZipPath(), ContentFolder());
  ASSERT_TRUE(dialog->DownloadArchive());
  ASSERT_EQ(m_winInet.errorDialogs.size(), 3u);
  EXPECT_EQ(m_winInet.sessions.size(), 1u);
  EXPECT_EQ(m_winInet.closed,
            (std::vector{m_winInet.errorDialogs[0].request, m_winInet.errorDialogs[1].request}));
  EXPECT_EQ(dialog->Request(), m_winInet.errorDialogs[2].request);
  ASSERT_EQ(m_winInet.openings.size(), 3u);
  for (size_t i = 0; i < m_winInet.openings.size(); ++i) {
    EXPECT_EQ(m_winInet.openings[i].errorBefore, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(m_winInet.openings[i].closedBefore, i) << "each goes before the next is opened";
  }
  dialog->EndWithResult(2);
  EXPECT_EQ(ReadFileBytes(ZipPath()), "three");
}

TEST_F(CollectionTransferFailure, RetryThatCannotOpenIsUnavailable) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("one"));
  m_winInet.errorDialogAnswers = {12032, 0};
  m_winInet.failedOpening = 2;
  EXPECT_EQ(Fail(TrustedUrl(path)), kUnavailable);
  EXPECT_EQ(m_winInet.errorDialogs.size(), 1u);
  EXPECT_EQ(m_winInet.closed.size(), 2u) << "the first request and the session";
}

TEST_F(CollectionTransferFailure, ArchiveThatCannotBeCreatedIsNamed) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  const std::wstring zipPath = m_sandbox / L"missing 100%s folder\\download.zip";
  EXPECT_EQ(Fail(TrustedUrl(path), zipPath),
            L"Unable to create the destination file " + zipPath + L".");
  EXPECT_EQ(m_winInet.readSizes.size(), 0u);
}

TEST_F(CollectionTransferFailure, ArchiveHeldBySomebodyElseCannotBeCreated) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  const std::wstring held = m_sandbox.Write(L"held.zip", "other");
  const HANDLE holder =
      CreateFileW(held.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_EQ(Fail(TrustedUrl(path), held), L"Unable to create the destination file " + held + L".");
  CloseHandle(holder);
  EXPECT_EQ(ReadFileBytes(held), "other");
}

TEST_F(CollectionTransferFailure, BrokenBodyIsDeletedThenReported) {
  const ScriptedPath path(m_server, HttpAnswer().Pattern(1, 100000));
  m_winInet.failedRead = 4;
  COpenDialog dialog(TrustedUrl(path), ZipPath(), ContentFolder());
  m_trace.Take();
  EXPECT_FALSE(dialog->DownloadArchive());
  const Lines lines = m_trace.Take();
  ASSERT_GE(lines.size(), 4u);
  // The first deletion meets the open file; the one at the end succeeds.
  EXPECT_EQ(
      Lines(lines.end() - 4, lines.end()),
      (Lines{Delete(L"download.zip"), Message(kUnavailable), Delete(L"download.zip"), End(3)}));
  EXPECT_EQ(m_winInet.readSizes.size(), 4u);
  EXPECT_FALSE(ArchiveExists());
}

TEST_F(CollectionTransferFailure, PageInsteadOfArchiveIsRefused) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("<html><body>Please log in</body></html>"));
  EXPECT_EQ(Fail(TrustedUrl(path)), kNotValid);
}

DWORD g_room;
int g_writes;
decltype(&WriteFile) g_writeFile;

/// The second write of more than 1000 bytes meets a disk with room for `g_room` more.
BOOL WINAPI WriteToFullDisk(HANDLE file, LPCVOID data, DWORD size, LPDWORD written,
                            LPOVERLAPPED overlapped) {
  if (size <= 1000 || ++g_writes != 2) {
    return g_writeFile(file, data, size, written, overlapped);
  }
  if (g_room > 0) {
    return g_writeFile(file, data, g_room, written, overlapped);
  }
  *written = 0;
  SetLastError(ERROR_DISK_FULL);
  return FALSE;
}

TEST_F(CollectionTransferFailure, FullDiskIsReported) {
  const ScriptedPath path(m_server, HttpAnswer().Pattern(1, 50000));
  const CImportPatch patch("kernel32.dll", "WriteFile", &WriteToFullDisk);
  g_writeFile = patch.Original<BOOL WINAPI(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED)>();
  for (const DWORD room : {0, 1, 9999}) {
    g_room = room;
    g_writes = 0;
    m_winInet.readSizes.clear();
    EXPECT_EQ(Fail(TrustedUrl(path)),
              L"Unable to write to the destination file " + ZipPath() + L".");
    EXPECT_EQ(g_writes, 2) << "nothing is written behind a failure";
    EXPECT_EQ(m_winInet.readSizes.size(), 2u);
  }
}

TEST_F(CollectionTransferFailure, ReadOnlyArchiveIsDeletedToo) {
  const std::wstring zipPath = m_sandbox.Write(L"download.zip", "old");
  SetFileAttributesW(zipPath.c_str(), FILE_ATTRIBUTE_READONLY);
  EXPECT_EQ(Fail(L"http://elsewhere.example/a.zip"), kMissing);
}

}  // namespace
