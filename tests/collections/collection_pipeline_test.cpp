// Whole runs of the dialog, from its first timer tick to its end.

#include <gmock/gmock.h>
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
#include "tests/support/import_spy.h"
#include "tests/support/process_counts.h"
#include "tests/support/stored_zip.h"

namespace {

using testing::Contains;
using Lines = CDialogTrace::Lines;

class CollectionPipeline : public CollectionTest {
 protected:
  static std::string Archive() {
    return CStoredZip()
        .Add("a.qdc", "lesson")
        .Add("manifest.xml", "<a><DownloadedFile Filename='a.qdc' Destination='x'/></a>")
        .Bytes();
  }
  /// A source that exists, beside the archive of an earlier run.
  std::wstring LocalSource(const std::string& oldArchive) const {
    m_sandbox.Write(L"download.zip", oldArchive);
    return m_sandbox.Write(L"source.zip", "never read");
  }
  void Run(const std::wstring& source) const {
    CZipProgressDialog dialog(source.c_str(), ZipPath().c_str(), ContentFolder().c_str());
    EXPECT_EQ(dialog.DoModal(nullptr), 3);
    EXPECT_TRUE(CZipProgressDialogPeer{dialog}.AddedFiles().empty());
  }
  /// The lines of a run, whose first and last ones are always the same.
  static Lines Expected(const std::vector<Lines>& parts) {
    const Lines downloading = {Title(L"Downloading Folivo Collections..."), Subtitle(L"")};
    Lines all = downloading;  // while the dialog opens
    all.insert(all.end(), downloading.begin(), downloading.end());
    for (const Lines& part : parts) {
      all.insert(all.end(), part.begin(), part.end());
    }
    all.insert(all.end(), {Message(kCannotUnzip), Delete(L"download.zip"), End(3)});
    return all;
  }

  const Lines m_copied = {Bar(0), Bar(50), Pause(700), Bar(100)};
  const Lines m_retrieving = {Title(L"Retrieving downloaded collections to unzip..."),
                              Subtitle(L""),
                              Bar(0),
                              Pause(100),
                              Bar(25),
                              Pause(100)};
  const CUnzipSearchPath m_unzip{RealUnzipFolder()};
  CDialogTrace m_trace;
};

TEST_F(CollectionPipeline, LocalRunEndsBehindTheManifest) {
  Run(LocalSource(Archive()));
  const std::wstring title = Title(L"Unzipping Folivo Collections...");
  EXPECT_EQ(m_trace.Take(), Expected({m_copied,
                                      m_retrieving,
                                      {Bar(75), Pause(100), Bar(100), Pause(100)},
                                      {title, Subtitle(L""), Bar(0)},
                                      {title, Subtitle(L"a.qdc"), Bar(33), Pause(700)},
                                      {Bar(66), Pause(700), Bar(100)}}));
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"source.zip"});
}

TEST_F(CollectionPipeline, NetworkRunEndsAtTheArchiveItHoldsOpen) {
  const CWinInetRecorder winInet;
  const ScriptedPath path(m_server, HttpAnswer().Bytes(Archive()).CloseDelimited());
  Run(TrustedUrl(path));
  EXPECT_EQ(
      m_trace.Take(),
      Expected({{Bar(0), Pause(100), Bar(0), Pause(100), Pause(700), Bar(100)}, m_retrieving}));
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(CollectionPipeline, WhatIsNoArchiveEndsAtTheListing) {
  Run(LocalSource("no archive"));
  EXPECT_EQ(m_trace.Take(), Expected({m_copied, m_retrieving}));
}

CDialogTrace* g_trace;

/// Notes each message that this thread takes from its queue.
LRESULT CALLBACK NoteMessage(int code, WPARAM action, LPARAM data) {
  if (code == HC_ACTION && action == PM_REMOVE) {
    g_trace->Add(L"served " + std::to_wstring(reinterpret_cast<const MSG*>(data)->message));
  }
  return CallNextHookEx(nullptr, code, action, data);
}

TEST_F(CollectionPipeline, ServesNoMessages) {
  const CWinInetRecorder winInet;
  const ScriptedPath path(m_server, HttpAnswer().Pattern(1, 25000));
  g_trace = &m_trace;
  // In the first stage the user presses Cancel, and a message for another window comes.
  const CImportSpy<&PathIsURLW> isUrl("shlwapi.dll", "PathIsURLW", [&](LPCWSTR text) {
    PostMessageW(FindWindowW(nullptr, kDialogTitle), WM_COMMAND, IDCANCEL, 0);
    PostThreadMessageW(GetCurrentThreadId(), WM_APP, 0, 0);
    return isUrl.CallOriginal(text);
  });
  const HHOOK hook = SetWindowsHookExW(WH_GETMESSAGE, &NoteMessage, nullptr, GetCurrentThreadId());
  for (const std::wstring& source : {LocalSource(Archive()), TrustedUrl(path)}) {
    Run(source);
    const Lines lines = m_trace.Take();
    const auto begin = std::ranges::find(lines, Bar(0));
    const auto isServed = testing::StartsWith(L"served");
    EXPECT_THAT(Lines(lines.begin(), begin), Contains(isServed)) << "the hook works";
    EXPECT_THAT(Lines(begin, std::ranges::find(lines, End(3))), Not(Contains(isServed)));
  }
  UnhookWindowsHookEx(hook);
}

// One archive for all calls: docs/security.md says what that does.
TEST_F(CollectionPipeline, SecondCallUnderTheFirstOnesMessageSharesItsArchive) {
  const CWinInetRecorder winInet;
  const ScriptedPath path(m_server, HttpAnswer().Bytes(Archive()));
  const std::wstring network = TrustedUrl(path);
  const std::wstring local = m_sandbox.Write(L"source.zip", Archive());
  const std::wstring cannotCreate = L"Unable to create the destination file " + ZipPath() + L".";
  const std::wstring cannotWrite = L"Unable to write to the destination file " + ZipPath() + L".";
  const struct {
    const char* name;
    std::wstring first;
    std::wstring second;
    bool hasOldArchive;
    std::wstring firstMessage;
    std::wstring secondMessage;
    bool isRead;          // the archive, by the second call
    bool isLeftForFirst;  // the second call's end does not delete it
  } cases[] = {
      {"network, network", network, network, false, kCannotUnzip, cannotCreate, false, true},
      {"network, local", network, local, false, kCannotUnzip, kCannotUnzip, false, true},
      {"local, network", local, network, true, kCannotUnzip, kCannotUnzip, false, false},
      {"local, local", local, local, true, kCannotUnzip, kCannotUnzip, true, false},
      {"copied, network", local, network, false, cannotWrite, kCannotUnzip, false, false},
      {"copied, local", local, local, false, cannotWrite, kCannotUnzip, true, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    if (c.hasOldArchive) {
      m_sandbox.Write(L"download.zip", Archive());
    }
    Lines second;
    std::function<void()> underMessage = [&] {
      m_trace.Take();
      Run(c.second);
      EXPECT_EQ(ArchiveExists(), c.isLeftForFirst);
      second = m_trace.Take();
    };
    const CImportSpy<&MessageBoxW> message(
        "user32.dll", "MessageBoxW", [&](HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
          if (const std::function<void()> once = std::exchange(underMessage, nullptr)) {
            once();
          }
          return message.CallOriginal(owner, text, caption, style);
        });
    Run(c.first);
    EXPECT_EQ(m_trace.Take(L"message"), Lines{c.firstMessage});
    EXPECT_EQ(std::ranges::count(second, Message(c.secondMessage)), 1);
    EXPECT_EQ(std::ranges::count(second, Title(L"Unzipping Folivo Collections...")) > 0, c.isRead);
    EXPECT_FALSE(ArchiveExists());
  }
}

TEST_F(CollectionPipeline, NoHandleIsLeftBehind) {
  const CWinInetRecorder winInet;
  const ScriptedPath path(m_server, HttpAnswer().Bytes(Archive()));
  const auto runAll = [&] {
    Run(TrustedUrl(path));
    Run(LocalSource(Archive()));
    Run(m_sandbox / L"missing");
  };
  runAll();
  const int handles = CountHandles();
  for (int i = 0; i < 5; ++i) {
    runAll();
  }
  EXPECT_LE(CountHandles(), handles + 2);
}

}  // namespace
