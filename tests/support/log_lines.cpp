#include "tests/support/log_lines.h"

#include <algorithm>

LogLines::LogLines(std::string_view text) {
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    if (line.starts_with("met=")) {
      met = line == "met=1";
    } else {
      requests.push_back(RequestRecord::Parse(line));
    }
  }
}
