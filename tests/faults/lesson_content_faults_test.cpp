// Bodies that are nearly what their extension promises. The check looks at the first bytes alone,
// so what follows them is not its business.

#include <algorithm>

#include "tests/faults/lesson_faults.h"

namespace {

struct CBody {
  const char* name;
  std::string bytes;
  std::vector<std::wstring> extensions;  // that it is right for
};

// One of each rule, and some that no rule is for.
const std::wstring kExtensions[] = {L".qdk", L".qdc", L".fvk", L".folivo"};
const std::wstring kOtherExtensions[] = {L".qdt", L".qdi", L".qdkx", L"qdk", L""};

const std::string kYes = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)";
const std::string kNo = R"(<?xml version="1.0" encoding="UTF-8" standalone="no"?>)";
const std::string kTail = std::string(2000, 'x');

const CBody kBodies[] = {
    {"zlib", "\x78\x9C" + kTail, {L".qdk", L".qdc"}},
    {"zlib, then a page", "\x78\x9C<html></html>", {L".qdk", L".qdc"}},
    {"zlib of another level", "\x78\xDA" + kTail, {}},
    {"compound file", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1" + kTail, {L".fvk"}},
    {"compound file, then nothing", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", {L".fvk"}},
    {"compound file, last byte wrong", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE2" + kTail, {}},
    {"zip", "PK\x03\x04" + kTail, {L".folivo", L".gallery", L".galleryitem"}},
    {"zip, then a page", "PK\x03\x04<html>", {L".folivo", L".gallery", L".galleryitem"}},
    {"empty zip", "PK\x05\x06" + kTail, {}},
    {"zip in small letters", "pk\x03\x04" + kTail, {}},
    {"page", kPage, {}},
    {"lesson", kYes + "<qdk a='1'>" + kTail, {L".qdk"}},
    {"lesson behind CR LF", kNo + "\r\n<qdk a='1'>" + kTail, {L".qdk"}},
    {"lesson behind LF", kNo + "\n<qdk a='1'>" + kTail, {L".qdk"}},
    {"collection", kYes + "<col>" + kTail, {L".qdc"}},
    {"collection behind CR LF", kNo + "\r\n<col>" + kTail, {L".qdc"}},
    {"collection behind LF", kNo + "\n<col>" + kTail, {L".qdc"}},
};

std::string With(std::string text, const std::string& what, const std::string& by) {
  return text.replace(text.find(what), what.size(), by);
}

const CBody kNearly[] = {
    {"byte-order mark", "\xEF\xBB\xBF" + kYes + "<qdk a='1'>", {}},
    {"wide text", With(kYes, "<?", std::string("<\0?\0", 4)) + "<qdk a='1'>", {}},
    {"blank in front", " " + kYes + "<qdk a='1'>", {}},
    {"line in front", "\n" + kYes + "<qdk a='1'>", {}},
    {"small encoding", With(kYes, "UTF-8", "utf-8") + "<qdk a='1'>", {}},
    {"capital element", kYes + "<QDK a='1'>", {}},
    {"capital declaration", With(kYes, "xml", "XML") + "<qdk a='1'>", {}},
    {"single quotes", With(kYes, R"("yes")", "'yes'") + "<qdk a='1'>", {}},
    {"two blanks", With(kYes, " encoding", "  encoding") + "<qdk a='1'>", {}},
    {"blank before the end", With(kYes, "?>", " ?>") + "<qdk a='1'>", {}},
    {"no standalone", With(kYes, R"( standalone="yes")", "") + "<qdk a='1'>", {}},
    {"version 1.1", With(kYes, "1.0", "1.1") + "<qdk a='1'>", {}},
    {"yes behind LF", kYes + "\n<qdk a='1'>", {}},
    {"yes behind CR LF", kYes + "\r\n<qdk a='1'>", {}},
    {"no without a line end", kNo + "<qdk a='1'>", {}},
    {"no behind CR", kNo + "\r<qdk a='1'>", {}},
    {"no behind two LF", kNo + "\n\n<qdk a='1'>", {}},
    {"lesson without attributes", kYes + "<qdk>", {}},
    {"tab behind the element", kYes + "<qdk\ta='1'>", {}},
    {"collection with attributes", kYes + "<col a='1'>", {}},
    {"comment first", kYes + "<!-- --><qdk a='1'>", {}},
};

CLessonFault Fault(const CBody& body, const std::wstring& extension) {
  const bool isRight = std::ranges::find(body.extensions, extension) != body.extensions.end();
  return {body.name + (" as " + std::string(extension.begin(), extension.end())),
          HttpAnswer().Bytes(body.bytes), isRight ? LessonEnd::kDelivered : LessonEnd::kNotALesson,
          isRight ? body.bytes : "", extension};
}

TEST_F(LessonFaults, BodyIsRightForItsOwnExtensionsOnly) {
  std::vector<CLessonFault> faults;
  for (const CBody& body : kBodies) {
    for (const std::wstring& extension : kExtensions) {
      faults.push_back(Fault(body, extension));
    }
    for (const std::wstring& extension : body.extensions) {
      if (std::ranges::find(kExtensions, extension) == std::end(kExtensions)) {
        faults.push_back(Fault(body, extension));
      }
    }
  }
  for (const std::wstring& extension : kOtherExtensions) {
    faults.push_back(Fault(kBodies[0], extension));
  }
  RunAll(faults);
}

TEST_F(LessonFaults, NearlyRightPrefixIsWrong) {
  std::vector<CLessonFault> faults;
  for (const CBody& body : kNearly) {
    const bool isCollection = body.bytes.find("<col") != std::string::npos;
    faults.push_back(Fault(body, isCollection ? L".qdc" : L".qdk"));
  }
  RunAll(faults);
}

}  // namespace
