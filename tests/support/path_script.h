#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/http_answer.h"

// What a scripted path answers: the first answer to the first request, the second to the second,
// and the last one to all further requests.
class PathScript {
 public:
  PathScript() = default;
  // Most paths have one answer, and a test reads best with that answer alone.
  // NOLINTNEXTLINE(google-explicit-constructor): one answer is a script, too
  PathScript(HttpAnswer answer);

  // Adds the answer for the next request.
  PathScript& Then(HttpAnswer answer);
  // Asks for Basic credentials: 401 until they are right. These 401 use no answer up.
  PathScript& Credentials(std::string_view user, std::string_view password, std::string_view realm);

  // The script as the server's control interface takes it, for all paths below `prefix`, which ends
  // with a slash.
  std::string Json(std::string_view prefix) const;

 private:
  std::vector<HttpAnswer> m_answers;
  std::string m_auth;
};
