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

void Report(USERFUNCTIONS& functions, std::string name) {
  functions.SendApplicationMessage(1, 1, 0, 1, 2, 3, 4, 5, ' ', name.data(), nullptr, 0, ' ');
}

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

/// Two uses of the library: the first one waits, inside the library and at its release, for the
/// second one, which must not come.
class UnzipThreadsMeeting : public UnzipThreads {
 protected:
  /// Each use is a listing or an extraction.
  void Run(bool isFirstListing, bool isSecondListing, int firstResult) {
    m_firstResult = firstResult;
    m_hasFirstLeft = false;
    WhileInUse([this](USERFUNCTIONS& functions) { return Meet(functions); });
    const CParallel other([&] {
      WaitForSingleObject(m_isFirstInside, INFINITE);
      SetEvent(m_isSecondComing);
      Use(isSecondListing);
    });
    Use(isFirstListing);
  }

 private:
  bool IsFirst() const { return GetCurrentThreadId() == m_firstThread; }

  void Use(bool isListing) const {
    const bool fails = IsFirst() && m_firstResult == kFailure;
    if (isListing) {
      const Names expected = IsFirst() ? Names{L"first"} : Names();
      EXPECT_EQ(List(L"a.zip"), fails ? std::nullopt : std::optional(expected));
    } else {
      EXPECT_EQ(Unzip(L"a.zip", L"a.txt").value_or(""), fails ? "" : "bytes");
    }
  }

  /// Inside the library. Returns its result.
  int Meet(USERFUNCTIONS& functions) {
    if (!IsFirst()) {
      return 0;
    }
    SetEvent(m_isFirstInside);
    WaitForSingleObject(m_isSecondComing, INFINITE);
    ExpectSecondOutside();
    Report(functions, "first");
    m_hasFirstLeft = m_firstResult == kFailure;
    return m_firstResult;
  }

  void ExpectSecondOutside() const {
    EXPECT_EQ(WaitForSingleObject(m_isSecondInside, kLongEnoughMs), DWORD{WAIT_TIMEOUT});
  }

  const DWORD m_firstThread = GetCurrentThreadId();
  int m_firstResult = 0;
  std::atomic<bool> m_hasFirstLeft = false;
  const CHandle m_isFirstInside{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  const CHandle m_isSecondComing{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  const CHandle m_isSecondInside{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  const CImportSpy<&SearchPathW> m_search{"kernel32.dll", "SearchPathW", [this](auto... arguments) {
                                            if (!IsFirst() && !m_hasFirstLeft) {
                                              ADD_FAILURE() << "the library is still used";
                                              SetEvent(m_isSecondInside);
                                            }
                                            return m_search.CallOriginal(arguments...);
                                          }};
  const CImportSpy<&FreeLibrary> m_release{"kernel32.dll", "FreeLibrary", [this](HMODULE library) {
                                             if (IsFirst()) {
                                               ExpectSecondOutside();
                                               m_hasFirstLeft = true;
                                             }
                                             return m_release.CallOriginal(library);
                                           }};
};

TEST_F(UnzipThreadsMeeting, OneWaitsForTheOthersRelease) {
  for (const bool isFirstListing : {true, false}) {
    for (const bool isSecondListing : {true, false}) {
      for (const int firstResult : {0, kFailure}) {
        Run(isFirstListing, isSecondListing, firstResult);
      }
    }
  }
}

// As with a library that serves messages: another call comes while it is at work.
TEST_F(UnzipThreads, UseInsideAnotherOfTheThreadFails) {
  WhileInUse([](USERFUNCTIONS& functions) {
    EXPECT_EQ(List(L"b.zip"), std::nullopt);
    EXPECT_EQ(Unzip(L"b.zip", L"b.txt"), std::nullopt);
    Report(functions, "outer");
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
