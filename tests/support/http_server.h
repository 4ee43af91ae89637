#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "tests/support/scripted_path.h"

// The scriptable HTTP server of the test run (tests/http_server), shared by all test programs.
// A test makes one of these and gives its paths to ScriptedPath objects. The object has no state
// that changes: it may be used from any thread.
class HttpTestServer {
 public:
  // Reads the port from FOLIVO_TEST_SERVER_PORT. Throws std::runtime_error if that is not set.
  HttpTestServer();

  uint16_t Port() const { return m_port; }
  // "http://127.0.0.1:<port>", without a slash at the end.
  std::wstring BaseUrl() const;

  // Sends a command to the control interface and returns the text of the answer. `patience` is how
  // long the server may be silent. Throws std::runtime_error if the server refuses or is not there.
  std::string Command(std::string_view method, std::string_view command, std::string_view body = {},
                      std::chrono::milliseconds patience = std::chrono::seconds(60)) const;

 private:
  uint16_t m_port = 0;
};
