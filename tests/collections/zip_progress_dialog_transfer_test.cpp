// The archive's way from a server to its file.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/collections/wininet_recorder.h"
#include "tests/support/http_pattern.h"
#include "tests/support/import_spy.h"

namespace {

constexpr uint64_t kSeed = 7;

using Lines = CDialogTrace::Lines;

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
    total = dialog->Total();
    dialog->EndWithResult(2);
    return ReadFileBytes(ZipPath());
  }

  CWinInetRecorder m_winInet;
  CDialogTrace m_trace;
  int total = -1;
};

TEST_F(ZipProgressDialogTransfer, BarAndPausesFollowTheChunks) {
  const Lines begin = {Title(L"Downloading Folivo Collections..."), Subtitle(L""), Bar(0)};
  const Lines end = {Pause(100), Pause(700), Bar(100), End(2)};
  const struct {
    size_t size;
    Lines chunks;
  } cases[] = {
      {25000, {Pause(100), Bar(0), Pause(100), Bar(1), Pause(100), Bar(1)}},  // of 2000000
      {0, {}},
  };
  for (const auto& c : cases) {
    m_winInet.readSizes.clear();
    EXPECT_EQ(Fetch(HttpAnswer().Pattern(kSeed, c.size).CloseDelimited()),
              PatternBytes(kSeed, 0, c.size));
    Lines expected = begin;
    expected.insert(expected.end(), c.chunks.begin(), c.chunks.end());
    expected.insert(expected.end(), end.begin(), end.end());
    EXPECT_EQ(m_trace.Take(), expected);
    EXPECT_EQ(m_winInet.readSizes, std::vector<DWORD>(c.chunks.size() / 2 + 1, 10000));
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
  EXPECT_EQ(m_winInet.queries, (std::vector<R::CQuery>{{0x20000013, 4}, {0x20000005, 1024}}));
  const std::vector<RequestRecord> requests = path.Requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].method, "GET");
  EXPECT_EQ(requests[0].Header("User-Agent"), "FolivoAX");
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
    EXPECT_EQ(total, c.total) << c.length;
    EXPECT_EQ(m_trace.Take(L"bar"), c.bar) << c.length;
  }
}

TEST_F(ZipProgressDialogTransfer, UnknownLengthCountsAsTwoMillion) {
  constexpr size_t kSize = 2100000;
  EXPECT_EQ(Fetch(HttpAnswer().Pattern(kSeed, kSize).CloseDelimited()),
            PatternBytes(kSeed, 0, kSize));
  EXPECT_EQ(total, 2000000);
  const Lines bar = m_trace.Take(L"bar");
  ASSERT_EQ(bar.size(), 212u);
  for (size_t chunk = 1; chunk <= 210; ++chunk) {
    EXPECT_EQ(bar[chunk], std::to_wstring(std::min<size_t>(100, chunk / 2)));
  }
}

TEST_F(ZipProgressDialogTransfer, ReceivedBytesWrapAt32Bits) {
  const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 10000).CloseDelimited());
  COpenDialog dialog = Open(TrustedUrl(path));
  dialog->SetReceived(INT32_MAX);
  ASSERT_TRUE(dialog->DownloadArchive());
  EXPECT_EQ(dialog->Received(), INT32_MIN + 9999);
}

TEST_F(ZipProgressDialogTransfer, ArchiveIsCreatedWithoutSharing) {
  m_sandbox.Write(L"download.zip", "old");
  const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 100));
  COpenDialog dialog = Open(TrustedUrl(path));
  const CImportSpy<&CreateFileW> create(
      "kernel32.dll", "CreateFileW",
      [&](LPCWSTR file, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD creation,
          DWORD attributes, HANDLE model) {
        EXPECT_EQ(file, ZipPath());
        EXPECT_EQ((std::vector{access, share, creation, attributes}),
                  (std::vector<DWORD>{GENERIC_WRITE, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL}));
        EXPECT_EQ(security, nullptr);
        return create.CallOriginal(file, access, share, security, creation, attributes, model);
      });
  ASSERT_TRUE(dialog->DownloadArchive());
  EXPECT_EQ(create.Calls().size(), 1u);
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

/// Archives that are no addresses: local and network paths.
class ZipProgressDialogTransferLocal : public ZipProgressDialogTransfer {
 protected:
  /// Runs the stage: its first lines are always the same, and `rest` follows them.
  void Expect(const std::wstring& source, bool succeeds, const Lines& rest) {
    COpenDialog dialog = Open(source);
    m_trace.Take();
    EXPECT_EQ(dialog->DownloadArchive(), succeeds);
    Lines lines = {Title(L"Downloading Folivo Collections..."), Subtitle(L""), Bar(0), Bar(50),
                   Pause(700)};
    lines.insert(lines.end(), rest.begin(), rest.end());
    EXPECT_EQ(m_trace.Take(), lines);
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
  const std::wstring source = m_sandbox.Write(L"source.zip", "new");
  Expect(source, false,
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
