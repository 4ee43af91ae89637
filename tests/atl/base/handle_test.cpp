#include <gtest/gtest.h>

#include <atlhandle.h>

using namespace ATL;

namespace {

HANDLE NewEvent() { return ::CreateEventW(nullptr, TRUE, FALSE, nullptr); }
bool IsOpen(HANDLE h) {
  DWORD flags = 0;
  return ::GetHandleInformation(h, &flags) != FALSE;
}

TEST(Handle, ClosesWhatIsNotDetached) {
  const HANDLE raw = NewEvent();
  {
    CHandle owner;
    owner.Attach(raw);
    EXPECT_EQ(raw, owner.Detach());
  }
  EXPECT_TRUE(IsOpen(raw));
  {
    const CHandle owner(raw);
  }
  EXPECT_FALSE(IsOpen(raw));
}

TEST(Handle, CloseKeepsTheLastError) {
  CHandle owner(NewEvent());
  ::CloseHandle(owner);  // so that the owner's own attempt fails and sets an error
  ::SetLastError(ERROR_DISK_FULL);
  owner.Close();
  owner.Close();
  EXPECT_EQ(static_cast<DWORD>(ERROR_DISK_FULL), ::GetLastError());
}

}  // namespace
