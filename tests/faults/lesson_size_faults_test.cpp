// Bodies around every size that means something to the transfer: nothing, signatures, the XML
// prefixes, the pre-check's buffer, the worker's.

#include "tests/faults/lesson_faults.h"

namespace {

constexpr size_t kHead = sizeof(kLessonHead) - 1;
constexpr size_t kPeek = 800;
constexpr size_t kBuffer = 131072;

/// A body of `size` bytes of the stream, behind what its kind begins with.
CLessonFault Sized(const std::wstring& extension, const std::string& head, size_t size,
                   bool isLesson) {
  const std::string bytes = size < head.size()
                                ? head.substr(0, size)
                                : head + LessonBytes(size - head.size()).substr(kHead);
  const LessonEnd end = size == 0  ? LessonEnd::kEmpty
                        : isLesson ? LessonEnd::kDelivered
                                   : LessonEnd::kNotALesson;
  return {std::string(extension.begin(), extension.end()) + " of " + std::to_string(size),
          HttpAnswer().Bytes(bytes), end, isLesson ? bytes : "", extension};
}

TEST_F(LessonFaults, ShortBodiesAreJudgedByWhatThereIs) {
  const std::string xml = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?><qdk )";
  const std::string compound = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
  const std::string zip = "PK\x03\x04";
  std::vector<CLessonFault> faults;
  for (const size_t size : {0, 1, 2, 7, 8, 59, 60, 61}) {
    faults.push_back(Sized(L".qdk", kLessonHead, size, size >= kHead));
    faults.push_back(Sized(L".qdk", xml, size, size >= xml.size()));
    faults.push_back(Sized(L".fvk", compound, size, size >= compound.size()));
    faults.push_back(Sized(L".folivo", zip, size, size >= zip.size()));
    faults.push_back(Sized(L".qdt", kLessonHead, size, false));
  }
  RunAll(faults);
}

TEST_F(LessonFaults, BodiesAroundTheBuffersAreWhole) {
  std::vector<CLessonFault> faults;
  for (const size_t size :
       {kPeek - 1, kPeek, kPeek + 1, 2 * kPeek - 1, 2 * kPeek, 2 * kPeek + 1, kBuffer - 1, kBuffer,
        kBuffer + 1, kBuffer + kPeek - 1, kBuffer + kPeek, kBuffer + kPeek + 1, 2 * kBuffer - 1,
        2 * kBuffer, 2 * kBuffer + 1, 5 * kBuffer}) {
    faults.push_back({std::to_string(size), Lesson(size - kHead), LessonEnd::kDelivered,
                      LessonBytes(size - kHead)});
  }
  RunAll(faults);
}

}  // namespace
