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
  ~UnzipResources() override { EXPECT_EQ(m_blocks, 0); }

  /// Which allocation and which lock fails, counted from 0.
  struct CShortage {
    int alloc = -1;
    int lock = -1;
  } m_shortage;
  int m_blocks = 0;  // allocated and not freed

  CUnzipDouble m_unzip;
  CStdoutCapture m_output;
  const CImportSpy<&GlobalAlloc> m_alloc{
      "kernel32.dll", "GlobalAlloc", [this](UINT flags, SIZE_T size) -> HGLOBAL {
        Note("GlobalAlloc " + std::to_string(flags) + " " + std::to_string(size));
        if (m_shortage.alloc-- == 0) {
          return nullptr;
        }
        ++m_blocks;
        return HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size);
      }};
  const CImportSpy<&GlobalLock> m_lock{"kernel32.dll", "GlobalLock",
                                       [this](HGLOBAL block) -> LPVOID {
                                         Note("GlobalLock");
                                         return m_shortage.lock-- == 0 ? nullptr : block;
                                       }};
  const CImportSpy<&GlobalUnlock> m_unlock{"kernel32.dll", "GlobalUnlock", [](HGLOBAL) {
                                             Note("GlobalUnlock");
                                             return TRUE;
                                           }};
  const CImportSpy<&GlobalFree> m_free{"kernel32.dll", "GlobalFree", [this](HGLOBAL block) {
                                         Note("GlobalFree");
                                         --m_blocks;
                                         HeapFree(GetProcessHeap(), 0, block);
                                         return HGLOBAL{};
                                       }};
  const CImportSpy<&SearchPathW> m_search{"kernel32.dll", "SearchPathW", [](auto...) {
                                            Note("SearchPath");
                                            return DWORD{1};
                                          }};
  const CImportSpy<&WideCharToMultiByte> m_convert{
      "kernel32.dll", "WideCharToMultiByte",
      [](UINT, DWORD, LPCWCH, int, LPSTR buffer, int, LPCCH, LPBOOL) {
        Note("convert");
        *buffer = '\0';
        return 1;
      }};
  const CImportSpy<&FreeLibrary> m_freeLibrary{"kernel32.dll", "FreeLibrary", [](HMODULE) {
                                                 Note("FreeLibrary");
                                                 return TRUE;
                                               }};
};

// 64: filled with zeros, and fixed. 80 and 72 bytes of options and functions, with 128 behind them.
TEST_F(UnzipResources, ListingFreesItsBlocksAndOnSuccessTheLibrary) {
  std::vector<std::string> expected = {"GlobalAlloc 64 208",
                                       "GlobalLock",
                                       "GlobalAlloc 64 200",
                                       "GlobalLock",
                                       "SearchPath",
                                       "convert",
                                       "list",
                                       "GlobalUnlock",
                                       "GlobalFree",
                                       "GlobalUnlock",
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
  EXPECT_THAT(g_events,
              ElementsAre("SearchPath", "convert", "convert", "GlobalAlloc 64 200", "GlobalLock",
                          "unzip", "free", "FreeLibrary", "GlobalUnlock", "GlobalFree"));
  g_events.clear();
  g_result = 11;
  EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt);
  EXPECT_THAT(g_events, ElementsAre("SearchPath", "convert", "convert", "GlobalAlloc 64 200",
                                    "GlobalLock", "unzip", "GlobalUnlock", "GlobalFree"));
}

TEST_F(UnzipResources, UseFailsWithoutMemory) {
  for (int CShortage::* const failing : {&CShortage::alloc, &CShortage::lock}) {
    for (const int count : {0, 1}) {
      g_events.clear();
      m_shortage.*failing = count;
      EXPECT_EQ(List(L"a.zip"), std::nullopt);
      EXPECT_THAT(g_events, Not(Contains("SearchPath")));
      EXPECT_EQ(m_blocks, 0);
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
