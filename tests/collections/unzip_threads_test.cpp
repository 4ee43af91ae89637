// Two browser windows, whose threads use the library at the same time, and one that uses it twice.
#include <gmock/gmock.h>
#include <windows.h>

#include <atlbase.h>

#include <atomic>
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

void Report(USERFUNCTIONS* functions, const char* name) {
  functions->SendApplicationMessage(1, 1, 0, 1, 2, 3, 4, 5, ' ', const_cast<char*>(name), nullptr,
                                    0, ' ');
}

/// Two uses of the library: the first one waits, inside the library and at its release, for the
/// second one, which must not come. One at a time.
class CMeeting {
 public:
  explicit CMeeting(int firstResult) : m_firstResult(firstResult) {
    s_meeting = this;
    m_unzip->list = [](int, char**, int, char**, DCL*, USERFUNCTIONS* functions) {
      return s_meeting->Meet(functions);
    };
    m_unzip->unzip = [](LPSTR, LPSTR, USERFUNCTIONS* functions, UzpBuffer* buffer) {
      static char bytes[] = "bytes";
      *buffer = {5, bytes};
      return s_meeting->Meet(functions);
    };
  }

  /// Each use is a listing or an extraction.
  void Run(bool isFirstListing, bool isSecondListing) {
    const CParallel other([&] {
      WaitForSingleObject(m_isFirstInside, INFINITE);
      SetEvent(m_isSecondComing);
      Use(isSecondListing);
    });
    Use(isFirstListing);
  }

 private:
  bool IsFirst() const { return GetCurrentThreadId() == m_firstThread; }
  bool Fails() const { return IsFirst() && m_firstResult == kFailure; }

  void Use(bool isListing) const {
    if (isListing) {
      const Names expected = IsFirst() ? Names{L"first"} : Names();
      EXPECT_EQ(List(L"a.zip"), Fails() ? std::nullopt : std::optional(expected));
    } else {
      EXPECT_EQ(Unzip(L"a.zip", L"a.txt").value_or(""), Fails() ? "" : "bytes");
    }
  }

  /// Inside the library. Returns its result.
  int Meet(USERFUNCTIONS* functions) {
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

  static inline CMeeting* s_meeting = nullptr;

  const DWORD m_firstThread = GetCurrentThreadId();
  const int m_firstResult;
  const CHandle m_isFirstInside{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  const CHandle m_isSecondComing{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  const CHandle m_isSecondInside{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  std::atomic<bool> m_hasFirstLeft = false;

  CUnzipDouble m_unzip;
  const CImportSpy<&SearchPathW> m_search{"kernel32.dll", "SearchPathW", [this](auto... arguments) {
                                            if (!IsFirst()) {
                                              EXPECT_TRUE(m_hasFirstLeft)
                                                  << "the library is still used";
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

TEST(UnzipThreads, OneWaitsForTheOthersRelease) {
  CStdoutCapture output;
  for (const bool isFirstListing : {true, false}) {
    for (const bool isSecondListing : {true, false}) {
      for (const int firstResult : {0, kFailure}) {
        CMeeting(firstResult).Run(isFirstListing, isSecondListing);
      }
    }
  }
}

/// As a library does that serves messages: another call comes while it is at work.
int UseAgain(USERFUNCTIONS* functions) {
  EXPECT_EQ(List(L"b.zip"), std::nullopt);
  EXPECT_EQ(Unzip(L"b.zip", L"b.txt"), std::nullopt);
  Report(functions, "outer");
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
