// Finding, loading and binding the library; and the real one by way of the binding.
#include "collections/unzip_library.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <atlbase.h>

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "collections/unzip_callbacks.h"
#include "tests/collections/unzip_calls.h"
#include "tests/doubles/unzip/unzip_double.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/parallel.h"
#include "tests/support/temp_sandbox.h"

namespace {

using testing::Optional;

using Names = std::vector<std::wstring>;

TEST(UnzipLibrary, IsSearchedForAndLoadedByItsBareName) {
  const CUnzipDouble unzip;
  Names asked;
  const CImportSpy<&SearchPathW> search(
      "kernel32.dll", "SearchPathW",
      [&](LPCWSTR path, LPCWSTR name, LPCWSTR extension, DWORD size, LPWSTR, LPWSTR* part) {
        EXPECT_EQ(path, nullptr);
        EXPECT_EQ(extension, nullptr);
        EXPECT_EQ(part, nullptr);
        asked.push_back(std::wstring(name) + L" " + std::to_wstring(size));
        return DWORD{20};
      });
  const CImportSpy<&LoadLibraryW> load("kernel32.dll", "LoadLibraryW", [&](LPCWSTR name) {
    asked.emplace_back(name);
    return load.CallOriginal(name);
  });
  EXPECT_EQ(LoadUnzipLibrary(), GetModuleHandleW(L"UNZIP32.DLL"));
  EXPECT_EQ(asked, (Names{L"UNZIP32.DLL 260", L"UNZIP32.DLL"}));
}

TEST(UnzipLibrary, UnusableLibraryIsReportedAndNotLoaded) {
  const CTempSandbox folder;
  folder.Write(L"text\\UNZIP32.DLL", "a text file");
  const struct {
    std::wstring folder;
    std::string message;
  } cases[] = {
      {folder.Path(), "Couldn't find unzip DLL.\n"},
      {folder / L"text", "Couldn't load unzip DLL.\n"},
      {UnzipDoubleFolder(L"without_list"), "Couldn't get functions from unzip DLL.\n"},
      {UnzipDoubleFolder(L"without_unzip"), "Couldn't get functions from unzip DLL.\n"},
      {UnzipDoubleFolder(L"without_free"), "Couldn't get functions from unzip DLL.\n"},
  };
  for (const auto& c : cases) {
    const CUnzipSearchPath path(c.folder);
    CStdoutCapture output;
    EXPECT_EQ(LoadUnzipLibrary(), nullptr);
    EXPECT_EQ(List(Archive(L"stored")), std::nullopt);
    EXPECT_EQ(Unzip(Archive(L"stored"), L"a.txt"), std::nullopt);
    EXPECT_EQ(output.Take(), c.message + c.message + c.message);
    EXPECT_FALSE(IsUnzipLoaded());
  }
}

TEST(UnzipLibrary, FunctionsAreBoundAtEachLoad) {
  {
    CUnzipDouble unzip;
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt) << "the double's empty answer";
    EXPECT_EQ(List(Archive(L"stored")), Names{});
  }
  const CUnzipSearchPath path(RealUnzipFolder());
  EXPECT_EQ(Unzip(Archive(L"stored"), L"a.txt"), "stored text");
  EXPECT_EQ(List(Archive(L"stored")), (Names{L"a.txt", L"folder/b.bin"}));
}

TEST(UnzipLibrary, ListedNameFindsItsEntry) {
  const CUnzipSearchPath path(RealUnzipFolder());
  const CStdoutCapture output;
  const struct {
    const wchar_t* archive;
    const wchar_t* listed;
  } cases[] = {
      {L"names_dos", L"Gr\u00fc\u00dfe.txt"},
      {L"names_ansi", L"Gr\u00fc\u00dfe \u20ac.txt"},
      // Not decoded: the old interface knows nothing of UTF-8.
      {L"names_utf8", L"Gr\u00c3\u00bc\u00c3\u0178e.txt"},
      {L"names_utf8_extra", L"Gr\u00c3\u00bc\u00c3\u0178e.txt"},
      {L"names_malformed", L"\u00ff\u00c3(.txt"},
  };
  for (const auto& c : cases) {
    EXPECT_THAT(List(Archive(c.archive)), Optional(Names{c.listed})) << c.archive;
    EXPECT_EQ(Unzip(Archive(c.archive), c.listed), ArchivedText()) << c.archive;
  }
  EXPECT_FALSE(IsUnzipLoaded());
}

// Two browser windows, whose threads use the library at the same time, and one that uses it twice.

constexpr int kFailure = 9;  // the library then stays loaded

class UnzipLibraryThreads : public testing::Test {
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

/// The product's lock, used by the creating thread first, then by another one. Not a spy, which
/// uses such locks itself.
class CLockOrder {
 public:
  CLockOrder()
      : m_acquire("kernel32.dll", "AcquireSRWLockExclusive", &Acquire),
        m_release("kernel32.dll", "ReleaseSRWLockExclusive", &Release) {
    s_order = this;
  }
  CLockOrder(const CLockOrder&) = delete;
  CLockOrder& operator=(const CLockOrder&) = delete;

  bool IsFirst() const { return GetCurrentThreadId() == m_first; }
  /// Waits until the other thread finds the lock taken, or is inside all the same.
  void AwaitSecond() const { WaitForSingleObject(m_comes, INFINITE); }
  bool IsSecondWaiting() const { return m_isWaiting; }
  void SetSecondInside() const {
    SetEvent(m_comes);
    SetEvent(m_isInside);
  }

 private:
  static void WINAPI Acquire(SRWLOCK* lock) {
    while (!TryAcquireSRWLockExclusive(lock)) {
      if (!s_order->IsFirst() && !s_order->m_isWaiting) {
        s_order->m_lock = lock;
        s_order->m_isWaiting = true;
        SetEvent(s_order->m_comes);
      }
      SwitchToThread();
    }
    if (lock == s_order->m_lock) {
      s_order->m_isWaiting = false;
    }
  }
  /// Returns when the other thread is inside, so that what the first does after this is too late.
  static void WINAPI Release(SRWLOCK* lock) {
    s_order->m_release.Original<decltype(ReleaseSRWLockExclusive)>()(lock);
    if (lock == s_order->m_lock && s_order->IsFirst()) {
      WaitForSingleObject(s_order->m_isInside, INFINITE);
    }
  }

  static inline CLockOrder* s_order = nullptr;
  const DWORD m_first = GetCurrentThreadId();
  const CHandle m_comes{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  const CHandle m_isInside{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  std::atomic<SRWLOCK*> m_lock = nullptr;
  std::atomic<bool> m_isWaiting = false;
  const CImportPatch m_acquire;
  const CImportPatch m_release;
};

TEST_F(UnzipLibraryThreads, OneWaitsForTheOthersRelease) {
  for (const bool isFirstListing : {true, false}) {
    for (const bool isSecondListing : {true, false}) {
      for (const int result : {0, kFailure}) {
        const CHandle firstIsInside(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        const CHandle firstIsDone(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        CLockOrder order;
        const auto expectNoUseInside = [] { EXPECT_EQ(List(L"b.zip"), std::nullopt); };
        WhileInUse([&](USERFUNCTIONS& functions) {
          if (!order.IsFirst()) {
            WaitForSingleObject(firstIsDone, INFINITE);
            expectNoUseInside();
            return 0;
          }
          SetEvent(firstIsInside);
          order.AwaitSecond();
          expectNoUseInside();
          Tell(functions.SendApplicationMessage, "first");
          EXPECT_TRUE(order.IsSecondWaiting());
          return result;
        });
        const CImportSpy<&SearchPathW> search("kernel32.dll", "SearchPathW",
                                              [&](auto... arguments) {
                                                if (!order.IsFirst()) {
                                                  order.SetSecondInside();
                                                }
                                                return search.CallOriginal(arguments...);
                                              });
        const CImportSpy<&FreeLibrary> release("kernel32.dll", "FreeLibrary", [&](HMODULE library) {
          EXPECT_EQ(order.IsSecondWaiting(), order.IsFirst());
          return release.CallOriginal(library);
        });
        const auto use = [&](bool isListing) {
          const bool fails = order.IsFirst() && result == kFailure;
          if (isListing) {
            const Names names = order.IsFirst() ? Names{L"first"} : Names();
            EXPECT_EQ(List(L"a.zip"), fails ? std::nullopt : std::optional(names));
          } else {
            EXPECT_EQ(Unzip(L"a.zip", L"a.txt").value_or(""), fails ? "" : "bytes");
          }
        };
        const CParallel other([&] {
          WaitForSingleObject(firstIsInside, INFINITE);
          use(isSecondListing);
        });
        use(isFirstListing);
        SetEvent(firstIsDone);
      }
    }
  }
}

// As with a library that serves messages: another call comes while it is at work.
TEST_F(UnzipLibraryThreads, UseInsideAnotherOfTheThreadFails) {
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

// The functions that the library calls.

/// They take texts that may be changed.
LPSTR Text(const char* text) { return const_cast<LPSTR>(text); }

TEST(UnzipLibraryCallbacks, PrintWritesTheTextAndReturnsItsLength) {
  CStdoutCapture output;
  EXPECT_EQ(UnzipPrint(Text("50% of %s, %n\n"), 14), 14);
  EXPECT_EQ(output.Take(), "50% of %s, %n\n");
  EXPECT_EQ(UnzipPrint(Text("\xFC\x80"), 1000), 1000) << "the length is the library's";
  EXPECT_EQ(output.Take(), "\xFC\x80") << "bytes, whatever the code page";
  EXPECT_EQ(UnzipPrint(nullptr, 5), 5);
  EXPECT_EQ(output.Take(), "");
}

TEST(UnzipLibraryCallbacks, ReplaceAndPasswordReturnOne) {
  EXPECT_EQ(UnzipReplace(Text("a.txt")), 1);
  char password[] = "untouched";
  EXPECT_EQ(UnzipPassword(password, sizeof(password), "Enter password: ", "a.txt"), 1);
  EXPECT_STREQ(password, "untouched");
}

TEST(UnzipLibraryCallbacks, EntryWithoutANameIsNotListed) {
  CSimpleArray<CStringW> names;
  const CUnzipListingTarget target(names);
  UnzipListEntry(1, 1, 0, 1, 2, 3, 4, 5, ' ', nullptr, nullptr, 0, ' ');
  EXPECT_EQ(names.GetSize(), 0);
}

TEST(UnzipLibraryCallbacks, ReportIsOneLine) {
  const std::string longName(1025, 'n');
  const struct {
    unsigned long size;
    unsigned long compressedSize;
    unsigned factor;
    char flag;
    const char* name;
    std::string line;
  } cases[] = {
      {1234567, 678901, 45, '*', "folder/a.txt",
       "1234567   678901  45%  01-02-03  04:05  *folder/a.txt\n"},
      {4294967295, 4294967295, 9, 'x', "c", "4294967295  4294967295   9%  01-02-03  04:05  xc\n"},
      // Growing: a sign. Not growing: a blank in its place.
      {1, 2, 45, ' ', "a", "      1        2 -45%  01-02-03  04:05   a\n"},
      {2, 2, 5, ' ', "a", "      2        2   5%  01-02-03  04:05   a\n"},
      {1, 900, 200, ' ', "a", "      1      900 -200%  01-02-03  04:05   a\n"},
      // A full one is a text of its own, with both signs, whichever way the sizes are.
      {2, 1, 100, ' ', "a", "      2        1 100%%  01-02-03  04:05   a\n"},
      {1, 2, 100, ' ', "a", "      1        2 100%%  01-02-03  04:05   a\n"},
      {1, 1, 0, ' ', "%s%n%d 100%", "      1        1   0%  01-02-03  04:05   %s%n%d 100%\n"},
      {1, 1, 0, ' ', nullptr, "      1        1   0%  01-02-03  04:05   \n"},
      {1, 1, 0, ' ', longName.c_str(),
       "      1        1   0%  01-02-03  04:05   " + std::string(1024, 'n') + "\n"},
  };
  for (const auto& c : cases) {
    CStdoutCapture output;
    UnzipReportEntry(c.size, c.compressedSize, c.factor, 1, 2, 3, 4, 5, c.flag, Text(c.name),
                     nullptr, 0, ' ');
    EXPECT_EQ(output.Take(), c.line);
  }
}

}  // namespace
