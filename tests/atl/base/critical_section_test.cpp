#include <gtest/gtest.h>

#include <atlcore.h>
#include <atlhandle.h>

using namespace ATL;

namespace {

/// Whether another thread can enter the section at once.
bool IsFree(CComCriticalSection& section) {
  CHandle thread(::CreateThread(
      nullptr, 0,
      [](void* context) -> DWORD {
        CRITICAL_SECTION& native = static_cast<CComCriticalSection*>(context)->m_sec;
        if (!::TryEnterCriticalSection(&native)) {
          return FALSE;
        }
        ::LeaveCriticalSection(&native);
        return TRUE;
      },
      &section, 0, nullptr));
  EXPECT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(thread, INFINITE));
  DWORD code = FALSE;
  EXPECT_TRUE(::GetExitCodeThread(thread, &code));
  return code != FALSE;
}

TEST(CriticalSection, LockExcludesOtherThreads) {
  CComAutoCriticalSection section;
  EXPECT_TRUE(IsFree(section));
  EXPECT_EQ(S_OK, section.Lock());
  EXPECT_FALSE(IsFree(section));
  EXPECT_EQ(S_OK, section.Unlock());
  EXPECT_TRUE(IsFree(section));
}

TEST(CritSecLock, HoldsTheLockForItsScope) {
  CComAutoCriticalSection section;
  {
    const CComCritSecLock<CComCriticalSection> lock(section);
    EXPECT_FALSE(IsFree(section));
  }
  EXPECT_TRUE(IsFree(section));
}

TEST(CritSecLock, FailureToLockThrows) {
  struct CBroken {
    HRESULT Lock() { return E_OUTOFMEMORY; }
    void Unlock() { ADD_FAILURE() << "was never locked"; }
  } broken;
  EXPECT_THROW(CComCritSecLock<CBroken>{broken}, CAtlException);
}

}  // namespace
