#pragma once

#include <string>
#include <vector>

#include "tests/support/http_answer.h"

struct CLengthClaim {
  std::string name;
  HttpAnswer answer;
};

/// Answers with this body, of `size` bytes, whose length is told wrongly, or not at all, or in
/// chunks, and never as less than it is.
std::vector<CLengthClaim> ClaimsOfAllAndMore(const HttpAnswer& body, size_t size);

/// Such answers whose length is told as less than it is.
std::vector<CLengthClaim> ClaimsOfLess(const HttpAnswer& body, size_t size);
