// What a page and its browser do while the collection control's dialog is open. It serves messages
// only before it begins and under the system's own boxes.

#include <functional>
#include <utility>

#include "tests/browser/browser_frame.h"
#include "tests/collections/control_object.h"
#include "tests/faults/archive_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/dialogs.h"

namespace {

using Action = std::function<void()>;

enum class Moment { kBeforeTheFirstTick, kUnderTheErrorDialog, kUnderTheMessage };
constexpr const char* kMoments[] = {"before the first tick", "under the error dialog",
                                    "under the message"};

enum class Act { kReleased, kClosed, kSiteTaken, kSecondDownload, kLoopLeft, kDialogDestroyed };
constexpr const char* kActs[] = {"released",        "closed",    "site taken",
                                 "second download", "loop left", "dialog destroyed"};

class ArchiveLifetimeFaults : public ArchiveFaults {
 protected:
  void Run(Moment when, Act act);

 private:
  static void Do(Act act, CControlObject& control, const std::wstring& secondUrl);
  /// Does at that moment what is to be done, once.
  void Come(Moment moment) {
    if (moment == m_when && m_act) {
      std::exchange(m_act, nullptr)();
    }
  }

  Moment m_when{};
  Action m_act;
  // The action serves messages in the place of the system's boxes.
  const CImportSpy<&InternetErrorDlg> m_errorDialog{"wininet.dll", "InternetErrorDlg",
                                                    [this](auto...) {
                                                      Come(Moment::kUnderTheErrorDialog);
                                                      return DWORD{ERROR_SUCCESS};
                                                    }};
  const CImportSpy<&MessageBoxW> m_message{"user32.dll", "MessageBoxW", [this](auto... arguments) {
                                             Come(Moment::kUnderTheMessage);
                                             return m_message.CallOriginal(arguments...);
                                           }};
};

void ArchiveLifetimeFaults::Do(Act act, CControlObject& control, const std::wstring& secondUrl) {
  CComPtr<IOleObject> object;
  EXPECT_EQ(control->QueryInterface(IID_PPV_ARGS(&object)), S_OK);
  if (act == Act::kReleased) {
    control.Release();
  } else if (act == Act::kClosed) {
    EXPECT_EQ(object->Close(OLECLOSE_NOSAVE), S_OK);
  } else if (act == Act::kSiteTaken) {
    EXPECT_EQ(object->SetClientSite(nullptr), S_OK);
  } else if (act == Act::kSecondDownload) {
    EXPECT_EQ(control->DownloadFile(CComBSTR(secondUrl.c_str())), S_OK);
  } else if (act == Act::kLoopLeft) {
    PostQuitMessage(0);
  } else if (act == Act::kDialogDestroyed) {
    EXPECT_NE(DestroyWindow(FindWindowW(L"#32770", kCollectionTitle)), FALSE);
  }
}

void ArchiveLifetimeFaults::Run(Moment when, Act act) {
  const ScriptedPath path(m_server, Body(15000));
  const ScriptedPath second(m_server, Body(15000));
  CBrowserFrame frame;
  CControlObject control(m_sandbox);
  m_when = when;
  m_act = [&] { Do(act, control, TrustedUrl(second)); };
  if (when == Moment::kBeforeTheFirstTick) {
    frame.Begin(m_act);  // what is posted comes before any tick
  }
  CComObject<CQDCDownload>* const object = control.operator->();
  EXPECT_EQ(
      CallGuardedDialog([&] { return object->DownloadFile(CComBSTR(TrustedUrl(path).c_str())); }),
      S_OK);
  control.Release();

  MSG message = {};
  EXPECT_EQ(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) != FALSE,
            act == Act::kLoopLeft)
      << "the browser's own loop gets it";
  const bool ends = act == Act::kLoopLeft || act == Act::kDialogDestroyed;
  const size_t requests = act == Act::kSecondDownload                   ? 2
                          : ends && when == Moment::kBeforeTheFirstTick ? 0
                                                                        : 1;
  // Behind the error dialog, nobody is left to show one to.
  const bool isAlone = act == Act::kDialogDestroyed && when == Moment::kUnderTheErrorDialog;
  EXPECT_EQ(TakeMessages().size(), isAlone ? 0 : requests);
  EXPECT_EQ(path.Requests().size() + second.Requests().size(), requests);
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
}

TEST_F(ArchiveLifetimeFaults, PageMayDoAnythingMeanwhile) {
  for (const size_t cell : RunIndices(std::size(kMoments) * std::size(kActs))) {
    const size_t when = cell / std::size(kActs);
    const size_t act = cell % std::size(kActs);
    SCOPED_TRACE(std::string(kMoments[when]) + ": " + kActs[act]);
    Checks().Run([&] { Run(static_cast<Moment>(when), static_cast<Act>(act)); });
  }
}

}  // namespace
