#include "tests/support/http_server.h"

#include <winsock2.h>

#include <cstdlib>
#include <stdexcept>

namespace {

constexpr char kPortVariable[] = "FOLIVO_TEST_SERVER_PORT";

uint16_t PortFromEnvironment() {
  const char* const text = std::getenv(kPortVariable);
  const unsigned long port = text != nullptr ? std::strtoul(text, nullptr, 10) : 0;
  if (port == 0) {
    throw std::runtime_error(std::string(kPortVariable) +
                             " names no port: start the tests by ./run test");
  }
  return static_cast<uint16_t>(port);
}

void Require(bool condition, const char* what) {
  if (!condition) {
    throw std::runtime_error(std::string("test server: ") + what + " failed with " +
                             std::to_string(WSAGetLastError()));
  }
}

// A connection to the server. Not by WinINet, whose functions tests replace.
class CConnection {
 public:
  CConnection(uint16_t port, std::chrono::milliseconds patience) {
    WSADATA data;
    static const int started = WSAStartup(MAKEWORD(2, 2), &data);
    Require(started == 0, "WSAStartup");
    m_socket = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    const auto timeout = static_cast<DWORD>(patience.count());
    setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&timeout),
               sizeof(timeout));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    Require(connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0,
            "connect");
  }
  ~CConnection() { closesocket(m_socket); }
  CConnection(const CConnection&) = delete;
  CConnection& operator=(const CConnection&) = delete;

  // Sends a request and returns all that the server sends until it closes the connection.
  std::string Exchange(std::string_view request) const {
    while (!request.empty()) {
      const int count = send(m_socket, request.data(), static_cast<int>(request.size()), 0);
      Require(count > 0, "send");
      request.remove_prefix(static_cast<size_t>(count));
    }
    std::string answer;
    char buffer[16384];
    int count = 0;
    while ((count = recv(m_socket, buffer, sizeof(buffer), 0)) > 0) {
      answer.append(buffer, static_cast<size_t>(count));
    }
    Require(count == 0, "recv");
    return answer;
  }

 private:
  SOCKET m_socket;
};

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
  const std::string answer = CConnection(m_port, patience).Exchange(request);
  const size_t headEnd = answer.find("\r\n\r\n");
  if (!answer.starts_with("HTTP/1.1 200 ") || headEnd == std::string::npos) {
    throw std::runtime_error("test server: " + std::string(command) + ": " + answer);
  }
  return answer.substr(headEnd + 4);
}
