#include "tests/support/http_exchange.h"

#include <winsock2.h>

#include <charconv>
#include <stdexcept>

namespace {

[[noreturn]] void ThrowSocketError(const std::string& what) {
  throw std::runtime_error("test server: " + what + " failed with " +
                           std::to_string(WSAGetLastError()));
}

// Winsock, initialised for as long as the program runs.
void StartWinsock() {
  static const int error = [] {
    WSADATA data;
    return WSAStartup(MAKEWORD(2, 2), &data);
  }();
  if (error != 0) {
    throw std::runtime_error("WSAStartup failed with " + std::to_string(error));
  }
}

class TcpSocket {
 public:
  TcpSocket() : m_socket(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) {
    if (m_socket == INVALID_SOCKET) {
      ThrowSocketError("socket");
    }
  }
  ~TcpSocket() { closesocket(m_socket); }
  TcpSocket(const TcpSocket&) = delete;
  TcpSocket& operator=(const TcpSocket&) = delete;

  void Connect(uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
      ThrowSocketError("connect");
    }
  }

  void SetReceiveTimeout(std::chrono::milliseconds timeout) {
    const auto value = static_cast<DWORD>(timeout.count());
    if (setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&value),
                   sizeof(value)) != 0) {
      ThrowSocketError("setsockopt");
    }
  }

  void Send(std::string_view data) {
    while (!data.empty()) {
      const int count = send(m_socket, data.data(), static_cast<int>(data.size()), 0);
      if (count <= 0) {
        ThrowSocketError("send");
      }
      data.remove_prefix(static_cast<size_t>(count));
    }
  }

  std::string ReceiveAll() {
    std::string data;
    char buffer[16384];
    for (;;) {
      const int count = recv(m_socket, buffer, sizeof(buffer), 0);
      if (count < 0) {
        ThrowSocketError("recv");
      }
      if (count == 0) {
        return data;
      }
      data.append(buffer, static_cast<size_t>(count));
    }
  }

 private:
  const SOCKET m_socket;
};

}  // namespace

HttpReply ExchangeHttp(uint16_t port, std::string_view request,
                       std::chrono::milliseconds patience) {
  StartWinsock();
  TcpSocket socket;
  socket.Connect(port);
  socket.SetReceiveTimeout(patience);
  socket.Send(request);
  const std::string answer = socket.ReceiveAll();

  constexpr std::string_view kVersion = "HTTP/1.1 ";
  constexpr std::string_view kHeadEnd = "\r\n\r\n";
  HttpReply reply;
  const size_t head_end = answer.find(kHeadEnd);
  const char* const status = answer.data() + kVersion.size();
  if (!answer.starts_with(kVersion) || head_end == std::string::npos ||
      std::from_chars(status, status + 3, reply.status).ec != std::errc()) {
    throw std::runtime_error("test server: not an answer: " + answer.substr(0, 200));
  }
  reply.body = answer.substr(head_end + kHeadEnd.size());
  return reply;
}
