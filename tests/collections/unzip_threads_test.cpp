// Two browser windows, whose threads use the library at the same time, and one that uses it twice.
#include <gmock/gmock.h>
#include <windows.h>

#include <atlbase.h>

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/doubles/unzip/unzip_double.h"
#include "tests/support/import_spy.h"
#include "tests/support/parallel.h"
#include "tests/unzip/unzip_test.h"

namespace {

using Names = std::vector<std::wstring>;

constexpr DWORD kLongEnoughMs = 100;
constexpr int kFailure = 9;  // the library then stays loaded

class UnzipThreads : public testing::Test {
 protected:
  /// Has a listing and an extraction do this inside the library.
  void WhileInUse(const std::function<int(USERFUNCTIONS& functions)>& use) {
    m_unzip->list = [use](DCL&, USERFUNCTIONS& functions) { return use(functions); };
    m_unzip->unzip = [use](LPCSTR, LPCSTR, USERFUNCTIONS& functions, UzpBuffer& buffer) {
      static char bytes[] = "bytes";
      buffer = {5, bytes};
      return use(functions);
    };
  }

  CUnzipDouble m_unzip;
  CStdoutCapture m_output;
};

// The first use waits, inside the library and at its release, for the second one, which must not
// come.
TEST_F(UnzipThreads, OneWaitsForTheOthersRelease) {
  const DWORD firstThread = GetCurrentThreadId();
  const CHandle firstIsInside(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  const CHandle secondComes(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  std::atomic<bool> isInUse = false;
  int firstResult = 0;
  const auto isFirst = [&] { return GetCurrentThreadId() == firstThread; };
  WhileInUse([&](USERFUNCTIONS& functions) {
    if (!isFirst()) {
      return 0;
    }
    isInUse = true;
    SetEvent(firstIsInside);
    WaitForSingleObject(secondComes, INFINITE);
    Sleep(kLongEnoughMs);
    Tell(functions.SendApplicationMessage, "first");
    isInUse = firstResult != kFailure;
    return firstResult;
  });
  const CImportSpy<&SearchPathW> search("kernel32.dll", "SearchPathW", [&](auto... arguments) {
    EXPECT_TRUE(isFirst() || !isInUse) << "the library is still used";
    return search.CallOriginal(arguments...);
  });
  const CImportSpy<&FreeLibrary> release("kernel32.dll", "FreeLibrary", [&](HMODULE library) {
    if (isFirst()) {
      Sleep(kLongEnoughMs);
      isInUse = false;
    }
    return release.CallOriginal(library);
  });
  const auto use = [&](bool isListing) {
    const bool fails = isFirst() && firstResult == kFailure;
    if (isListing) {
      const Names names = isFirst() ? Names{L"first"} : Names();
      EXPECT_EQ(List(L"a.zip"), fails ? std::nullopt : std::optional(names));
    } else {
      EXPECT_EQ(Unzip(L"a.zip", L"a.txt").value_or(""), fails ? "" : "bytes");
    }
  };
  for (const bool isFirstListing : {true, false}) {
    for (const bool isSecondListing : {true, false}) {
      for (const int result : {0, kFailure}) {
        firstResult = result;
        const CParallel other([&] {
          WaitForSingleObject(firstIsInside, INFINITE);
          SetEvent(secondComes);
          use(isSecondListing);
        });
        use(isFirstListing);
      }
    }
  }
}

// As with a library that serves messages: another call comes while it is at work.
TEST_F(UnzipThreads, UseInsideAnotherOfTheThreadFails) {
  WhileInUse([](USERFUNCTIONS& functions) {
    EXPECT_EQ(List(L"b.zip"), std::nullopt);
    EXPECT_EQ(Unzip(L"b.zip", L"b.txt"), std::nullopt);
    Tell(functions.SendApplicationMessage, "outer");
    return 0;
  });
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(List(L"a.zip"), Names{L"outer"});
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), "bytes");
  }
  CParallel([] { EXPECT_EQ(List(L"a.zip"), Names{L"outer"}); }).Join();
  EXPECT_TRUE(m_unzip.Release());
}

}  // namespace
