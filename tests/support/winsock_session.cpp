#include "tests/support/winsock_session.h"

#include <winsock2.h>

#include <stdexcept>
#include <string>

WinsockSession::WinsockSession() {
  WSADATA data;
  const int error = WSAStartup(MAKEWORD(2, 2), &data);
  if (error != 0) {
    throw std::runtime_error("WSAStartup failed with " + std::to_string(error));
  }
}

WinsockSession::~WinsockSession() { WSACleanup(); }
