// What the library is given, and what becomes of its answers: with the scripted double.
#include <gmock/gmock.h>
#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "collections/unzip_callbacks.h"
#include "tests/doubles/unzip/unzip_double.h"
#include "tests/support/import_patch.h"
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

// What the double was given last, and what it answers. The script's functions have no room for
// state of their own.
struct CTalk {
  int calls = 0;
  int includeCount = -1;
  char** includes = nullptr;
  int excludeCount = -1;
  char** excludes = nullptr;
  DCL options = {};
  USERFUNCTIONS functions = {};
  bool hasArchive = false;
  std::string archive;
  bool hasEntry = false;
  std::string entry;
  bool hasZerosBehind = true;  // behind options and functions
  UzpBuffer buffer = {};
  int frees = 0;

  int result = 0;
  UzpBuffer answer = {0, nullptr};
  std::vector<std::string> listed;
};
CTalk g_talk;

bool Keep(LPCSTR text, std::string& copy) {
  copy = text != nullptr ? text : "";
  return text != nullptr;
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

int WINAPI AnswerList(int includeCount, char** includes, int excludeCount, char** excludes,
                      DCL* options, USERFUNCTIONS* functions) {
  ++g_talk.calls;
  g_talk.includeCount = includeCount;
  g_talk.includes = includes;
  g_talk.excludeCount = excludeCount;
  g_talk.excludes = excludes;
  std::memcpy(&g_talk.options, options, sizeof(*options));
  std::memcpy(&g_talk.functions, functions, sizeof(*functions));
  UseAsLonger(options);
  UseAsLonger(functions);
  g_talk.hasArchive = Keep(options->lpszZipFN, g_talk.archive);
  for (std::string& name : g_talk.listed) {
    functions->SendApplicationMessage(1, 1, 0, 1, 2, 3, 4, 5, ' ', name.data(), nullptr, 0, ' ');
  }
  return g_talk.result;
}

int WINAPI AnswerUnzip(LPSTR archive, LPSTR entry, USERFUNCTIONS* functions, UzpBuffer* buffer) {
  ++g_talk.calls;
  g_talk.hasArchive = Keep(archive, g_talk.archive);
  g_talk.hasEntry = Keep(entry, g_talk.entry);
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

  CUnzipDouble m_unzip;
  CStdoutCapture m_output;
};

TEST_F(UnzipBinding, AsksForAVerboseListing) {
  EXPECT_TRUE(List(L"C:\\folder\\a.zip").has_value());
  EXPECT_EQ(g_talk.calls, 1);
  DCL expected;
  std::memset(&expected, 0, sizeof(expected));
  expected.nvflag = 1;
  expected.ndflag = 1;
  expected.lpszZipFN = g_talk.options.lpszZipFN;  // what it points to is compared below
  EXPECT_EQ(std::memcmp(&g_talk.options, &expected, sizeof(expected)), 0);
  EXPECT_EQ(g_talk.archive, "C:\\folder\\a.zip");
}

TEST_F(UnzipBinding, AsksForTheWholeArchive) {
  EXPECT_TRUE(List(L"a.zip").has_value());
  EXPECT_EQ(g_talk.includeCount, 0);
  EXPECT_EQ(g_talk.includes, nullptr);
  EXPECT_EQ(g_talk.excludeCount, 0);
  EXPECT_EQ(g_talk.excludes, nullptr);
}

/// Whether a block holds these functions and nothing but zeros behind them.
void ExpectFunctions(const USERFUNCTIONS& functions, UnzipMessageFn message) {
  USERFUNCTIONS expected;
  std::memset(&expected, 0, sizeof(expected));
  expected.print = UnzipPrint;
  expected.replace = UnzipReplace;
  expected.password = UnzipPassword;
  expected.SendApplicationMessage = message;
  EXPECT_EQ(std::memcmp(&functions, &expected, sizeof(expected)), 0);
}

TEST_F(UnzipBinding, GivesListingsTheListingCallback) {
  EXPECT_TRUE(List(L"a.zip").has_value());
  ExpectFunctions(g_talk.functions, UnzipListEntry);
}

TEST_F(UnzipBinding, GivesExtractionsTheReportCallback) {
  Unzip(L"a.zip", L"a.txt");
  ExpectFunctions(g_talk.functions, UnzipReportEntry);
}

// The heap check notices what the double writes there.
TEST_F(UnzipBinding, LeavesRoomBehindTheBlocksForALaterVersion) {
  List(L"a.zip");
  Unzip(L"a.zip", L"a.txt");
  EXPECT_EQ(g_talk.calls, 2);
  EXPECT_TRUE(g_talk.hasZerosBehind);
}

TEST_F(UnzipBinding, NamesArchiveAndEntry) {
  Unzip(L"C:\\Gr\u00fc\u00dfe\\a.zip", L"folder/%s.txt");
  EXPECT_EQ(g_talk.calls, 1);
  EXPECT_EQ(g_talk.archive,
            "C:\\Gr\xFC\xDF"
            "e\\a.zip");
  EXPECT_EQ(g_talk.entry, "folder/%s.txt");
  EXPECT_EQ(g_talk.buffer.strlength, 0u);
  EXPECT_EQ(g_talk.buffer.strptr, nullptr);
}

TEST_F(UnzipBinding, FillsTheListOfTheCall) {
  g_talk.listed = {"one",
                   "Gr\xFC\xDF"
                   "e",
                   "100%s"};
  CSimpleArray<CStringW> names;
  names.Add(L"before");
  EXPECT_TRUE(ListZipEntries(L"a.zip", &names));
  EXPECT_THAT(ToVector(names), ElementsAre(L"before", L"one", L"Gr\u00fc\u00dfe", L"100%s"));
  // Afterwards nothing is registered any more.
  char late[] = "late";
  g_talk.functions.SendApplicationMessage(1, 1, 0, 1, 2, 3, 4, 5, ' ', late, nullptr, 0, ' ');
  EXPECT_EQ(names.GetSize(), 4);
}

TEST_F(UnzipBinding, TakesResultsBelowTwoForSuccess) {
  for (const int result : {-1, 0, 1}) {
    g_talk.result = result;
    EXPECT_TRUE(List(L"a.zip").has_value()) << result;
  }
  char bytes[] = "bytes";
  for (const int result : {-1, 0, 1}) {
    g_talk.result = result;
    g_talk.answer = {5, bytes};
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), "bytes") << result;
  }
  EXPECT_EQ(m_output.Take(), "");
  EXPECT_TRUE(m_unzip.Release()) << "unloaded after each";
}

TEST_F(UnzipBinding, TellsOtherResultsOfListings) {
  g_talk.listed = {"one"};
  for (const int result : {2, 9, 51, 1000000}) {
    g_talk.result = result;
    EXPECT_EQ(List(L"a.zip"), std::nullopt);
    EXPECT_EQ(m_output.Take(), "Problem unzipping: " + std::to_string(result) + "\n");
  }
  EXPECT_FALSE(m_unzip.Release()) << "left loaded";
}

TEST_F(UnzipBinding, TellsOtherResultsOfExtractions) {
  char bytes[] = "bytes";
  for (const int result : {2, 11, 82}) {
    g_talk.result = result;
    g_talk.answer = {5, bytes};
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt);
    EXPECT_EQ(m_output.Take(), "Problem unzipping: " + std::to_string(result) + "\n");
  }
  EXPECT_EQ(g_talk.frees, 0) << "what a failure left in the buffer is not looked at";
  EXPECT_FALSE(m_unzip.Release()) << "left loaded";
}

TEST_F(UnzipBinding, CopiesTheBytesAndGivesTheBufferBack) {
  std::string bytes("with\0zeros\xFF", 11);
  g_talk.answer = {11, bytes.data()};
  unsigned long size = 0;
  std::unique_ptr<char[]> data;
  ASSERT_TRUE(UnzipEntryToMemory(L"a.zip", L"a.txt", &size, &data));
  EXPECT_EQ(size, 11u);
  EXPECT_EQ(std::string(data.get(), size), bytes);
  EXPECT_NE(data.get(), bytes.data());
  EXPECT_EQ(g_talk.frees, 1);
}

TEST_F(UnzipBinding, GivesAnEmptyBlockForAnEmptyEntry) {
  char end = '\0';
  g_talk.answer = {0, &end};
  EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), "");
  EXPECT_EQ(g_talk.frees, 1);
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
  EXPECT_EQ(g_talk.calls, 6);
  EXPECT_EQ(m_output.Take(), "");
  EXPECT_TRUE(m_unzip.Release());
}

constexpr size_t kTooMuch = 123457;

// From the C runtime itself: what is allocated meanwhile outlives the replacement.
void* __cdecl AllocateAllButThat(size_t size) {
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): stands in for malloc
  return size == kTooMuch ? nullptr : std::calloc(1, size);
}

TEST_F(UnzipBinding, FailsWithoutMemoryForTheCopy) {
  std::string bytes(kTooMuch, 'x');
  g_talk.answer = {static_cast<unsigned long>(bytes.size()), bytes.data()};
  unsigned long size = 1;
  std::unique_ptr<char[]> data;
  bool isUnzipped = true;
  {
    const CImportPatch allocate("msvcrt.dll", "malloc", AllocateAllButThat);
    EXPECT_NO_THROW(isUnzipped = UnzipEntryToMemory(L"a.zip", L"a.txt", &size, &data));
  }
  EXPECT_FALSE(isUnzipped);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(g_talk.frees, 1) << "the library's block is given back";
  EXPECT_TRUE(m_unzip.Release());
}

// Twice as many names as are there when the list grows.
constexpr int kListedNames = 1024;
constexpr size_t kGrownList = 2 * kListedNames * sizeof(CStringW);

void* __cdecl AllocateAllButAList(size_t size) {
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): stands in for malloc
  return size == kGrownList ? nullptr : std::calloc(1, size);
}

int WINAPI ConvertWithoutMemory(UINT, DWORD, LPCCH, int, LPWSTR, int) { throw std::bad_alloc(); }

TEST_F(UnzipBinding, ListingFailsWithoutMemoryForAName) {
  CSimpleArray<CStringW> names;
  g_talk.listed.assign(kListedNames + 2, "name");
  {
    const CImportPatch patch("msvcrt.dll", "malloc", AllocateAllButAList);
    EXPECT_FALSE(ListZipEntries(L"a.zip", &names));
  }
  {
    const CImportPatch patch("kernel32.dll", "MultiByteToWideChar", ConvertWithoutMemory);
    EXPECT_FALSE(ListZipEntries(L"a.zip", &names));
  }
  EXPECT_TRUE(ListZipEntries(L"a.zip", &names)) << "the next one has memory";
  EXPECT_TRUE(m_unzip.Release());
}

DWORD WINAPI NeverSearch(LPCWSTR, LPCWSTR, LPCWSTR, DWORD, LPWSTR, LPWSTR*) {
  ADD_FAILURE() << "the library is looked for";
  return 0;
}

TEST_F(UnzipBinding, NullArgumentsFailBeforeAnythingElse) {
  const CImportPatch search("kernel32.dll", "SearchPathW", NeverSearch);
  unsigned long size = 7;
  auto data = std::make_unique<char[]>(1);
  EXPECT_FALSE(ListZipEntries(L"a.zip", nullptr));
  EXPECT_FALSE(UnzipEntryToMemory(L"a.zip", L"a.txt", nullptr, &data));
  EXPECT_FALSE(UnzipEntryToMemory(L"a.zip", L"a.txt", &size, nullptr));
  EXPECT_FALSE(UnzipEntryToMemory(L"a.zip", L"a.txt", nullptr, nullptr));
  EXPECT_EQ(g_talk.calls, 0);
  EXPECT_EQ(size, 7u);
  EXPECT_NE(data, nullptr);
}

// Conversions, as the system sees them.
struct CConversion {
  UINT codePage;
  DWORD flags;
  std::wstring text;
  int size;
  bool isOnStack;
};
std::vector<CConversion> g_conversions;
int g_conversionResult = 0;

int WINAPI TakeDownConversion(UINT codePage, DWORD flags, LPCWCH text, int, LPSTR buffer, int size,
                              LPCCH, LPBOOL) {
  // A little above this function's own frame is its callers'.
  constexpr uintptr_t kCallers = 1 << 17;
  const auto distance =
      reinterpret_cast<uintptr_t>(buffer) - reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
  g_conversions.push_back({codePage, flags, text, size, distance < kCallers});
  buffer[0] = 'x';
  buffer[1] = '\0';
  return g_conversionResult;
}

void ExpectConversion(const CConversion& conversion, const std::wstring& text) {
  EXPECT_EQ(conversion.codePage, static_cast<UINT>(CP_THREAD_ACP));
  EXPECT_EQ(conversion.flags, 0u);
  EXPECT_EQ(conversion.text, text);
  EXPECT_EQ(conversion.size, static_cast<int>(2 * text.size() + 1));
  EXPECT_TRUE(conversion.isOnStack);
}

TEST_F(UnzipBinding, ConvertsToTheThreadsCodePageInABufferOnTheStack) {
  const CImportPatch patch("kernel32.dll", "WideCharToMultiByte", TakeDownConversion);
  g_conversionResult = 2;
  g_conversions.clear();
  List(L"C:\\a.zip");
  Unzip(L"b.zip", L"c.txt");
  ASSERT_EQ(g_conversions.size(), 3u);
  ExpectConversion(g_conversions[0], L"C:\\a.zip");
  ExpectConversion(g_conversions[1], L"b.zip");
  ExpectConversion(g_conversions[2], L"c.txt");
  EXPECT_EQ(g_talk.archive, "x");
}

TEST_F(UnzipBinding, PassesAFailedConversionOnAsNull) {
  const CImportPatch patch("kernel32.dll", "WideCharToMultiByte", TakeDownConversion);
  g_conversionResult = 0;
  List(L"a.zip");
  EXPECT_EQ(g_talk.calls, 1);
  EXPECT_FALSE(g_talk.hasArchive);
  g_talk.hasArchive = g_talk.hasEntry = true;
  Unzip(L"a.zip", L"a.txt");
  EXPECT_EQ(g_talk.calls, 2);
  EXPECT_FALSE(g_talk.hasArchive);
  EXPECT_FALSE(g_talk.hasEntry);
}

}  // namespace
