#include "tests/support/http_answer.h"

#include <utility>

namespace {

// With padding, without line breaks.
std::string Base64(std::string_view bytes) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const std::string_view group = bytes.substr(i, 3);
    uint32_t bits = 0;
    for (size_t k = 0; k < 3; ++k) {
      bits = bits << 8 | (k < group.size() ? static_cast<unsigned char>(group[k]) : 0u);
    }
    for (size_t k = 0; k < 4; ++k) {
      text += k <= group.size() ? kAlphabet[bits >> (18 - 6 * k) & 63] : '=';
    }
  }
  return text;
}

std::string Join(const std::vector<std::string>& items) {
  std::string text;
  for (const std::string& item : items) {
    text += (text.empty() ? "" : ",") + item;
  }
  return text;
}

std::string List(const std::vector<std::string>& items) { return "[" + Join(items) + "]"; }

std::string Member(std::string_view name, const std::string& json) {
  return JsonString(name) + ":" + json;
}

std::string Object(const std::vector<std::string>& members) { return "{" + Join(members) + "}"; }

}  // namespace

std::string JsonString(std::string_view bytes) {
  constexpr std::string_view kHexDigits = "0123456789ABCDEF";
  std::string text = "\"";
  for (const char c : bytes) {
    if (c < ' ' || c > '~' || c == '"' || c == '\\') {
      const auto value = static_cast<unsigned char>(c);
      text += "\\u00";
      text += kHexDigits[value >> 4];
      text += kHexDigits[value & 15];
    } else {
      text += c;
    }
  }
  return text + '"';
}

std::string http_point::HeadByte(uint64_t offset) { return "head:" + std::to_string(offset); }

std::string http_point::BodyByte(uint64_t offset) { return "body:" + std::to_string(offset); }

HttpAnswer& HttpAnswer::Status(int code, std::string_view reason) {
  if (!reason.empty()) {
    SetField("reason", JsonString(reason));
  }
  return SetField("status", std::to_string(code));
}

HttpAnswer& HttpAnswer::StatusLine(std::string_view line) {
  return SetField("status_line", JsonString(line));
}

HttpAnswer& HttpAnswer::Header(std::string_view name, std::string_view value) {
  m_headers.push_back(List({JsonString(name), JsonString(value)}));
  return *this;
}

HttpAnswer& HttpAnswer::Redirect(std::wstring_view url) {
  std::string location;
  for (const wchar_t c : url) {
    location += static_cast<char>(c);
  }
  return Status(302).Header("Location", location);
}

HttpAnswer& HttpAnswer::RawHead(std::string_view bytes) {
  return SetField("raw", JsonString(Base64(bytes)));
}

HttpAnswer& HttpAnswer::Bytes(std::string_view bytes) {
  m_segments.push_back(Object({Member("bytes", JsonString(Base64(bytes)))}));
  return *this;
}

HttpAnswer& HttpAnswer::Pattern(uint64_t seed, uint64_t length) {
  const std::string pattern =
      Object({Member("seed", std::to_string(seed)), Member("length", std::to_string(length))});
  m_segments.push_back(Object({Member("pattern", pattern)}));
  return *this;
}

HttpAnswer& HttpAnswer::Chunked(size_t chunk_size) {
  SetField("chunk_size", std::to_string(chunk_size));
  return SetField("framing", JsonString("chunked"));
}

HttpAnswer& HttpAnswer::CloseDelimited() { return SetField("framing", JsonString("close")); }

HttpAnswer& HttpAnswer::ClaimLength(std::string_view text) {
  m_claimed_lengths.push_back(JsonString(text));
  return *this;
}

HttpAnswer& HttpAnswer::Close() { return SetField("close", "true"); }

HttpAnswer& HttpAnswer::Hold(std::string_view point) {
  m_holds.push_back(JsonString(point));
  return *this;
}

HttpAnswer& HttpAnswer::Gated() { return SetField("gated", "true"); }

HttpAnswer& HttpAnswer::Rate(uint64_t bytes_per_second) {
  return SetField("rate", std::to_string(bytes_per_second));
}

HttpAnswer& HttpAnswer::Cut(std::string_view point, HttpCut how) {
  const std::string how_text = JsonString(how == HttpCut::kReset ? "reset" : "fin");
  return SetField("cut", Object({Member("at", JsonString(point)), Member("how", how_text)}));
}

std::string HttpAnswer::Json() const {
  std::vector<std::string> members;
  for (const auto& [name, json] : m_fields) {
    members.push_back(Member(name, json));
  }
  members.push_back(Member("headers", List(m_headers)));
  members.push_back(Member("body", List(m_segments)));
  members.push_back(Member("hold", List(m_holds)));
  if (!m_claimed_lengths.empty()) {
    members.push_back(Member("content_length", List(m_claimed_lengths)));
  }
  return Object(members);
}

HttpAnswer& HttpAnswer::SetField(const std::string& name, std::string json) {
  m_fields[name] = std::move(json);
  return *this;
}
