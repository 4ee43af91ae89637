#include "tests/faults/event_faults.h"

#include "download/temp_files.h"
#include "tests/browser/lesson_bytes.h"
#include "tests/support/http_pattern.h"

namespace {

constexpr uint64_t kSeed = 40;
constexpr size_t kLength = 300000;

}  // namespace

EventFaults::~EventFaults() { SetTempBaseFolder(CStringW()); }

HttpAnswer EventFaults::Lesson() {
  return HttpAnswer().Bytes(kOldLessonHead).Pattern(kSeed, kLength);
}

std::string EventFaults::LessonBytes() { return kOldLessonHead + PatternBytes(kSeed, 0, kLength); }
