// UNZIP32.DLL itself, called the way its published interface says.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <io.h>
#include <windows.h>

#include <clocale>
#include <cstdlib>
#include <cstring>

#include "collections/code_pages.h"
#include "tests/support/temp_sandbox.h"
#include "tests/unzip/unzip_test.h"
#include "unzip/unzip_interface.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

struct CEntryMessage {
  unsigned long size;
  unsigned long compressedSize;
  unsigned factor;
  unsigned date[3];
  unsigned hour;
  unsigned minute;
  std::string name;
  std::string method;
  unsigned long crc;
  char crypt;
};

// The interface has no room for a caller's state.
std::string g_printed;
std::vector<CEntryMessage> g_messages;
int g_passwords = 0;

int WINAPI Print(LPSTR text, unsigned long length) {
  EXPECT_EQ(std::strlen(text), length);
  g_printed += text;
  return static_cast<int>(length);
}
int WINAPI Replace(LPSTR) {
  ADD_FAILURE() << "nothing is extracted to a file";
  return 100;
}
int WINAPI Password(LPSTR, int, LPCSTR, LPCSTR) {
  ++g_passwords;
  return 1;
}
void WINAPI Message(unsigned long size, unsigned long compressedSize, unsigned factor,
                    unsigned month, unsigned day, unsigned year, unsigned hour, unsigned minute,
                    char, LPSTR name, LPSTR method, unsigned long crc, char crypt) {
  g_messages.push_back(
      {size, compressedSize, factor, {month, day, year}, hour, minute, name, method, crc, crypt});
}

std::string Narrow(const wchar_t* archive) {
  return ToSystemCodePage(Archive(archive)).GetString();
}

class UnzipEngine : public testing::Test {
 protected:
  UnzipEngine() : m_library(LoadLibraryW(L"UNZIP32.DLL")) {
    Bind("Wiz_SingleEntryUnzip", m_singleEntryUnzip);
    Bind("Wiz_UnzipToMemory", m_unzipToMemory);
    Bind("UzpFreeMemBuffer", m_freeMemBuffer);
    g_printed.clear();
    g_messages.clear();
    g_passwords = 0;
    m_functions.print = Print;
    m_functions.replace = Replace;
    m_functions.password = Password;
    m_functions.SendApplicationMessage = Message;
    m_options.nvflag = 1;
    m_options.ndflag = 1;
  }
  ~UnzipEngine() override { FreeLibrary(m_library); }

  template <typename Function>
  void Bind(const char* name, Function& function) {
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(m_library, name)));
    ASSERT_NE(function, nullptr) << name;
  }

  int ListArchive(std::string path) {
    m_options.lpszZipFN = path.data();
    return m_singleEntryUnzip(0, nullptr, 0, nullptr, &m_options, &m_functions);
  }
  /// The buffer is filled with garbage first.
  int UnzipEntry(std::string path, std::string entry) {
    m_buffer = {0xDEADBEEF, m_garbage};
    return m_unzipToMemory(path.data(), entry.data(), &m_functions, &m_buffer);
  }
  /// Whether an extraction gives this result and, if it is a failure, no buffer.
  void ExpectResult(const wchar_t* archive, const char* entry, int result) {
    EXPECT_EQ(UnzipEntry(Narrow(archive), entry), result) << archive;
    if (result > 1) {
      EXPECT_EQ(m_buffer.strptr, nullptr) << archive;
      EXPECT_EQ(m_buffer.strlength, 0u) << archive;
    } else {
      m_freeMemBuffer(&m_buffer);
    }
  }

  const CUnzipSearchPath m_path{RealUnzipFolder()};
  const HMODULE m_library;
  WizSingleEntryUnzipFn m_singleEntryUnzip = nullptr;
  WizUnzipToMemoryFn m_unzipToMemory = nullptr;
  UzpFreeMemBufferFn m_freeMemBuffer = nullptr;
  DCL m_options = {};
  USERFUNCTIONS m_functions = {};
  UzpBuffer m_buffer = {};
  char m_garbage[1] = {};
};

TEST_F(UnzipEngine, DescribesEachEntry) {
  EXPECT_EQ(ListArchive(Narrow(L"deflated")), 0);
  ASSERT_THAT(g_messages, SizeIs(5));
  const CEntryMessage& first = g_messages[0];
  EXPECT_EQ(first.name, "z first.txt");
  EXPECT_EQ(first.size, 11600u);
  EXPECT_LT(first.compressedSize, 200u);
  EXPECT_EQ(first.factor, 99u);
  EXPECT_THAT(first.date, testing::UnorderedElementsAre(12, 13, 2011)) << "in the locale's order";
  EXPECT_EQ(first.hour, 14u);
  EXPECT_EQ(first.minute, 15u);
  EXPECT_EQ(first.method, "Defl:N");
  EXPECT_EQ(first.crc, 0x5FFEA1BCu);
  EXPECT_EQ(first.crypt, ' ');
  EXPECT_EQ(g_messages[1].name, "folder/");
  EXPECT_EQ(g_printed, "");
}

TEST_F(UnzipEngine, GivesTotalsAndLeavesTheFunctionsAlone) {
  EXPECT_EQ(ListArchive(Narrow(L"stored")), 0);
  EXPECT_EQ(m_functions.NumMembers, 2u);
  EXPECT_EQ(m_functions.TotalSize, 5011u);
  EXPECT_EQ(m_functions.TotalSizeComp, 5011u);
  EXPECT_EQ(m_functions.CompFactor, 0u);
  EXPECT_EQ(ListArchive(Narrow(L"with_comment")), 0);
  EXPECT_EQ(m_functions.cchComment, 7u);
  EXPECT_EQ(m_functions.print, Print);
  EXPECT_EQ(m_functions.sound, nullptr) << "an address in the library would outlive it";
  EXPECT_EQ(m_functions.SendApplicationMessage, Message);
  EXPECT_EQ(m_functions.ServCallBk, nullptr);
}

TEST_F(UnzipEngine, WritesNothingBehindTheBlocks) {
  struct {
    USERFUNCTIONS functions;
    BYTE behind[64];
  } block = {};
  std::memset(&block, 0xA5, sizeof(block));
  block.functions = m_functions;
  std::string path = Narrow(L"with_comment");
  m_options.lpszZipFN = path.data();
  EXPECT_EQ(m_singleEntryUnzip(0, nullptr, 0, nullptr, &m_options, &block.functions), 0);
  std::string entry = "a.txt";
  EXPECT_EQ(m_unzipToMemory(path.data(), entry.data(), &block.functions, &m_buffer), 0);
  m_freeMemBuffer(&m_buffer);
  for (const BYTE byte : block.behind) {
    ASSERT_EQ(byte, 0xA5);
  }
}

TEST_F(UnzipEngine, ListsWithTheEnginesResults) {
  EXPECT_EQ(ListArchive(Narrow(L"empty")), 1);
  EXPECT_THAT(g_printed, HasSubstr("zipfile is empty\n"));
  EXPECT_EQ(ListArchive(Narrow(L"not there")), 9);
  EXPECT_EQ(ListArchive(Narrow(L"cut_end")), 9);
  EXPECT_THAT(g_messages, IsEmpty());
  EXPECT_EQ(ListArchive(Narrow(L"cut_front")), 2);
  EXPECT_EQ(ListArchive(Narrow(L"wrong_count")), 3);
  EXPECT_EQ(ListArchive(Narrow(L"junk_front")), 1);
  EXPECT_EQ(ListArchive(Narrow(L"claims_4g")), 0);
  EXPECT_EQ(ListArchive(std::string(300, 'x')), 4);
}

TEST_F(UnzipEngine, ExtractsWithTheEnginesResults) {
  ExpectResult(L"stored", "a.txt", 0);
  ExpectResult(L"junk_front", "bad.txt", 1);
  ExpectResult(L"stored", "missing", 11);
  ExpectResult(L"empty", "a.txt", 11);
  ExpectResult(L"not there", "a.txt", 9);
  ExpectResult(L"bad_crc", "bad.txt", 2);
  ExpectResult(L"bad_data", "bad.txt", 2);
  ExpectResult(L"wrong_count", "a.txt", 3);
  ExpectResult(L"names_twice", "twice1.txt", 50);
  ExpectResult(L"new_method", "bad.txt", 81);
  ExpectResult(L"cut_front", "a.txt", 12);
  EXPECT_EQ(UnzipEntry("no*such.zip", "a.txt"), 11);
  EXPECT_EQ(m_buffer.strptr, nullptr);
}

TEST_F(UnzipEngine, GivesBytesWithAZeroBehindThem) {
  ASSERT_EQ(UnzipEntry(Narrow(L"deflated"), "collection.xml"), 0);
  EXPECT_EQ(m_buffer.strlength, 13u);
  EXPECT_STREQ(m_buffer.strptr, "<collection/>");
  m_freeMemBuffer(&m_buffer);
  EXPECT_EQ(m_buffer.strptr, nullptr);
  m_freeMemBuffer(&m_buffer);
  m_freeMemBuffer(nullptr);
}

TEST_F(UnzipEngine, RefusesALyingSize) {
  ExpectResult(L"lying_size", "bad.txt", 2);
  // Stored bytes are as many as there are: the engine says so, and goes on.
  ExpectResult(L"wrong_stored", "bad.txt", 1);
}

// 32 bits plus one byte are no bytes: nothing may be written to such a block.
TEST_F(UnzipEngine, RefusesASizeThatWrapsAround) { ExpectResult(L"claims_4g", "bad.txt", 50); }

TEST_F(UnzipEngine, RefusesEntriesThatOverlap) {
  // One at a time they are entries like any other.
  ExpectResult(L"overlapping", "kernel.txt", 0);
  ExpectResult(L"overlapping", "*", 12);
}

TEST_F(UnzipEngine, AsksForThePasswordOnce) {
  EXPECT_EQ(ListArchive(Narrow(L"encrypted")), 0);
  EXPECT_EQ(g_messages.at(0).crypt, 'E');
  EXPECT_EQ(g_passwords, 0);
  const int result = UnzipEntry(Narrow(L"encrypted"), "locked.txt");
  EXPECT_TRUE(result == 82 || result == 2) << result;
  EXPECT_EQ(g_passwords, 1);
  EXPECT_EQ(m_buffer.strptr, nullptr);
}

TEST_F(UnzipEngine, DoesWhatTheOptionsSay) {
  const CTempSandbox folder;
  std::string path = ToSystemCodePage(folder.Path().c_str()).GetString();
  m_options.nvflag = 0;
  m_options.lpszExtractDir = path.data();
  m_options.ndflag = 0;
  EXPECT_EQ(ListArchive(Narrow(L"stored")), 0);
  EXPECT_THAT(folder.Files(), testing::ElementsAre(L"a.txt", L"b.bin")) << "without their folders";
  m_options.ndflag = 1;
  m_options.noflag = 1;
  EXPECT_EQ(ListArchive(Narrow(L"stored")), 0);
  EXPECT_THAT(folder.Files(), testing::ElementsAre(L"a.txt", L"b.bin", L"folder\\b.bin"));
  m_options.ntflag = 1;
  g_printed.clear();
  EXPECT_EQ(ListArchive(Narrow(L"bad_crc")), 2);
  EXPECT_THAT(g_printed, HasSubstr("bad CRC"));
  EXPECT_THAT(folder.Files(), SizeIs(3)) << "tested only";
}

constexpr int kFileDescriptors = 64;
bool g_isOpen[kFileDescriptors];
int g_broken = -1;

void NoteOpenFiles() {
  for (int file = 0; file < kFileDescriptors; ++file) {
    g_isOpen[file] = _get_osfhandle(file) != -1;
  }
}

/// Puts something that cannot be read in the place of the archive: the file that is open now and
/// was not before. The C runtime is the one that the library uses.
void WINAPI BreakArchive() {
  for (int file = 0; file < kFileDescriptors; ++file) {
    if (!g_isOpen[file] && _get_osfhandle(file) != -1) {
      const int unreadable = _open("NUL", _O_WRONLY);
      EXPECT_EQ(_dup2(unreadable, file), 0);
      _close(unreadable);
      g_broken = file;
      return;
    }
  }
}

TEST_F(UnzipEngine, SurvivesAReadError) {
  NoteOpenFiles();
  m_functions.sound = BreakArchive;  // called when an extraction begins
  ExpectResult(L"noise", "noise.bin", 3);
  ASSERT_NE(g_broken, -1);
  EXPECT_EQ(_get_osfhandle(g_broken), -1) << "closed all the same";
  m_functions.sound = nullptr;
  ExpectResult(L"noise", "noise.bin", 0);
}

TEST_F(UnzipEngine, RefusesNullArguments) {
  char text[] = "a";
  EXPECT_EQ(m_singleEntryUnzip(0, nullptr, 0, nullptr, nullptr, &m_functions), 10);
  EXPECT_EQ(m_singleEntryUnzip(0, nullptr, 0, nullptr, &m_options, nullptr), 10);
  m_options.lpszZipFN = nullptr;
  EXPECT_EQ(m_singleEntryUnzip(0, nullptr, 0, nullptr, &m_options, &m_functions), 9);
  EXPECT_EQ(m_unzipToMemory(nullptr, text, &m_functions, &m_buffer), 10);
  EXPECT_EQ(m_unzipToMemory(text, nullptr, &m_functions, &m_buffer), 10);
  EXPECT_EQ(m_unzipToMemory(text, text, nullptr, &m_buffer), 10);
  EXPECT_EQ(m_unzipToMemory(text, text, &m_functions, nullptr), 10);
  m_functions.print = nullptr;
  EXPECT_EQ(m_unzipToMemory(text, text, &m_functions, &m_buffer), 3);
  EXPECT_EQ(ListArchive("a.zip"), 3);
}

TEST_F(UnzipEngine, LeavesTheProcessAsItWas) {
  _putenv("TZ=CET-1CEST");
  SetEnvironmentVariableW(L"TZ", L"CET-1CEST");
  std::setlocale(LC_ALL, "C");
  wchar_t before[MAX_PATH] = {};
  GetCurrentDirectoryW(MAX_PATH, before);
  for (const wchar_t* name : {L"stored", L"bad_crc", L"names_dos", L"cut_end"}) {
    ListArchive(Narrow(name));
    if (UnzipEntry(Narrow(name), "*.txt") < 2) {
      m_freeMemBuffer(&m_buffer);
    }
  }
  wchar_t after[MAX_PATH] = {};
  GetCurrentDirectoryW(MAX_PATH, after);
  EXPECT_STREQ(before, after);
  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
  const char* const zone = std::getenv("TZ");
  ASSERT_NE(zone, nullptr);
  EXPECT_STREQ(zone, "CET-1CEST");
  wchar_t value[32] = {};
  GetEnvironmentVariableW(L"TZ", value, ARRAYSIZE(value));
  EXPECT_STREQ(value, L"CET-1CEST");
  _putenv("TZ=");
}

}  // namespace
