// The same sources built for the SE edition: where the product says its name,
// and where it does not.

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

class SeEdition : public DownloadTest {};

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
  const struct {
    LPCWSTR application;
    LPCWSTR folder;
  } cases[] = {{L"MERLO Folivo", L"MERLO Folivo SE"},
               {L"merlo FOLIVO", L"MERLO Folivo SE"},
               {L"Other", L"Other"},
               {L"MERLO Folivo 2", L"MERLO Folivo 2"}};
  for (const auto& c : cases) {
    EXPECT_EQ(GetAppTempFilesFolder(c.application).GetText().GetString(),
              m_sandbox / (L"MERLO Technologies\\" + std::wstring(c.folder) + L"\\TempFiles"));
  }
}

TEST_F(SeEdition, QuestionBoxNamesItForTheExactTitleOnly) {
  const struct {
    LPCWSTR given;
    LPCWSTR shown;
  } cases[] = {{L"MERLO Folivo", L"MERLO Folivo SE"},
               {L"merlo folivo", L"merlo folivo"},
               {L"MERLO Folivo ", L"MERLO Folivo "}};
  for (const auto& c : cases) {
    CQuestion question;
    question.title = c.given;
    const CParallel user([&] { PostMessageW(WaitForDialog(c.shown), WM_COMMAND, IDCANCEL, 0); });
    Show(question);
  }
}

TEST_F(SeEdition, FailureMessagesKeepTheirCaption) {
  const ScriptedPath path(m_server, HttpAnswer().Status(404));
  const std::wstring url = path.Url(L"a.qdk");
  const auto dialog = Make(url);
  const CParallel user([&] { EXPECT_EQ(DismissMessage(L"MERLO Folivo"), NotAvailable(url)); });
  EXPECT_EQ(dialog->DoModal(nullptr), 3);
}

}  // namespace
