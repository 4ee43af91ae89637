// Names that are taken, that two downloads want at once, or that mean a device.

#include <cstdlib>

#include "tests/faults/navigation_faults.h"
#include "tests/support/dialogs.h"
#include "tests/support/http_pattern.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

using Texts = std::vector<std::wstring>;

/// Gives the calling thread the random sequence that it began with.
void RestartRandomNumbers() { std::srand(1); }

class NameFaults : public NavigationFaults {
 protected:
  NameFaults() : NavigationFaults(kOpenButton) {}

  /// Takes `count` of the names that are tried one after another, each with a file of its own;
  /// gives the first one that is free.
  std::wstring TakeNames(const std::wstring& base, int count) {
    RestartRandomNumbers();
    std::wstring name = base + L".qdk";
    for (int i = 0; i < count; ++i) {
      m_sandbox.Write(kTempFiles + name, Taken(i));
      m_taken.push_back(Temporary(name));
      name = base + L"(" + std::to_wstring(std::rand()) + L").qdk";
    }
    RestartRandomNumbers();
    return Temporary(name);
  }

  /// The files that were there are as they were; they go.
  void ExpectTakenNamesUntouched() {
    for (size_t i = 0; i < m_taken.size(); ++i) {
      EXPECT_EQ(ReadFileBytes(m_taken[i]), Taken(static_cast<int>(i)));
      DeleteFileW(m_taken[i].c_str());
    }
    m_taken.clear();
    EXPECT_EQ(m_sandbox.Files(), Texts());
  }

  void ExpectOpened(const std::wstring& url, const std::wstring& expected) {
    const CNavigationResult outcome = Navigate(url);
    EXPECT_TRUE(outcome.cancelled);
    EXPECT_EQ(outcome.messages, Texts());
    ASSERT_EQ(outcome.launches.size(), 1u);
    EXPECT_EQ(outcome.launches[0].file, expected);
    EXPECT_TRUE(ReadFileBytes(expected) == LessonBytes());
    DeleteFileW(expected.c_str());
  }

 private:
  static std::string Taken(int index) { return "file " + std::to_string(index); }

  Texts m_taken;
};

TEST_F(NameFaults, TakenNameIsNumbered) {
  for (const int count : {0, 1, 2, 100}) {
    SCOPED_TRACE(count);
    const ScriptedPath path(m_server, Lesson());
    Checks().Run([&] {  // of the opened file
      const std::wstring free = TakeNames(L"My Lesson", count);
      ExpectOpened(path.Url(L"My%20Lesson.qdk"), free);
      ExpectTakenNamesUntouched();
    });
    Checks().Run([&] {  // of the temporary file
      const std::wstring free = TakeNames(L"iedownload", count);
      bool isUsed = false;
      WhileAsked([&] {
        isUsed = GetFileAttributesW(free.c_str()) != INVALID_FILE_ATTRIBUTES;
        RestartRandomNumbers();
      });
      ExpectOpened(path.Url(L"a.qdk"), Temporary(L"a.qdk"));
      WhileAsked(nullptr);
      EXPECT_TRUE(isUsed);
      ExpectTakenNamesUntouched();
    });
  }
}

TEST_F(NameFaults, FoldersAndOtherCaseTakeANameToo) {
  Checks().Run([&] {
    RestartRandomNumbers();
    const std::wstring numbered = L"a(" + std::to_wstring(std::rand()) + L").qdk";
    m_sandbox.Write(kTempFiles + std::wstring(L"A.QDK"), "mine");
    CreateDirectoryW(Temporary(numbered).c_str(), nullptr);
    const std::wstring free = Temporary(L"a(" + std::to_wstring(std::rand()) + L").qdk");
    RestartRandomNumbers();
    const ScriptedPath path(m_server, Lesson());
    ExpectOpened(path.Url(L"a.qdk"), free);
    EXPECT_EQ(ReadFileBytes(Temporary(L"A.QDK")), "mine");
    DeleteFileW(Temporary(L"A.QDK").c_str());
    RemoveDirectoryW(Temporary(numbered).c_str());
  });
}

TEST_F(NameFaults, DevicesTakeTheirNamesEverywhere) {
  for (const std::wstring device : {L"NUL", L"con", L"AUX", L"PRN", L"COM1", L"LPT9"}) {
    SCOPED_TRACE(testing::PrintToString(device));
    Checks().Run([&] {
      RestartRandomNumbers();
      const std::wstring number = std::to_wstring(std::rand());
      RestartRandomNumbers();
      const ScriptedPath path(m_server, Lesson());
      ExpectOpened(path.Url(device + L".qdk"), Temporary(device + L"(" + number + L").qdk"));
      EXPECT_EQ(m_sandbox.Files(), Texts());
    });
  }
}

/// Two browser windows with a thread each, whose lessons have one name. The first one stalls until
/// the second has ended.
class TwoAtOnce : public NameFaults {
 protected:
  struct COpened {
    std::wstring file;
    std::string bytes;  // when it is opened
  };

  /// Gives what was opened, the second one's file first.
  std::vector<COpened> RunBoth() {
    std::vector<COpened> opened;
    m_launches.WhileLaunching([&] {
      const std::wstring file = m_launches.Launches().back().file;
      opened.push_back({file, ReadFileBytes(file)});
    });
    const ScriptedPath first(m_server, Lesson().Gated());
    const ScriptedPath second(m_server, Second());
    first.AllowUpTo(10000);
    const CParallel otherWindow([&] {
      WaitForDialog(kDownloadTitle);
      const CHelperObject helper;
      EXPECT_TRUE(helper.Navigate(second.Url(L"a.qdk")));
      m_filesBetween = m_sandbox.Files();
      first.AllowAll();
    });
    EXPECT_TRUE(Navigate(first.Url(L"a.qdk")).cancelled);
    m_launches.WhileLaunching(nullptr);
    return opened;
  }

  static HttpAnswer Second() { return HttpAnswer().Bytes("\x78\x9C").Pattern(7, 3000); }
  static std::string SecondBytes() { return "\x78\x9C" + PatternBytes(7, 0, 3000); }

  Texts m_filesBetween;
};

TEST_F(TwoAtOnce, LaterOpenedLessonReplacesTheOtherOfItsName) {
  Checks().Run([&] {
    RestartRandomNumbers();
    const std::vector<COpened> opened = RunBoth();
    ASSERT_EQ(opened.size(), 2u);
    // The name was free for both when they asked: it is not taken before the file is delivered.
    EXPECT_EQ(opened[0].file, Temporary(L"a.qdk"));
    EXPECT_TRUE(opened[0].bytes == SecondBytes());
    EXPECT_EQ(opened[1].file, Temporary(L"a.qdk"));
    EXPECT_TRUE(opened[1].bytes == LessonBytes());
    EXPECT_EQ(m_filesBetween, (Texts{kTempFiles + std::wstring(L"a.qdk"),
                                     kTempFiles + std::wstring(L"iedownload.qdk")}))
        << "while they are transferred each has a file of its own";
    EXPECT_EQ(m_sandbox.Files(), Texts{kTempFiles + std::wstring(L"a.qdk")});
    DeleteFileW(Temporary(L"a.qdk").c_str());
  });
}

TEST_F(TwoAtOnce, SecondToMakeTheTemporaryFileGetsAMessage) {
  // Both found its name free, as neither had asked its server yet.
  Checks().Run([&] {
    const ScriptedPath first(m_server, Lesson().Hold(http_point::kBeforeHeaders));
    const ScriptedPath second(m_server, Second().Gated());
    second.AllowUpTo(2000);
    CParallel otherWindow([&] {
      EXPECT_TRUE(first.WaitForHeld(http_point::kBeforeHeaders));
      const CHelperObject helper;
      EXPECT_TRUE(helper.Navigate(second.Url(L"b.qdk")));
    });
    const CParallel meanwhile([&] {
      WaitForDialog(kDownloadTitle);
      first.AllowAll();
    });
    const CNavigationResult outcome = Navigate(first.Url(L"a.qdk"));
    EXPECT_FALSE(outcome.cancelled) << "the browser tries by itself";
    EXPECT_EQ(outcome.messages, Texts{CannotCreate(Temporary(L"iedownload.qdk"))});
    second.AllowAll();
    otherWindow.Join();
    EXPECT_EQ(m_sandbox.Files(), Texts{kTempFiles + std::wstring(L"b.qdk")});
    EXPECT_TRUE(ReadFileBytes(Temporary(L"b.qdk")) == SecondBytes()) << "the other's is whole";
    DeleteFileW(Temporary(L"b.qdk").c_str());
  });
}

}  // namespace
