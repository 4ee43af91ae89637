// UNZIP32.DLL itself, called the way its published interface says.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "base/code_pages.h"
#include "tests/collections/unzip_calls.h"
#include "ui/bind_function.h"
#include "unzip/unzip_interface.h"

namespace {

using testing::ElementsAre;

// Global, as the callbacks have no parameter for a caller's state.
std::string g_printed;
std::vector<std::string> g_messages;
int g_passwords = 0;

int WINAPI Print(LPSTR text, unsigned long length) {
  EXPECT_EQ(std::strlen(text), length);
  g_printed += text;
  return static_cast<int>(length);
}
void WINAPI Message(unsigned long size, unsigned long compressedSize, unsigned factor,
                    unsigned month, unsigned day, unsigned year, unsigned hour, unsigned minute,
                    char flag, LPSTR name, LPSTR method, unsigned long crc, char crypt) {
  unsigned date[] = {month, day, year};  // in the order of the locale
  std::ranges::sort(date);
  std::ostringstream line;
  line << name << " " << size << " " << compressedSize << " " << factor << "% " << date[0] << "-"
       << date[1] << "-" << date[2] << " " << hour << ":" << minute << flag << method << " "
       << std::hex << crc << crypt;
  g_messages.push_back(line.str());
}

std::string Narrow(const wchar_t* archive) {
  return ToSystemCodePage(Archive(archive)).GetString();
}

class UnzipEngine : public testing::Test {
 protected:
  UnzipEngine() : m_library(LoadLibraryW(L"UNZIP32.DLL")) {
    BindFunction(m_library, "Wiz_SingleEntryUnzip", m_singleEntryUnzip);
    BindFunction(m_library, "Wiz_UnzipToMemory", m_unzipToMemory);
    BindFunction(m_library, "UzpFreeMemBuffer", m_freeMemBuffer);
    g_printed.clear();
    g_messages.clear();
    g_passwords = 0;
    m_functions.print = Print;
    m_functions.replace = [](LPSTR) { return 100; };
    m_functions.password = [](LPSTR, int, LPCSTR, LPCSTR) { return ++g_passwords; };
    m_functions.SendApplicationMessage = Message;
    m_options.nvflag = 1;
    m_options.ndflag = 1;
  }
  ~UnzipEngine() override { FreeLibrary(m_library); }

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

TEST_F(UnzipEngine, EachEntryIsDescribed) {
  EXPECT_EQ(ListArchive(Narrow(L"stored")), 0);
  EXPECT_THAT(g_messages,
              ElementsAre("a.txt 11 11 0% 12-13-2011 14:15 Stored faf01b5 ",
                          "folder/b.bin 5000 5000 0% 12-13-2011 14:15 Stored f5d26503 "));
  EXPECT_EQ(g_printed, "");
}

TEST_F(UnzipEngine, ListingSetsTheTotalsOnly) {
  struct {
    USERFUNCTIONS functions;
    BYTE behind[64];
  } block = {m_functions, {}};
  std::string path = Narrow(L"deflated");
  m_options.lpszZipFN = path.data();
  EXPECT_EQ(m_singleEntryUnzip(0, nullptr, 0, nullptr, &m_options, &block.functions), 0);
  EXPECT_EQ(block.functions.NumMembers, 3u);
  EXPECT_EQ(block.functions.TotalSize, 16600u);
  EXPECT_GT(block.functions.TotalSizeComp, 100u);
  EXPECT_LT(block.functions.TotalSizeComp, 16600u);
  EXPECT_GT(block.functions.CompFactor, 0u);
  EXPECT_EQ(block.functions.cchComment, 7u);
  EXPECT_EQ(block.functions.print, Print);
  EXPECT_EQ(block.functions.sound, nullptr) << "an address in the library would outlive it";
  EXPECT_EQ(block.functions.SendApplicationMessage, Message);
  std::string entry = "z*";
  EXPECT_EQ(m_unzipToMemory(path.data(), entry.data(), &block.functions, &m_buffer), 0);
  m_freeMemBuffer(&m_buffer);
  EXPECT_EQ(std::ranges::count(block.behind, 0), 64);
}

TEST_F(UnzipEngine, ListingReturnsTheEnginesResult) {
  const std::pair<const wchar_t*, int> cases[] = {
      {L"stored", 0}, {L"claims_4g", 0}, {L"empty", 1}, {L"cut_end", 9}, {L"not there", 9},
  };
  for (const auto& [archive, result] : cases) {
    EXPECT_EQ(ListArchive(Narrow(archive)), result) << archive;
  }
  EXPECT_THAT(g_printed, testing::HasSubstr("zipfile is empty\n"));
}

TEST_F(UnzipEngine, ExtractionReturnsTheEnginesResultAndOnFailureNoBuffer) {
  const struct {
    const wchar_t* archive;
    const char* entry;
    int result;
  } cases[] = {
      {L"stored", "a.txt", 0},
      {L"junk_front", "bad.txt", 1},
      {L"stored", "missing", 11},
      {L"empty", "a.txt", 11},
      {L"no*such", "a.txt", 11},
      {L"not there", "a.txt", 9},
      {L"bad_crc", "bad.txt", 2},
      {L"lying_size", "bad.txt", 2},
      // 32 bits plus one byte are no bytes: nothing may be written to such a block.
      {L"claims_4g", "bad.txt", 50},
      // One at a time, entries that overlap are entries like any other.
      {L"overlapping", "kernel.txt", 0},
      {L"overlapping", "*", 12},
  };
  for (const auto& c : cases) {
    ExpectResult(c.archive, c.entry, c.result);
  }
  EXPECT_EQ(g_passwords, 0);
  ExpectResult(L"encrypted", "bad.txt", 82);
  EXPECT_EQ(g_passwords, 1);
}

TEST_F(UnzipEngine, BytesAreFollowedByAZero) {
  ASSERT_EQ(UnzipEntry(Narrow(L"deflated"), "z first.txt"), 0);
  EXPECT_EQ(m_buffer.strlength, ArchivedText().size());
  EXPECT_EQ(m_buffer.strptr, ArchivedText());
  m_freeMemBuffer(&m_buffer);
  EXPECT_EQ(m_buffer.strptr, nullptr);
  m_freeMemBuffer(&m_buffer);
  m_freeMemBuffer(nullptr);
}

/// The C runtime's files that are open. The library uses the same runtime.
std::vector<int> OpenFiles() {
  std::vector<int> files;
  for (int file = 0; file < 64; ++file) {
    if (_get_osfhandle(file) != -1) {
      files.push_back(file);
    }
  }
  return files;
}

std::vector<int> g_filesBefore;
int g_broken = -1;

/// Puts something that cannot be read in the place of the archive: the file that has been opened.
void WINAPI BreakArchive() {
  std::vector<int> opened;
  std::ranges::set_difference(OpenFiles(), g_filesBefore, std::back_inserter(opened));
  g_broken = opened.at(0);
  const int unreadable = _open("NUL", _O_WRONLY);
  EXPECT_EQ(_dup2(unreadable, g_broken), 0);
  _close(unreadable);
}

TEST_F(UnzipEngine, ReadErrorIsAFailureThatClosesTheArchive) {
  g_filesBefore = OpenFiles();
  m_functions.sound = BreakArchive;  // called when an extraction begins
  ExpectResult(L"noise", "noise.bin", 3);
  EXPECT_NE(g_broken, -1);
  EXPECT_EQ(OpenFiles(), g_filesBefore);
  m_functions.sound = nullptr;
  ExpectResult(L"noise", "noise.bin", 0);
}

TEST_F(UnzipEngine, NullArgumentsAreRefused) {
  char text[] = "a";
  EXPECT_EQ(m_singleEntryUnzip(0, nullptr, 0, nullptr, nullptr, &m_functions), 10);
  EXPECT_EQ(m_singleEntryUnzip(0, nullptr, 0, nullptr, &m_options, nullptr), 10);
  EXPECT_EQ(m_unzipToMemory(nullptr, text, &m_functions, &m_buffer), 10);
  EXPECT_EQ(m_unzipToMemory(text, nullptr, &m_functions, &m_buffer), 10);
  EXPECT_EQ(m_unzipToMemory(text, text, nullptr, &m_buffer), 10);
  EXPECT_EQ(m_unzipToMemory(text, text, &m_functions, nullptr), 10);
  m_functions.print = nullptr;
  EXPECT_EQ(m_unzipToMemory(text, text, &m_functions, &m_buffer), 3);
}

TEST_F(UnzipEngine, TimeZoneOfTheProcessIsLeftAlone) {
  _putenv("TZ=CET-1CEST");
  SetEnvironmentVariableW(L"TZ", L"CET-1CEST");
  ListArchive(Narrow(L"stored"));
  ExpectResult(L"stored", "a.txt", 0);
  EXPECT_STREQ(std::getenv("TZ"), "CET-1CEST");
  wchar_t zone[32] = {};
  GetEnvironmentVariableW(L"TZ", zone, ARRAYSIZE(zone));
  EXPECT_STREQ(zone, L"CET-1CEST");
  _putenv("TZ=");
}

}  // namespace
