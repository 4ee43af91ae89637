#include "tests/support/lock_contest.h"

#include <gtest/gtest.h>

#include <bit>

#include "tests/support/parallel.h"

namespace {

constexpr int kThreads = 2;
constexpr DWORD kArrivalLimitMs = 30000;

// Called by its name, it would be the replacement, where this program's import is replaced.
const auto g_enterReally = std::bit_cast<decltype(&EnterCriticalSection)>(
    GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "EnterCriticalSection"));

}  // namespace

CLockContest* CLockContest::s_current = nullptr;

CLockContest::CLockContest(const CRITICAL_SECTION* section, HMODULE module)
    : m_section(section),
      m_bothAreHere(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_patch("kernel32.dll", "EnterCriticalSection", &Enter, module) {
  s_current = this;
}

CLockContest::~CLockContest() {
  s_current = nullptr;
  CloseHandle(m_bothAreHere);
}

void CLockContest::Run(const std::function<void()>& work) {
  const CParallel one(work);
  const CParallel two(work);
}

void CLockContest::BeInside() {
  if (s_current != nullptr) {
    s_current->Arrive(s_current->m_inside);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(s_current->m_bothAreHere, kArrivalLimitMs))
        << "the other thread has not come";
  }
}

void WINAPI CLockContest::Enter(CRITICAL_SECTION* section) {
  if (s_current != nullptr &&
      (s_current->m_section == nullptr || s_current->m_section == section)) {
    s_current->Arrive(s_current->m_atTheLock);
  }
  g_enterReally(section);
}

void CLockContest::Arrive(std::atomic<int>& arrivals) {
  if (++arrivals == kThreads) {
    SetEvent(m_bothAreHere);
  }
}
