#include "collections/qdc_download.h"

#include <gtest/gtest.h>

#include <bit>
#include <string>
#include <vector>

#include "collections/zip_progress_dialog.h"
#include "tests/collections/control_object.h"
#include "tests/collections/running_dialog.h"
#include "tests/support/dialog_result.h"
#include "tests/support/import_spy.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/message_recorder.h"

namespace {

using Texts = std::vector<std::wstring>;

constexpr wchar_t kContent[] = L"Documents\\My Folivo Content\\My Content\\Downloaded Content";

bool IsFolderThere(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

class Control : public testing::Test {
 protected:
  Control() { CoInitialize(nullptr); }
  ~Control() override { CoUninitialize(); }

  const CTempSandbox m_sandbox;
  CMessageRecorder m_messages;
};

// What is done when a page creates the control.

TEST_F(Control, LeavesItsFoldersAndWhatIsInThem) {
  for (const bool hasFiles : {false, true}) {
    {
      CControlObject control(m_sandbox);
      EXPECT_TRUE(control.Peer().IsReady());
      EXPECT_STREQ(control.Peer().ContentFolder(), (m_sandbox / kContent).c_str());
      EXPECT_STREQ(control.Peer().TempFolder(), (m_sandbox / L"ZDH").c_str());
      if (hasFiles) {
        m_sandbox.Write(std::wstring(kContent) + L"\\a.qdc", "a");
        m_sandbox.Write(L"ZDH\\download.zip", "old");
      }
      const CDialogResult dialog(2);
      EXPECT_EQ(control->DownloadFile(CComBSTR(L"x")), S_OK);
    }
    EXPECT_TRUE(IsFolderThere(m_sandbox / kContent));
    EXPECT_TRUE(IsFolderThere(m_sandbox / L"ZDH"));
  }
  EXPECT_TRUE(CControlObject(m_sandbox).Peer().IsReady());
  EXPECT_EQ(m_sandbox.Files(), (Texts{std::wstring(kContent) + L"\\a.qdc", L"ZDH\\download.zip"}));
}

TEST_F(Control, WithoutDocumentsIsNotReadyAndStillMakesTheRest) {
  const CDocumentsFolder documents(L"");
  const auto control = CControlObject::Create();
  const CQDCDownloadPeer peer{*control.p};
  EXPECT_EQ(documents.Count(), 1);
  EXPECT_FALSE(peer.IsReady());
  EXPECT_TRUE(peer.ContentFolder().IsEmpty());
  EXPECT_TRUE(IsFolderThere(m_sandbox / L"ZDH"));
}

TEST_F(Control, ContentFolderThatCannotBeMadeCountsForNothing) {
  m_sandbox.Write(L"Documents\\My Folivo Content", "a file in the way");
  const CControlObject control(m_sandbox);
  EXPECT_TRUE(control.Peer().IsReady());
  EXPECT_FALSE(control.Peer().ContentFolder().IsEmpty());
}

TEST_F(Control, WithoutATemporaryFolderIsNotReady) {
  for (const DWORD length : {0, 261, 1000}) {
    const CImportSpy<&GetTempPathW> path("kernel32.dll", "GetTempPathW", [&](DWORD size, LPWSTR) {
      EXPECT_EQ(size, 260u);
      return length;
    });
    const CControlObject control(m_sandbox);
    EXPECT_FALSE(control.Peer().IsReady()) << length;
    EXPECT_TRUE(control.Peer().TempFolder().IsEmpty());
  }
  m_sandbox.Write(L"ZDH", "a file in the way");
  SetFileAttributesW((m_sandbox / L"ZDH").c_str(), FILE_ATTRIBUTE_READONLY);
  SetEnvironmentVariableW(L"TMP", (m_sandbox / L"ZDH").c_str());
  const CControlObject control(m_sandbox);
  EXPECT_FALSE(control.Peer().IsReady());
  EXPECT_FALSE(control.Peer().ContentFolder().IsEmpty());
}

TEST_F(Control, JoinsComForGood) {
  const CImportSpy<&CoUninitialize> balance("ole32.dll", "CoUninitialize");
  for (const HRESULT result : {S_OK, S_FALSE, RPC_E_CHANGED_MODE, E_OUTOFMEMORY}) {
    using Spy = CImportSpy<&CoInitialize>;
    const Spy join("ole32.dll", "CoInitialize", [&](LPVOID) { return result; });
    {
      const CControlObject control(m_sandbox);
      EXPECT_EQ(control.Peer().IsReady(), SUCCEEDED(result)) << result;
    }
    EXPECT_EQ(join.Calls(), std::vector<Spy::Call>{{nullptr}});
  }
  EXPECT_TRUE(balance.Calls().empty());
}

// A control that is not ready.

TEST_F(Control, NotReadySaysSoOnEveryCall) {
  const CDocumentsFolder documents(L"");
  const auto control = CControlObject::Create();
  const CDialogResult dialog(1);
  for (const size_t length : {10, 1001}) {
    EXPECT_EQ(control->DownloadFile(CComBSTR(std::wstring(length, L'a').c_str())), E_FAIL);
    const std::vector<CShownMessage> messages = m_messages.Take();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].text, L"Unable to download Folivo Collection files at this time.");
    EXPECT_EQ(messages[0].caption, L"MERLO Folivo");
    EXPECT_EQ(messages[0].style, static_cast<UINT>(MB_ICONHAND));
    EXPECT_EQ(messages[0].owner, nullptr);
  }
  EXPECT_EQ(dialog.Count(), 0);
  EXPECT_EQ(documents.Count(), 1) << "it is looked for once, when the control is created";
}

TEST_F(Control, MessageBelongsToItsWindowElseToTheContainers) {
  const CDocumentsFolder documents(L"");
  const auto control = CControlObject::Create();
  const auto owner = [&] {
    control->DownloadFile(CComBSTR(L"x"));
    return m_messages.Take().at(0).owner;
  };
  const HWND container = CreateWindowExW(0, L"static", L"", WS_POPUP | WS_VISIBLE, 0, 0, 50, 50,
                                         nullptr, nullptr, nullptr, nullptr);
  // The container is the system's own. Its library stays loaded, as window classes point into it.
  const auto attach = std::bit_cast<HRESULT(WINAPI*)(IUnknown*, HWND, IUnknown**)>(
      GetProcAddress(LoadLibraryW(L"atl.dll"), "AtlAxAttachControl"));
  CComPtr<IUnknown> host;
  ASSERT_EQ(attach(control->GetUnknown(), container, &host), S_OK);
  EXPECT_NE(control->m_hWnd, nullptr);
  EXPECT_EQ(owner(), control->m_hWnd);
  CComPtr<IOleInPlaceObject> place;
  ASSERT_EQ(control->QueryInterface(IID_PPV_ARGS(&place)), S_OK);
  EXPECT_EQ(place->InPlaceDeactivate(), S_OK);
  EXPECT_EQ(owner(), container);
  DestroyWindow(container);
}

// A download.

TEST_F(Control, RunsTheDialogWithItsPaths) {
  CControlObject control(m_sandbox);
  const HWND window = CreateWindowExW(0, L"static", L"", WS_POPUP | WS_VISIBLE, 0, 0, 50, 50,
                                      nullptr, nullptr, nullptr, nullptr);
  SetActiveWindow(window);
  for (const wchar_t* const url :
       {L"http://folivo-schools.example/a.zip", L"http://folivo-schools.example/b.zip"}) {
    const CDialogResult dialog(2);
    Texts given;
    dialog.WhileRunning([&] {
      const CZipProgressDialogPeer peer = RunningDialogPeer();
      given = {peer.SourceUrl().GetString(), peer.ZipPath().GetString(),
               peer.ContentFolder().GetString()};
    });
    EXPECT_EQ(control->DownloadFile(CComBSTR(url)), S_OK);
    EXPECT_EQ(dialog.Count(), 1);
    EXPECT_EQ(dialog.Template(), 211u);
    EXPECT_EQ(dialog.Parent(), window) << "the active window";
    EXPECT_EQ(given, (Texts{url, m_sandbox / L"ZDH\\download.zip", m_sandbox / kContent}));
  }
  DestroyWindow(window);
}

TEST_F(Control, ThousandCharactersAreAcceptedAndOneMoreIsNot) {
  CControlObject control(m_sandbox);
  std::wstring withZeros = L"short";
  withZeros.resize(1001, L'\0');
  const struct {
    std::wstring text;
    bool isAccepted;
  } cases[] = {
      {std::wstring(1000, L'a'), true}, {std::wstring(1001, L'a'), false}, {withZeros, false}};
  for (const auto& [text, isAccepted] : cases) {
    const CDialogResult dialog(3);
    CComBSTR url;
    *&url = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    EXPECT_EQ(control->DownloadFile(url), isAccepted ? S_OK : E_INVALIDARG);
    EXPECT_EQ(dialog.Count(), isAccepted ? 1 : 0);
  }
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(Control, NullAddressReachesTheDialogEmpty) {
  CControlObject control(m_sandbox);
  const CDialogResult dialog(3);
  std::wstring source = L"not asked";
  dialog.WhileRunning([&] { source = RunningDialogPeer().SourceUrl().GetString(); });
  EXPECT_EQ(control->DownloadFile(nullptr), S_OK);
  EXPECT_EQ(source, L"");
}

/// Runs a download whose dialog adds these files and ends with `result`.
void RunWithAddedFiles(const CControlObject& control, INT_PTR result, const Texts& files) {
  const CDialogResult dialog(result);
  dialog.WhileRunning([&] {
    CZipProgressDialogPeer peer = RunningDialogPeer();
    for (const std::wstring& file : files) {
      peer.AddFile(file.c_str());
    }
  });
  EXPECT_EQ(control->DownloadFile(CComBSTR(L"x")), S_OK);
}

TEST_F(Control, YesOpensTheFirstAddedFile) {
  CControlObject control(m_sandbox);
  const CLaunchRecorder launches;
  RunWithAddedFiles(control, 1, {L"C:\\first one.gallery", L"C:\\second", L"C:\\third"});
  ASSERT_EQ(launches.Launches().size(), 1u);
  const CLaunch& launch = launches.Launches()[0];
  EXPECT_EQ(launch.file, L"C:\\first one.gallery");
  EXPECT_EQ(launch.verb, L"open");
  EXPECT_FALSE(launch.hasParameters);
  EXPECT_FALSE(launch.hasFolder);
  EXPECT_EQ(launch.owner, nullptr);
}

TEST_F(Control, FailedStartIsIgnored) {
  CControlObject control(m_sandbox);
  const CLaunchRecorder launches;
  launches.SetAnswer(FALSE);
  RunWithAddedFiles(control, 1, {L"C:\\a"});
  EXPECT_EQ(launches.Launches().size(), 1u);
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(Control, OtherAnswersOpenNothing) {
  CControlObject control(m_sandbox);
  const CLaunchRecorder launches;
  for (const INT_PTR result : {2, 3, 0, -1}) {
    RunWithAddedFiles(control, result, {L"C:\\a"});
  }
  RunWithAddedFiles(control, 1, {});
  EXPECT_TRUE(launches.Launches().empty());
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(Control, OutlivesACallInWhichItsPageLetsGoOfIt) {
  CControlObject control(m_sandbox);
  const LONG locks = ATL::_pAtlModule->GetLockCount();
  const CLaunchRecorder launches;
  const CDialogResult dialog(1);
  CComObject<CQDCDownload>* const object = control.operator->();
  dialog.WhileRunning([&] {
    CZipProgressDialogPeer peer = RunningDialogPeer();
    peer.AddFile(L"C:\\added");
    control.Release();
    EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), locks) << "the object must still be there";
  });
  EXPECT_EQ(object->DownloadFile(CComBSTR(L"x")), S_OK);
  EXPECT_EQ(launches.Launches().size(), 1u);
  EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), locks - 1) << "and go after the call";
}

}  // namespace
