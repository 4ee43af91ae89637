// Memory, handles and the order in which they come and go.
#include <gmock/gmock.h>
#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

#include "collections/unzip_callbacks.h"
#include "tests/doubles/unzip/unzip_double.h"
#include "tests/support/import_spy.h"
#include "tests/unzip/unzip_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

// The calls in order: of the system's functions, and of the double's, which have no state.
std::vector<std::string> g_events;
int g_result = 0;

/// Notes the calls of a system function.
template <auto function>
struct CNote;
template <typename Result, typename... Arguments, Result(WINAPI* function)(Arguments...)>
struct CNote<function> {
  explicit CNote(const char* name)
      : spy("kernel32.dll", name, [this, name](Arguments... arguments) {
          g_events.emplace_back(name);
          return spy.CallOriginal(arguments...);
        }) {}
  const CImportSpy<function> spy;
};

void Note(const std::string& event) { g_events.push_back(event); }

class UnzipResources : public testing::Test {
 protected:
  UnzipResources() {
    m_unzip->list = [](int, char**, int, char**, DCL*, USERFUNCTIONS*) {
      Note("list");
      return g_result;
    };
    m_unzip->unzip = [](LPSTR, LPSTR, USERFUNCTIONS*, UzpBuffer* buffer) {
      static char bytes[] = "bytes";
      Note("unzip");
      *buffer = {5, bytes};
      return g_result;
    };
    m_unzip->free = [](UzpBuffer*) { Note("free"); };
    g_events.clear();
    g_result = 0;
  }

  /// Which allocation and which lock fails, counted from 0.
  struct CShortage {
    int alloc = -1;
    int lock = -1;
  } m_shortage;

  CUnzipDouble m_unzip;
  CStdoutCapture m_output;
  const CImportSpy<&GlobalAlloc> m_alloc{
      "kernel32.dll", "GlobalAlloc", [this](UINT flags, SIZE_T size) {
        Note("GlobalAlloc " + std::to_string(flags) + " " + std::to_string(size));
        return m_shortage.alloc-- == 0 ? nullptr : m_alloc.CallOriginal(flags, size);
      }};
  const CImportSpy<&GlobalLock> m_lock{"kernel32.dll", "GlobalLock", [this](HGLOBAL block) {
                                         Note("GlobalLock");
                                         return m_shortage.lock-- == 0 ? nullptr
                                                                       : m_lock.CallOriginal(block);
                                       }};
  const CNote<&GlobalUnlock> m_unlock{"GlobalUnlock"};
  const CNote<&GlobalFree> m_free{"GlobalFree"};
  const CNote<&SearchPathW> m_search{"SearchPathW"};
  const CNote<&WideCharToMultiByte> m_convert{"WideCharToMultiByte"};
  const CNote<&FreeLibrary> m_freeLibrary{"FreeLibrary"};
};

// 64: filled with zeros, and fixed. 80 and 72 bytes of options and functions, with 128 behind them.
TEST_F(UnzipResources, ListingFreesItsBlocksAndOnSuccessTheLibrary) {
  std::vector<std::string> expected = {
      "GlobalAlloc 64 208",  "GlobalLock", "GlobalAlloc 64 200", "GlobalLock", "SearchPathW",
      "WideCharToMultiByte", "list",       "GlobalUnlock",       "GlobalFree", "GlobalUnlock",
      "GlobalFree"};
  g_result = 9;
  EXPECT_EQ(List(L"a.zip"), std::nullopt);
  EXPECT_EQ(g_events, expected);
  g_events.clear();
  g_result = 0;
  EXPECT_TRUE(List(L"a.zip").has_value());
  expected.insert(std::ranges::find(expected, "list") + 1, "FreeLibrary");
  EXPECT_EQ(g_events, expected);
}

TEST_F(UnzipResources, ExtractionFreesItsBlockAndOnSuccessBufferAndLibrary) {
  EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), "bytes");
  EXPECT_THAT(g_events, ElementsAre("SearchPathW", "WideCharToMultiByte", "WideCharToMultiByte",
                                    "GlobalAlloc 64 200", "GlobalLock", "unzip", "free",
                                    "FreeLibrary", "GlobalUnlock", "GlobalFree"));
  g_events.clear();
  g_result = 11;
  EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt);
  EXPECT_THAT(g_events, ElementsAre("SearchPathW", "WideCharToMultiByte", "WideCharToMultiByte",
                                    "GlobalAlloc 64 200", "GlobalLock", "unzip", "GlobalUnlock",
                                    "GlobalFree"));
}

TEST_F(UnzipResources, UseFailsWithoutMemory) {
  for (int CShortage::* const failing : {&CShortage::alloc, &CShortage::lock}) {
    for (const int count : {0, 1}) {
      g_events.clear();
      m_shortage.*failing = count;
      EXPECT_EQ(List(L"a.zip"), std::nullopt);
      EXPECT_THAT(g_events, Not(Contains("SearchPathW")));
      EXPECT_EQ(std::ranges::count(g_events, "GlobalFree"), failing == &CShortage::alloc ? 1 : 2);
    }
    g_events.clear();
    m_shortage.*failing = 0;
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt);
    EXPECT_THAT(g_events, Not(Contains("unzip")));
    EXPECT_THAT(g_events, Contains("FreeLibrary")) << "it has not been used";
    m_shortage.*failing = -1;
  }
  EXPECT_EQ(m_output.Take(), "");
}

TEST(UnzipListing, RegistersTheListFirstOfAll) {
  const CImportSpy<&GlobalAlloc> alloc("kernel32.dll", "GlobalAlloc", [](auto...) -> HGLOBAL {
    char name[] = "early";
    UnzipListEntry(1, 1, 0, 1, 2, 3, 4, 5, ' ', name, nullptr, 0, ' ');
    return nullptr;
  });
  CSimpleArray<CStringW> names;
  EXPECT_FALSE(ListZipEntries(L"a.zip", &names));
  EXPECT_GE(names.GetSize(), 1);
}

}  // namespace
