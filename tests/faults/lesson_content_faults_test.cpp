// Bodies that are right for one extension, under each: which are right is the content check's
// matter.

#include "tests/faults/lesson_faults.h"

namespace {

class LessonContentFaults : public LessonFaults {};

TEST_F(LessonContentFaults, BodyIsRightForItsOwnExtensionsOnly) {
  std::vector<CTransferFault> faults;
  for (const std::string body : {"\x78\x9C<html></html>", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1",
                                 "PK\x03\x04<html>", "PK\x05\x06"}) {
    for (const wchar_t* extension : {L".qdk", L".fvk", L".folivo", L".qdt", L""}) {
      faults.push_back(
          {testing::PrintToString(body) + " as " + testing::PrintToString(std::wstring(extension)),
           HttpAnswer().Bytes(body), TransferEnd::kBody, body, extension});
    }
  }
  RunAll(faults);
}

}  // namespace
