// The collection's dialog. Cancelling: once it has begun nothing is served until its end, so a
// click waits there and comes too late (Quirk 61). What a page and its browser do while it is open:
// it serves messages only before it begins and under the system's own boxes.

#include <functional>
#include <utility>

#include "tests/browser/browser_frame.h"
#include "tests/collections/control_object.h"
#include "tests/faults/archive_faults.h"
#include "tests/faults/cancel_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/dialog_texts.h"
#include "tests/support/parallel.h"

namespace {

constexpr size_t kSize = 45000;

class ArchiveFaultsCancel : public ArchiveFaults {
 protected:
  void Run(const CMoment& moment, const CWay& way) {
    const ScriptedPath path(m_server, moment.Answer(Body(kSize)));
    const CHeldTransfer transfer(moment, path, kSize);
    const CParallel user([&] {
      transfer.WaitUntilHeld();
      way.Cancel(FindWindowW(L"#32770", kCollectionTitle));
      transfer.LetGo();
    });
    const CTransferOutcome outcome = DownloadTo(TrustedUrl(path), L"download.zip");
    EXPECT_EQ(outcome.message, L"");
    EXPECT_TRUE(outcome.bytes == BodyBytes(kSize));
    EXPECT_TRUE(m_sandbox.Files().empty());
  }
};

TEST_F(ArchiveFaultsCancel, CancelComesTooLateOnceItHasBegun) {
  for (const CMoment& moment : QuickCut(Moments(kSize))) {
    for (const CWay& way : kWays) {
      SCOPED_TRACE(std::string(moment.name) + ", " + way.name);
      m_checks.Run([&] { Run(moment, way); });
    }
  }
}

TEST_F(ArchiveFaultsCancel, CancelBeforeTheFirstStepSendsNoRequest) {
  const ScriptedPath path(m_server, Body(kSize));
  for (const CWay& way : kWays) {
    SCOPED_TRACE(way.name);
    // The clicks wait in the dialog's queue, before its first tick.
    const CImportSpy<&SetTimer> timer("user32.dll", "SetTimer", [&](HWND window, auto... others) {
      way.Cancel(window);
      return timer.CallOriginal(window, others...);
    });
    m_checks.Run([&] {
      CZipProgressDialog dialog(TrustedUrl(path).c_str(), ZipPath().c_str(),
                                ContentFolder().c_str());
      EXPECT_EQ(CallGuardedDialog([&] { return dialog.DoModal(nullptr); }), kCollectionNo);
      EXPECT_TRUE(TakeMessages().empty());
      EXPECT_TRUE(m_sandbox.Files().empty());
    });
  }
  EXPECT_TRUE(path.Requests().empty());
}

using Action = std::function<void()>;

enum class Point { kBeforeTheFirstTick, kUnderTheErrorDialog, kUnderTheMessage };
constexpr const char* kPoints[] = {"before the first tick", "under the error dialog",
                                   "under the message"};

enum class PageAct { kReleased, kClosed, kSiteTaken, kSecondDownload, kLoopLeft, kDialogDestroyed };
constexpr const char* kActs[] = {"released",        "closed",    "site taken",
                                 "second download", "loop left", "dialog destroyed"};

class ArchiveFaultsLifetime : public ArchiveFaults {
 protected:
  void Run(Point when, PageAct act);

 private:
  static void Do(PageAct act, CControlObject& control, const std::wstring& secondUrl);
  /// Does at that moment what is to be done, once.
  void Come(Point point) {
    if (point == m_when && m_act) {
      std::exchange(m_act, nullptr)();
    }
  }

  Point m_when{};
  Action m_act;
  // The action serves messages in the place of the system's boxes.
  const CImportSpy<&InternetErrorDlg> m_errorDialog{"wininet.dll", "InternetErrorDlg",
                                                    [this](auto...) {
                                                      Come(Point::kUnderTheErrorDialog);
                                                      return DWORD{ERROR_SUCCESS};
                                                    }};
  const CImportSpy<&MessageBoxW> m_message{"user32.dll", "MessageBoxW", [this](auto... arguments) {
                                             Come(Point::kUnderTheMessage);
                                             return m_message.CallOriginal(arguments...);
                                           }};
};

void ArchiveFaultsLifetime::Do(PageAct act, CControlObject& control,
                               const std::wstring& secondUrl) {
  CComPtr<IOleObject> object;
  EXPECT_EQ(control->QueryInterface(IID_PPV_ARGS(&object)), S_OK);
  if (act == PageAct::kReleased) {
    control.Release();
  } else if (act == PageAct::kClosed) {
    EXPECT_EQ(object->Close(OLECLOSE_NOSAVE), S_OK);
  } else if (act == PageAct::kSiteTaken) {
    EXPECT_EQ(object->SetClientSite(nullptr), S_OK);
  } else if (act == PageAct::kSecondDownload) {
    EXPECT_EQ(control->DownloadFile(CComBSTR(secondUrl.c_str())), S_OK);
  } else if (act == PageAct::kLoopLeft) {
    PostQuitMessage(0);
  } else if (act == PageAct::kDialogDestroyed) {
    EXPECT_NE(DestroyWindow(FindWindowW(L"#32770", kCollectionTitle)), FALSE);
  }
}

void ArchiveFaultsLifetime::Run(Point when, PageAct act) {
  const ScriptedPath path(m_server, Body(15000));
  const ScriptedPath second(m_server, Body(15000));
  CBrowserFrame frame;
  CControlObject control(m_sandbox);
  m_when = when;
  m_act = [&] { Do(act, control, TrustedUrl(second)); };
  if (when == Point::kBeforeTheFirstTick) {
    frame.Begin(m_act);  // posted messages are dispatched before WM_TIMER
  }
  CComObject<CQDCDownload>* const object = control.operator->();
  EXPECT_EQ(
      CallGuardedDialog([&] { return object->DownloadFile(CComBSTR(TrustedUrl(path).c_str())); }),
      S_OK);
  control.Release();

  MSG message = {};
  EXPECT_EQ(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) != FALSE,
            act == PageAct::kLoopLeft)
      << "the browser's own loop gets it";
  const bool ends = act == PageAct::kLoopLeft || act == PageAct::kDialogDestroyed;
  const size_t requests = act == PageAct::kSecondDownload              ? 2
                          : ends && when == Point::kBeforeTheFirstTick ? 0
                                                                       : 1;
  // Behind the error dialog, nobody is left to show one to.
  const bool isAlone = act == PageAct::kDialogDestroyed && when == Point::kUnderTheErrorDialog;
  EXPECT_EQ(TakeMessages().size(), isAlone ? 0 : requests);
  EXPECT_EQ(path.Requests().size() + second.Requests().size(), requests);
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
}

TEST_F(ArchiveFaultsLifetime, PageCallAtAnyStageLeavesNoResources) {
  for (const size_t cell : RunIndices(std::size(kPoints) * std::size(kActs))) {
    const size_t when = cell / std::size(kActs);
    const size_t act = cell % std::size(kActs);
    SCOPED_TRACE(std::string(kPoints[when]) + ": " + kActs[act]);
    m_checks.Run([&] { Run(static_cast<Point>(when), static_cast<PageAct>(act)); });
  }
}

}  // namespace
