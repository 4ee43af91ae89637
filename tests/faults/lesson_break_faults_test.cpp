// Connections that break, stall or drip, at the places that mean something to the transfer.

#include <algorithm>

#include "tests/faults/lesson_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

constexpr size_t kPattern = 300000;
constexpr size_t kSize = kPattern + sizeof(kLessonHead) - 1;

struct CPlace {
  const char* name;
  size_t offset;
};
constexpr CPlace kPlaces[] = {
    {"at the begin", 0},
    {"in the signature", 1},
    {"in the pre-check's head", 500},
    {"in the second buffer", 131072 + 5000},
    {"at the last byte", kSize - 1},
};

TEST_F(LessonFaults, CutBodyIsTakenForAllOfIt) {
  // The system reports the end of the connection as a normal end, so a cut lesson is delivered.
  std::vector<CLessonFault> faults;
  for (const CPlace& place : kPlaces) {
    const LessonEnd end = place.offset == 0   ? LessonEnd::kEmpty
                          : place.offset == 1 ? LessonEnd::kNotALesson
                                              : LessonEnd::kDelivered;
    const std::string bytes = place.offset > 1 ? LessonBytes(kPattern).substr(0, place.offset) : "";
    const std::string point = http_point::BodyByte(place.offset);
    faults.push_back({place.name, Lesson(kPattern).Cut(point, HttpCut::kGraceful), end, bytes});
    faults.push_back({std::string("in chunks, ") + place.name,
                      Lesson(kPattern).Chunked(1000).Cut(point, HttpCut::kGraceful), end, bytes});
  }
  RunAll(faults);
}

TEST_F(LessonFaults, ResetIsReportedOrTakenForTheEnd) {
  std::vector<CLessonFault> faults;
  for (const CPlace& place : kPlaces) {
    if (place.offset != 1) {  // either of two messages, as below
      const std::string point = http_point::BodyByte(place.offset);
      faults.push_back({place.name, Lesson(kPattern).Cut(point, HttpCut::kReset),
                        LessonEnd::kTornOrUnavailable,
                        LessonBytes(kPattern).substr(0, place.offset)});
    }
  }
  RunAll(faults);
}

TEST_F(LessonFaults, StalledServerThatGivesUpIsTheEnd) {
  for (const CPlace& place : QuickCut(kPlaces)) {
    for (const HttpCut how : {HttpCut::kGraceful, HttpCut::kReset}) {
      const bool isReset = how == HttpCut::kReset;
      if (isReset && place.offset == 1) {
        continue;  // either of two messages, as the reset comes under a read or behind it
      }
      const std::string point = http_point::BodyByte(place.offset);
      const ScriptedPath path(m_server, Lesson(kPattern).Hold(point).Cut(point, how));
      const CParallel flow([&] {
        EXPECT_TRUE(path.WaitForHeld(point));
        path.AllowAll();
      });
      const LessonEnd end = isReset             ? LessonEnd::kTornOrUnavailable
                            : place.offset == 0 ? LessonEnd::kEmpty
                            : place.offset == 1 ? LessonEnd::kNotALesson
                                                : LessonEnd::kDelivered;
      RunAddress(path.Url(L"a.qdk"),
                 {place.name + std::string(isReset ? ", reset" : ", closed"),
                  {},
                  end,
                  place.offset == 1 ? "" : LessonBytes(kPattern).substr(0, place.offset)});
    }
  }
}

/// A lesson whose bytes the test lets flow.
class FlowingLesson : public LessonFaults {
 protected:
  /// Runs the dialog, behind a pre-check or not, beside a server whose part `server` plays; the
  /// result, once nothing of the run lives on.
  void Run(bool peeks, const ScriptedPath& path, const std::function<void()>& server,
           const std::function<void(INT_PTR result)>& check) {
    CProgressDialog::Ptr dialog = Make(path.Url(L"a.qdk"));
    const CParallel flow(server);
    if (peeks) {
      ASSERT_TRUE(dialog->PeekContent(L".qdk"));
    }
    const INT_PTR result = CallGuardedDialog([&] { return dialog->DoModal(nullptr); });
    dialog.reset();
    check(result);
  }
};

TEST_F(FlowingLesson, StalledDownloadIsCancelledAtOnce) {
  for (const CPlace& place : QuickCut(kPlaces)) {
    for (const bool peeks : {false, true}) {
      if (peeks && place.offset < 4096) {
        continue;  // the pre-check itself waits for its head: there is no dialog to cancel
      }
      SCOPED_TRACE(place.name + std::string(peeks ? ", pre-check" : ", dialog alone"));
      Checks().Run([&] {
        const std::string point = http_point::BodyByte(place.offset);
        const ScriptedPath path(m_server, Lesson(kPattern).Hold(point));
        ULONGLONG cancelled = 0;
        Run(
            peeks, path,
            [&] {
              const HWND window = WaitForDialog(L"MERLO Folivo File Download");
              EXPECT_TRUE(path.WaitForHeld(point));
              cancelled = GetTickCount64();
              Click(window, IDCANCEL);
            },
            [&](INT_PTR result) {
              EXPECT_EQ(result, 2);
              EXPECT_LT(GetTickCount64() - cancelled, 3000u) << "whatever the network does";
            });
        path.AllowAll();
        // Its worker comes back from the network only now, and closes and deletes what is left.
        EXPECT_TRUE(WaitUntil("the worker's end", [&] { return LocksTaken() == 0; }));
        EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
        EXPECT_TRUE(TakeMessages().empty());
      });
    }
  }
}

TEST_F(FlowingLesson, DrippingServerIsWaitedFor) {
  for (const CPlace& place : QuickCut(kPlaces)) {
    for (const bool peeks : {false, true}) {
      SCOPED_TRACE(place.name + std::string(peeks ? ", pre-check" : ", dialog alone"));
      Checks().Run([&] {
        const ScriptedPath path(m_server, Lesson(kPattern).Gated());
        Run(
            peeks, path,
            [&] {
              path.AllowUpTo(place.offset);
              for (size_t sent = place.offset + 1; sent < place.offset + 3; ++sent) {
                EXPECT_TRUE(path.WaitForBytesSent(std::min(sent - 1, kSize)));
                Sleep(1000);  // the server's tempo
                path.AllowUpTo(sent);
              }
              path.AllowAll();
            },
            [&](INT_PTR result) {
              EXPECT_EQ(result, 1);
              EXPECT_TRUE(TakeMessages().empty());
              ExpectDelivered(LessonBytes(kPattern));
            });
      });
    }
  }
}

}  // namespace
