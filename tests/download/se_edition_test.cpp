// The same sources built for the SE edition: where the product says its name, and where it does
// not.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "base/edition.h"
#include "download/temp_files.h"
#include "tests/download/download_test.h"
#include "tests/support/parallel.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"
#include "tests/ui/question_box.h"

namespace {

static_assert(kSeEdition);

class SeEdition : public DownloadTest {
 protected:
  std::wstring AppFolder(LPCWSTR application) const {
    return GetAppTempFilesFolder(application).GetText().GetString();
  }
};

TEST_F(SeEdition, DownloadDialogNamesIt) {
  const ScriptedPath path(m_server, Lesson(1000).Gated());
  const auto dialog = Make(path.Url(L"a.qdk"));
  const CParallel user([&] {
    EXPECT_NE(WaitForDialog(L"MERLO Folivo SE File Download"), nullptr);
    path.AllowAll();
  });
  EXPECT_EQ(dialog->DoModal(nullptr), 1);
}

TEST_F(SeEdition, TemporaryFolderOfTheApplicationNamesIt) {
  const std::wstring expected = m_sandbox / L"MERLO Technologies\\MERLO Folivo SE\\TempFiles";
  EXPECT_EQ(AppFolder(L"MERLO Folivo"), expected);
  EXPECT_EQ(AppFolder(L"merlo FOLIVO"), expected);
  EXPECT_EQ(AppFolder(L"Other"), m_sandbox / L"MERLO Technologies\\Other\\TempFiles");
  EXPECT_EQ(AppFolder(L"MERLO Folivo 2"),
            m_sandbox / L"MERLO Technologies\\MERLO Folivo 2\\TempFiles");
}

TEST_F(SeEdition, QuestionBoxNamesItForTheExactTitleOnly) {
  const auto shown = [](LPCWSTR given, const std::wstring& expected) {
    CQuestion question;
    question.title = given;
    const CParallel user([&] {
      const HWND box = WaitForDialog(expected);
      PostMessageW(box, WM_COMMAND, IDCANCEL, 0);
    });
    Show(question);
  };
  shown(L"MERLO Folivo", L"MERLO Folivo SE");
  shown(L"merlo folivo", L"merlo folivo");
  shown(L"MERLO Folivo ", L"MERLO Folivo ");
  shown(L"File Download", L"File Download");
}

TEST_F(SeEdition, FailureMessagesKeepTheirCaption) {
  const ScriptedPath path(m_server, HttpAnswer().Status(404));
  const std::wstring url = path.Url(L"a.qdk");
  const auto dialog = Make(url);
  const CParallel user([&] { EXPECT_EQ(DismissMessage(L"MERLO Folivo"), NotAvailable(url)); });
  EXPECT_EQ(dialog->DoModal(nullptr), 3);
}

}  // namespace
