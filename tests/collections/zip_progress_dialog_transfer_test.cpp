// The archive's way from a server, or from a local path, to its file.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <wininet.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "tests/collections/collection_fixture.h"
#include "tests/collections/dialog_trace.h"
#include "tests/support/http_pattern.h"
#include "tests/support/import_spy.h"
#include "tests/support/wininet_recorder.h"

namespace {

constexpr uint64_t kSeed = 7;
constexpr DWORD kOtherError = ERROR_INTERNET_UNRECOGNIZED_SCHEME;

using testing::_;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::SizeIs;
using testing::StrEq;
using Lines = CDialogTrace::Lines;

const Lines kBegin = {Title(L"Downloading Folivo Collections..."), Subtitle(L""), Bar(0)};

class ZipProgressDialogTransfer : public CollectionFixture {
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

TEST_F(ZipProgressDialogTransfer, SessionAndRequestHaveTheirArguments) {
  const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 100));
  COpenDialog dialog = Open(TrustedUrl(path));
  ASSERT_TRUE(dialog->DownloadArchive());
  EXPECT_THAT(m_winInet.sessions.Calls(),
              ElementsAre(FieldsAre(StrEq(L"FolivoAX"), DWORD{INTERNET_OPEN_TYPE_DIRECT}, nullptr,
                                    nullptr, 0u)));
  EXPECT_THAT(m_winInet.openings.Calls(),
              ElementsAre(FieldsAre(dialog->Session(), StrEq(TrustedUrl(path)), nullptr, 0u,
                                    0x84480000u, 0u)));
  EXPECT_THAT(m_winInet.errorDialogs.Calls(),
              ElementsAre(FieldsAre(dialog.Window(), dialog->Request(), 0u, 7u, nullptr)));
  EXPECT_THAT(m_winInet.queries.Calls(),
              ElementsAre(FieldsAre(_, 0x20000013u, _, _, _), FieldsAre(_, 0x20000005u, _, _, _)));
  EXPECT_EQ(m_winInet.querySizes, (std::vector<DWORD>{4, 1024}));
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

TEST_F(ZipProgressDialogTransfer, UnknownLengthCountsAsTwoMillionAndEachChunkHasItsPause) {
  constexpr size_t kSize = 2100000;
  Lines chunks;
  for (int chunk = 1; chunk <= 210; ++chunk) {
    chunks.push_back(Pause(100));
    chunks.push_back(Bar(std::min(100, chunk / 2)));
  }
  EXPECT_EQ(Fetch(HttpAnswer().Pattern(kSeed, kSize).CloseDelimited()),
            PatternBytes(kSeed, 0, kSize));
  EXPECT_EQ(m_total, 2000000);
  EXPECT_EQ(m_trace.Take(), Join({kBegin, chunks, {Pause(100), Pause(700), Bar(100), End(2)}}));
  EXPECT_THAT(m_winInet.reads.Calls(), AllOf(SizeIs(211), Each(FieldsAre(_, _, 10000u, _))));
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
  for (const std::string& page : {"<html>"s, "<html><body>"s, " <html>"s, "xyz <html>"s,
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
class ZipProgressDialogTransferFailure : public CollectionFixture {
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
  EXPECT_TRUE(winInet.sessions.Calls().empty());
}

TEST_F(ZipProgressDialogTransferFailure, FailedRequestIsUnavailable) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  const ScriptedPath refused(m_server, HttpAnswer().Status(404).Bytes("PK"));
  const struct {
    std::wstring url;
    bool hasSession;
    DWORD error;
    size_t errorDialogs;
    size_t closings;
  } cases[] = {
      {TrustedUrl(path), false, ERROR_SUCCESS, 0, 0},
      {L"http://folivo-collections.example:1/a.zip", true, ERROR_SUCCESS, 0, 1},
      {TrustedUrl(path), true, kOtherError, 1, 2},
      {TrustedUrl(refused), true, ERROR_SUCCESS, 1, 2},
  };
  for (const auto& c : cases) {
    CWinInetRecorder winInet;
    winInet.errorAfterSuccess = c.error;
    winInet.errorDialogAnswers = {ERROR_SUCCESS};
    const CImportSpy<&InternetOpenW> session(
        "wininet.dll", "InternetOpenW", [&](auto... arguments) {
          return c.hasSession ? session.CallOriginal(arguments...) : nullptr;
        });
    EXPECT_EQ(Fail(c.url), kUnavailable);
    EXPECT_EQ(winInet.errorDialogs.Calls().size(), c.errorDialogs);
    EXPECT_EQ(winInet.closings.Calls().size(), c.closings);
  }
}

TEST_F(ZipProgressDialogTransferFailure, RetryThatGetsNoRequestReportsThatItIsUnavailable) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  CWinInetRecorder winInet;
  winInet.errorDialogAnswers = {ERROR_INTERNET_FORCE_RETRY};
  const CImportSpy<&InternetOpenUrlW> open("wininet.dll", "InternetOpenUrlW", [&](auto... all) {
    return open.Calls().size() == 1 ? open.CallOriginal(all...) : nullptr;
  });
  EXPECT_EQ(Fail(TrustedUrl(path)), kUnavailable);
  EXPECT_EQ(winInet.closings.Calls().size(), 2u) << "the request and the session";
}

TEST_F(ZipProgressDialogTransferFailure, LastErrorOfTheWindowCheckIsIgnored) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  const CWinInetRecorder winInet;
  const CImportSpy<&IsWindow> check("user32.dll", "IsWindow", [&](HWND window) {
    const BOOL isWindow = check.CallOriginal(window);
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return isWindow;
  });
  EXPECT_TRUE(Open(TrustedUrl(path))->DownloadArchive());
}

TEST_F(ZipProgressDialogTransferFailure, RetryClosesTheRequestAndOpensAnother) {
  CWinInetRecorder winInet;
  winInet.errorDialogAnswers = {ERROR_INTERNET_FORCE_RETRY, ERROR_INTERNET_NAME_NOT_RESOLVED};
  PathScript script;
  script.Then(HttpAnswer().Bytes("one")).Then(HttpAnswer().Bytes("two"));
  const ScriptedPath path(m_server, script);
  COpenDialog dialog = Open(TrustedUrl(path));
  const CImportSpy<&InternetOpenUrlW> open("wininet.dll", "InternetOpenUrlW", [&](auto... all) {
    EXPECT_EQ(winInet.closings.Calls().size() + 1, open.Calls().size()) << "closed before";
    return open.CallOriginal(all...);
  });
  ASSERT_TRUE(dialog->DownloadArchive());
  const auto asked = winInet.errorDialogs.Calls();
  ASSERT_EQ(asked.size(), 2u);
  EXPECT_EQ(winInet.sessions.Calls().size(), 1u);
  EXPECT_THAT(winInet.closings.Calls(), ElementsAre(FieldsAre(std::get<1>(asked[0]))));
  EXPECT_EQ(dialog->Request(), std::get<1>(asked[1]));
  dialog->EndWithResult(2);
  EXPECT_EQ(ReadFileBytes(ZipPath()), "two");
}

TEST_F(ZipProgressDialogTransferFailure, FailedReadDeletesTheArchiveAndIsReported) {
  const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 100000));
  const CWinInetRecorder winInet;
  const CImportSpy<&InternetReadFile> read("wininet.dll", "InternetReadFile",
                                           [](auto...) { return FALSE; });
  COpenDialog dialog = Open(TrustedUrl(path));
  m_trace.Take();
  EXPECT_FALSE(dialog->DownloadArchive());
  // The first deletion fails, as the file is open.
  EXPECT_EQ(m_trace.Take(), Join({kBegin,
                                  {Pause(100), Delete(L"download.zip"), Message(kUnavailable),
                                   Delete(L"download.zip"), End(3)}}));
  EXPECT_EQ(read.Calls().size(), 1u);
  EXPECT_FALSE(ArchiveExists());
}

TEST_F(ZipProgressDialogTransferFailure, ChunkWrittenInPartIsReported) {
  const CWinInetRecorder winInet;
  const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 50000));
  const CImportSpy<&WriteFile> write(
      "kernel32.dll", "WriteFile", [&](HANDLE file, LPCVOID data, DWORD size, auto... others) {
        return write.CallOriginal(file, data, size == 10000 ? size - 1 : size, others...);
      });
  EXPECT_EQ(Fail(TrustedUrl(path)), L"Unable to write to the destination file " + ZipPath() + L".");
  EXPECT_EQ(winInet.reads.Calls().size(), 1u);
}

/// Archives that are no addresses: local and network paths.
class ZipProgressDialogTransferLocal : public ZipProgressDialogTransfer {
 protected:
  void Expect(const std::wstring& source, bool succeeds, const Lines& end) {
    COpenDialog dialog = Open(source);
    m_trace.Take();
    EXPECT_EQ(dialog->DownloadArchive(), succeeds);
    EXPECT_EQ(m_trace.Take(), Join({kBegin, {Bar(50), Pause(700)}, end}));
    EXPECT_TRUE(m_winInet.sessions.Calls().empty());
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

}  // namespace
