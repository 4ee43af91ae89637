#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/run_seed.h"

/// How many mutated inputs each test takes.
inline int MutationCount() {
  const char* const text = std::getenv("FOLIVO_FAULTS_COUNT");
  return text != nullptr ? std::atoi(text) : 10000;
}

/// Makes odd inputs out of good ones. The same run's seed gives the same inputs.
template <typename Char>
class CMutator {
 public:
  using Text = std::basic_string<Char>;

  /// `seeds`: good inputs, not empty; `parts`: what is put into them, beside single characters.
  CMutator(std::vector<Text> seeds, std::vector<Text> parts)
      : m_random(RunSeed()), m_seeds(std::move(seeds)), m_parts(std::move(parts)) {}

  /// Calls `check` for each input, a good one with up to five changes, until it fails.
  void ForEach(const std::function<void(const Text& text)>& check) {
    for (int i = 0; i < MutationCount() && !testing::Test::HasFailure(); ++i) {
      Text text = m_seeds[Below(m_seeds.size())];
      for (size_t changes = Below(6); changes > 0; --changes) {
        Change(text);
      }
      check(text);
    }
  }

 private:
  size_t Below(size_t limit) { return m_random() % limit; }

  Char AnyChar() {
    // Mostly of the first 256: there lies what means something.
    const auto wide = static_cast<Char>(m_random());
    return Below(8) == 0 ? wide : static_cast<Char>(Below(256));
  }

  void Change(Text& text) {
    const size_t at = Below(text.size() + 1);
    const size_t length = Below(text.size() - at + 1);
    switch (Below(7)) {
      case 0:
        if (at < text.size()) {
          text[at] = AnyChar();
        }
        break;
      case 1:
        text.insert(at, 1, AnyChar());
        break;
      case 2:
        text.insert(at, m_parts[Below(m_parts.size())]);
        break;
      case 3:
        text.erase(at, length);
        break;
      case 4:
        text.insert(at, text.substr(at, length));
        break;
      case 5:
        text.resize(at);
        break;
      default:
        text.insert(at, Below(20) == 0 ? 300 : 3, AnyChar());
        break;
    }
  }

  std::mt19937 m_random;
  const std::vector<Text> m_seeds;
  const std::vector<Text> m_parts;
};
