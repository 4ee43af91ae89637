// What each thread has for its exceptions: tests are linked with what the product has.

#include <atlbase.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <exception>
#include <new>
#include <stdexcept>
#include <vector>

#include "tests/support/import_patch.h"
#include "tests/support/parallel.h"

namespace {

TEST(MingwExceptionGlobals, FirstExceptionOfAThreadNeedsNoMemory) {
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

TEST(MingwExceptionGlobals, ThreadHasItsOwn) {
  try {
    throw std::runtime_error("outer");
  } catch (const std::runtime_error&) {
    CParallel([] { EXPECT_EQ(std::current_exception(), nullptr); }).Join();
    EXPECT_NE(std::current_exception(), nullptr);
  }
  EXPECT_EQ(std::current_exception(), nullptr);
}

TEST(MingwExceptionGlobals, PlacesOfEndedThreadsAreUsedAgain) {
  // More threads than there are places; their handles stay open, so each has an identifier of its
  // own.
  std::vector<CHandle> ended(600);
  for (CHandle& thread : ended) {
    thread.Attach(CreateThread(
        nullptr, 0,
        [](void*) -> DWORD {
          SetLastError(ERROR_INVALID_DATA);
          try {
            throw std::bad_alloc();
          } catch (const std::bad_alloc&) {
            return GetLastError();
          }
        },
        nullptr, 0, nullptr));
    ASSERT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    DWORD lastError = 0;
    GetExitCodeThread(thread, &lastError);
    ASSERT_EQ(lastError, DWORD{ERROR_INVALID_DATA});
  }
}

}  // namespace
