// Bodies that are right for one extension, under each.

#include "tests/faults/lesson_faults.h"

namespace {

TEST_F(LessonFaults, BodyIsRightForItsOwnExtensionsOnly) {
  const std::string declaration = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)";
  const std::string bodies[] = {
      std::string(kLessonHead) + "<html></html>",
      declaration + "<qdk a='1'>",
      declaration + "<col>",
      "\xEF\xBB\xBF" + declaration + "<qdk a='1'>",
      "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1",
      "PK\x03\x04<html>",
      "PK\x05\x06",
      std::string(2000, 'x'),
  };
  std::vector<CTransferFault> faults;
  for (const std::string& body : bodies) {
    for (const wchar_t* extension : {L".qdk", L".qdc", L".fvk", L".folivo", L".qdt", L""}) {
      faults.push_back({testing::PrintToString(body.substr(0, 70)) + " as " +
                            testing::PrintToString(std::wstring(extension)),
                        HttpAnswer().Bytes(body), TransferEnd::kBody, body, extension});
    }
  }
  RunAll(faults);
}

}  // namespace
