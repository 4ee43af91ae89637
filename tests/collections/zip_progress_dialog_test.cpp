// The dialog itself: its controls and its commands.

#include "collections/zip_progress_dialog.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>
#include <tinyxml.h>

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "resources/resource.h"
#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/doubles/unzip/unzip_search_path.h"
#include "tests/support/import_spy.h"
#include "tests/support/stored_zip.h"
#include "tests/support/user.h"

namespace {

using Lines = CDialogTrace::Lines;

constexpr int kTitle = 210;
constexpr int kSubtitle = 211;
constexpr int kBar = 212;

RECT ChildBounds(HWND window, HWND child) {
  RECT bounds = {};
  GetWindowRect(child, &bounds);
  MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&bounds), 2);
  return bounds;
}

/// A dialog whose timer never ticks, so that it stays in its initial state.
class ZipProgressDialog : public CollectionTest {
 protected:
  using CSetTimer = CImportSpy<&SetTimer>;

  INT_PTR Run(const std::function<void(HWND)>& user) { return RunDialog(m_dialog, user); }

  CZipProgressDialog m_dialog{L"", ZipPath().c_str(), ContentFolder().c_str()};
  const CSetTimer m_timer{"user32.dll", "SetTimer",
                          [](HWND, UINT_PTR, UINT, TIMERPROC) { return UINT_PTR{1}; }};
};

TEST_F(ZipProgressDialog, StartsWithOnlyCancelEnabled) {
  const INT_PTR result = Run([this](HWND window) {
    EXPECT_EQ(ChildText(window, kTitle), L"Downloading Folivo Collections...");
    EXPECT_EQ(ChildText(window, kSubtitle), L"");
    EXPECT_EQ(ChildText(window, IDOK), L"Ok");
    EXPECT_EQ(ChildText(window, IDCANCEL), L"Cancel");
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(window, IDOK)));
    EXPECT_TRUE(IsWindowEnabled(GetDlgItem(window, IDCANCEL)));
    PBRANGE range = {};
    SendDlgItemMessageW(window, kBar, PBM_GETRANGE, TRUE, reinterpret_cast<LPARAM>(&range));
    EXPECT_EQ(range.iLow, 1);
    EXPECT_EQ(range.iHigh, 100);
    EXPECT_EQ(m_timer.Calls(), (std::vector<CSetTimer::Call>{{window, 0, 100, nullptr}}));

    RECT client = {};
    GetClientRect(window, &client);
    const RECT ok = ChildBounds(window, GetDlgItem(window, IDOK));
    const RECT cancel = ChildBounds(window, GetDlgItem(window, IDCANCEL));
    EXPECT_EQ(cancel.left, ok.right + 12) << "one row";
    EXPECT_EQ(ok.left, (client.right - (cancel.right - ok.left)) / 2) << "centred";
    EXPECT_EQ(ok.bottom, client.bottom - 12);

    LRESULT leavesFocus = FALSE;
    EXPECT_TRUE(m_dialog.ProcessWindowMessage(window, WM_INITDIALOG, 0, 0, leavesFocus, 0));
    EXPECT_EQ(leavesFocus, TRUE);
    GUITHREADINFO info = {};
    info.cbSize = sizeof(info);
    GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info);
    EXPECT_EQ(GetDlgCtrlID(info.hwndFocus), IDCANCEL);
    Click(window, IDCANCEL);
  });
  EXPECT_EQ(result, 2);
}

TEST_F(ZipProgressDialog, InitialisationKeepsItsOrder) {
  std::vector<std::string> steps;
  const auto note = [&](const std::string& step) {
    if (steps.empty() || steps.back() != step) {
      steps.push_back(step);
    }
    return TRUE;
  };
  {
    const CImportSpy<&SetWindowPos> place("user32.dll", "SetWindowPos",
                                          [&](auto...) { return note("centre"); });
    const CImportSpy<&SetDlgItemTextW> text("user32.dll", "SetDlgItemTextW",
                                            [&](auto...) { return note("status"); });
    const CImportSpy<&EnableWindow> enable("user32.dll", "EnableWindow", [&](HWND window, BOOL on) {
      return note((on ? "enable " : "disable ") + std::to_string(GetDlgCtrlID(window)));
    });
    const CSetTimer timer("user32.dll", "SetTimer",
                          [&](auto...) { return static_cast<UINT_PTR>(note("timer")); });
    const CImportSpy<&MoveWindow> move("user32.dll", "MoveWindow",
                                       [&](auto...) { return note("button row"); });
    const CImportSpy<&SendDlgItemMessageW> send("user32.dll", "SendDlgItemMessageW",
                                                [&](auto...) { return note("range"); });
    EXPECT_EQ(Run([](HWND window) { Click(window, IDCANCEL); }), 2);
  }
  EXPECT_EQ(steps, (std::vector<std::string>{"centre", "status", "disable 1", "enable 2", "timer",
                                             "button row", "range"}));
}

TEST_F(ZipProgressDialog, CommandEndsItAndKeepsTheArchive) {
  m_sandbox.Write(L"download.zip", "old");
  EXPECT_EQ(Run([](HWND window) {
              // Other notifications and controls are not handled.
              for (const int id : {IDOK, IDCANCEL, kTitle, kBar, 99}) {
                SendMessageW(window, WM_COMMAND, MAKEWPARAM(id, 5), 0);
              }
              for (const int id : {kTitle, kSubtitle, kBar, 99}) {
                SendMessageW(window, WM_COMMAND, MAKEWPARAM(id, 0), 0);
              }
              EXPECT_TRUE(IsWindowVisible(window));
              Close(window);
            }),
            2);
  CZipProgressDialog other(L"", ZipPath().c_str(), L"");
  EXPECT_EQ(RunDialog(other, [](HWND window) { PostMessageW(window, WM_COMMAND, IDOK, 0); }), 1);
  EXPECT_EQ(ReadFileBytes(ZipPath()), "old");
}

TEST_F(ZipProgressDialog, StatusAndProgressGoToTheirControls) {
  COpenDialog dialog = Open();
  CDialogTrace trace;
  for (const auto& [percent, position] : {std::pair(-5, 0), {0, 0}, {50, 50}, {200, 100}}) {
    dialog->SetProgress(percent);
    // The control's own range begins at 1.
    EXPECT_EQ(SendDlgItemMessageW(dialog.Window(), kBar, PBM_GETPOS, 0, 0), std::max(1, position));
    EXPECT_EQ(trace.Take(), Lines{Bar(position)});
  }
  for (const auto& [title, subtitle] : {std::pair(L"one %s", L"two"), {L"three", L""}}) {
    dialog->SetStatus(title, subtitle);
    EXPECT_EQ(ChildText(dialog.Window(), kTitle), title);
    EXPECT_EQ(ChildText(dialog.Window(), kSubtitle), subtitle);
  }
}

TEST_F(ZipProgressDialog, QuestionBehindTheAddedCollectionsWaitsForTheAnswer) {
  const CUnzipSearchPath unzip(RealUnzipFolder());
  const std::string archive = CStoredZip().Add("a.qdc", "lesson").Bytes();
  TiXmlDocument manifest;
  manifest.Parse("<a><DownloadedFile Filename='a.qdc' Destination='x'/></a>");
  for (const int answer : {IDOK, IDCANCEL}) {
    m_sandbox.Write(L"download.zip", archive);
    DeleteFileW(Content(L"x\\a.qdc").c_str());
    CZipProgressDialog dialog(L"", ZipPath().c_str(), ContentFolder().c_str());
    CZipProgressDialogPeer peer{dialog};
    // At the end of its initialisation it goes on where a manifest stage that succeeds would.
    const CImportSpy<&SendDlgItemMessageW> send(
        "user32.dll", "SendDlgItemMessageW", [&](HWND window, int id, UINT message, auto... w) {
          const LRESULT result = send.CallOriginal(window, id, message, w...);
          if (message == PBM_SETRANGE32) {
            peer.Begin();
            peer.FinishPipeline(manifest);
          }
          return result;
        });
    const INT_PTR result = RunDialog(dialog, [&](HWND window) {
      EXPECT_EQ(ChildText(window, kTitle), L"Completed Folivo Collections download.");
      EXPECT_EQ(ChildText(window, kSubtitle),
                L"Would you like to view the downloaded collections?");
      EXPECT_EQ(ChildText(window, IDOK), L"Yes");
      EXPECT_EQ(ChildText(window, IDCANCEL), L"No");
      EXPECT_TRUE(IsWindowEnabled(GetDlgItem(window, IDOK)));
      EXPECT_TRUE(IsWindowEnabled(GetDlgItem(window, IDCANCEL)));
      EXPECT_EQ(SendDlgItemMessageW(window, kBar, PBM_GETPOS, 0, 0), 100);
      SendMessageW(window, WM_TIMER, 0, 0);  // A late tick does not begin again.
      EXPECT_TRUE(IsWindowVisible(window));
      Click(window, answer);
    });
    EXPECT_EQ(result, answer);
    EXPECT_EQ(peer.AddedFiles(), std::vector{Content(L"x\\a.qdc")});
    EXPECT_EQ(ReadFileBytes(Content(L"x\\a.qdc")), "lesson");
    EXPECT_EQ(ReadFileBytes(ZipPath()), archive);
  }
}

TEST(ZipProgressDialogTemplate, HasItsStyleFontAndControls) {
  EXPECT_EQ(IDD_COLLECTION_DOWNLOAD, 211);
  const HWND window = CreateDialogParamW(
      nullptr, MAKEINTRESOURCEW(211), nullptr,
      [](HWND, UINT, WPARAM, LPARAM) -> INT_PTR { return FALSE; }, 0);
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(TextOf(window), L"MERLO Folivo Collection Download");
  EXPECT_EQ(GetWindowLongW(window, GWL_STYLE) & ~(WS_CLIPSIBLINGS | DS_3DLOOK),
            WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_SETFONT);
  LOGFONTW font = {};
  GetObjectW(reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0)), sizeof(font), &font);
  EXPECT_STREQ(font.lfFaceName, L"MS Shell Dlg");
  EXPECT_EQ(font.lfHeight, -11) << "8 points";
  RECT client = {};
  GetClientRect(window, &client);
  RECT size = {0, 0, 252, 90};
  MapDialogRect(window, &size);
  EXPECT_TRUE(EqualRect(&client, &size));

  const struct {
    int id;
    std::wstring windowClass;
    std::wstring text;
    RECT bounds;
    LONG style;
  } controls[] = {
      {IDOK, L"Button", L"OK", {140, 69, 190, 83}, WS_TABSTOP | BS_DEFPUSHBUTTON},
      {IDCANCEL, L"Button", L"Cancel", {195, 69, 245, 83}, WS_TABSTOP},
      {kTitle, L"Static", L"Title", {7, 10, 245, 18}, WS_GROUP},
      {kSubtitle, L"Static", L"Subtitle", {7, 22, 245, 30}, WS_GROUP},
      {kBar, L"msctls_progress32", L"", {7, 38, 245, 52}, 0},
  };
  HWND child = GetWindow(window, GW_CHILD);
  for (const auto& c : controls) {
    SCOPED_TRACE(c.id);
    wchar_t windowClass[64] = {};
    GetClassNameW(child, windowClass, ARRAYSIZE(windowClass));
    EXPECT_EQ(windowClass, c.windowClass);
    EXPECT_EQ(GetDlgCtrlID(child), c.id);
    EXPECT_EQ(TextOf(child), c.text);
    RECT expected = c.bounds;
    MapDialogRect(window, &expected);
    const RECT bounds = ChildBounds(window, child);
    EXPECT_TRUE(EqualRect(&bounds, &expected));
    EXPECT_EQ(GetWindowLongW(child, GWL_STYLE), WS_CHILD | WS_VISIBLE | c.style);
    child = GetWindow(child, GW_HWNDNEXT);
  }
  EXPECT_EQ(child, nullptr);
  DestroyWindow(window);

  // The bar removes its border as it is created.
  using namespace std::string_view_literals;
  const HRSRC resource = FindResourceW(nullptr, MAKEINTRESOURCEW(211), RT_DIALOG);
  const std::string_view bytes(
      static_cast<const char*>(LockResource(LoadResource(nullptr, resource))),
      SizeofResource(nullptr, resource));
  EXPECT_NE(bytes.find("\0\0\x80\x50"sv), std::string_view::npos);
}

}  // namespace
