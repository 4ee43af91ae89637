#include "tests/support/request_record.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <sstream>

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
  } else if (name == "query") {
    record.query = value;
  } else if (name == "auth") {
    const auto* const found = std::find(std::begin(kAuthNames), std::end(kAuthNames), value);
    record.auth = static_cast<RequestRecord::Auth>(found - std::begin(kAuthNames));
  }
}

std::string PercentDecode(std::string_view text) {
  std::string bytes;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      bytes += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
      i += 2;
    } else {
      bytes += text[i];
    }
  }
  return bytes;
}

}  // namespace

RequestRecord RequestRecord::Parse(const std::string& line) {
  RequestRecord record;
  std::istringstream fields(line);
  for (std::string field; std::getline(fields, field, '\t');) {
    const size_t equals = field.find('=');
    SetField(record, field.substr(0, equals), PercentDecode(field.substr(equals + 1)));
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
