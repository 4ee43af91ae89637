#include "tests/ui/question_box_user.h"

#include "tests/support/parallel.h"
#include "tests/support/user.h"
#include "ui/question_box.h"

int Show(const CQuestion& question) {
  return ShowCustomMessageBox(question.owner, question.title, question.text, question.iconId,
                              question.labels[0], question.labels[1], question.labels[2],
                              question.labels[3], question.checkLabel, question.checkState);
}

int ShowTo(const CQuestion& question, const std::function<void(HWND box)>& user) {
  const std::wstring title = question.title != nullptr ? question.title : L"";
  const CParallel thread([&] {
    const HWND box = WaitForDialog(title);
    if (box != nullptr) {
      user(box);
      PostMessageW(box, WM_COMMAND, IDCANCEL, 0);
    }
  });
  return Show(question);
}
