#pragma once

// GoogleTest's own Notification stands on std::mutex, which the win32 thread model lacks. This one
// takes its place (GTEST_HAS_NOTIFICATION_=1) and is included before every file that uses
// GoogleTest; so it must not bring <windows.h> with it.

#ifdef __cplusplus
namespace testing::internal {

// A gate that opens once. One thread calls Notify, any number wait; made and destroyed by the
// notifying thread.
class Notification {
 public:
  Notification();
  Notification(const Notification&) = delete;
  Notification& operator=(const Notification&) = delete;
  ~Notification();

  void Notify();
  void WaitForNotification();

 private:
  void* m_event;  // HANDLE of a manual-reset event, owned
};

}  // namespace testing::internal
#endif
