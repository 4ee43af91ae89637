// Whole runs of the dialog, from its first timer tick to its end.

#include <gtest/gtest.h>
#include <windows.h>

#include <shlwapi.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/collections/wininet_recorder.h"
#include "tests/doubles/unzip/unzip_search_path.h"
#include "tests/support/import_patch.h"
#include "tests/support/parallel.h"
#include "tests/support/process_counts.h"
#include "tests/support/stored_zip.h"
#include "tests/support/user.h"

namespace {

using Lines = CDialogTrace::Lines;

const char kManifest[] =
    "<Collections><DownloadedFile Filename='a.qdc' Destination='x'/></Collections>";

class CollectionPipeline : public CollectionTest {
 protected:
  static std::string Archive() {
    return CStoredZip().Add("a.qdc", "lesson").Add("manifest.xml", kManifest).Bytes();
  }
  /// A source that exists, beside the archive of an earlier run.
  std::wstring LocalSource(const std::string& oldArchive) const {
    m_sandbox.Write(L"download.zip", oldArchive);
    return m_sandbox.Write(L"source.zip", "never read");
  }
  INT_PTR Run(const std::wstring& source) const {
    CZipProgressDialog dialog(source.c_str(), ZipPath().c_str(), ContentFolder().c_str());
    const INT_PTR result = dialog.DoModal(nullptr);
    EXPECT_TRUE(CZipProgressDialogPeer{dialog}.AddedFiles().empty());
    return result;
  }

  const Lines m_initial = {Title(L"Downloading Folivo Collections..."), Subtitle(L"")};
  const Lines m_retrieving = {Title(L"Retrieving downloaded collections to unzip..."),
                              Subtitle(L""),
                              Bar(0),
                              Pause(100),
                              Bar(25),
                              Pause(100)};
  const Lines m_listed = {Bar(75), Pause(100), Bar(100), Pause(100)};
  const Lines m_failed = {Message(kCannotUnzip), Delete(L"download.zip"), End(3)};

  static Lines Join(const std::vector<Lines>& parts) {
    Lines all;
    for (const Lines& part : parts) {
      all.insert(all.end(), part.begin(), part.end());
    }
    return all;
  }

  const CUnzipSearchPath m_unzip{RealUnzipFolder()};
};

TEST_F(CollectionPipeline, LocalRunEndsBehindTheManifest) {
  const std::wstring source = LocalSource(Archive());
  CDialogTrace trace;
  EXPECT_EQ(Run(source), 3);
  const std::wstring title = Title(L"Unzipping Folivo Collections...");
  EXPECT_EQ(trace.Take(), Join({m_initial,
                                m_initial,
                                {Bar(0), Bar(50), Pause(700), Bar(100)},
                                m_retrieving,
                                m_listed,
                                {title, Subtitle(L""), Bar(0), title, Subtitle(L"a.qdc"), Bar(33),
                                 Pause(700), Bar(66), Pause(700), Bar(100)},
                                m_failed}));
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"source.zip"});
}

TEST_F(CollectionPipeline, NetworkRunEndsAtTheArchiveItHoldsOpen) {
  const CWinInetRecorder winInet;
  const ScriptedPath path(m_server, HttpAnswer().Bytes(Archive()).CloseDelimited());
  CDialogTrace trace;
  EXPECT_EQ(Run(TrustedUrl(path)), 3);
  EXPECT_EQ(trace.Take(), Join({m_initial,
                                m_initial,
                                {Bar(0), Pause(100), Bar(0), Pause(100), Pause(700), Bar(100)},
                                m_retrieving,
                                m_failed}));
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(CollectionPipeline, ArchiveWithoutManifestIsShownEntryByEntry) {
  const std::wstring source =
      LocalSource(CStoredZip().Add("a", "1").Add("b.qdc", "2").Add("c.txt", "3").Bytes());
  CDialogTrace trace;
  EXPECT_EQ(Run(source), 3);
  const std::wstring title = Title(L"Unzipping Folivo Collections...");
  EXPECT_EQ(trace.Take(), Join({m_initial,
                                m_initial,
                                {Bar(0), Bar(50), Pause(700), Bar(100)},
                                m_retrieving,
                                m_listed,
                                {title, Subtitle(L""), Bar(0), title, Subtitle(L"a"), Bar(25),
                                 Pause(700), title, Subtitle(L"b.qdc"), Bar(50), Pause(700), title,
                                 Subtitle(L"c.txt"), Bar(75), Pause(700), Bar(100)},
                                m_failed}));
}

TEST_F(CollectionPipeline, EmptyArchiveIsListed) {
  const std::wstring source = LocalSource(CStoredZip().Bytes());
  CDialogTrace trace;
  EXPECT_EQ(Run(source), 3);
  EXPECT_EQ(trace.Take(),
            Join({m_initial,
                  m_initial,
                  {Bar(0), Bar(50), Pause(700), Bar(100)},
                  m_retrieving,
                  m_listed,
                  {Title(L"Unzipping Folivo Collections..."), Subtitle(L""), Bar(0), Bar(100)},
                  m_failed}));
}

TEST_F(CollectionPipeline, WhatIsNoArchiveEndsAtTheListing) {
  for (const std::string& archive : {std::string("no archive"), std::string()}) {
    const std::wstring source = LocalSource(archive);
    CDialogTrace trace;
    EXPECT_EQ(Run(source), 3);
    EXPECT_EQ(trace.Take(), Join({m_initial,
                                  m_initial,
                                  {Bar(0), Bar(50), Pause(700), Bar(100)},
                                  m_retrieving,
                                  m_failed}));
  }
}

TEST_F(CollectionPipeline, WithoutTheUnzipLibraryItEndsAtTheListing) {
  const CUnzipSearchPath none(m_sandbox.Path());
  SetEnvironmentVariableW(L"PATH", m_sandbox.Path().c_str());
  const std::wstring source = LocalSource(Archive());
  CDialogTrace trace;
  EXPECT_EQ(Run(source), 3);
  EXPECT_EQ(trace.Take(L"message"), Lines{kCannotUnzip});
}

TEST_F(CollectionPipeline, ReadOnlyArchiveGoesToo) {
  const std::wstring source = LocalSource(Archive());
  SetFileAttributesW(ZipPath().c_str(), FILE_ATTRIBUTE_READONLY);
  const CDialogTrace trace;
  EXPECT_EQ(Run(source), 3);
  EXPECT_FALSE(ArchiveExists());
}

TEST_F(CollectionPipeline, RealPausesLetEachLineBeRead) {
  const std::wstring source = LocalSource(Archive());
  std::wstring message;
  const ULONGLONG begin = GetTickCount64();
  ULONGLONG end = 0;
  CParallel user([&] {
    WaitForDialog(L"MERLO Folivo");
    end = GetTickCount64();
    message = DismissMessage();
  });
  EXPECT_EQ(Run(source), 3);
  user.Join();
  EXPECT_EQ(message, kCannotUnzip);
  // The timer, the source, four steps of the listing, two entries.
  EXPECT_GE(end - begin, 100 + 700 + 4 * 100 + 2 * 700 - 50U);
}

CDialogTrace* g_trace;

/// Notes each message that this thread takes from its queue.
LRESULT CALLBACK NoteMessage(int code, WPARAM action, LPARAM data) {
  if (code == HC_ACTION && action == PM_REMOVE) {
    g_trace->Add(L"served " + std::to_wstring(reinterpret_cast<const MSG*>(data)->message));
  }
  return CallNextHookEx(nullptr, code, action, data);
}

constexpr UINT kSent = WM_APP + 1;

/// Notes what other threads send to a window of the dialog's thread.
LRESULT CALLBACK NoteSent(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == kSent) {
    g_trace->Add(L"served a sent message");
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

decltype(&PathIsURLW) g_isUrl;
HWND g_listener;

/// Called in the first stage: the user presses Cancel, and messages for other windows come.
BOOL WINAPI IsUrlWhileMessagesCome(LPCWSTR path) {
  PostMessageW(FindWindowW(nullptr, kDialogTitle), WM_COMMAND, IDCANCEL, 0);
  PostThreadMessageW(GetCurrentThreadId(), WM_APP, 0, 0);
  CParallel([] { SendNotifyMessageW(g_listener, kSent, 0, 0); }).Join();
  return g_isUrl(path);
}

TEST_F(CollectionPipeline, ServesNoMessages) {
  const CWinInetRecorder winInet;
  const ScriptedPath path(m_server, HttpAnswer().Pattern(1, 25000));
  CDialogTrace trace;
  g_trace = &trace;
  const CImportPatch patch("shlwapi.dll", "PathIsURLW", &IsUrlWhileMessagesCome);
  g_isUrl = patch.Original<BOOL WINAPI(LPCWSTR)>();
  const HHOOK hook = SetWindowsHookExW(WH_GETMESSAGE, &NoteMessage, nullptr, GetCurrentThreadId());
  g_listener =
      CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
  SetWindowLongPtrW(g_listener, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&NoteSent));
  for (const std::wstring& source : {LocalSource(Archive()), TrustedUrl(path)}) {
    EXPECT_EQ(Run(source), 3);
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);  // What was sent comes now at the latest.
    const Lines lines = trace.Take();
    const auto isServed = [](const std::wstring& line) { return line.starts_with(L"served"); };
    const auto begin = std::find(lines.begin(), lines.end(), Bar(0));
    ASSERT_NE(begin, lines.end());
    const auto end = std::find(begin, lines.end(), End(3));
    ASSERT_NE(end, lines.end());
    EXPECT_NE(std::find_if(lines.begin(), begin, isServed), begin) << "the hook works";
    EXPECT_EQ(std::find_if(begin, end, isServed), end) << *std::find_if(begin, end, isServed);
    EXPECT_NE(std::find(end, lines.end(), L"served a sent message"), lines.end());
  }
  DestroyWindow(g_listener);
  UnhookWindowsHookEx(hook);
}

std::function<void()> g_underMessage;
decltype(&MessageBoxW) g_showMessage;

int WINAPI ShowMessage(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
  if (const std::function<void()> once = std::exchange(g_underMessage, nullptr)) {
    once();
  }
  return g_showMessage(owner, text, caption, style);
}

// One archive for all calls: docs/security.md says what that does.
TEST_F(CollectionPipeline, SecondCallUnderTheFirstOnesMessageSharesItsArchive) {
  const CWinInetRecorder winInet;
  const ScriptedPath path(m_server, HttpAnswer().Bytes(Archive()));
  const std::wstring network = TrustedUrl(path);
  const std::wstring local = m_sandbox.Write(L"source.zip", Archive());
  const std::wstring cannotCreate = L"Unable to create the destination file " + ZipPath() + L".";
  const std::wstring cannotWrite = L"Unable to write to the destination file " + ZipPath() + L".";
  const std::wstring unzipping = L"Unzipping Folivo Collections...";
  const struct {
    const wchar_t* name;
    std::wstring first;
    std::wstring second;
    bool hasOldArchive;
    std::wstring firstMessage;
    std::wstring secondMessage;
    bool isRead;          // the archive, by the second call
    bool isLeftForFirst;  // the second call's end does not delete it
  } cases[] = {
      {L"network, network", network, network, false, kCannotUnzip, cannotCreate, false, true},
      {L"network, local", network, local, false, kCannotUnzip, kCannotUnzip, false, true},
      {L"local, network", local, network, true, kCannotUnzip, kCannotUnzip, false, false},
      {L"local, local", local, local, true, kCannotUnzip, kCannotUnzip, true, false},
      {L"copied, network", local, network, false, cannotWrite, kCannotUnzip, false, false},
      {L"copied, local", local, local, false, cannotWrite, kCannotUnzip, true, false},
  };
  for (const auto& c : cases) {
    if (c.hasOldArchive) {
      m_sandbox.Write(L"download.zip", Archive());
    }
    CDialogTrace trace;
    const CImportPatch patch("user32.dll", "MessageBoxW", &ShowMessage);
    g_showMessage = patch.Original<int WINAPI(HWND, LPCWSTR, LPCWSTR, UINT)>();
    Lines second;
    g_underMessage = [&] {
      trace.Take();
      EXPECT_EQ(Run(c.second), 3);
      EXPECT_EQ(ArchiveExists(), c.isLeftForFirst) << c.name;
      second = trace.Take();
    };
    EXPECT_EQ(Run(c.first), 3);
    EXPECT_EQ(trace.Take(L"message"), Lines{c.firstMessage}) << c.name;
    EXPECT_EQ(std::count(second.begin(), second.end(), Message(c.secondMessage)), 1) << c.name;
    EXPECT_EQ(std::count(second.begin(), second.end(), Title(unzipping)) > 0, c.isRead) << c.name;
    EXPECT_FALSE(ArchiveExists()) << c.name;
  }
}

TEST_F(CollectionPipeline, NoHandleIsLeftBehind) {
  const CWinInetRecorder winInet;
  const CDialogTrace trace;
  const ScriptedPath path(m_server, HttpAnswer().Bytes(Archive()));
  const auto runAll = [&] {
    EXPECT_EQ(Run(TrustedUrl(path)), 3);
    EXPECT_EQ(Run(LocalSource(Archive())), 3);
    EXPECT_EQ(Run(m_sandbox / L"missing"), 3);
  };
  runAll();
  const int handles = CountHandles();
  for (int i = 0; i < 5; ++i) {
    runAll();
  }
  EXPECT_LE(CountHandles(), handles + 2);
}

}  // namespace
