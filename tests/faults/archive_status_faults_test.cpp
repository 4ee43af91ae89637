// Answers of every status that an archive's server may give, and pages in its place.

#include "tests/faults/archive_faults.h"

namespace {

constexpr size_t kSize = 15000;

TEST_F(ArchiveFaults, RefusedStatusIsUnavailable) {
  std::vector<CArchiveFault> faults;
  for (const int status : {204, 403, 404, 410, 500}) {
    const std::string name = std::to_string(status);
    const HttpAnswer answer = status == 204 ? HttpAnswer() : Archive(kSize);
    faults.push_back({name, HttpAnswer(answer).Status(status), ArchiveEnd::kUnavailable});
    faults.push_back({name + " of an odd reason",
                      HttpAnswer(answer).Status(status, "Fine, take it"),
                      ArchiveEnd::kUnavailable});
  }
  RunAll(faults);
}

TEST_F(ArchiveFaults, AcceptedStatusLeavesItToTheBody) {
  const std::string page = "<html><body>Not here</body></html>";
  std::vector<CArchiveFault> faults;
  for (const int status : {200, 201, 206, 400, 401, 407, 429, 501, 502, 503, 504, 599}) {
    const std::string name = std::to_string(status);
    faults.push_back({name + " with an archive", Archive(kSize).Status(status),
                      ArchiveEnd::kTransferred, ArchiveBytes(kSize)});
    faults.push_back(
        {name + " with a page", HttpAnswer().Status(status).Bytes(page), ArchiveEnd::kNotValid});
    faults.push_back(
        {name + " without a body", HttpAnswer().Status(status), ArchiveEnd::kTransferred});
  }
  faults.push_back({"304", HttpAnswer().Status(304), ArchiveEnd::kTransferred});
  RunAll(faults);
}

TEST_F(ArchiveFaults, PageIsToldByItsFirstTenCharacters) {
  const std::pair<std::string, ArchiveEnd> pages[] = {
      {"<html>", ArchiveEnd::kNotValid},
      {"    <html>", ArchiveEnd::kNotValid},
      {"     <html>", ArchiveEnd::kTransferred},
      {"<HTML>", ArchiveEnd::kTransferred},
      {"<html lang='en'>", ArchiveEnd::kTransferred},
      {"<!DOCTYPE html><html>", ArchiveEnd::kTransferred},
      {"<html", ArchiveEnd::kTransferred},
      {"\xEF\xBB\xBF<html>", ArchiveEnd::kNotValid},
      {std::string("\0<html>", 7), ArchiveEnd::kTransferred},
      {std::string("abc\0<html>", 10), ArchiveEnd::kTransferred},
      {std::string(10000, 'x') + "<html>", ArchiveEnd::kTransferred},
      {"\x80\x81\xFE\xFF<html>", ArchiveEnd::kNotValid},
  };
  std::vector<CArchiveFault> faults;
  for (const auto& [page, end] : pages) {
    faults.push_back({"\"" + page.substr(0, 30) + "\"", HttpAnswer().Bytes(page), end,
                      end == ArchiveEnd::kTransferred ? page : ""});
  }
  RunAll(faults);
}

}  // namespace
