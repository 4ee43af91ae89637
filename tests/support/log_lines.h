#pragma once

#include <string_view>
#include <vector>

#include "tests/support/request_record.h"

// An answer of the test server's log in its line format. Throws std::runtime_error if it makes no
// sense.
struct LogLines {
  explicit LogLines(std::string_view text);

  bool met = false;  // of a wait: whether the event came
  std::vector<RequestRecord> requests;
};
