// The same sources built for the SE edition: where the product says its name, and where it does
// not.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "base/edition.h"
#include "download/temp_files.h"
#include "tests/download/download_fixture.h"
#include "tests/support/import_spy.h"
#include "tests/support/parallel.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"
#include "tests/ui/question_box_user.h"

namespace {

static_assert(kSeEdition);

class SeEdition : public DownloadFixture {};

TEST_F(SeEdition, DownloadDialogNamesItAndItsMessagesDoNot) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("no lesson"));
  const CImportSpy<&MessageBoxW> message(
      "user32.dll", "MessageBoxW", [&](HWND owner, LPCWSTR text, LPCWSTR caption, UINT) {
        EXPECT_EQ(TextOf(owner), L"MERLO Folivo SE File Download");
        EXPECT_EQ(text, NotAFolivoFile(path.Url(L"a.qdk")));
        EXPECT_STREQ(caption, kMessageTitle);
        EXPECT_EQ(m_sandbox.Files(), Files{L"temporary.qdk"}) << "deleted with the dialog";
        return IDOK;
      });
  EXPECT_EQ(Make(path.Url(L"a.qdk"))->DoModal(nullptr), 3);
  EXPECT_EQ(message.Calls().size(), 1u);
}

struct CName {
  LPCWSTR given;
  LPCWSTR shown;
};

TEST_F(SeEdition, TemporaryFolderOfTheApplicationNamesIt) {
  for (const auto& [given, shown] : {CName{L"MERLO Folivo", L"MERLO Folivo SE"},
                                     {L"merlo FOLIVO", L"MERLO Folivo SE"},
                                     {L"Other", L"Other"},
                                     {L"MERLO Folivo 2", L"MERLO Folivo 2"}}) {
    EXPECT_EQ(GetAppTempFilesFolder(given).GetText().GetString(),
              m_sandbox / (L"MERLO Technologies\\" + std::wstring(shown) + L"\\TempFiles"));
  }
}

TEST_F(SeEdition, QuestionBoxNamesItForTheExactTitleOnly) {
  for (const auto& [given, shown] : {CName{L"MERLO Folivo", L"MERLO Folivo SE"},
                                     {L"merlo folivo", L"merlo folivo"},
                                     {L"MERLO Folivo ", L"MERLO Folivo "}}) {
    CQuestion question;
    question.title = given;
    const CParallel user(
        [title = shown] { PostMessageW(WaitForDialog(title), WM_COMMAND, IDCANCEL, 0); });
    Show(question);
  }
}

}  // namespace
