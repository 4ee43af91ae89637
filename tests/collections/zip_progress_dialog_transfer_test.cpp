// The archive's way from a server, or from a local path, to its file.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/collections/wininet_recorder.h"
#include "tests/support/http_pattern.h"
#include "tests/support/import_spy.h"

namespace {

constexpr uint64_t kSeed = 7;
constexpr DWORD kStatusQuery = 0x20000013;
constexpr DWORD kRetry = ERROR_INTERNET_FORCE_RETRY;
constexpr DWORD kOtherError = ERROR_INTERNET_UNRECOGNIZED_SCHEME;

using Lines = CDialogTrace::Lines;

Lines Join(Lines lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}
const Lines kBegin = {Title(L"Downloading Folivo Collections..."), Subtitle(L""), Bar(0)};

class ZipProgressDialogTransfer : public CollectionTest {
 protected:
  /// Runs the first stage, then ends the dialog. Returns the archive, or nothing when the stage
  /// failed.
  std::optional<std::string> Fetch(const HttpAnswer& answer) {
    const ScriptedPath path(m_server, answer);
    COpenDialog dialog = Open(TrustedUrl(path));
    m_trace.Take();
    if (!dialog->DownloadArchive()) {
      return {};
    }
    m_total = dialog->Total();
    dialog->EndWithResult(2);
    return ReadFileBytes(ZipPath());
  }

  CWinInetRecorder m_winInet;
  CDialogTrace m_trace;
  int m_total = -1;
};

TEST_F(ZipProgressDialogTransfer, BarAndPausesFollowTheChunks) {
  const Lines end = {Pause(100), Pause(700), Bar(100), End(2)};
  const std::pair<size_t, Lines> cases[] = {
      {25000, {Pause(100), Bar(0), Pause(100), Bar(1), Pause(100), Bar(1)}},  // of 2000000
      {0, {}},
  };
  for (const auto& [size, chunks] : cases) {
    m_winInet.readSizes.clear();
    EXPECT_EQ(Fetch(HttpAnswer().Pattern(kSeed, size).CloseDelimited()),
              PatternBytes(kSeed, 0, size));
    EXPECT_EQ(m_trace.Take(), Join(Join(kBegin, chunks), end));
    EXPECT_EQ(m_winInet.readSizes, std::vector<DWORD>(chunks.size() / 2 + 1, 10000));
  }
}

TEST_F(ZipProgressDialogTransfer, SessionAndRequestHaveTheirArguments) {
  const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 100));
  COpenDialog dialog = Open(TrustedUrl(path));
  SetLastError(ERROR_ACCESS_DENIED);  // is no failure of this request
  ASSERT_TRUE(dialog->DownloadArchive());
  using R = CWinInetRecorder;
  EXPECT_EQ(m_winInet.sessions,
            (std::vector<R::CSession>{{L"FolivoAX", INTERNET_OPEN_TYPE_DIRECT, false, 0}}));
  EXPECT_EQ(m_winInet.openings,
            (std::vector<R::COpening>{
                {dialog->Session(), TrustedUrl(path), false, 0x84480000, 0, ERROR_SUCCESS, 0}}));
  EXPECT_EQ(m_winInet.errorDialogs,
            (std::vector<R::CErrorDialog>{
                {dialog.Window(), dialog->Request(), ERROR_SUCCESS, 7, false}}));
  EXPECT_EQ(m_winInet.queries, (std::vector<R::CQuery>{{kStatusQuery, 4}, {0x20000005, 1024}}));
}

TEST_F(ZipProgressDialogTransfer, LengthIsANumberReadAsAText) {
  // The bytes of the numbers 49 and 57 are the texts "1" and "9"; 3211314 is "21".
  const struct {
    const char* length;
    size_t received;
    int total;
    Lines bar;
  } cases[] = {
      {"49", 1, 1, {L"0", L"100", L"100"}},      {"57", 30, 9, {L"0", L"100", L"100"}},
      {"3211314", 3, 21, {L"0", L"14", L"100"}}, {"1000", 2, 0, {L"0", L"100"}},
      {"2000000", 2, 0, {L"0", L"100"}},         {"48", 2, 0, {L"0", L"100"}},
  };
  for (const auto& c : cases) {
    const std::string bytes(c.received, 'x');
    EXPECT_EQ(Fetch(HttpAnswer().Bytes(bytes).ClaimLength(c.length).Close()), bytes);
    EXPECT_EQ(m_total, c.total) << c.length;
    EXPECT_EQ(m_trace.Take(L"bar"), c.bar) << c.length;
  }
}

TEST_F(ZipProgressDialogTransfer, UnknownLengthCountsAsTwoMillion) {
  constexpr size_t kSize = 2100000;
  EXPECT_EQ(Fetch(HttpAnswer().Pattern(kSeed, kSize).CloseDelimited()),
            PatternBytes(kSeed, 0, kSize));
  EXPECT_EQ(m_total, 2000000);
  const Lines bar = m_trace.Take(L"bar");
  ASSERT_EQ(bar.size(), 212u);
  for (size_t chunk = 1; chunk <= 210; ++chunk) {
    EXPECT_EQ(bar[chunk], std::to_wstring(std::min<size_t>(100, chunk / 2)));
  }
}

TEST_F(ZipProgressDialogTransfer, ReceivedBytesWrapAt32BitsAndTheBarStaysAbove0) {
  // As hundredths of the total, the second sum is negative.
  for (const int received : {INT32_MAX - 9, INT32_MAX / 100 - 8}) {
    const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 10).CloseDelimited());
    COpenDialog dialog = Open(TrustedUrl(path));
    dialog->SetReceived(received);
    m_trace.Take();
    ASSERT_TRUE(dialog->DownloadArchive());
    EXPECT_EQ(dialog->Received(), static_cast<int>(static_cast<unsigned>(received) + 10));
    EXPECT_EQ(m_trace.Take(L"bar"), (Lines{L"0", L"0", L"100"}));
  }
}

TEST_F(ZipProgressDialogTransfer, PageInTheFirstTenCharactersIsRefused) {
  using namespace std::string_literals;
  for (const std::string& page : {"<html>"s, "<html><body>"s, " <html>"s, "abcd<html>"s,
                                  "\r\n\r\n<html>"s, "\xE4\xF6\xFC\xDF<html>"s, "<html>\0"s}) {
    EXPECT_FALSE(Fetch(HttpAnswer().Bytes(page))) << page;
    EXPECT_EQ(m_trace.Take(L"message"), Lines{kNotValid});
    EXPECT_FALSE(ArchiveExists());
  }
  for (const std::string& archive :
       {"abcde<html>"s, "abcdefghij<html>"s, "abcdefghijk<html>"s, "<HTML>"s, "<Html>"s, "<html"s,
        "<html lang"s, "html>"s, "\0<html>"s, "ab\0<html>"s, "<ht\0ml>"s, "<"s, "PK<html"s,
        std::string(10000, 'x') + "<html>"}) {
    EXPECT_EQ(Fetch(HttpAnswer().Bytes(archive)), archive) << archive.substr(0, 20);
    EXPECT_TRUE(m_trace.Take(L"message").empty());
  }
}

/// Each failure shows one message, once, and leaves nothing behind.
class ZipProgressDialogTransferFailure : public CollectionTest {
 protected:
  /// Runs the whole dialog, which ends with 3 and leaves no archive. Returns its only message.
  std::wstring Fail(const std::wstring& source) {
    CZipProgressDialog dialog(source.c_str(), ZipPath().c_str(), ContentFolder().c_str());
    EXPECT_EQ(dialog.DoModal(nullptr), 3);
    Lines lines = m_trace.Take();
    EXPECT_EQ(std::ranges::count(lines, End(3)), 1);
    EXPECT_EQ(lines.back(), End(3));
    std::erase_if(lines, [](const auto& line) { return !line.starts_with(Message(L"")); });
    EXPECT_EQ(lines.size(), 1u);
    EXPECT_FALSE(ArchiveExists());
    EXPECT_TRUE(CZipProgressDialogPeer{dialog}.AddedFiles().empty());
    return lines.at(0).substr(Message(L"").size());
  }

  CDialogTrace m_trace;
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
    CWinInetFaults faults;
    int status;
    std::vector<DWORD> errors;  // that the system's error dialogs get
    size_t queries;
    size_t closed;
  } cases[] = {
      {"no session", {.failSession = true}, 200, {}, 0, 0},
      {"no request", {.failedOpening = 1}, 200, {}, 0, 1},
      {"no retry", {.errorDialogAnswers = {kRetry}, .failedOpening = 2}, 200, {0}, 0, 2},
      {"last error", {.errorBehindSuccess = kOtherError}, 200, {kOtherError}, 0, 2},
      {"unknown status", {.failedQuery = kStatusQuery}, 200, {0}, 1, 2},
      {"refused status", {}, 404, {0}, 1, 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const ScriptedPath path(m_server, HttpAnswer().Status(c.status).Bytes("PK"));
    CWinInetRecorder winInet;
    static_cast<CWinInetFaults&>(winInet) = c.faults;
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
    EXPECT_EQ(Open(TrustedUrl(path))->DownloadArchive(), !fails);
  }
}

TEST_F(ZipProgressDialogTransferFailure, RetryClosesTheRequestAndAsksAgain) {
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

TEST_F(ZipProgressDialogTransferFailure, FailedReadDeletesTheArchiveAndIsReported) {
  const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 100000));
  CWinInetRecorder winInet;
  winInet.failedRead = 4;
  COpenDialog dialog = Open(TrustedUrl(path));
  EXPECT_FALSE(dialog->DownloadArchive());
  const Lines lines = m_trace.Take();
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
  const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 50000));
  const CImportSpy<&WriteFile> write(
      "kernel32.dll", "WriteFile",
      [&](HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) {
        return write.CallOriginal(file, data, size == 10000 ? size - 1 : size, written, overlapped);
      });
  EXPECT_EQ(Fail(TrustedUrl(path)), L"Unable to write to the destination file " + ZipPath() + L".");
  EXPECT_EQ(winInet.readSizes.size(), 1u);
}

/// Archives that are no addresses: local and network paths.
class ZipProgressDialogTransferLocal : public ZipProgressDialogTransfer {
 protected:
  void Expect(const std::wstring& source, bool succeeds, const Lines& end) {
    COpenDialog dialog = Open(source);
    m_trace.Take();
    EXPECT_EQ(dialog->DownloadArchive(), succeeds);
    EXPECT_EQ(m_trace.Take(), Join(Join(kBegin, {Bar(50), Pause(700)}), end));
    EXPECT_TRUE(m_winInet.sessions.empty());
  }
};

TEST_F(ZipProgressDialogTransferLocal, MissingFileIsReported) {
  for (const std::wstring& source :
       {m_sandbox / L"missing.zip", std::wstring(), std::wstring(L"www.folivo-collections.example"),
        std::wstring(L" http://folivo-collections.example/a.zip")}) {
    Expect(source, false, {Message(kMissing), End(3)});
  }
}

TEST_F(ZipProgressDialogTransferLocal, FreshCopyCountsAsFailure) {
  Expect(m_sandbox.Write(L"source.zip", "new"), false,
         {Message(L"Unable to write to the destination file " + ZipPath() + L"."),
          Delete(L"download.zip"), End(3)});
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"source.zip"});
}

TEST_F(ZipProgressDialogTransferLocal, FailedCopyGoesOnWithTheOldArchive) {
  m_sandbox.Write(L"download.zip", "old");
  Expect(m_sandbox.Write(L"source.zip", "new"), true, {Bar(100)});
  EXPECT_EQ(ReadFileBytes(ZipPath()), "old");
}

}  // namespace
