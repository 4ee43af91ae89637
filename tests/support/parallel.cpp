#include "tests/support/parallel.h"

#include <gtest/gtest.h>
#include <process.h>

#include <cstdio>
#include <utility>

namespace {

constexpr DWORD kJoinLimitMs = 300000;
constexpr UINT kHungThreadExitCode = 98;

}  // namespace

CParallel::CParallel(std::function<void()> work)
    : m_work(std::move(work)),
      m_thread(reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, &Run, this, 0, nullptr))) {
  EXPECT_NE(m_thread, nullptr);
}

CParallel::~CParallel() { Join(); }

void CParallel::Join() {
  if (m_thread == nullptr) {
    return;
  }
  if (WaitForSingleObject(m_thread, kJoinLimitMs) != WAIT_OBJECT_0) {
    std::fputs("A test's thread hangs; giving up.\n", stderr);
    TerminateProcess(GetCurrentProcess(), kHungThreadExitCode);
  }
  CloseHandle(std::exchange(m_thread, nullptr));
}

unsigned __stdcall CParallel::Run(void* self) {
  static_cast<CParallel*>(self)->m_work();
  return 0;
}
