// The dialog itself: its controls and its commands.

#include "collections/zip_progress_dialog.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>
#include <tinyxml.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/collections/collection_test.h"
#include "tests/doubles/unzip/unzip_search_path.h"
#include "tests/support/dialog_template.h"
#include "tests/support/import_spy.h"
#include "tests/support/stored_zip.h"
#include "tests/support/user.h"

namespace {

constexpr int kTitle = 210;
constexpr int kSubtitle = 211;
constexpr int kBar = 212;

RECT ChildBounds(HWND window, int id) {
  RECT bounds = {};
  GetWindowRect(GetDlgItem(window, id), &bounds);
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
    const RECT ok = ChildBounds(window, IDOK);
    const RECT cancel = ChildBounds(window, IDCANCEL);
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

// WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_SETFONT; the controls are
// visible children: the default push button, another, two texts, and a bar with a border.
TEST(ZipProgressDialogTemplate, HasItsStyleFontAndControls) {
  EXPECT_EQ(DescribeDialogTemplate(211),
            L"80c800c0/0 0 0 252 90 menu '' class '' title 'MERLO Folivo Collection Download' "
            L"font 'MS Shell Dlg' 8\n"
            L"50010001/0 140 69 50 14 id 1 button 'OK'\n"
            L"50010000/0 195 69 50 14 id 2 button 'Cancel'\n"
            L"50020000/0 7 10 238 8 id 210 static 'Title'\n"
            L"50020000/0 7 22 238 8 id 211 static 'Subtitle'\n"
            L"50800000/0 7 38 238 14 id 212 msctls_progress32 ''\n");
}

}  // namespace
