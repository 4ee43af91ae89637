#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What the test server reports about one request, as of the moment when it was asked. Texts are the
// bytes of the wire, undecoded.
struct RequestRecord {
  enum class Auth { kNotAsked, kMissing, kWrong, kRight };

  // Reads one line of the server's log.
  static RequestRecord Parse(const std::string& line);

  // The first value of a header, names compared without case; empty if there is none.
  std::string Header(std::string_view name) const;

  std::string method;
  std::string path;
  std::string query;
  std::vector<std::pair<std::string, std::string>> headers;
  Auth auth = Auth::kNotAsked;
};
