// Each thread's exception state. The test programs are linked with the product's replacement of the
// runtime's functions.

#include <atlbase.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <list>
#include <new>
#include <stdexcept>
#include <vector>

#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/parallel.h"

namespace {

TEST(MingwExceptionGlobals, FirstExceptionOfAThreadAllocatesNothing) {
  bool isCaught = false;
  CParallel([&] {
    const CImportPatch memory("msvcrt.dll", "malloc", +[](size_t) -> void* { return nullptr; });
    try {
      throw std::bad_alloc();
    } catch (const std::bad_alloc&) {
      isCaught = true;
    }
  }).Join();
  EXPECT_TRUE(isCaught);
}

TEST(MingwExceptionGlobals, EachThreadHasItsOwnState) {
  try {
    throw std::runtime_error("outer");
  } catch (const std::runtime_error&) {
    CParallel([] { EXPECT_EQ(std::current_exception(), nullptr); }).Join();
    EXPECT_NE(std::current_exception(), nullptr);
  }
  EXPECT_EQ(std::current_exception(), nullptr);
}

constexpr int kMoreThanPlaces = 300;  // threads

/// Runs more threads than there are places, one after another. Each throws. Their handles stay
/// open, so each has an identifier of its own. Returns the threads.
std::vector<CHandle> RunThrowingThreads() {
  const auto throwOnce = [](void*) -> DWORD {
    SetLastError(ERROR_INVALID_DATA);
    try {
      throw std::bad_alloc();
    } catch (const std::bad_alloc&) {
      return GetLastError();
    }
  };
  std::vector<CHandle> ended(kMoreThanPlaces);
  for (CHandle& thread : ended) {
    thread.Attach(CreateThread(nullptr, 0, throwOnce, nullptr, 0, nullptr));
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    DWORD lastError = 0;
    GetExitCodeThread(thread, &lastError);
    EXPECT_EQ(lastError, DWORD{ERROR_INVALID_DATA});
  }
  return ended;
}

TEST(MingwExceptionGlobals, PlacesOfEndedThreadsAreUsedAgain) {
  RunThrowingThreads();
  RunThrowingThreads();  // now the identifiers in all places stand for no thread
}

TEST(MingwExceptionGlobals, PlaceOfANewThreadWithTheIdentifierOfAnEndedOneIsNotTaken) {
  const std::vector<CHandle> ended = RunThrowingThreads();
  const CHandle hasThrown(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  const CHandle mayGoOn(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  std::atomic<int> looks = 0;
  std::atomic<int> looksForHolder = 0;
  std::atomic<DWORD> holder = 0;
  // The thread with this identifier is missing at the first look, and there at the second.
  const CImportSpy<&OpenThread> open("kernel32.dll", "OpenThread",
                                     [&](DWORD access, BOOL inherits, DWORD thread) -> HANDLE {
                                       ++looks;
                                       if (thread == holder && ++looksForHolder == 1) {
                                         SetLastError(ERROR_INVALID_PARAMETER);
                                         return nullptr;
                                       }
                                       return open.CallOriginal(access, inherits, thread);
                                     });
  std::list<CParallel> threads;  // open until the end: each has an identifier of its own
  // A thread whose identifier has a place from before looks for none: others follow it. The holder
  // takes the first place that can be had.
  while (holder == 0 && threads.size() < kMoreThanPlaces) {
    threads.emplace_back([&] {
      const int before = looks;
      try {
        throw std::runtime_error("held");
      } catch (const std::runtime_error&) {
        const bool hasLooked = looks != before;
        holder = hasLooked ? GetCurrentThreadId() : 0;
        SetEvent(hasThrown);
        WaitForSingleObject(mayGoOn, hasLooked ? INFINITE : 0);
        EXPECT_NE(std::current_exception(), nullptr);
      }
    });
    WaitForSingleObject(hasThrown, INFINITE);
  }
  while (looksForHolder == 0 && threads.size() < 2 * kMoreThanPlaces) {
    threads.emplace_back([&] {
      try {
        throw std::runtime_error("other");
      } catch (const std::runtime_error&) {
        SetEvent(hasThrown);
      }
    });
    WaitForSingleObject(hasThrown, INFINITE);
  }
  EXPECT_EQ(looksForHolder, 2);
  SetEvent(mayGoOn);
}

}  // namespace
