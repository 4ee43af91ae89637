#include "tests/support/request_record.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <stdexcept>

#include "tests/support/http_encoding.h"

namespace {

struct NumberField {
  std::string_view name;
  int64_t RequestRecord::* member;
};

struct TextField {
  std::string_view name;
  std::string RequestRecord::* member;
};

template <typename Enum>
struct EnumName {
  std::string_view name;
  Enum value;
};

constexpr NumberField kNumbers[] = {
    {"request", &RequestRecord::index},
    {"connection", &RequestRecord::connection},
    {"request_body_length", &RequestRecord::request_body_length},
    {"status", &RequestRecord::status},
    {"auth_attempts", &RequestRecord::auth_attempts},
    {"head_sent", &RequestRecord::head_sent},
    {"body_sent", &RequestRecord::body_sent},
    {"body_total", &RequestRecord::body_total},
    {"started_ms", &RequestRecord::started_ms},
    {"head_ms", &RequestRecord::head_ms},
    {"ended_ms", &RequestRecord::ended_ms},
};

constexpr TextField kTexts[] = {
    {"method", &RequestRecord::method},   {"target", &RequestRecord::target},
    {"path", &RequestRecord::path},       {"query", &RequestRecord::query},
    {"version", &RequestRecord::version}, {"held_at", &RequestRecord::held_at},
};

constexpr EnumName<RequestRecord::State> kStates[] = {
    {"active", RequestRecord::State::kActive},   {"finished", RequestRecord::State::kFinished},
    {"aborted", RequestRecord::State::kAborted}, {"cut", RequestRecord::State::kCut},
    {"failed", RequestRecord::State::kFailed},   {"stopped", RequestRecord::State::kFailed},
};

constexpr EnumName<RequestRecord::Auth> kAuthStates[] = {
    {"none", RequestRecord::Auth::kNotAsked},
    {"missing", RequestRecord::Auth::kMissing},
    {"wrong", RequestRecord::Auth::kWrong},
    {"right", RequestRecord::Auth::kRight},
};

[[noreturn]] void ThrowBadField(std::string_view name, std::string_view value) {
  throw std::runtime_error("the test server's log has an odd field " + std::string(name) + "=" +
                           std::string(value));
}

template <typename Table>
auto FindByName(const Table& table, std::string_view name) {
  return std::find_if(std::begin(table), std::end(table),
                      [name](const auto& entry) { return entry.name == name; });
}

template <typename Table>
auto EnumValue(const Table& table, std::string_view field, std::string_view name) {
  const auto entry = FindByName(table, name);
  if (entry == std::end(table)) {
    ThrowBadField(field, name);
  }
  return entry->value;
}

int64_t Number(std::string_view field, std::string_view text) {
  int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) {
    ThrowBadField(field, text);
  }
  return value;
}

void SetField(RequestRecord& record, std::string_view name, const std::string& value) {
  if (name == "header") {
    const size_t colon = value.find(": ");
    if (colon == std::string::npos) {
      ThrowBadField(name, value);
    }
    record.headers.emplace_back(value.substr(0, colon), value.substr(colon + 2));
  } else if (name == "state") {
    record.state = EnumValue(kStates, name, value);
  } else if (name == "auth") {
    record.auth = EnumValue(kAuthStates, name, value);
  } else if (const auto* number = FindByName(kNumbers, name); number != std::end(kNumbers)) {
    record.*number->member = Number(name, value);
  } else if (const auto* text = FindByName(kTexts, name); text != std::end(kTexts)) {
    record.*text->member = value;
  } else {
    ThrowBadField(name, value);
  }
}

char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

auto FindHeader(const RequestRecord& record, std::string_view name) {
  return std::find_if(record.headers.begin(), record.headers.end(), [name](const auto& header) {
    return std::equal(header.first.begin(), header.first.end(), name.begin(), name.end(),
                      [](char a, char b) { return ToLower(a) == ToLower(b); });
  });
}

}  // namespace

RequestRecord RequestRecord::Parse(std::string_view line) {
  RequestRecord record;
  while (!line.empty()) {
    const std::string_view field = line.substr(0, line.find('\t'));
    line.remove_prefix(std::min(line.size(), field.size() + 1));
    const size_t equals = field.find('=');
    if (equals == std::string_view::npos) {
      ThrowBadField(field, "");
    }
    SetField(record, field.substr(0, equals), PercentDecode(field.substr(equals + 1)));
  }
  return record;
}

std::string RequestRecord::Header(std::string_view name) const {
  const auto header = FindHeader(*this, name);
  return header == headers.end() ? std::string() : header->second;
}

bool RequestRecord::HasHeader(std::string_view name) const {
  return FindHeader(*this, name) != headers.end();
}
