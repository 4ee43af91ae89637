#include "tests/support/path_script.h"

#include <utility>

PathScript::PathScript(HttpAnswer answer) { Then(std::move(answer)); }

PathScript& PathScript::Then(HttpAnswer answer) {
  m_answers.push_back(std::move(answer));
  return *this;
}

PathScript& PathScript::Credentials(std::string_view user, std::string_view password,
                                    std::string_view realm) {
  m_auth = R"({"user":)" + JsonString(user) + R"(,"password":)" + JsonString(password) +
           R"(,"realm":)" + JsonString(realm) + "}";
  return *this;
}

std::string PathScript::Json(std::string_view prefix) const {
  std::string answers;
  for (const HttpAnswer& answer : m_answers) {
    answers += (answers.empty() ? "" : ",") + answer.Json();
  }
  if (answers.empty()) {
    answers = "{}";  // the plain answer
  }
  std::string json = R"({"match":"prefix","path":)" + JsonString(prefix);
  if (!m_auth.empty()) {
    json += R"(,"auth":)" + m_auth;
  }
  return json + R"(,"answers":[)" + answers + "]}";
}
