#include "tests/support/request_record.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "tests/support/http_encoding.h"

namespace {

// What the server calls the values of RequestRecord::Auth, in their order.
constexpr std::string_view kAuthNames[] = {"none", "missing", "wrong", "right"};

// Fields that no test asks for are skipped.
void SetField(RequestRecord& record, std::string_view name, const std::string& value) {
  if (name == "header") {
    const size_t colon = value.find(": ");
    record.headers.emplace_back(value.substr(0, colon), value.substr(colon + 2));
  } else if (name == "method") {
    record.method = value;
  } else if (name == "path") {
    record.path = value;
  } else if (name == "status") {
    record.status = std::stoi(value);
  } else if (name == "auth") {
    const auto* const found = std::find(std::begin(kAuthNames), std::end(kAuthNames), value);
    record.auth = static_cast<RequestRecord::Auth>(found - std::begin(kAuthNames));
  }
}

// Takes what lies before the separator, or everything, off the front of a text.
std::string_view TakeUpTo(std::string_view& text, char separator) {
  const std::string_view part = text.substr(0, text.find(separator));
  text.remove_prefix(std::min(text.size(), part.size() + 1));
  return part;
}

}  // namespace

RequestRecord RequestRecord::Parse(std::string_view line) {
  RequestRecord record;
  while (!line.empty()) {
    std::string_view value = TakeUpTo(line, '\t');
    const std::string_view name = TakeUpTo(value, '=');
    SetField(record, name, PercentDecode(value));
  }
  return record;
}

std::string RequestRecord::Header(std::string_view name) const {
  const std::string wanted(name);
  const auto header = std::ranges::find_if(headers, [&](const auto& entry) {
    return _stricmp(entry.first.c_str(), wanted.c_str()) == 0;
  });
  return header == headers.end() ? std::string() : header->second;
}

LogLines::LogLines(std::string_view text) {
  while (!text.empty()) {
    const std::string_view line = TakeUpTo(text, '\n');
    if (line.starts_with("met=")) {
      met = line == "met=1";
    } else {
      requests.push_back(RequestRecord::Parse(line));
    }
  }
}
