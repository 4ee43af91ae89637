// Each thread's exception state. The test programs are linked with the product's replacement of the
// runtime's functions.

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

TEST(MingwExceptionGlobals, PlacesOfEndedThreadsAreUsedAgain) {
  const auto throwOnce = [](void*) -> DWORD {
    SetLastError(ERROR_INVALID_DATA);
    try {
      throw std::bad_alloc();
    } catch (const std::bad_alloc&) {
      return GetLastError();
    }
  };
  // Each has more threads than there are places; their handles stay open, so each thread has an
  // identifier of its own. For the second, those of the first stand for no thread.
  for ([[maybe_unused]] const int round : {1, 2}) {
    std::vector<CHandle> ended(300);
    for (CHandle& thread : ended) {
      thread.Attach(CreateThread(nullptr, 0, throwOnce, nullptr, 0, nullptr));
      ASSERT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
      DWORD lastError = 0;
      GetExitCodeThread(thread, &lastError);
      ASSERT_EQ(lastError, DWORD{ERROR_INVALID_DATA});
    }
  }
}

}  // namespace
