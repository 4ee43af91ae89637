// Two browser windows, whose threads use the library at the same time.
#include <gmock/gmock.h>
#include <windows.h>

#include <atomic>
#include <string>
#include <vector>

#include "tests/doubles/unzip/unzip_double.h"
#include "tests/support/import_patch.h"
#include "tests/support/parallel.h"
#include "tests/unzip/unzip_test.h"

namespace {

constexpr DWORD kLongEnoughMs = 200;

/// The first use waits inside the library for the second one, which must not come.
struct CMeeting {
  DWORD firstThread = 0;
  HANDLE isFirstInside = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  HANDLE isSecondInside = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::atomic<bool> hasFirstLeft = false;
  decltype(&SearchPathW) search = nullptr;
  decltype(&FreeLibrary) release = nullptr;
};
CMeeting* g_meeting;

bool IsFirst() { return GetCurrentThreadId() == g_meeting->firstThread; }

DWORD WINAPI NoteSearch(LPCWSTR path, LPCWSTR name, LPCWSTR extension, DWORD size, LPWSTR buffer,
                        LPWSTR* part) {
  if (!IsFirst()) {
    EXPECT_TRUE(g_meeting->hasFirstLeft) << "the library is still used";
    SetEvent(g_meeting->isSecondInside);
  }
  return g_meeting->search(path, name, extension, size, buffer, part);
}

BOOL WINAPI NoteRelease(HMODULE library) {
  g_meeting->hasFirstLeft = true;
  return g_meeting->release(library);
}

/// Inside the library.
void Meet(UnzipMessageFn message) {
  if (!IsFirst()) {
    return;
  }
  SetEvent(g_meeting->isFirstInside);
  EXPECT_EQ(WaitForSingleObject(g_meeting->isSecondInside, kLongEnoughMs), DWORD{WAIT_TIMEOUT});
  char name[] = "first";
  message(1, 1, 0, 1, 2, 3, 4, 5, ' ', name, nullptr, 0, ' ');
}

int WINAPI MeetInList(int, char**, int, char**, DCL*, USERFUNCTIONS* functions) {
  Meet(functions->SendApplicationMessage);
  return 0;
}
int WINAPI MeetInUnzip(LPSTR, LPSTR, USERFUNCTIONS* functions, UzpBuffer* buffer) {
  static char bytes[] = "bytes";
  Meet(functions->SendApplicationMessage);
  *buffer = {5, bytes};
  return 0;
}

void ListOnce() {
  const auto names = List(L"a.zip");
  EXPECT_EQ(names, IsFirst() ? std::vector<std::wstring>{L"first"} : std::vector<std::wstring>{});
}
void UnzipOnce() { EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), "bytes"); }

TEST(UnzipThreads, OneWaitsForTheOthersRelease) {
  CUnzipDouble unzip;
  unzip->list = MeetInList;
  unzip->unzip = MeetInUnzip;
  CStdoutCapture output;
  const auto uses = {&ListOnce, &UnzipOnce};
  for (const auto first : uses) {
    for (const auto second : uses) {
      CMeeting meeting;
      meeting.firstThread = GetCurrentThreadId();
      g_meeting = &meeting;
      const CImportPatch search("kernel32.dll", "SearchPathW", NoteSearch);
      meeting.search = search.Original<std::remove_pointer_t<decltype(&SearchPathW)>>();
      const CImportPatch release("kernel32.dll", "FreeLibrary", NoteRelease);
      meeting.release = release.Original<std::remove_pointer_t<decltype(&FreeLibrary)>>();
      CParallel other([&] {
        WaitForSingleObject(meeting.isFirstInside, INFINITE);
        second();
      });
      first();
      other.Join();
      CloseHandle(meeting.isFirstInside);
      CloseHandle(meeting.isSecondInside);
    }
  }
}

}  // namespace
