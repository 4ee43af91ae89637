// Answers of every status that a lesson's server may give. Five are refused; of all others the body
// decides.

#include "tests/faults/lesson_faults.h"

namespace {

constexpr size_t kSize = 5000;

TEST_F(LessonFaults, RefusedStatusIsUnavailable) {
  std::vector<CLessonFault> faults;
  for (const int status : {204, 403, 404, 410, 500}) {
    const std::string name = std::to_string(status);
    const HttpAnswer lesson = status == 204 ? HttpAnswer() : Lesson(kSize);
    faults.push_back({name, HttpAnswer(lesson).Status(status), LessonEnd::kUnavailable});
    faults.push_back({name + " of an odd reason",
                      HttpAnswer(lesson).Status(status, "Fine, take it"), LessonEnd::kUnavailable});
  }
  RunAll(faults);
}

TEST_F(LessonFaults, AcceptedStatusLeavesItToTheBody) {
  std::vector<CLessonFault> faults;
  for (const int status : {200, 201, 206, 400, 401, 407, 429, 501, 502, 503, 504, 599}) {
    const std::string name = std::to_string(status);
    faults.push_back({name + " with a lesson", Lesson(kSize).Status(status), LessonEnd::kDelivered,
                      LessonBytes(kSize)});
    faults.push_back(
        {name + " with a page", HttpAnswer().Status(status).Bytes(kPage), LessonEnd::kNotALesson});
    faults.push_back({name + " without a body", HttpAnswer().Status(status), LessonEnd::kEmpty});
  }
  RunAll(faults);
}

TEST_F(LessonFaults, UnmodifiedHasNoBody) {
  RunAll({{"304", HttpAnswer().Status(304), LessonEnd::kEmpty}});
}

}  // namespace
