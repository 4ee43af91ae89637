// Memory, handles and the order in which they come and go.
#include <gmock/gmock.h>
#include <windows.h>

#include <limits>

#include "collections/unzip_callbacks.h"
#include "tests/doubles/unzip/unzip_double.h"
#include "tests/support/import_patch.h"
#include "tests/unzip/unzip_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

// What happens, in order: the system's functions on the way to it, the double's when called.
std::vector<std::string> g_events;

/// A part of the system that fails the test's way.
struct CShortage {
  int allocationsLeft = std::numeric_limits<int>::max();
  int locksLeft = std::numeric_limits<int>::max();
};
CShortage g_shortage;
int g_blocks = 0;  // allocated and not freed

// In place of the replaced functions, what those do with fixed blocks.
HGLOBAL WINAPI TakeDownAlloc(UINT flags, SIZE_T size) {
  g_events.push_back("GlobalAlloc " + std::to_string(flags) + " " + std::to_string(size));
  if (g_shortage.allocationsLeft-- == 0) {
    return nullptr;
  }
  ++g_blocks;
  return HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size);
}
LPVOID WINAPI TakeDownLock(HGLOBAL block) {
  g_events.emplace_back("GlobalLock");
  return g_shortage.locksLeft-- == 0 ? nullptr : block;
}
BOOL WINAPI TakeDownUnlock(HGLOBAL) {
  g_events.emplace_back("GlobalUnlock");
  return TRUE;
}
HGLOBAL WINAPI TakeDownFree(HGLOBAL block) {
  g_events.emplace_back("GlobalFree");
  --g_blocks;
  HeapFree(GetProcessHeap(), 0, block);
  return nullptr;
}
DWORD WINAPI TakeDownSearch(LPCWSTR, LPCWSTR, LPCWSTR, DWORD, LPWSTR, LPWSTR*) {
  g_events.emplace_back("SearchPath");
  return 1;
}
int WINAPI TakeDownConversion(UINT, DWORD, LPCWCH, int, LPSTR buffer, int, LPCCH, LPBOOL) {
  g_events.emplace_back("convert");
  *buffer = '\0';
  return 1;
}
BOOL WINAPI TakeDownFreeLibrary(HMODULE) {
  g_events.emplace_back("FreeLibrary");
  return TRUE;
}

int g_result = 0;
char g_bytes[] = "bytes";

int WINAPI AnswerList(int, char**, int, char**, DCL*, USERFUNCTIONS*) {
  g_events.emplace_back("list");
  return g_result;
}
int WINAPI AnswerUnzip(LPSTR, LPSTR, USERFUNCTIONS*, UzpBuffer* buffer) {
  g_events.emplace_back("unzip");
  *buffer = {5, g_bytes};
  return g_result;
}
void WINAPI AnswerFree(UzpBuffer*) { g_events.emplace_back("free"); }

class UnzipResources : public testing::Test {
 protected:
  UnzipResources() {
    m_unzip->list = AnswerList;
    m_unzip->unzip = AnswerUnzip;
    m_unzip->free = AnswerFree;
    g_events.clear();
    g_shortage = {};
    g_blocks = 0;
    g_result = 0;
  }
  ~UnzipResources() override { EXPECT_EQ(g_blocks, 0); }

  CUnzipDouble m_unzip;
  CStdoutCapture m_output;
  const CImportPatch m_alloc{"kernel32.dll", "GlobalAlloc", TakeDownAlloc};
  const CImportPatch m_lock{"kernel32.dll", "GlobalLock", TakeDownLock};
  const CImportPatch m_unlock{"kernel32.dll", "GlobalUnlock", TakeDownUnlock};
  const CImportPatch m_free{"kernel32.dll", "GlobalFree", TakeDownFree};
  const CImportPatch m_search{"kernel32.dll", "SearchPathW", TakeDownSearch};
  const CImportPatch m_convert{"kernel32.dll", "WideCharToMultiByte", TakeDownConversion};
  const CImportPatch m_freeLibrary{"kernel32.dll", "FreeLibrary", TakeDownFreeLibrary};
};

// 64: filled with zeros, and fixed. 80 and 72 bytes of options and functions, with 128 behind them.
TEST_F(UnzipResources, OfASuccessfulListing) {
  EXPECT_TRUE(List(L"a.zip").has_value());
  EXPECT_THAT(g_events, ElementsAre("GlobalAlloc 64 208", "GlobalLock", "GlobalAlloc 64 200",
                                    "GlobalLock", "SearchPath", "convert", "list", "FreeLibrary",
                                    "GlobalUnlock", "GlobalFree", "GlobalUnlock", "GlobalFree"));
}

TEST_F(UnzipResources, OfAFailedListing) {
  g_result = 9;
  EXPECT_EQ(List(L"a.zip"), std::nullopt);
  EXPECT_THAT(g_events, ElementsAre("GlobalAlloc 64 208", "GlobalLock", "GlobalAlloc 64 200",
                                    "GlobalLock", "SearchPath", "convert", "list", "GlobalUnlock",
                                    "GlobalFree", "GlobalUnlock", "GlobalFree"));
}

TEST_F(UnzipResources, OfASuccessfulExtraction) {
  EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), "bytes");
  EXPECT_THAT(g_events,
              ElementsAre("SearchPath", "convert", "convert", "GlobalAlloc 64 200", "GlobalLock",
                          "unzip", "free", "FreeLibrary", "GlobalUnlock", "GlobalFree"));
}

TEST_F(UnzipResources, OfAFailedExtraction) {
  g_result = 11;
  EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt);
  EXPECT_THAT(g_events, ElementsAre("SearchPath", "convert", "convert", "GlobalAlloc 64 200",
                                    "GlobalLock", "unzip", "GlobalUnlock", "GlobalFree"));
}

TEST_F(UnzipResources, ListingsFailWithoutMemory) {
  for (const int count : {0, 1}) {
    for (int CShortage::* const left : {&CShortage::allocationsLeft, &CShortage::locksLeft}) {
      g_events.clear();
      g_shortage = {};
      g_shortage.*left = count;
      EXPECT_EQ(List(L"a.zip"), std::nullopt);
      EXPECT_THAT(g_events, Not(Contains("SearchPath")));
      EXPECT_EQ(g_blocks, 0);
    }
  }
  EXPECT_EQ(m_output.Take(), "");
}

TEST_F(UnzipResources, ExtractionsFailWithoutMemory) {
  for (int CShortage::* const left : {&CShortage::allocationsLeft, &CShortage::locksLeft}) {
    g_events.clear();
    g_shortage = {};
    g_shortage.*left = 0;
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt);
    EXPECT_THAT(g_events, Not(Contains("unzip")));
    EXPECT_THAT(g_events, Contains("FreeLibrary")) << "nothing has been done with it";
  }
  EXPECT_EQ(m_output.Take(), "");
}

HGLOBAL WINAPI AllocAfterAnEntry(UINT, SIZE_T) {
  char name[] = "early";
  UnzipListEntry(1, 1, 0, 1, 2, 3, 4, 5, ' ', name, nullptr, 0, ' ');
  return nullptr;
}

TEST(UnzipListing, RegistersTheListFirstOfAll) {
  const CImportPatch alloc("kernel32.dll", "GlobalAlloc", AllocAfterAnEntry);
  CSimpleArray<CStringW> names;
  EXPECT_FALSE(ListZipEntries(L"a.zip", &names));
  EXPECT_GE(names.GetSize(), 1);
}

}  // namespace
