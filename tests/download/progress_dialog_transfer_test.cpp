// The steps of a transfer, driven one by one without a window.

#include <gtest/gtest.h>
#include <windows.h>

#include <wininet.h>

#include <string>
#include <vector>

#include "tests/download/transfer_step.h"
#include "tests/support/import_patch.h"
#include "tests/support/scripted_path.h"

namespace {

constexpr DWORD kPeekSize = 800;

TEST_F(TransferStep, FirstOneOpensRequestAndFile) {
  const ScriptedPath path(m_server, Lesson(1000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  EXPECT_TRUE(peer.Step());
  EXPECT_TRUE(peer.IsOpened());
  EXPECT_TRUE(peer.IsCheckPending());
  EXPECT_EQ(peer.FileSize(), 0);
  EXPECT_EQ(path.Requests().size(), 1u);
  EXPECT_EQ(path.Requests()[0].Header("User-Agent"), "FolivoAX");
  EXPECT_EQ(path.Requests()[0].method, "GET");
  EXPECT_TRUE(m_messages.Take().empty());
}

struct CSessionCall {
  std::wstring agent;
  DWORD accessType;
  bool hasProxy;
  DWORD flags;
};
struct COptionCall {
  HINTERNET handle;
  DWORD option;
  DWORD value;
  DWORD size;
};
std::vector<CSessionCall> g_sessions;
std::vector<COptionCall> g_options;
decltype(&InternetOpenW) g_openSession;
decltype(&InternetSetOptionW) g_setOption;

HINTERNET WINAPI RecordSession(LPCWSTR agent, DWORD accessType, LPCWSTR proxy, LPCWSTR bypass,
                               DWORD flags) {
  g_sessions.push_back({agent, accessType, proxy != nullptr || bypass != nullptr, flags});
  return g_openSession(agent, accessType, proxy, bypass, flags);
}

BOOL WINAPI RecordOption(HINTERNET handle, DWORD option, LPVOID value, DWORD size) {
  g_options.push_back({handle, option, *static_cast<const DWORD*>(value), size});
  return g_setOption(handle, option, value, size);
}

TEST_F(TransferStep, SessionUsesTheUsersProxyAndConnectsFor25Seconds) {
  const CImportPatch open("wininet.dll", "InternetOpenW", &RecordSession);
  const CImportPatch option("wininet.dll", "InternetSetOptionW", &RecordOption);
  g_openSession = open.Original<decltype(InternetOpenW)>();
  g_setOption = option.Original<decltype(InternetSetOptionW)>();
  g_sessions.clear();
  g_options.clear();
  const ScriptedPath path(m_server, Lesson(1000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  EXPECT_TRUE(peer.Step());
  ASSERT_EQ(g_sessions.size(), 1u);
  EXPECT_EQ(g_sessions[0].agent, L"FolivoAX");
  EXPECT_EQ(g_sessions[0].accessType, static_cast<DWORD>(INTERNET_OPEN_TYPE_PRECONFIG));
  EXPECT_FALSE(g_sessions[0].hasProxy);
  EXPECT_EQ(g_sessions[0].flags, 0u);
  ASSERT_EQ(g_options.size(), 1u);
  EXPECT_EQ(g_options[0].handle, peer.Session());
  EXPECT_EQ(g_options[0].option, static_cast<DWORD>(INTERNET_OPTION_CONNECT_TIMEOUT));
  EXPECT_EQ(g_options[0].value, 25000u);
  EXPECT_EQ(g_options[0].size, 4u);
}

struct CFileCall {
  std::wstring path;
  DWORD access;
  DWORD share;
  bool hasSecurity;
  DWORD creation;
  DWORD attributes;
  HANDLE model;

  bool operator==(const CFileCall&) const = default;
};
std::vector<CFileCall> g_files;
decltype(&CreateFileW) g_createFile;

HANDLE WINAPI RecordFile(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                         DWORD creation, DWORD attributes, HANDLE model) {
  g_files.push_back({path, access, share, security != nullptr, creation, attributes, model});
  return g_createFile(path, access, share, security, creation, attributes, model);
}

TEST_F(TransferStep, FileIsMadeForWritingAloneAndNotShared) {
  const ScriptedPath path(m_server, Lesson(1000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  const CImportPatch patch("kernel32.dll", "CreateFileW", &RecordFile);
  g_createFile = patch.Original<decltype(CreateFileW)>();
  g_files.clear();
  ASSERT_TRUE(CProgressDialogPeer{*dialog}.Step());
  const CFileCall expected = {TempPath(),    GENERIC_WRITE,         0,      false,
                              CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr};
  EXPECT_EQ(g_files, std::vector{expected});
}

TEST_F(TransferStep, ExistingFileIsEmptied) {
  const ScriptedPath path(m_server, Lesson(1000));
  m_sandbox.Write(L"temporary.qdk", "something old");
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step());
  EXPECT_EQ(peer.FileSize(), 0);
}

TEST_F(TransferStep, ExactlyFiveStatusesAreRefused) {
  for (const int status : {204, 403, 404, 410, 500}) {
    for (const bool peeking : {false, true}) {
      const ScriptedPath path(m_server, HttpAnswer().Status(status));
      const std::wstring url = path.Url(L"a.qdk");
      const auto dialog = Make(url);
      CProgressDialogPeer peer{*dialog};
      if (peeking) {
        peer.BeginPeek();
      }
      EXPECT_FALSE(peer.Step()) << status;
      EXPECT_EQ(OnlyMessage(), NotAvailable(url)) << status;
      EXPECT_FALSE(peer.IsOpened());
      if (peeking) {
        EXPECT_TRUE(peer.IsPeekSignalled()) << "or the pre-check would ask again and again";
        EXPECT_TRUE(TakePostedResults().empty());
        EXPECT_FALSE(peer.IsFinished());
      } else {
        EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>{3});
        EXPECT_TRUE(peer.IsFinished());
      }
      EXPECT_TRUE(m_sandbox.Files().empty()) << "refused before the file is made";
    }
  }
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

TEST_F(TransferStep, ServerThatIsNotThereIsReported) {
  const std::wstring url = L"http://127.0.0.1:1/a.qdk";
  for (const bool peeking : {false, true}) {
    const auto dialog = Make(url);
    CProgressDialogPeer peer{*dialog};
    if (peeking) {
      peer.BeginPeek();
    }
    EXPECT_EQ(peer.Step(), peeking);
    EXPECT_EQ(OnlyMessage(), NotAvailable(url));
    EXPECT_EQ(peeking && peer.IsPeekSignalled(), peeking);
    EXPECT_TRUE(TakePostedResults().empty());
    EXPECT_TRUE(m_sandbox.Files().empty());
  }
}

TEST_F(TransferStep, AddressThatIsNoneIsReportedAsItIs) {
  for (const LPCWSTR url : {L"", L"nonsense", L"100%s%n", L"http://"}) {
    const auto dialog = Make(url);
    EXPECT_FALSE(CProgressDialogPeer{*dialog}.Step());
    EXPECT_EQ(OnlyMessage(), NotAvailable(url));
  }
}

TEST_F(TransferStep, StatusThatCannotBeAskedIsRefused) {
  const ScriptedPath path(m_server, Lesson(10));
  const std::wstring url = path.Url(L"a.qdk");
  const auto dialog = Make(url);
  const CImportPatch patch(
      "wininet.dll", "HttpQueryInfoW",
      +[](HINTERNET, DWORD, LPVOID, LPDWORD, LPDWORD) -> BOOL { return FALSE; });
  EXPECT_FALSE(CProgressDialogPeer{*dialog}.Step());
  EXPECT_EQ(OnlyMessage(), NotAvailable(url));
  EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>{3});
}

TEST_F(TransferStep, FileThatCannotBeMadeIsReported) {
  const ScriptedPath path(m_server, Lesson(10));
  const std::wstring target = m_sandbox / L"missing\\folder\\a.qdk";
  for (const bool peeking : {false, true}) {
    const auto dialog =
        CProgressDialog::Create(path.Url(L"a.qdk").c_str(), target.c_str(), nullptr);
    CProgressDialogPeer peer{*dialog};
    if (peeking) {
      peer.BeginPeek();
    }
    EXPECT_EQ(peer.Step(), peeking);
    EXPECT_EQ(OnlyMessage(), L"Unable to create the destination file " + target + L".");
    EXPECT_EQ(peeking && peer.IsPeekSignalled(), peeking);
    EXPECT_FALSE(peer.IsOpened());
  }
}

TEST_F(TransferStep, RepeatedOpenClosesWhatTheFirstLeft) {
  const ScriptedPath path(m_server, Lesson(10));
  const std::wstring target = m_sandbox / L"later\\a.qdk";
  const auto dialog = CProgressDialog::Create(path.Url(L"a.qdk").c_str(), target.c_str(), nullptr);
  CProgressDialogPeer peer{*dialog};
  peer.BeginPeek();
  ASSERT_TRUE(peer.Step());
  OnlyMessage();
  static int closed = 0;
  static decltype(&InternetCloseHandle) close;
  const CImportPatch patch(
      "wininet.dll", "InternetCloseHandle", +[](HINTERNET handle) -> BOOL {
        ++closed;
        return close(handle);
      });
  close = patch.Original<BOOL WINAPI(HINTERNET)>();
  m_sandbox.Write(L"later\\other", "");
  EXPECT_TRUE(peer.Step());
  EXPECT_EQ(closed, 2);
  EXPECT_TRUE(peer.IsOpened());
}

TEST_F(TransferStep, ContentLengthSetsTheTotal) {
  struct CCase {
    HttpAnswer answer;
    bool known;
    int total;
  };
  const CCase cases[] = {
      {Lesson(998), true, 1000},
      {Lesson(998).Chunked(), false, 1000000},
      {Lesson(998).CloseDelimited(), false, 1000000},
      {Lesson(998).ClaimLength("abc"), true, 0},
      {Lesson(998).ClaimLength("5000"), true, 5000},
      // Whatever _wtoi makes of it.
      {Lesson(998).ClaimLength("2147483647"), true, 2147483647},
  };
  for (const CCase& c : cases) {
    const ScriptedPath path(m_server, c.answer);
    const auto dialog = Make(path.Url(L"a.qdk"));
    CProgressDialogPeer peer{*dialog};
    ASSERT_TRUE(peer.Step(kPeekSize));
    EXPECT_EQ(peer.IsLengthKnown(), c.known);
    EXPECT_EQ(peer.Total(), c.total);
  }
}

TEST_F(TransferStep, LengthLongerThanTheBufferIsUnknown) {
  const ScriptedPath path(m_server, Lesson(10).ClaimLength(std::string(2000, '1')));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step(kPeekSize));
  EXPECT_FALSE(peer.IsLengthKnown());
  EXPECT_EQ(peer.Total(), 1000000);
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
  EXPECT_NE(peer.File(), INVALID_HANDLE_VALUE) << "left open for the dialog";
  peer.CloseFile();
  EXPECT_EQ(ReadFileBytes(TempPath()), LessonBytes(2500));
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(TransferStep, ValidFirstChunkIsWrittenAndTellsThePreCheck) {
  const ScriptedPath path(m_server, Lesson(5000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  peer.BeginPeek();
  ASSERT_TRUE(peer.Step(kPeekSize));
  EXPECT_FALSE(peer.IsPeekSignalled());
  EXPECT_TRUE(peer.Step(kPeekSize));
  EXPECT_TRUE(peer.IsPeekSignalled());
  EXPECT_TRUE(peer.IsValid());
  EXPECT_FALSE(peer.IsCheckPending());
  EXPECT_EQ(peer.FileSize(), 800);
  EXPECT_EQ(peer.Received(), 0) << "the bar counts the worker's bytes only";
}

TEST_F(TransferStep, InvalidFirstChunkUnderThePreCheckIsSilent) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("<html>").Pattern(1, 5000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  peer.BeginPeek();
  ASSERT_TRUE(peer.Step(kPeekSize));
  EXPECT_TRUE(peer.Step(kPeekSize));
  EXPECT_TRUE(peer.IsPeekSignalled());
  EXPECT_FALSE(peer.IsValid());
  EXPECT_EQ(peer.FileSize(), 0);
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(TransferStep, InvalidFirstChunkWithoutPreCheckIsReported) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("<html>").Pattern(1, 5000));
  const std::wstring url = path.Url(L"a.qdk");
  const auto dialog = Make(url);
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step());
  EXPECT_FALSE(peer.Step());
  EXPECT_EQ(OnlyMessage(), L"The file " + url +
                               L" is not a valid Folivo file. Please ensure that the link to the "
                               L"Folivo file is valid.");
  EXPECT_EQ(peer.FileSize(), 0);
}

TEST_F(TransferStep, OnlyTheFirstChunkIsChecked) {
  const ScriptedPath path(m_server, Lesson(5000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step());
  ASSERT_TRUE(peer.Step(2));
  peer.SetExtension(L".qdt");  // nothing passes any more
  EXPECT_TRUE(peer.Step(100));
  EXPECT_EQ(peer.FileSize(), 102);
}

TEST_F(TransferStep, ClosedFileEndsWithoutAMessage) {
  const ScriptedPath path(m_server, Lesson(5000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step());
  ASSERT_TRUE(peer.Step(100));
  peer.CloseFile();
  EXPECT_FALSE(peer.Step(100));
  EXPECT_TRUE(m_messages.Take().empty());
}

BOOL WINAPI FailOnFullDisk(HANDLE, LPCVOID, DWORD, LPDWORD written, LPOVERLAPPED) {
  *written = 0;
  SetLastError(ERROR_DISK_FULL);
  return FALSE;
}

TEST_F(TransferStep, FullDiskIsReported) {
  const ScriptedPath path(m_server, Lesson(5000));
  for (const bool peeking : {false, true}) {
    const auto dialog = Make(path.Url(L"a.qdk"));
    CProgressDialogPeer peer{*dialog};
    if (peeking) {
      peer.BeginPeek();
    }
    ASSERT_TRUE(peer.Step());
    {
      const CImportPatch patch("kernel32.dll", "WriteFile", &FailOnFullDisk);
      EXPECT_EQ(peer.Step(kPeekSize), peeking);
    }
    EXPECT_EQ(OnlyMessage(), L"Unable to write to the destination file " + TempPath() + L".");
    EXPECT_EQ(peeking && peer.IsPeekSignalled(), peeking);
    EXPECT_FALSE(peer.IsValid()) << "a file without its head is never delivered";
    EXPECT_EQ(peer.Received(), 0);
  }
}

TEST_F(TransferStep, ChunkThatIsWrittenInPartIsReported) {
  const CImportPatch patch(
      "kernel32.dll", "WriteFile",
      +[](HANDLE, LPCVOID, DWORD size, LPDWORD written, LPOVERLAPPED) -> BOOL {
        *written = size - 1;
        return TRUE;
      });
  const ScriptedPath path(m_server, Lesson(5000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step());
  EXPECT_FALSE(peer.Step());
  EXPECT_EQ(OnlyMessage(), L"Unable to write to the destination file " + TempPath() + L".");
}

TEST_F(TransferStep, HandleThatCannotBeWrittenIsReported) {
  const ScriptedPath path(m_server, Lesson(5000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step());
  peer.SetFile(CreateFileW(m_sandbox.Write(L"other", "").c_str(), GENERIC_READ, 0, nullptr,
                           OPEN_EXISTING, 0, nullptr));
  EXPECT_FALSE(peer.Step());
  EXPECT_EQ(OnlyMessage(), L"Unable to write to the destination file " + TempPath() + L".");
}

BOOL WINAPI FailToRead(HINTERNET, LPVOID, DWORD, LPDWORD) {
  SetLastError(ERROR_INTERNET_CONNECTION_RESET);
  return FALSE;
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
    const CImportPatch patch("wininet.dll", "InternetReadFile", &FailToRead);
    EXPECT_EQ(peer.Step(), peeking);
    EXPECT_EQ(OnlyMessage(), NotAvailable(url));
    EXPECT_EQ(peeking && peer.IsPeekSignalled(), peeking);
    EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"temporary.qdk"});
  }
  EXPECT_TRUE(m_sandbox.Files().empty()) << "it goes with the dialog";
}

TEST_F(TransferStep, FailedReadDeletesAClosedFileBeforeItIsReported) {
  static const CTempSandbox* sandbox;
  static std::vector<std::wstring> filesWhenReported;
  sandbox = &m_sandbox;
  filesWhenReported = {L"not reported"};
  const CImportPatch message(
      "user32.dll", "MessageBoxW", +[](HWND, LPCWSTR, LPCWSTR, UINT) -> int {
        filesWhenReported = sandbox->Files();
        return IDOK;
      });
  const CImportPatch read("wininet.dll", "InternetReadFile", &FailToRead);
  const ScriptedPath path(m_server, Lesson(10000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step());
  peer.CloseFile();
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"temporary.qdk"});
  EXPECT_FALSE(peer.Step());
  EXPECT_TRUE(filesWhenReported.empty());
}

std::vector<std::string> g_calls;

TEST_F(TransferStep, StoppedOnesDoNothing) {
  const ScriptedPath path(m_server, Lesson(5000));
  const auto opened = Make(path.Url(L"a.qdk"));
  ASSERT_TRUE(CProgressDialogPeer{*opened}.Step());
  const auto unopened = Make(path.Url(L"a.qdk"));
  const CImportPatch session(
      "wininet.dll", "InternetOpenW", +[](LPCWSTR, DWORD, LPCWSTR, LPCWSTR, DWORD) -> HINTERNET {
        g_calls.push_back("session");
        return nullptr;
      });
  const CImportPatch request(
      "wininet.dll", "InternetOpenUrlW",
      +[](HINTERNET, LPCWSTR, LPCWSTR, DWORD, DWORD, DWORD_PTR) -> HINTERNET {
        g_calls.push_back("request");
        return nullptr;
      });
  const CImportPatch read(
      "wininet.dll", "InternetReadFile", +[](HINTERNET, LPVOID, DWORD, LPDWORD) -> BOOL {
        g_calls.push_back("read");
        return FALSE;
      });
  g_calls.clear();
  for (const auto& dialog : {opened, unopened}) {
    CProgressDialogPeer peer{*dialog};
    peer.SetRunning(false);
    EXPECT_FALSE(peer.Step());
  }
  EXPECT_EQ(g_calls, std::vector<std::string>());
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_TRUE(TakePostedResults().empty());
}

TEST_F(TransferStep, OneStoppedBehindTheAnswersHeadLeavesAnothersFileAlone) {
  static CProgressDialog* stopped;
  static decltype(&HttpQueryInfoW) query;
  const CImportPatch patch(
      "wininet.dll", "HttpQueryInfoW",
      +[](HINTERNET request, DWORD level, LPVOID buffer, LPDWORD length, LPDWORD index) -> BOOL {
        if (level == HTTP_QUERY_CONTENT_LENGTH) {
          CProgressDialogPeer{*stopped}.SetRunning(false);
        }
        return query(request, level, buffer, length, index);
      });
  query = patch.Original<BOOL WINAPI(HINTERNET, DWORD, LPVOID, LPDWORD, LPDWORD)>();
  m_sandbox.Write(L"temporary.qdk", "another download");
  const ScriptedPath path(m_server, Lesson(5000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  stopped = dialog.get();
  CProgressDialogPeer peer{*dialog};
  EXPECT_FALSE(peer.Step());
  EXPECT_FALSE(peer.IsRunning());
  EXPECT_EQ(ReadFileBytes(TempPath()), "another download");
  EXPECT_TRUE(m_messages.Take().empty());
}

struct COpenCall {
  std::wstring url;
  DWORD flags;
  bool hasHeaders;
};
struct CErrorDialogCall {
  HWND owner;
  DWORD error;
  DWORD flags;
  bool hasData;
};
std::vector<COpenCall> g_opens;
std::vector<CErrorDialogCall> g_errorDialogs;
decltype(&InternetOpenUrlW) g_openUrl;

decltype(&InternetCloseHandle) g_closeInternet;

BOOL WINAPI RecordClose(HINTERNET handle) {
  g_calls.push_back("close");
  return g_closeInternet(handle);
}

HINTERNET WINAPI RecordOpen(HINTERNET session, LPCWSTR url, LPCWSTR headers, DWORD headersLength,
                            DWORD flags, DWORD_PTR context) {
  g_calls.push_back("open");
  g_opens.push_back({url, flags, headers != nullptr});
  const HINTERNET request = g_openUrl(session, url, headers, headersLength, flags, context);
  SetLastError(4711);
  return request;
}

/// Wants a retry the first two times.
DWORD WINAPI RecordErrorDialog(HWND owner, HINTERNET, DWORD error, DWORD flags, LPVOID* data) {
  g_calls.push_back("ask");
  g_errorDialogs.push_back({owner, error, flags, data != nullptr});
  return g_errorDialogs.size() < 3 ? ERROR_INTERNET_FORCE_RETRY : ERROR_CANCELLED;
}

TEST_F(TransferStep, RetryThatTheErrorDialogWantsOpensTheSameRequestAgain) {
  const ScriptedPath path(m_server, Lesson(10));
  const std::wstring url = path.Url(L"a.qdk");
  const CImportPatch open("wininet.dll", "InternetOpenUrlW", &RecordOpen);
  g_openUrl =
      open.Original<HINTERNET WINAPI(HINTERNET, LPCWSTR, LPCWSTR, DWORD, DWORD, DWORD_PTR)>();
  const CImportPatch error("wininet.dll", "InternetErrorDlg", &RecordErrorDialog);
  const CImportPatch close("wininet.dll", "InternetCloseHandle", &RecordClose);
  g_closeInternet = close.Original<BOOL WINAPI(HINTERNET)>();
  const CForeignForeground foreground;
  g_opens.clear();
  g_errorDialogs.clear();
  g_calls.clear();
  const auto dialog = Make(url);
  EXPECT_TRUE(CProgressDialogPeer{*dialog}.Step());
  EXPECT_EQ(g_calls, (std::vector<std::string>{"open", "ask", "close", "open", "ask", "close",
                                               "open", "ask"}));
  ASSERT_EQ(g_opens.size(), 3u);
  for (const COpenCall& call : g_opens) {
    EXPECT_EQ(call.url, url);
    EXPECT_EQ(call.flags, 0x84400000u);
    EXPECT_FALSE(call.hasHeaders);
  }
  ASSERT_EQ(g_errorDialogs.size(), 3u);
  for (const CErrorDialogCall& call : g_errorDialogs) {
    EXPECT_EQ(call.owner, CForeignForeground::Window()) << "there is no dialog yet";
    EXPECT_EQ(call.error, 4711u) << "the last error that the open left";
    EXPECT_EQ(call.flags, 7u);
    EXPECT_FALSE(call.hasData);
  }
  EXPECT_EQ(path.Requests().size(), 3u);
}

TEST_F(TransferStep, WithoutARequestThereIsNoErrorDialog) {
  const CImportPatch error("wininet.dll", "InternetErrorDlg", &RecordErrorDialog);
  g_errorDialogs.clear();
  const auto dialog = Make(L"http://127.0.0.1:1/a.qdk");
  EXPECT_FALSE(CProgressDialogPeer{*dialog}.Step());
  EXPECT_TRUE(g_errorDialogs.empty());
}

}  // namespace
