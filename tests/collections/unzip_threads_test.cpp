// Two browser windows, whose threads use the library at the same time, and one that uses it twice.
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

constexpr DWORD kLongEnoughMs = 100;
constexpr int kFailure = 9;  // the library then stays loaded

/// The first use waits, inside the library and at its release, for the second one, which must not
/// come.
struct CMeeting {
  DWORD firstThread = 0;
  int firstResult = 0;
  HANDLE isFirstInside = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  HANDLE isSecondComing = CreateEventW(nullptr, TRUE, FALSE, nullptr);
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

void ExpectSecondOutside() {
  EXPECT_EQ(WaitForSingleObject(g_meeting->isSecondInside, kLongEnoughMs), DWORD{WAIT_TIMEOUT});
}

BOOL WINAPI NoteRelease(HMODULE library) {
  if (IsFirst()) {
    ExpectSecondOutside();
    g_meeting->hasFirstLeft = true;
  }
  return g_meeting->release(library);
}

/// Inside the library. Gives its result.
int Meet(UnzipMessageFn message) {
  if (!IsFirst()) {
    return 0;
  }
  SetEvent(g_meeting->isFirstInside);
  WaitForSingleObject(g_meeting->isSecondComing, INFINITE);
  ExpectSecondOutside();
  char name[] = "first";
  message(1, 1, 0, 1, 2, 3, 4, 5, ' ', name, nullptr, 0, ' ');
  g_meeting->hasFirstLeft = g_meeting->firstResult == kFailure;
  return g_meeting->firstResult;
}

int WINAPI MeetInList(int, char**, int, char**, DCL*, USERFUNCTIONS* functions) {
  return Meet(functions->SendApplicationMessage);
}
int WINAPI MeetInUnzip(LPSTR, LPSTR, USERFUNCTIONS* functions, UzpBuffer* buffer) {
  static char bytes[] = "bytes";
  *buffer = {5, bytes};
  return Meet(functions->SendApplicationMessage);
}

using Names = std::vector<std::wstring>;

bool Fails() { return IsFirst() && g_meeting->firstResult == kFailure; }

void ListOnce() {
  const auto names = List(L"a.zip");
  EXPECT_EQ(names.has_value(), !Fails());
  EXPECT_EQ(names.value_or(Names()), IsFirst() && !Fails() ? Names{L"first"} : Names());
}
void UnzipOnce() {
  const auto bytes = Unzip(L"a.zip", L"a.txt");
  EXPECT_EQ(bytes.has_value(), !Fails());
  EXPECT_EQ(bytes.value_or("bytes"), "bytes");
}

void UseTogether(void (*first)(), void (*second)(), int firstResult) {
  CMeeting meeting;
  meeting.firstThread = GetCurrentThreadId();
  meeting.firstResult = firstResult;
  g_meeting = &meeting;
  const CImportPatch search("kernel32.dll", "SearchPathW", NoteSearch);
  meeting.search = search.Original<std::remove_pointer_t<decltype(&SearchPathW)>>();
  const CImportPatch release("kernel32.dll", "FreeLibrary", NoteRelease);
  meeting.release = release.Original<std::remove_pointer_t<decltype(&FreeLibrary)>>();
  CParallel other([&] {
    WaitForSingleObject(meeting.isFirstInside, INFINITE);
    SetEvent(meeting.isSecondComing);
    second();
  });
  first();
  other.Join();
  CloseHandle(meeting.isFirstInside);
  CloseHandle(meeting.isSecondComing);
  CloseHandle(meeting.isSecondInside);
}

TEST(UnzipThreads, OneWaitsForTheOthersRelease) {
  CUnzipDouble unzip;
  unzip->list = MeetInList;
  unzip->unzip = MeetInUnzip;
  CStdoutCapture output;
  const auto uses = {&ListOnce, &UnzipOnce};
  for (const auto first : uses) {
    for (const auto second : uses) {
      for (const int firstResult : {0, kFailure}) {
        UseTogether(first, second, firstResult);
      }
    }
  }
}

/// As a library does that serves messages: another call comes while it is at work.
int UseAgain(USERFUNCTIONS* functions) {
  EXPECT_EQ(List(L"b.zip"), std::nullopt);
  EXPECT_EQ(Unzip(L"b.zip", L"b.txt"), std::nullopt);
  char name[] = "outer";
  functions->SendApplicationMessage(1, 1, 0, 1, 2, 3, 4, 5, ' ', name, nullptr, 0, ' ');
  return 0;
}

TEST(UnzipThreads, UseInsideAnotherOfTheThreadFails) {
  CUnzipDouble unzip;
  CStdoutCapture output;
  unzip->list = [](int, char**, int, char**, DCL*, USERFUNCTIONS* functions) {
    return UseAgain(functions);
  };
  unzip->unzip = [](LPSTR, LPSTR, USERFUNCTIONS* functions, UzpBuffer* buffer) {
    static char bytes[] = "outer";
    *buffer = {5, bytes};
    return UseAgain(functions);
  };
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(List(L"a.zip"), Names{L"outer"});
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), "outer");
  }
  CParallel([] { EXPECT_EQ(List(L"a.zip"), Names{L"outer"}); }).Join();
  EXPECT_TRUE(unzip.Release());
}

}  // namespace
