#include "tests/support/http_server.h"

#include <charconv>
#include <cstdlib>
#include <stdexcept>

#include "tests/support/http_exchange.h"

namespace {

constexpr char kPortVariable[] = "FOLIVO_TEST_SERVER_PORT";

uint16_t PortFromEnvironment() {
  const char* const text = std::getenv(kPortVariable);
  const std::string_view digits = text != nullptr ? text : "";
  uint16_t port = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
  if (digits.empty() || error != std::errc() || end != digits.data() + digits.size()) {
    throw std::runtime_error(std::string(kPortVariable) +
                             " names no port: start the tests by ./run test");
  }
  return port;
}

}  // namespace

HttpTestServer::HttpTestServer() : m_port(PortFromEnvironment()) {}

std::wstring HttpTestServer::BaseUrl() const {
  return L"http://127.0.0.1:" + std::to_wstring(m_port);
}

std::string HttpTestServer::Command(std::string_view method, std::string_view command,
                                    std::string_view body,
                                    std::chrono::milliseconds patience) const {
  std::string request(method);
  request += " /_control/";
  request += command;
  request += " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\nContent-Length: ";
  request += std::to_string(body.size());
  request += "\r\n\r\n";
  request += body;
  HttpReply reply = ExchangeHttp(m_port, request, patience);
  if (reply.status != 200) {
    throw std::runtime_error("test server: " + std::string(command) + ": " +
                             std::to_string(reply.status) + " " + reply.body);
  }
  return std::move(reply.body);
}
