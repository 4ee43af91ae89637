#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

// A complete answer of an HTTP server.
struct HttpReply {
  int status = 0;
  std::string body;
};

// Sends `request` (head and body as they go over the wire) to 127.0.0.1 and reads until the server
// closes the connection, for which the request has to ask. `patience` limits each wait for bytes.
// For controlling the test server; what the product does over the network is WinINet's business.
// Throws std::runtime_error on any failure.
HttpReply ExchangeHttp(uint16_t port, std::string_view request, std::chrono::milliseconds patience);
