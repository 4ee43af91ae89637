#include "tests/faults/lesson_faults.h"

#include <optional>

#include "tests/faults/quick_cut.h"
#include "tests/support/import_patch.h"

namespace {

/// While it lives, the pre-check's time limit is 300 ms.
class CShortTimeLimit {
 public:
  CShortTimeLimit() : m_patch("kernel32.dll", "SetWaitableTimer", &SetSoon) {
    s_set = m_patch.Original<decltype(SetWaitableTimer)>();
  }

 private:
  static BOOL WINAPI SetSoon(HANDLE timer, const LARGE_INTEGER*, LONG period,
                             PTIMERAPCROUTINE routine, LPVOID argument, BOOL resume) {
    LARGE_INTEGER soon = {};
    soon.QuadPart = -3000000;
    return s_set(timer, &soon, period, routine, argument, resume);
  }

  static inline decltype(&SetWaitableTimer) s_set;
  CImportPatch m_patch;
};

std::wstring NotALesson(const std::wstring& url) {
  return L"The file " + url +
         L" is not a valid Folivo file. Please ensure that the link to the Folivo file is valid.";
}

/// Whether the pre-check may have nothing to judge, and waits for its time limit.
bool MayBeEmpty(LessonEnd end) {
  return end == LessonEnd::kEmpty || end == LessonEnd::kTorn ||
         end == LessonEnd::kTornOrUnavailable;
}

}  // namespace

void LessonFaults::RunAll(const std::vector<CLessonFault>& all) {
  const std::vector<CLessonFault> faults = QuickCut(all);
  for (const CLessonFault& fault : faults) {
    SCOPED_TRACE(fault.name + ", pre-check");
    m_checks.Run([&] {
      const ScriptedPath path(m_server, fault.script);
      RunPeeked(path.Url(L"a.qdk"), fault);
    });
  }
  for (const CLessonFault& fault : faults) {
    SCOPED_TRACE(fault.name + ", dialog alone");
    m_checks.Run([&] {
      const ScriptedPath path(m_server, fault.script);
      RunDirect(path.Url(L"a.qdk"), fault);
    });
  }
}

void LessonFaults::RunAddress(const std::wstring& url, const CLessonFault& fault) {
  SCOPED_TRACE(fault.name);
  m_checks.Run([&] { RunPeeked(url, fault); });
  m_checks.Run([&] { RunDirect(url, fault); });
}

void LessonFaults::RunPeeked(const std::wstring& url, const CLessonFault& fault) {
  CProgressDialog::Ptr dialog = Make(url);
  std::optional<CShortTimeLimit> limit;
  if (MayBeEmpty(fault.end)) {
    limit.emplace();
  }
  const bool valid = dialog->PeekContent(fault.extension.c_str());
  if (valid) {
    EXPECT_TRUE(fault.end == LessonEnd::kDelivered || fault.end == LessonEnd::kTorn ||
                fault.end == LessonEnd::kTornOrUnavailable);
    const INT_PTR result = CallGuardedDialog([&] { return dialog->DoModal(nullptr); });
    dialog.reset();
    ExpectEnd(url, fault, result);
    return;
  }
  dialog.reset();
  EXPECT_NE(fault.end, LessonEnd::kDelivered);
  const std::vector<std::wstring> messages = m_messages.TakeTexts();
  if (!messages.empty() || fault.end == LessonEnd::kUnavailable) {
    EXPECT_TRUE(fault.end == LessonEnd::kUnavailable || fault.end == LessonEnd::kTornOrUnavailable);
    EXPECT_EQ(messages, std::vector{NotAvailable(url)});
  }
  EXPECT_TRUE(m_sandbox.Files().empty());
  EXPECT_TRUE(TakePostedResults().empty());
}

void LessonFaults::RunDirect(const std::wstring& url, const CLessonFault& fault) {
  CProgressDialog::Ptr dialog = Make(url);
  CProgressDialogPeer{*dialog}.SetExtension(fault.extension.c_str());
  const INT_PTR result = CallGuardedDialog([&] { return dialog->DoModal(nullptr); });
  dialog.reset();
  ExpectEnd(url, fault, result);
}

void LessonFaults::ExpectEnd(const std::wstring& url, const CLessonFault& fault, INT_PTR result) {
  const std::vector<std::wstring> messages = m_messages.TakeTexts();
  switch (fault.end) {
    case LessonEnd::kDelivered:
    case LessonEnd::kEmpty:
      EXPECT_EQ(result, 1);
      EXPECT_EQ(messages, std::vector<std::wstring>());
      ExpectDelivered(fault.bytes);
      break;
    case LessonEnd::kTorn:
      EXPECT_EQ(result, 1);
      EXPECT_EQ(messages, std::vector<std::wstring>());
      ExpectDelivered(fault.bytes.substr(0, ReadFileBytes(DestPath()).size()));
      break;
    case LessonEnd::kUnavailable:
      EXPECT_EQ(result, 3);
      EXPECT_EQ(messages, std::vector{NotAvailable(url)});
      break;
    case LessonEnd::kNotALesson:
      EXPECT_EQ(result, 3);
      EXPECT_EQ(messages, std::vector{NotALesson(url)});
      break;
    case LessonEnd::kTornOrUnavailable:
      if (result == 1) {
        EXPECT_EQ(messages, std::vector<std::wstring>());
        ExpectDelivered(fault.bytes.substr(0, ReadFileBytes(DestPath()).size()));
      } else {
        EXPECT_EQ(result, 3);
        EXPECT_EQ(messages, std::vector{NotAvailable(url)});
      }
      break;
  }
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
}

void LessonFaults::ExpectDelivered(const std::string& bytes) const {
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"Lesson.qdk"});
  const std::string delivered = ReadFileBytes(DestPath());
  EXPECT_EQ(delivered.size(), bytes.size());
  EXPECT_TRUE(delivered == bytes) << "other bytes";
  DeleteFileW(DestPath().c_str());
}
