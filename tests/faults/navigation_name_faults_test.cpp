// Names that are taken, that two downloads want at once, or that mean a device.

#include <cstdlib>

#include "tests/faults/navigation_faults.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

/// Gives the calling thread the random sequence that it began with: 41, 18467, ...
void RestartRandomNumbers() { std::srand(1); }

class NavigationNameFaults : public NavigationFaults {
 protected:
  NavigationNameFaults() : NavigationFaults(kOpenButton) { RestartRandomNumbers(); }

  /// The files, all of temporary files, which go.
  Files TakeFiles() const {
    Files names;
    for (const std::wstring& file : m_sandbox.Files()) {
      EXPECT_TRUE(file.starts_with(kTempFiles));
      names.push_back(file.substr(std::size(kTempFiles) - 1));
      DeleteFileW((m_sandbox / file).c_str());
    }
    return names;
  }

  /// The second of two lessons at once.
  static HttpAnswer Second() { return HttpAnswer().Bytes(SecondBytes()); }
  static std::string SecondBytes() { return kOldLessonHead + std::string(100000, '2'); }
};

TEST_F(NavigationNameFaults, TakenNameIsNumbered) {
  struct {
    Files files;
    const wchar_t* lesson;
    std::wstring opened;
    const wchar_t* temporary = L"iedownload.qdk";
  } const cells[] = {
      {{}, L"My%20Lesson.qdk", L"My Lesson.qdk"},
      {{L"My Lesson.qdk"}, L"My%20Lesson.qdk", L"My Lesson(41).qdk"},
      {{L"iedownload.qdk"}, L"b.qdk", L"b.qdk", L"iedownload(41).qdk"},
      {{}, L"NUL.qdk", L"NUL(41).qdk"},
      {{}, L"con.qdk", L"con(41).qdk"},
      {{}, L"LPT9.qdk", L"LPT9(41).qdk"},
      // Another case, and a folder, which stays.
      {{L"A.QDK", L"a(41).qdk\\mine"}, L"a.qdk", L"a(18467).qdk"},
  };
  for (const auto& cell : cells) {
    SCOPED_TRACE(testing::PrintToString(cell.opened));
    const ScriptedPath path(m_server, Lesson());
    Checks().Run([&] {
      for (const std::wstring& file : cell.files) {
        m_sandbox.Write(kTempFiles + file, "mine");
      }
      RestartRandomNumbers();
      WhileAsked([&] {
        EXPECT_EQ(m_sandbox.Files().size(), cell.files.size() + 1);
        EXPECT_NE(ReadFileBytes(Temporary(cell.temporary)), "mine");
        RestartRandomNumbers();
      });
      EXPECT_EQ(Navigate(path.Url(cell.lesson)),
                (CSeen{L"asked", L"run " + Temporary(cell.opened), L"cancelled"}));
      WhileAsked(nullptr);
      EXPECT_TRUE(ReadFileBytes(Temporary(cell.opened)) == LessonBytes());
      DeleteFileW(Temporary(cell.opened).c_str());
      for (const std::wstring& file : cell.files) {
        EXPECT_EQ(ReadFileBytes(Temporary(file)), "mine");
      }
      EXPECT_EQ(TakeFiles().size(), cell.files.size());
    });
  }
}

// Two browser windows with a thread each, whose lessons have one name. The first one stalls until
// the second has ended.

TEST_F(NavigationNameFaults, LaterOpenedLessonReplacesTheOtherOfItsName) {
  Checks().Run([&] {
    RestartRandomNumbers();
    std::vector<std::string> opened;
    m_launches.WhileLaunching([&] {
      EXPECT_EQ(m_launches.Launches().back().file, Temporary(L"a.qdk"));
      opened.push_back(ReadFileBytes(Temporary(L"a.qdk")));
    });
    const ScriptedPath first(m_server, Lesson().Gated());
    const ScriptedPath second(m_server, Second());
    first.AllowUpTo(10000);
    const CParallel otherWindow([&] {
      WaitForDialog(kDownloadTitle);
      const CHelperObject helper;
      EXPECT_TRUE(helper.Navigate(second.Url(L"a.qdk")));
      // While they are transferred each has a file of its own.
      EXPECT_EQ(m_sandbox.Files(), (Files{kTempFiles + std::wstring(L"a.qdk"),
                                          kTempFiles + std::wstring(L"iedownload.qdk")}));
      first.AllowAll();
    });
    // The name was free for both when they asked: it is not taken before the file is delivered.
    const std::wstring run = L"run " + Temporary(L"a.qdk");
    EXPECT_EQ(Navigate(first.Url(L"a.qdk")), (CSeen{L"asked", L"asked", run, run, L"cancelled"}));
    m_launches.WhileLaunching(nullptr);
    EXPECT_TRUE(opened == (std::vector{SecondBytes(), LessonBytes()}));
    EXPECT_EQ(TakeFiles(), Files{L"a.qdk"});
  });
}

TEST_F(NavigationNameFaults, SecondToMakeTheTemporaryFileGetsAMessage) {
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
    // The browser tries by itself. Only the other is asked about.
    EXPECT_EQ(Navigate(first.Url(L"a.qdk")),
              (CSeen{L"asked", CannotCreate(Temporary(L"iedownload.qdk"))}));
    second.AllowAll();
    otherWindow.Join();
    EXPECT_TRUE(ReadFileBytes(Temporary(L"b.qdk")) == SecondBytes()) << "the other's is whole";
    EXPECT_EQ(TakeFiles(), Files{L"b.qdk"});
  });
}

}  // namespace
