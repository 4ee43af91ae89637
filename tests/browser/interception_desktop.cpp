#include "tests/browser/interception_desktop.h"

#include "download/temp_files.h"
#include "tests/browser/lesson_bytes.h"
#include "tests/browser/navigation_event.h"
#include "tests/support/http_pattern.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

constexpr uint64_t kSeed = 20;

}  // namespace

InterceptionDesktop::InterceptionDesktop() {
  m_browser.window = m_frame;
  m_helper->SetSite(&m_browser);
}

InterceptionDesktop::~InterceptionDesktop() { SetTempBaseFolder(CStringW()); }

bool InterceptionDesktop::Navigate(const std::wstring& url, const std::function<void()>& user) {
  // The object may be released under the call; the browser's pointer into it stays.
  auto* const sink = static_cast<IIEDownload*>(m_helper.operator->());
  CNavigationEvent event(url);
  {
    const CParallel thread(user);
    EXPECT_EQ(sink->Invoke(DISPID_BEFORENAVIGATE2, IID_NULL, LOCALE_SYSTEM_DEFAULT, DISPATCH_METHOD,
                           event.Params(), nullptr, nullptr, nullptr),
              S_OK);
  }
  EXPECT_TRUE(VisibleDialogs().empty());
  EXPECT_TRUE(event.FlagIntact());
  return event.Cancelled();
}

void InterceptionDesktop::AnswerPrompt(int button) { Click(WaitForDialog(kPromptTitle), button); }

HttpAnswer InterceptionDesktop::Lesson(size_t length) {
  return HttpAnswer().Bytes(kLessonHead).Pattern(kSeed, length);
}

std::string InterceptionDesktop::LessonBytes(size_t length) {
  return kLessonHead + PatternBytes(kSeed, 0, length);
}
