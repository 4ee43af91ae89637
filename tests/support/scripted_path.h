#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/path_script.h"
#include "tests/support/patience.h"
#include "tests/support/request_record.h"

class HttpTestServer;

// A folder of the test server that no other test knows, answered by a script. The destructor
// removes the script; answers that still wait then flow to their end, so that nobody hangs.
// The server must outlive it. Nothing changes after construction: the methods may be called from
// any thread. All throw std::runtime_error when the server does not answer.
class ScriptedPath {
 public:
  ScriptedPath(const HttpTestServer& server, const PathScript& script);
  ~ScriptedPath();
  ScriptedPath(const ScriptedPath&) = delete;
  ScriptedPath& operator=(const ScriptedPath&) = delete;

  // The address of a file in the folder. Every name is answered by the script; `name` is taken as
  // it is, with percent signs, query and fragment.
  std::wstring Url(std::wstring_view name) const;
  // The folder as it appears in RequestRecord::path, with a slash at both ends.
  const std::string& Folder() const { return m_folder; }

  // All requests to the folder so far, in the order of their arrival.
  std::vector<RequestRecord> Requests() const;

  // Each waits until the event has happened, at once if that was before, and returns false if it
  // does not happen within the time-out.
  // At least `bytes` body bytes of one answer have been handed to the network.
  [[nodiscard]] bool WaitForBytesSent(
      uint64_t bytes,
      std::chrono::milliseconds timeout = std::chrono::milliseconds(PatienceMs())) const;
  // An answer waits at a point (see http_point); empty: at any. The first wait of a gated answer is
  // at BodyByte(0).
  [[nodiscard]] bool WaitForHeld(
      std::string_view point = {},
      std::chrono::milliseconds timeout = std::chrono::milliseconds(PatienceMs())) const;

  // Lets that many body bytes of each gated answer pass in all, and held body points before them.
  void AllowUpTo(uint64_t bytes) const;
  // Lets everything pass, without holds, gates and rates, from now on.
  void AllowAll() const;

 private:
  std::string Target(std::string_view command) const;
  bool Wait(const std::string& event, std::chrono::milliseconds timeout) const;

  const HttpTestServer& m_server;
  const std::string m_folder;
};
