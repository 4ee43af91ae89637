// What the library is given, and what becomes of its answers: with the scripted double.
#include <gmock/gmock.h>
#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "collections/unzip_callbacks.h"
#include "tests/doubles/unzip/unzip_double.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/unzip/unzip_test.h"

namespace {

using testing::ElementsAre;

static_assert(offsetof(DCL, ExtractOnlyNewer) == 0 && offsetof(DCL, nvflag) == 24 &&
              offsetof(DCL, ndflag) == 36 && offsetof(DCL, fPrivilege) == 56 &&
              offsetof(DCL, lpszZipFN) == 64 && offsetof(DCL, lpszExtractDir) == 72);
static_assert(offsetof(USERFUNCTIONS, password) == 24 &&
              offsetof(USERFUNCTIONS, SendApplicationMessage) == 32 &&
              offsetof(USERFUNCTIONS, ServCallBk) == 40 &&
              offsetof(USERFUNCTIONS, TotalSizeComp) == 48 &&
              offsetof(USERFUNCTIONS, cchComment) == 64);
static_assert(offsetof(UzpBuffer, strlength) == 0 && offsetof(UzpBuffer, strptr) == 8);

// What the double was given last, and what it answers: its functions have no state.
struct CTalk {
  int calls = 0;
  bool isWholeArchive = false;  // no entries are included or excluded by name
  DCL options = {};
  USERFUNCTIONS functions = {};
  std::optional<std::string> archive;  // none: null
  std::optional<std::string> entry;
  bool hasZerosBehind = true;  // behind options and functions
  UzpBuffer buffer = {};
  int frees = 0;

  int result = 0;
  UzpBuffer answer = {0, nullptr};
  std::vector<std::string> listed;
};
CTalk g_talk;

std::optional<std::string> Copy(LPCSTR text) {
  return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

/// Uses a block as a library of version 6.0 does, whose own are longer: reads and writes behind it.
template <typename Block>
void UseAsLonger(Block* block) {
  constexpr size_t kLonger = 96;
  auto* const bytes = reinterpret_cast<BYTE*>(block);
  for (size_t i = sizeof(Block); i < kLonger; ++i) {
    g_talk.hasZerosBehind = g_talk.hasZerosBehind && bytes[i] == 0;
    bytes[i] = 0xA5;
  }
}

void ListName(const USERFUNCTIONS& functions, std::string name) {
  functions.SendApplicationMessage(1, 1, 0, 1, 2, 3, 4, 5, ' ', name.data(), nullptr, 0, ' ');
}

int WINAPI AnswerList(int includeCount, char** includes, int excludeCount, char** excludes,
                      DCL* options, USERFUNCTIONS* functions) {
  ++g_talk.calls;
  g_talk.isWholeArchive =
      includeCount == 0 && includes == nullptr && excludeCount == 0 && excludes == nullptr;
  std::memcpy(&g_talk.options, options, sizeof(*options));
  std::memcpy(&g_talk.functions, functions, sizeof(*functions));
  UseAsLonger(options);
  UseAsLonger(functions);
  g_talk.archive = Copy(options->lpszZipFN);
  for (const std::string& name : g_talk.listed) {
    ListName(*functions, name);
  }
  return g_talk.result;
}

int WINAPI AnswerUnzip(LPSTR archive, LPSTR entry, USERFUNCTIONS* functions, UzpBuffer* buffer) {
  ++g_talk.calls;
  g_talk.archive = Copy(archive);
  g_talk.entry = Copy(entry);
  std::memcpy(&g_talk.functions, functions, sizeof(*functions));
  UseAsLonger(functions);
  g_talk.buffer = *buffer;
  *buffer = g_talk.answer;
  return g_talk.result;
}

void WINAPI AnswerFree(UzpBuffer* buffer) {
  ++g_talk.frees;
  EXPECT_EQ(buffer->strptr, g_talk.answer.strptr);
  *buffer = {0, nullptr};  // as the library does; the caller must have its size by now
}

class UnzipBinding : public testing::Test {
 protected:
  UnzipBinding() {
    g_talk = {};
    m_unzip->list = AnswerList;
    m_unzip->unzip = AnswerUnzip;
    m_unzip->free = AnswerFree;
  }

  /// Whether the block holds these functions and nothing but zeros behind them.
  static void ExpectFunctions(UnzipMessageFn message) {
    USERFUNCTIONS expected;
    std::memset(&expected, 0, sizeof(expected));
    expected.print = UnzipPrint;
    expected.replace = UnzipReplace;
    expected.password = UnzipPassword;
    expected.SendApplicationMessage = message;
    EXPECT_EQ(std::memcmp(&g_talk.functions, &expected, sizeof(expected)), 0);
  }

  CUnzipDouble m_unzip;
  CStdoutCapture m_output;
};

TEST_F(UnzipBinding, RequestsAVerboseListingOfTheWholeArchive) {
  EXPECT_TRUE(List(L"C:\\folder\\a.zip").has_value());
  EXPECT_EQ(g_talk.calls, 1);
  EXPECT_TRUE(g_talk.isWholeArchive);
  DCL expected;
  std::memset(&expected, 0, sizeof(expected));
  expected.nvflag = 1;
  expected.ndflag = 1;
  expected.lpszZipFN = g_talk.options.lpszZipFN;  // what it points to is compared below
  EXPECT_EQ(std::memcmp(&g_talk.options, &expected, sizeof(expected)), 0);
  EXPECT_EQ(g_talk.archive, "C:\\folder\\a.zip");
  ExpectFunctions(UnzipListEntry);
}

TEST_F(UnzipBinding, NamesArchiveAndEntryOfAnExtraction) {
  Unzip(L"C:\\Gr\u00fc\u00df\\a.zip", L"folder/%s.txt");
  EXPECT_EQ(g_talk.calls, 1);
  EXPECT_EQ(g_talk.archive, "C:\\Gr\xFC\xDF\\a.zip");
  EXPECT_EQ(g_talk.entry, "folder/%s.txt");
  EXPECT_EQ(g_talk.buffer.strlength, 0u);
  EXPECT_EQ(g_talk.buffer.strptr, nullptr);
  ExpectFunctions(UnzipReportEntry);
}

// The heap check notices what the double writes there.
TEST_F(UnzipBinding, LeavesRoomBehindTheBlocksForALaterVersion) {
  List(L"a.zip");
  Unzip(L"a.zip", L"a.txt");
  EXPECT_EQ(g_talk.calls, 2);
  EXPECT_TRUE(g_talk.hasZerosBehind);
}

TEST_F(UnzipBinding, FillsTheListOfTheCall) {
  g_talk.listed = {"one", "Gr\xFC\xDF", "100%s"};
  CSimpleArray<CStringW> names;
  names.Add(L"before");
  EXPECT_TRUE(ListZipEntries(L"a.zip", &names));
  EXPECT_THAT(ToVector(names), ElementsAre(L"before", L"one", L"Gr\u00fc\u00df", L"100%s"));
  ListName(g_talk.functions, "late");  // when no list is registered any more
  EXPECT_EQ(names.GetSize(), 4);
}

TEST_F(UnzipBinding, ResultsBelowTwoAreSuccess) {
  char bytes[] = "bytes";
  for (const int result : {-1, 0, 1}) {
    g_talk.result = result;
    g_talk.answer = {5, bytes};
    EXPECT_TRUE(List(L"a.zip").has_value()) << result;
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), "bytes") << result;
  }
  EXPECT_EQ(m_output.Take(), "");
  EXPECT_TRUE(m_unzip.Release()) << "unloaded after each";
}

TEST_F(UnzipBinding, OtherResultsAreReportedAndLeaveTheLibraryLoaded) {
  char bytes[] = "bytes";
  g_talk.listed = {"one"};
  g_talk.answer = {5, bytes};
  for (const int result : {2, 9, 1000000}) {
    g_talk.result = result;
    const std::string problem = "Problem unzipping: " + std::to_string(result) + "\n";
    EXPECT_EQ(List(L"a.zip"), std::nullopt);
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt);
    EXPECT_EQ(m_output.Take(), problem + problem);
  }
  EXPECT_EQ(g_talk.frees, 0) << "what a failure left in the buffer is ignored";
  EXPECT_FALSE(m_unzip.Release());
}

TEST_F(UnzipBinding, CopiesTheBytesAndFreesTheBuffer) {
  for (std::string bytes : {std::string("with\0zeros\xFF", 11), std::string()}) {
    g_talk.frees = 0;
    g_talk.answer = {static_cast<unsigned long>(bytes.size()), bytes.data()};
    unsigned long size = 4711;
    std::unique_ptr<char[]> data;
    ASSERT_TRUE(UnzipEntryToMemory(L"a.zip", L"a.txt", &size, &data));
    ASSERT_EQ(size, bytes.size());
    EXPECT_EQ(std::string(data.get(), size), bytes);
    EXPECT_NE(data.get(), bytes.data());
    EXPECT_EQ(g_talk.frees, 1);
  }
}

// The published library answers like this for most failures: 0 or 1, a size and no bytes.
TEST_F(UnzipBinding, FailsWhenThereAreNoBytes) {
  for (const int result : {0, 1}) {
    g_talk.result = result;
    for (const unsigned long length : {0ul, 5ul, 0xFFFFFFFFul}) {
      g_talk.answer = {length, nullptr};
      EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt);
    }
  }
  EXPECT_EQ(m_output.Take(), "");
  EXPECT_TRUE(m_unzip.Release());
}

/// The allocation that fails. What is allocated meanwhile, by the C runtime itself, outlives the
/// replacement.
size_t g_failingSize;
void* __cdecl AllocateAllButThat(size_t size) {
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): stands in for malloc
  return size == g_failingSize ? nullptr : std::calloc(1, size);
}

TEST_F(UnzipBinding, FailsWithoutMemoryForTheCopy) {
  std::string bytes(123457, 'x');
  g_failingSize = bytes.size();
  g_talk.answer = {static_cast<unsigned long>(bytes.size()), bytes.data()};
  {
    const CImportPatch allocate("msvcrt.dll", "malloc", AllocateAllButThat);
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt);
  }
  EXPECT_EQ(g_talk.frees, 1) << "the library's block is freed";
  EXPECT_TRUE(m_unzip.Release());
}

TEST_F(UnzipBinding, ListingFailsWithoutMemoryForAName) {
  constexpr int kListedNames = 1024;  // the list then grows to twice as many
  g_failingSize = 2 * kListedNames * sizeof(CStringW);
  g_talk.listed.assign(kListedNames + 2, "name");
  {
    const CImportPatch patch("msvcrt.dll", "malloc", AllocateAllButThat);
    EXPECT_EQ(List(L"a.zip"), std::nullopt);
  }
  {
    const CImportSpy<&MultiByteToWideChar> convert("kernel32.dll", "MultiByteToWideChar",
                                                   [](auto...) -> int { throw std::bad_alloc(); });
    EXPECT_EQ(List(L"a.zip"), std::nullopt);
  }
  EXPECT_TRUE(List(L"a.zip").has_value()) << "the next one has memory";
  EXPECT_TRUE(m_unzip.Release());
}

TEST_F(UnzipBinding, NullArgumentsFailBeforeAnythingElse) {
  const CImportSpy<&SearchPathW> search("kernel32.dll", "SearchPathW");
  unsigned long size = 7;
  auto data = std::make_unique<char[]>(1);
  EXPECT_FALSE(ListZipEntries(L"a.zip", nullptr));
  EXPECT_FALSE(UnzipEntryToMemory(L"a.zip", L"a.txt", nullptr, &data));
  EXPECT_FALSE(UnzipEntryToMemory(L"a.zip", L"a.txt", &size, nullptr));
  EXPECT_TRUE(search.Calls().empty());
  EXPECT_EQ(size, 7u);
  EXPECT_NE(data, nullptr);
}

TEST_F(UnzipBinding, ConvertsToTheThreadsCodePageInABufferOnTheStack) {
  std::vector<std::wstring> texts;
  const CImportSpy<&WideCharToMultiByte> convert(
      "kernel32.dll", "WideCharToMultiByte",
      [&](UINT codePage, DWORD flags, LPCWCH text, int, LPSTR buffer, int size, LPCCH, LPBOOL) {
        texts.emplace_back(text);
        EXPECT_EQ(codePage, static_cast<UINT>(CP_THREAD_ACP));
        EXPECT_EQ(flags, 0u);
        EXPECT_EQ(size, static_cast<int>(2 * texts.back().size() + 1));
        // A little above this function's own frame is its callers'.
        EXPECT_LT(reinterpret_cast<uintptr_t>(buffer) -
                      reinterpret_cast<uintptr_t>(__builtin_frame_address(0)),
                  uintptr_t{1} << 17);
        std::strcpy(buffer, "x");
        return 2;
      });
  List(L"C:\\a.zip");
  EXPECT_EQ(g_talk.archive, "x");
  Unzip(L"b.zip", L"c.txt");
  EXPECT_EQ(texts, (std::vector<std::wstring>{L"C:\\a.zip", L"b.zip", L"c.txt"}));
}

TEST_F(UnzipBinding, PassesAFailedConversionOnAsNull) {
  const CImportSpy<&WideCharToMultiByte> convert("kernel32.dll", "WideCharToMultiByte",
                                                 [](auto...) { return 0; });
  g_talk.archive = "before";
  List(L"a.zip");
  EXPECT_EQ(g_talk.archive, std::nullopt);
  g_talk.archive = g_talk.entry = "before";
  Unzip(L"a.zip", L"a.txt");
  EXPECT_EQ(g_talk.archive, std::nullopt);
  EXPECT_EQ(g_talk.entry, std::nullopt);
  EXPECT_EQ(g_talk.calls, 2);
}

}  // namespace
