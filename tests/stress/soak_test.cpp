// A long day of one browser: lesson after lesson and collection after collection through the built
// DLL, under Wine's heap checking. What the process holds must level off.

#include <exdispid.h>
#include <gtest/gtest.h>
#include <shlobj.h>
#include <windows.h>
#include <wininet.h>

#include <commdlg.h>
#include <shellapi.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "folivo_plugin_h.h"
#include "tests/browser/browser_frame.h"
#include "tests/browser/fake_browser.h"
#include "tests/browser/lesson_bytes.h"
#include "tests/browser/navigation_event.h"
#include "tests/doubles/unzip/unzip_search_path.h"
#include "tests/faults/started_threads.h"
#include "tests/plugin/plugin_library.h"
#include "tests/support/deferred_close.h"
#include "tests/support/dialog_texts.h"
#include "tests/support/http_pattern.h"
#include "tests/support/http_server.h"
#include "tests/support/import_spy.h"
#include "tests/support/lookup_patch.h"
#include "tests/support/parallel.h"
#include "tests/support/process_counts.h"
#include "tests/support/scripted_path.h"
#include "tests/support/stored_zip.h"
#include "tests/support/temp_sandbox.h"
#include "tests/support/user.h"

namespace {

constexpr int kDownloads = 2000;
constexpr int kCollections = 200;
constexpr int kAwaitedEach = 50;  // downloads after which all workers are awaited

constexpr uint64_t kSeed = 20;
constexpr size_t kSizes[] = {100, 5000, 40000, 131072, 300000, 1000000};
constexpr size_t kFlowingSize = 400000;
constexpr int kBytesPerSecond = 200000;  // the user cancels long before its end

// How much more the second half may have than the first: the sizes of the system's pools vary.
constexpr int kHandleSlack = 10;
constexpr int kThreadSlack = 3;
constexpr int kMemorySlackKiB = 2048;

constexpr wchar_t kSavedFile[] = L"saved.folivo";

/// What the process holds at the end of a half; of memory, at most after a round: the heap gives a
/// lesson's bytes back late, and single readings differ by a third.
struct CFigures {
  int handles = 0;
  int threads = 0;
  int peakKiB = 0;
};

/// What the user does with a download.
enum class Wish { kSave, kOpen, kCancelQuestion, kCancelDownload };

/// A user beside the browser's thread who answers whatever shows, by the wish of the moment.
class CUser {
 public:
  CUser() : m_ended(CreateEventW(nullptr, TRUE, FALSE, nullptr)), m_thread([this] { Live(); }) {}
  ~CUser() { SetEvent(m_ended); }
  CUser(const CUser&) = delete;
  CUser& operator=(const CUser&) = delete;

  void Wants(Wish wish) { m_wish = wish; }
  int Messages() const { return m_messages; }

 private:
  static constexpr DWORD kGlanceMs = 2;

  static HWND Shown(LPCWSTR title) {
    const HWND window = FindWindowW(L"#32770", title);
    return window != nullptr && IsWindowVisible(window) ? window : nullptr;
  }

  void Live() {
    while (WaitForSingleObject(m_ended, kGlanceMs) == WAIT_TIMEOUT) {
      if (const HWND question = Shown(kPromptTitle)) {
        PostMessageW(question, WM_COMMAND, Button(), 0);
        WaitUntilGone(question);
      }
      const HWND download = Shown(kDownloadTitle);
      if (download != nullptr && m_wish == Wish::kCancelDownload) {
        PostMessageW(download, WM_COMMAND, IDCANCEL, 0);
        WaitUntilGone(download);
      }
      if (const HWND message = Shown(kMessageTitle)) {
        ++m_messages;
        PostMessageW(message, WM_COMMAND, IDOK, 0);
        WaitUntilGone(message);
      }
    }
  }

  WPARAM Button() const {
    return m_wish == Wish::kSave             ? kSaveButton
           : m_wish == Wish::kCancelQuestion ? kCancelButton
                                             : kOpenButton;
  }

  const CHandle m_ended;
  std::atomic<Wish> m_wish{Wish::kOpen};
  std::atomic<int> m_messages{0};
  const CParallel m_thread;
};

std::wstring g_savePath;

BOOL WINAPI ChoosePath(OPENFILENAMEW* dialog) {
  lstrcpynW(dialog->lpstrFile, g_savePath.c_str(), static_cast<int>(dialog->nMaxFile));
  return TRUE;
}

class Soak : public testing::Test {
 protected:
  /// Runs this many rounds and compares the figures of their two halves.
  void Run(int rounds, const std::function<void(int done)>& round) {
    CFigures halves[2];
    int done = 0;
    for (CFigures& half : halves) {
      for (const int end = done + rounds / 2; done < end && !HasFailure();) {
        round(++done);
        half.peakKiB = std::max(half.peakKiB, static_cast<int>(CommittedMemory() / 1024));
      }
      half.handles = CountHandles();
      half.threads = CountThreads();
      std::printf("after %d: %d handles, %d threads, up to %d KiB\n", done, half.handles,
                  half.threads, half.peakKiB);
    }
    EXPECT_LE(halves[1].handles, halves[0].handles + kHandleSlack);
    EXPECT_LE(halves[1].threads, halves[0].threads + kThreadSlack);
    EXPECT_LE(halves[1].peakKiB, halves[0].peakKiB + kMemorySlackKiB);
  }

  void ExpectFree() {
    EXPECT_TRUE(
        WaitUntil("the module to be free", [this] { return m_library.CanUnloadNow() == S_OK; }));
  }

  void AddPaths(const std::string& head) {
    for (const size_t size : kSizes) {
      m_paths.push_back(
          std::make_unique<ScriptedPath>(m_server, HttpAnswer().Bytes(head).Pattern(kSeed, size)));
    }
  }

  const CTempSandbox m_sandbox;
  const HttpTestServer m_server;
  CPluginLibrary m_library;
  std::vector<std::unique_ptr<ScriptedPath>> m_paths;
  CUser m_user;
};

class SoakDownloads : public Soak {
 protected:
  SoakDownloads() {
    AddPaths(kLessonHead);
    g_savePath = m_sandbox / kSavedFile;
    m_browser.window = m_frame;
    m_library.HelperFactory()->CreateInstance(nullptr, IID_PPV_ARGS(&m_helper));
    CComQIPtr<IObjectWithSite>(m_helper)->SetSite(&m_browser);
  }

  void Round(int i) {
    const Wish wishes[] = {Wish::kSave, Wish::kOpen,
                           i % 2 == 0 ? Wish::kCancelQuestion : Wish::kCancelDownload};
    const Wish wish = wishes[i % 3];
    const size_t place = static_cast<size_t>(i / 3) % std::size(kSizes);
    m_user.Wants(wish);
    CNavigationEvent event(
        (wish == Wish::kCancelDownload ? m_flowing : *m_paths[place]).Url(L"a.folivo"));
    m_launches = 0;
    EXPECT_EQ(m_helper->Invoke(DISPID_BEFORENAVIGATE2, IID_NULL, LOCALE_SYSTEM_DEFAULT,
                               DISPATCH_METHOD, event.Params(), nullptr, nullptr, nullptr),
              S_OK);
    EXPECT_TRUE(event.Cancelled());
    EXPECT_EQ(m_launches, wish == Wish::kOpen ? 1 : 0);
    if (wish == Wish::kSave || wish == Wish::kOpen) {
      const std::wstring path =
          m_sandbox / (wish == Wish::kSave ? kSavedFile : std::wstring(kTempFiles) + L"a.folivo");
      EXPECT_TRUE(ReadFileBytes(path) == kLessonHead + PatternBytes(kSeed, 0, kSizes[place]));
      DeleteFileW(path.c_str());
    }
  }

  int m_launches = 0;
  const ScriptedPath m_flowing{
      m_server, HttpAnswer().Bytes(kLessonHead).Pattern(kSeed, kFlowingSize).Rate(kBytesPerSecond)};
  const CLookupPatch m_saveDialog{"GetSaveFileNameW", &ChoosePath, m_library.Module()};
  const CImportSpy<&ShellExecuteExW> m_launch{"shell32.dll", "ShellExecuteExW",
                                              [this](SHELLEXECUTEINFOW*) { return ++m_launches; },
                                              m_library.Module()};
  const CDeferredClose m_deferredClose{m_library.Module()};
  CStartedThreads m_workers{m_library.Module()};
  CFakeBrowser m_browser;
  const CBrowserFrame m_frame;
  CComPtr<IDispatch> m_helper;
};

TEST_F(SoakDownloads, LevelOff) {
  Run(kDownloads, [&](int done) {
    Round(done - 1);
    // Workers that cancelled downloads have left behind are no leak.
    EXPECT_TRUE(done % kAwaitedEach != 0 || m_workers.WaitForEnds());
  });
  EXPECT_EQ(m_user.Messages(), 0);
  CComQIPtr<IObjectWithSite>(m_helper)->SetSite(nullptr);
  m_helper.Release();
  ExpectFree();
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>()) << "temporary files left";
}

class SoakCollections : public Soak {
 protected:
  SoakCollections() { AddPaths(""); }

  /// An archive from the network, or the one of an earlier call, with a control of its own.
  void Round(int i) {
    std::wstring source = m_paths[static_cast<size_t>(i / 2) % std::size(kSizes)]->Url(L"a.zip");
    const std::wstring address = L"127.0.0.1";
    source.replace(source.find(address), address.size(), L"folivo-collections.example");
    if (i % 2 == 1) {
      m_sandbox.Write(L"ZDH\\download.zip", m_archive);
      source = m_sandbox.Write(L"source.zip", "never read");
    }
    const int messages = m_user.Messages();
    CComPtr<IClassFactory> factory;
    EXPECT_EQ(m_library.GetClassObject(CLSID_CQDCDownload, IID_IClassFactory,
                                       reinterpret_cast<void**>(&factory)),
              S_OK);
    CComPtr<IQDCDownload> control;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&control)), S_OK);
    EXPECT_EQ(control->DownloadFile(CComBSTR(source.c_str())), S_OK);
    EXPECT_EQ(m_user.Messages(), messages + 1) << "that it cannot be unzipped";
    DeleteFileW((m_sandbox / L"source.zip").c_str());
    EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
  }

  const CImportSpy<&Sleep> m_sleep{"kernel32.dll", "Sleep",
                                   [this](DWORD milliseconds) {
                                     const bool isPause =
                                         milliseconds == 100 || milliseconds == 700;
                                     m_sleep.CallOriginal(isPause ? 0 : milliseconds);
                                   },
                                   m_library.Module()};
  /// A success leaves no last error, as on Windows.
  const CImportSpy<&InternetOpenUrlW> m_openUrl{
      "wininet.dll", "InternetOpenUrlW",
      [this](HINTERNET session, LPCWSTR url, LPCWSTR headers, DWORD length, DWORD flags,
             DWORD_PTR context) {
        const HINTERNET request =
            m_openUrl.CallOriginal(session, url, headers, length, flags, context);
        SetLastError(request != nullptr ? ERROR_SUCCESS : GetLastError());
        return request;
      },
      m_library.Module()};
  const CImportSpy<&SHGetFolderPathW> m_folder{"shell32.dll", "SHGetFolderPathW",
                                               [this](HWND, int, HANDLE, DWORD, LPWSTR path) {
                                                 lstrcpynW(path, (m_sandbox / L"Documents").c_str(),
                                                           MAX_PATH);
                                                 return S_OK;
                                               },
                                               m_library.Module()};
  const CUnzipSearchPath m_unzip{RealUnzipFolder()};
  const std::string m_archive = CStoredZip()
                                    .Add("a.qdc", std::string(20000, 'a'))
                                    .Add("manifest.xml", "<Collections/>")
                                    .Bytes();
};

TEST_F(SoakCollections, LevelOff) {
  Run(kCollections, [this](int done) { Round(done - 1); });
  ExpectFree();
}

}  // namespace
