#include "tests/support/scripted_path.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <sstream>

#include "tests/support/http_server.h"

namespace {

// The server knows the end of a wait; the client only notices when the server does not.
constexpr std::chrono::milliseconds kAnswerTime = std::chrono::seconds(60);

// The test's name is for the reader of a log. Process id and start time tell programs apart.
std::string UniqueFolder() {
  static std::atomic<int> counter = 0;
  static const ULONGLONG start = GetTickCount64();
  std::string name = "no-test";
  if (const auto* test = testing::UnitTest::GetInstance()->current_test_info(); test != nullptr) {
    name = std::string(test->test_suite_name()) + "." + test->name();
  }
  std::ranges::replace(name, '/', '-');  // parameterised tests have it in their names
  return "/" + name + "/" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(start) +
         "-" + std::to_string(++counter) + "/";
}

}  // namespace

ScriptedPath::ScriptedPath(const HttpTestServer& server, const PathScript& script)
    : m_server(server), m_folder(UniqueFolder()) {
  m_server.Command("POST", "paths", script.Json(m_folder));
}

ScriptedPath::~ScriptedPath() {
  try {
    m_server.Command("DELETE", Target("paths"));
  } catch (const std::exception& error) {
    ADD_FAILURE() << error.what();
  }
}

std::wstring ScriptedPath::Url(std::wstring_view name) const {
  std::wstring url = m_server.BaseUrl();
  url.append(m_folder.begin(), m_folder.end());
  return url.append(name);
}

std::vector<RequestRecord> ScriptedPath::Requests() const {
  std::vector<RequestRecord> requests;
  std::istringstream lines(m_server.Command("GET", Target("log") + "&format=lines"));
  for (std::string line; std::getline(lines, line);) {
    requests.push_back(RequestRecord::Parse(line));
  }
  return requests;
}

bool ScriptedPath::WaitForBytesSent(uint64_t bytes, std::chrono::milliseconds timeout) const {
  return Wait("bytes&bytes=" + std::to_string(bytes), timeout);
}

bool ScriptedPath::WaitForHeld(std::string_view point, std::chrono::milliseconds timeout) const {
  return Wait(point.empty() ? "held" : "held&point=" + std::string(point), timeout);
}

void ScriptedPath::AllowUpTo(uint64_t bytes) const {
  m_server.Command("POST", Target("allow") + "&limit=" + std::to_string(bytes));
}

void ScriptedPath::AllowAll() const { m_server.Command("POST", Target("allow") + "&all=1"); }

std::string ScriptedPath::Target(std::string_view command) const {
  return std::string(command) + "?path=" + m_folder;
}

bool ScriptedPath::Wait(const std::string& event, std::chrono::milliseconds timeout) const {
  const std::string target = Target("wait") + "&format=lines&event=" + event +
                             "&timeout_ms=" + std::to_string(timeout.count());
  return m_server.Command("GET", target, {}, timeout + kAnswerTime).starts_with("met=1\n");
}
