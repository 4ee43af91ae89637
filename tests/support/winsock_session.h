#pragma once

// Keeps Winsock initialised while it lives. Throws std::runtime_error if that fails.
class WinsockSession {
 public:
  WinsockSession();
  ~WinsockSession();
  WinsockSession(const WinsockSession&) = delete;
  WinsockSession& operator=(const WinsockSession&) = delete;
};
