// What the library is given, in which order, and what becomes of its answers: with the scripted
// double.
#include <gmock/gmock.h>
#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "collections/unzip_callbacks.h"
#include "tests/collections/unzip_calls.h"
#include "tests/doubles/unzip/unzip_double.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

static_assert(offsetof(DCL, ExtractOnlyNewer) == 0 && offsetof(DCL, nvflag) == 24 &&
              offsetof(DCL, ndflag) == 36 && offsetof(DCL, fPrivilege) == 56 &&
              offsetof(DCL, lpszZipFN) == 64 && offsetof(DCL, lpszExtractDir) == 72);
static_assert(offsetof(USERFUNCTIONS, password) == 24 &&
              offsetof(USERFUNCTIONS, SendApplicationMessage) == 32 &&
              offsetof(USERFUNCTIONS, ServCallBk) == 40 &&
              offsetof(USERFUNCTIONS, TotalSizeComp) == 48 &&
              offsetof(USERFUNCTIONS, cchComment) == 64);
static_assert(offsetof(UzpBuffer, strlength) == 0 && offsetof(UzpBuffer, strptr) == 8);

using Text = std::optional<std::string>;  // nullopt: a null pointer

Text Copy(LPCSTR text) { return text != nullptr ? Text(text) : std::nullopt; }

/// Records what is in a block, and uses it as a library of version 6.0 does, whose blocks are
/// longer: reads and writes behind it. The heap check notices where there is no room.
template <typename Block>
void UseAsLonger(Block& block, Block& copy) {
  constexpr size_t kLonger = 96;
  std::memcpy(&copy, &block, sizeof(block));
  auto* const bytes = reinterpret_cast<BYTE*>(&block);
  EXPECT_EQ(std::count(bytes + sizeof(block), bytes + kLonger, BYTE{0}), kLonger - sizeof(block));
  std::fill(bytes + sizeof(block), bytes + kLonger, BYTE{0xA5});
}

/// Records the calls of a system function.
template <auto function>
struct CNote;
template <typename Result, typename... Arguments, Result(WINAPI* function)(Arguments...)>
struct CNote<function> {
  CNote(std::vector<std::string>& events, const char* name)
      : spy("kernel32.dll", name, [this, &events, name](Arguments... arguments) {
          events.emplace_back(name);
          return spy.CallOriginal(arguments...);
        }) {}
  const CImportSpy<function> spy;
};

class UnzipLibraryCalls : public testing::Test {
 protected:
  UnzipLibraryCalls() {
    m_unzip->list = [this](DCL& options, USERFUNCTIONS& functions) {
      UseAsLonger(options, m_options);
      m_archive = Copy(options.lpszZipFN);
      return Use("list", functions);
    };
    m_unzip->unzip = [this](LPCSTR archive, LPCSTR entry, USERFUNCTIONS& functions,
                            UzpBuffer& buffer) {
      m_archive = Copy(archive);
      m_entry = Copy(entry);
      EXPECT_EQ(buffer.strlength, 0u);
      EXPECT_EQ(buffer.strptr, nullptr);
      buffer = m_answer;
      return Use("unzip", functions);
    };
    m_unzip->free = [this](UzpBuffer& buffer) {
      m_events.emplace_back("free");
      EXPECT_EQ(buffer.strptr, m_answer.strptr);
      std::fill_n(buffer.strptr, buffer.strlength, '?');
      buffer = {0, nullptr};
    };
  }

  int Use(const char* event, USERFUNCTIONS& functions) {
    m_events.emplace_back(event);
    UseAsLonger(functions, m_functions);
    for (const std::string& name : m_told) {
      Tell(functions.SendApplicationMessage, name);
    }
    return m_result;
  }

  /// What the next extraction gives.
  void SetAnswer(std::string& bytes) {
    m_answer = {static_cast<unsigned long>(bytes.size()), bytes.data()};
  }

  /// Whether the block held these functions and otherwise zeros.
  void ExpectFunctions(UnzipMessageFn message) const {
    USERFUNCTIONS expected;
    std::memset(&expected, 0, sizeof(expected));
    expected.print = UnzipPrint;
    expected.replace = UnzipReplace;
    expected.password = UnzipPassword;
    expected.SendApplicationMessage = message;
    EXPECT_EQ(std::memcmp(&m_functions, &expected, sizeof(expected)), 0);
  }

  // What the double was given last, and its answers.
  DCL m_options = {};
  USERFUNCTIONS m_functions = {};
  Text m_archive;
  Text m_entry;
  int m_result = 0;
  UzpBuffer m_answer = {0, nullptr};
  std::vector<std::string> m_told;  // names

  std::vector<std::string> m_events;
  /// Which allocation and which lock fails, counted from 0.
  int m_failingAlloc = -1;
  int m_failingLock = -1;

  CUnzipDouble m_unzip;
  CStdoutCapture m_output;
  const CImportSpy<&GlobalAlloc> m_alloc{
      "kernel32.dll", "GlobalAlloc", [this](UINT flags, SIZE_T size) {
        m_events.push_back("GlobalAlloc " + std::to_string(flags) + " " + std::to_string(size));
        return m_failingAlloc-- == 0 ? nullptr : m_alloc.CallOriginal(flags, size);
      }};
  const CImportSpy<&GlobalLock> m_lock{"kernel32.dll", "GlobalLock", [this](HGLOBAL block) {
                                         m_events.emplace_back("GlobalLock");
                                         return m_failingLock-- == 0 ? nullptr
                                                                     : m_lock.CallOriginal(block);
                                       }};
  const CNote<&GlobalUnlock> m_unlock{m_events, "GlobalUnlock"};
  const CNote<&GlobalFree> m_free{m_events, "GlobalFree"};
  const CNote<&SearchPathW> m_search{m_events, "SearchPathW"};
  const CNote<&WideCharToMultiByte> m_convert{m_events, "WideCharToMultiByte"};
  const CNote<&FreeLibrary> m_freeLibrary{m_events, "FreeLibrary"};
};

// 64: filled with zeros, and fixed. 80 and 72 bytes of options and functions, with 128 behind them.
TEST_F(UnzipLibraryCalls, ListingIsVerboseAndOfTheWholeArchiveAndFreesAllThatItTook) {
  EXPECT_TRUE(List(L"C:\\folder\\a.zip").has_value());
  DCL expected;
  std::memset(&expected, 0, sizeof(expected));
  expected.nvflag = 1;
  expected.ndflag = 1;
  expected.lpszZipFN = m_options.lpszZipFN;  // what it points to is compared below
  EXPECT_EQ(std::memcmp(&m_options, &expected, sizeof(expected)), 0);
  EXPECT_EQ(m_archive, "C:\\folder\\a.zip");
  ExpectFunctions(UnzipListEntry);
  EXPECT_THAT(m_events,
              ElementsAre("GlobalAlloc 64 208", "GlobalLock", "GlobalAlloc 64 200", "GlobalLock",
                          "SearchPathW", "WideCharToMultiByte", "list", "FreeLibrary",
                          "GlobalUnlock", "GlobalFree", "GlobalUnlock", "GlobalFree"));
}

TEST_F(UnzipLibraryCalls, ExtractionNamesArchiveAndEntryAndFreesAllThatItTook) {
  std::string bytes = "bytes";
  SetAnswer(bytes);
  EXPECT_EQ(Unzip(L"C:\\Gr\u00fc\u00df\\a.zip", L"folder/%s.txt"), "bytes");
  EXPECT_EQ(m_archive, "C:\\Gr\xFC\xDF\\a.zip");
  EXPECT_EQ(m_entry, "folder/%s.txt");
  ExpectFunctions(UnzipReportEntry);
  EXPECT_THAT(m_events, ElementsAre("SearchPathW", "WideCharToMultiByte", "WideCharToMultiByte",
                                    "GlobalAlloc 64 200", "GlobalLock", "unzip", "free",
                                    "FreeLibrary", "GlobalUnlock", "GlobalFree"));
}

TEST_F(UnzipLibraryCalls, NamesAreAppendedToTheListOfTheCall) {
  // The list is registered in front of the two allocations.
  const CImportSpy<&GlobalAlloc> alloc("kernel32.dll", "GlobalAlloc", [&](UINT flags, SIZE_T size) {
    Tell(UnzipListEntry, "early");
    return alloc.CallOriginal(flags, size);
  });
  m_told = {"one", "Gr\xFC\xDF", "100%s"};
  CSimpleArray<CStringW> names;
  names.Add(L"before");
  EXPECT_TRUE(ListZipEntries(L"a.zip", &names));
  Tell(m_functions.SendApplicationMessage, "late");  // when no list is registered any more
  EXPECT_THAT(ToVector(names),
              ElementsAre(L"before", L"early", L"early", L"one", L"Gr\u00fc\u00df", L"100%s"));
}

TEST_F(UnzipLibraryCalls, ResultsBelowTwoAreSuccess) {
  for (const int result : {-1, 0, 1}) {
    m_result = result;
    for (const std::string& bytes : {std::string("with\0zeros\xFF", 11), std::string()}) {
      std::string block = bytes;
      SetAnswer(block);
      EXPECT_TRUE(List(L"a.zip").has_value()) << result;
      EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), bytes) << result;
    }
  }
  EXPECT_EQ(m_output.Take(), "");
  EXPECT_TRUE(m_unzip.Release()) << "unloaded after each";
}

TEST_F(UnzipLibraryCalls, OtherResultsAreReportedAndLeaveTheLibraryLoaded) {
  std::string bytes = "bytes";
  SetAnswer(bytes);
  for (const int result : {2, 9, 1000000}) {
    m_result = result;
    const std::string problem = "Problem unzipping: " + std::to_string(result) + "\n";
    EXPECT_EQ(List(L"a.zip"), std::nullopt);
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt);
    EXPECT_EQ(m_output.Take(), problem + problem);
  }
  EXPECT_THAT(m_events, Not(Contains("free"))) << "what a failure left in the buffer is ignored";
  EXPECT_THAT(m_events, Not(Contains("FreeLibrary")));
  EXPECT_EQ(std::ranges::count(m_events, "GlobalFree"), 9) << "of three blocks, three times";
  EXPECT_FALSE(m_unzip.Release());
}

// The published library answers like this for most failures: 0 or 1, a size and no bytes.
TEST_F(UnzipLibraryCalls, ExtractionWithoutBytesFails) {
  for (const unsigned long length : {0ul, 5ul, 0xFFFFFFFFul}) {
    m_answer = {length, nullptr};
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt);
  }
  EXPECT_EQ(m_output.Take(), "");
  EXPECT_TRUE(m_unzip.Release());
}

TEST_F(UnzipLibraryCalls, FailedBlockFailsTheUse) {
  for (int* const failing : {&m_failingAlloc, &m_failingLock}) {
    for (const int place : {0, 1}) {
      m_events.clear();
      *failing = place;
      EXPECT_EQ(List(L"a.zip"), std::nullopt);
      EXPECT_THAT(m_events, Not(Contains("SearchPathW")));
      EXPECT_EQ(std::ranges::count(m_events, "GlobalFree"), failing == &m_failingAlloc ? 1 : 2);
    }
    m_events.clear();
    *failing = 0;
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt);
    EXPECT_THAT(m_events, Not(Contains("unzip")));
    EXPECT_THAT(m_events, Contains("FreeLibrary"));
    *failing = -1;
  }
  EXPECT_EQ(m_output.Take(), "");
}

/// The allocation that fails. What is allocated meanwhile, by the C runtime itself, outlives the
/// replacement.
size_t g_failingSize;
void* __cdecl AllocateAllButThat(size_t size) {
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): stands in for malloc
  return size == g_failingSize ? nullptr : std::calloc(1, size);
}

TEST_F(UnzipLibraryCalls, OutOfMemoryFailsTheUseWithoutAnException) {
  constexpr int kNames = 1024;  // the list then grows to twice as many
  std::string bytes(123457, 'x');
  SetAnswer(bytes);
  {
    const CImportPatch patch("msvcrt.dll", "malloc", AllocateAllButThat);
    g_failingSize = bytes.size();
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt);
    EXPECT_THAT(m_events, Contains("free")) << "the library's block is freed";
    m_told.assign(kNames + 2, "name");
    g_failingSize = 2 * kNames * sizeof(CStringW);
    EXPECT_EQ(List(L"a.zip"), std::nullopt);
  }
  {
    const CImportSpy<&MultiByteToWideChar> convert("kernel32.dll", "MultiByteToWideChar",
                                                   [](auto...) -> int { throw std::bad_alloc(); });
    EXPECT_EQ(List(L"a.zip"), std::nullopt);
    EXPECT_TRUE(Unzip(L"a.zip", L"a.txt").has_value()) << "only its report is missing";
  }
  EXPECT_TRUE(List(L"a.zip").has_value()) << "the next one has memory";
  EXPECT_TRUE(m_unzip.Release());
}

TEST_F(UnzipLibraryCalls, NullArgumentsFailBeforeAnythingElse) {
  unsigned long size = 7;
  auto data = std::make_unique<char[]>(1);
  EXPECT_FALSE(ListZipEntries(L"a.zip", nullptr));
  EXPECT_FALSE(UnzipEntryToMemory(L"a.zip", L"a.txt", nullptr, &data));
  EXPECT_FALSE(UnzipEntryToMemory(L"a.zip", L"a.txt", &size, nullptr));
  EXPECT_TRUE(m_events.empty());
  EXPECT_EQ(size, 7u);
  EXPECT_NE(data, nullptr);
}

TEST_F(UnzipLibraryCalls, NamesAreConvertedToTheThreadsCodePage) {
  std::vector<std::wstring> texts;
  const CImportSpy<&WideCharToMultiByte> convert(
      "kernel32.dll", "WideCharToMultiByte",
      [&](UINT codePage, DWORD flags, LPCWCH text, int, LPSTR buffer, int size, LPCCH, LPBOOL) {
        texts.emplace_back(text);
        EXPECT_EQ(codePage, static_cast<UINT>(CP_THREAD_ACP));
        EXPECT_EQ(flags, 0u);
        EXPECT_EQ(size, static_cast<int>(2 * texts.back().size() + 1));
        std::strcpy(buffer, "x");
        return 2;
      });
  List(L"C:\\a.zip");
  EXPECT_EQ(m_archive, "x");
  Unzip(L"b.zip", L"c.txt");
  EXPECT_EQ(texts, (std::vector<std::wstring>{L"C:\\a.zip", L"b.zip", L"c.txt"}));
}

TEST_F(UnzipLibraryCalls, NameThatCannotBeConvertedIsPassedAsNull) {
  const std::wstring longest(32768, L'x');
  Unzip(L"a.zip", longest.c_str());
  EXPECT_EQ(m_entry, std::string(32768, 'x'));
  Unzip(L"a.zip", (longest + L"x").c_str());
  EXPECT_EQ(m_entry, std::nullopt);
  EXPECT_EQ(m_archive, "a.zip");
  List((longest + L"x").c_str());
  EXPECT_EQ(m_archive, std::nullopt);
}

}  // namespace
