// The archive's way from a server to its file.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/collections/wininet_recorder.h"
#include "tests/support/http_pattern.h"
#include "tests/support/import_patch.h"
#include "tests/support/process_counts.h"

namespace {

constexpr uint64_t kSeed = 7;
constexpr DWORD kStatusQuery = 0x20000013;
constexpr DWORD kLengthQuery = 0x20000005;

using Lines = CDialogTrace::Lines;

class CollectionTransfer : public CollectionTest {
 protected:
  COpenDialog Open(const std::wstring& source) const {
    return COpenDialog(source, ZipPath(), ContentFolder());
  }

  /// What the first stage makes of an answer: the archive, or nothing when the stage failed.
  std::optional<std::string> Fetch(const HttpAnswer& answer) {
    const ScriptedPath path(m_server, answer);
    COpenDialog dialog = Open(TrustedUrl(path));
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

TEST_F(CollectionTransfer, WholeArchiveArrives) {
  for (const size_t size : {1U, 9999U, 10000U, 10001U, 35000U}) {
    EXPECT_EQ(Fetch(HttpAnswer().Pattern(kSeed, size)), PatternBytes(kSeed, 0, size)) << size;
  }
  EXPECT_EQ(Fetch(HttpAnswer().Pattern(kSeed, 35000).Chunked(7)), PatternBytes(kSeed, 0, 35000));
  EXPECT_EQ(Fetch(HttpAnswer()), "");
}

TEST_F(CollectionTransfer, StepsComeInOrder) {
  const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 25000).CloseDelimited());
  COpenDialog dialog = Open(TrustedUrl(path));
  m_trace.Take();
  ASSERT_TRUE(dialog->DownloadArchive());
  EXPECT_EQ(m_trace.Take(), (Lines{Title(L"Downloading Folivo Collections..."), Subtitle(L""),
                                   Bar(0),                  // the stage
                                   Pause(100), Bar(0),      // 10000 of 2000000
                                   Pause(100), Bar(1),      // 20000
                                   Pause(100), Bar(1),      // 25000
                                   Pause(100), Pause(700),  // the end of the data
                                   Bar(100)}));
  EXPECT_EQ(m_winInet.readSizes, std::vector<DWORD>(4, 10000));
  EXPECT_TRUE(dialog->IsDone());
  EXPECT_FALSE(dialog->IsFirstChunk());
  EXPECT_EQ(dialog->Received(), 25000);
}

TEST_F(CollectionTransfer, EmptyBodyIsDoneAtOnce) {
  const ScriptedPath path(m_server, HttpAnswer());
  COpenDialog dialog = Open(TrustedUrl(path));
  m_trace.Take();
  ASSERT_TRUE(dialog->DownloadArchive());
  EXPECT_EQ(m_trace.Take(), (Lines{Title(L"Downloading Folivo Collections..."), Subtitle(L""),
                                   Bar(0), Pause(100), Pause(700), Bar(100)}));
  EXPECT_TRUE(dialog->IsFirstChunk());
}

TEST_F(CollectionTransfer, SessionAndRequestAreAskedForAsDocumented) {
  const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 100));
  const std::wstring url = TrustedUrl(path);
  COpenDialog dialog = Open(url);
  SetLastError(ERROR_ACCESS_DENIED);
  ASSERT_TRUE(dialog->DownloadArchive());

  ASSERT_EQ(m_winInet.sessions.size(), 1u);
  EXPECT_EQ(m_winInet.sessions[0].agent, L"FolivoAX");
  EXPECT_EQ(m_winInet.sessions[0].accessType, DWORD{INTERNET_OPEN_TYPE_DIRECT});
  EXPECT_FALSE(m_winInet.sessions[0].hasProxy);
  EXPECT_EQ(m_winInet.sessions[0].flags, 0u);

  ASSERT_EQ(m_winInet.openings.size(), 1u);
  EXPECT_EQ(m_winInet.openings[0].session, dialog->Session());
  EXPECT_EQ(m_winInet.openings[0].url, url);
  EXPECT_FALSE(m_winInet.openings[0].hasHeaders);
  EXPECT_EQ(m_winInet.openings[0].flags, 0x84480000u);
  EXPECT_EQ(m_winInet.openings[0].context, 0u);
  EXPECT_EQ(m_winInet.openings[0].errorBefore, DWORD{ERROR_SUCCESS}) << "an old error is no error";

  ASSERT_EQ(m_winInet.errorDialogs.size(), 1u);
  EXPECT_EQ(m_winInet.errorDialogs[0].owner, dialog.Window());
  EXPECT_EQ(m_winInet.errorDialogs[0].request, dialog->Request());
  EXPECT_EQ(m_winInet.errorDialogs[0].error, DWORD{ERROR_SUCCESS});
  EXPECT_EQ(m_winInet.errorDialogs[0].flags, 7u);
  EXPECT_FALSE(m_winInet.errorDialogs[0].hasData);

  ASSERT_EQ(m_winInet.queries.size(), 2u);
  EXPECT_EQ(m_winInet.queries[0].level, kStatusQuery);
  EXPECT_EQ(m_winInet.queries[0].size, 4u);
  EXPECT_EQ(m_winInet.queries[1].level, kLengthQuery);
  EXPECT_EQ(m_winInet.queries[1].size, 1024u);

  const std::vector<RequestRecord> requests = path.Requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].method, "GET");
  EXPECT_EQ(requests[0].Header("User-Agent"), "FolivoAX");
}

TEST_F(CollectionTransfer, CookiesAreNeitherKeptNorSent) {
  const ScriptedPath path(m_server,
                          HttpAnswer().Pattern(kSeed, 10).Header("Set-Cookie", "a=b; path=/"));
  for (int i = 0; i < 2; ++i) {
    COpenDialog dialog = Open(TrustedUrl(path));
    ASSERT_TRUE(dialog->DownloadArchive());
    dialog->EndWithResult(2);
  }
  ASSERT_EQ(path.Requests().size(), 2u) << "nor is the archive taken from a cache";
  EXPECT_FALSE(path.Requests()[1].HasHeader("Cookie"));
}

TEST_F(CollectionTransfer, EveryTrustedHostIsFetchedFrom) {
  for (const wchar_t* host :
       {L"folivo-collections.example", L"www.folivo-collections.example",
        L"lessons.folivo-collections.example", L"gallery.folivo-collections.example",
        L"merlo-classroom.example", L"merlo-teachers.example", L"folivo-exchange.example",
        L"folivo-schools.example", L"merlo-content.example", L"merlo-downloads.example"}) {
    const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 10));
    COpenDialog dialog = Open(TrustedUrl(path, host));
    EXPECT_TRUE(dialog->DownloadArchive()) << host;
    EXPECT_EQ(path.Requests().size(), 1u);
  }
}

TEST_F(CollectionTransfer, RedirectIsFollowed) {
  const ScriptedPath target(m_server, HttpAnswer().Pattern(kSeed, 100));
  EXPECT_EQ(Fetch(HttpAnswer().Redirect(TrustedUrl(target))), PatternBytes(kSeed, 0, 100));
}

TEST_F(CollectionTransfer, OtherStatusesAreJudgedByTheirContent) {
  for (const int status : {200, 201, 206, 302, 400, 402, 405, 408, 418, 501, 502, 503, 599}) {
    EXPECT_EQ(Fetch(HttpAnswer().Status(status).Bytes("PK content")), "PK content") << status;
  }
  m_winInet.errorDialogAnswers = {ERROR_SUCCESS};  // The user gives no credentials.
  EXPECT_EQ(Fetch(HttpAnswer().Status(401).Bytes("PK content")), "PK content");
}

TEST_F(CollectionTransfer, LengthIsANumberReadAsAText) {
  // The bytes of the numbers 49 and 57 are the texts "1" and "9"; 3211314 is "21".
  const struct {
    const char* length;
    int total;
  } cases[] = {{"49", 1}, {"57", 9}, {"3211314", 21}, {"1000", 0}, {"2000000", 0}, {"48", 0}};
  for (const auto& c : cases) {
    EXPECT_EQ(Fetch(HttpAnswer().Bytes("PK").ClaimLength(c.length).Close()), "PK");
    EXPECT_EQ(total, c.total) << c.length;
  }
}

TEST_F(CollectionTransfer, BarFollowsThatNumber) {
  Fetch(HttpAnswer().Bytes("PK!").ClaimLength("3211314").Close());
  EXPECT_EQ(m_trace.Take(L"bar"), (Lines{L"0", L"14", L"100"}));  // 300 / 21
  Fetch(HttpAnswer().Bytes("PK!").ClaimLength("3211314").Close());
  m_trace.Take();
  Fetch(HttpAnswer().Bytes(std::string(30, 'x')).ClaimLength("57").Close());
  EXPECT_EQ(m_trace.Take(L"bar"), (Lines{L"0", L"100", L"100"}));  // 3000 / 9, at most 100
}

TEST_F(CollectionTransfer, LengthThatReadsAsZeroLeavesTheBar) {
  EXPECT_TRUE(Fetch(HttpAnswer().Pattern(kSeed, 25000)));
  EXPECT_EQ(total, 0);
  EXPECT_EQ(m_trace.Take(L"bar"), (Lines{L"0", L"100"}));
}

TEST_F(CollectionTransfer, UnknownLengthCountsAsTwoMillion) {
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

TEST_F(CollectionTransfer, ProgressWrapsAt32Bits) {
  const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 10000).CloseDelimited());
  COpenDialog dialog = Open(TrustedUrl(path));
  dialog->SetReceived(21470000);
  ASSERT_TRUE(dialog->DownloadArchive());
  EXPECT_EQ(dialog->Received(), 21480000);
  // The hundredfold is a negative number then.
  EXPECT_EQ(m_trace.Take(L"bar"), (Lines{L"0", L"0", L"100"}));
}

TEST_F(CollectionTransfer, ArchiveIsReplaced) {
  m_sandbox.Write(L"download.zip", std::string(100, 'x'));
  EXPECT_EQ(Fetch(HttpAnswer().Bytes("PK")), "PK");
}

TEST_F(CollectionTransfer, ArchiveStaysOpenForNobodyElseUntilTheEnd) {
  const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 100));
  COpenDialog dialog = Open(TrustedUrl(path));
  ASSERT_TRUE(dialog->DownloadArchive());
  const auto tryToRead = [&] {
    const HANDLE file = CreateFileW(ZipPath().c_str(), GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    const DWORD error = file == INVALID_HANDLE_VALUE ? GetLastError() : ERROR_SUCCESS;
    CloseHandle(file);
    return error;
  };
  EXPECT_EQ(tryToRead(), DWORD{ERROR_SHARING_VIOLATION});
  dialog->EndWithResult(2);
  EXPECT_EQ(tryToRead(), DWORD{ERROR_SUCCESS});
}

struct CCreation {
  std::wstring path;
  DWORD access;
  DWORD share;
  bool hasSecurity;
  DWORD disposition;
  DWORD attributes;
  HANDLE templateFile;
};
std::vector<CCreation> g_creations;
decltype(&CreateFileW) g_createFile;

TEST_F(CollectionTransfer, ArchiveIsCreatedAsDocumented) {
  const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 100));
  COpenDialog dialog = Open(TrustedUrl(path));
  g_creations.clear();
  {
    const CImportPatch patch(
        "kernel32.dll", "CreateFileW",
        +[](LPCWSTR file, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
            DWORD disposition, DWORD attributes, HANDLE templateFile) -> HANDLE {
          g_creations.push_back(
              {file, access, share, security != nullptr, disposition, attributes, templateFile});
          return g_createFile(file, access, share, security, disposition, attributes, templateFile);
        });
    g_createFile = patch.Original<HANDLE WINAPI(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD,
                                                DWORD, HANDLE)>();
    ASSERT_TRUE(dialog->DownloadArchive());
  }
  ASSERT_EQ(g_creations.size(), 1u);
  EXPECT_EQ(g_creations[0].path, ZipPath());
  EXPECT_EQ(g_creations[0].access, DWORD{GENERIC_WRITE});
  EXPECT_EQ(g_creations[0].share, 0u);
  EXPECT_FALSE(g_creations[0].hasSecurity);
  EXPECT_EQ(g_creations[0].disposition, DWORD{CREATE_ALWAYS});
  EXPECT_EQ(g_creations[0].attributes, DWORD{FILE_ATTRIBUTE_NORMAL});
  EXPECT_EQ(g_creations[0].templateFile, nullptr);
}

TEST_F(CollectionTransfer, FirstCharactersTellAPage) {
  using namespace std::string_literals;
  for (const std::string& page : {"<html>"s, "<html><body>"s, " <html>"s, "abcd<html>"s,
                                  "\r\n\r\n<html>"s, "\xE4\xF6\xFC\xDF<html>"s, "<html>\0"s}) {
    EXPECT_FALSE(Fetch(HttpAnswer().Bytes(page))) << page;
    EXPECT_EQ(m_trace.Take(L"message"), Lines{kNotValid});
    EXPECT_FALSE(ArchiveExists());
  }
  for (const std::string& archive :
       {"abcde<html>"s, "abcdefghij<html>"s, "abcdefghijk<html>"s, "<HTML>"s, "<Html>"s, "<html"s,
        "<html lang"s, "html>"s, "\0<html>"s, "ab\0<html>"s, "<ht\0ml>"s, "<"s, "PK<html"s}) {
    EXPECT_EQ(Fetch(HttpAnswer().Bytes(archive)), archive) << archive;
    EXPECT_TRUE(m_trace.Take(L"message").empty());
  }
}

TEST_F(CollectionTransfer, LaterChunksAreNotChecked) {
  const std::string archive = PatternBytes(kSeed, 0, 10000) + "<html>";
  EXPECT_EQ(Fetch(HttpAnswer().Bytes(archive)), archive);
}

TEST_F(CollectionTransfer, NoHandleIsLeftBehind) {
  const HttpAnswer answer = HttpAnswer().Pattern(kSeed, 100);
  Fetch(answer);
  const int handles = CountHandles();
  for (int i = 0; i < 10; ++i) {
    m_winInet.closed.clear();
    Fetch(answer);
    EXPECT_EQ(m_winInet.closed.size(), 2u);
  }
  EXPECT_LE(CountHandles(), handles + 2);
}

/// The real pauses, as nothing stands in for them here.
class CollectionTransferPace : public CollectionTest {};

TEST_F(CollectionTransferPace, EachChunkTakesATenthOfASecond) {
  const CWinInetRecorder winInet;
  const ScriptedPath path(m_server, HttpAnswer().Pattern(kSeed, 95000));
  COpenDialog dialog(TrustedUrl(path), ZipPath(), ContentFolder());
  const ULONGLONG begin = GetTickCount64();
  ASSERT_TRUE(dialog->DownloadArchive());
  const ULONGLONG milliseconds = GetTickCount64() - begin;
  // Ten chunks, the end of the data, and the time to read that.
  EXPECT_GE(milliseconds, 11 * 100 + 700 - 20U);
  dialog->EndWithResult(2);
}

}  // namespace
