#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What the test server reports about one request, as of the moment when it was asked. Texts are the
// bytes of the wire, undecoded. Times are milliseconds since the server's start, -1: not yet.
struct RequestRecord {
  enum class State {
    kActive,    // being answered
    kFinished,  // everything has been handed to the network
    kAborted,   // the client left before
    kCut,       // the script broke the connection
    kFailed,    // the server could not go on
  };
  enum class Auth { kNotAsked, kMissing, kWrong, kRight };

  // Reads one line of the server's log. Throws std::runtime_error if it makes no sense.
  static RequestRecord Parse(std::string_view line);

  // The first value of a header, names compared without case; empty if there is none.
  std::string Header(std::string_view name) const;
  bool HasHeader(std::string_view name) const;

  int64_t index = 0;       // 1 for the path's first request
  int64_t connection = 0;  // equal for requests on one connection
  std::string method;
  std::string target;  // path and query
  std::string path;
  std::string query;
  std::string version;
  std::vector<std::pair<std::string, std::string>> headers;
  int64_t request_body_length = 0;
  int64_t status = 0;
  State state = State::kActive;
  Auth auth = Auth::kNotAsked;
  int64_t auth_attempts = 0;  // requests of the path with credentials, up to this one
  std::string held_at;        // the point at which the answer waits, or empty
  int64_t head_sent = 0;      // bytes of status line and headers
  int64_t body_sent = 0;      // bytes without chunk framing
  int64_t body_total = 0;
  int64_t started_ms = 0;
  int64_t head_ms = -1;  // the first byte of the answer
  int64_t ended_ms = -1;
};
