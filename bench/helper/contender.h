#pragma once

#include <algorithm>
#include <cstdio>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

#include "bench/support/stopwatch.h"

/// One of those that are measured in turns within a process, and its shortest time in the round:
/// whatever else the machine does only adds to a time.
class CContender {
 public:
  /// `run` gives seconds.
  CContender(const char* name, std::function<double()> run) : m_name(name), m_run(std::move(run)) {}

  void Run() { m_shortest = std::min(m_shortest, m_run()); }

  /// Prints "NAME SECONDS", the shortest time, and begins anew.
  void EndRound() {
    std::printf("%s %.9g\n", m_name, m_shortest);
    m_shortest = kNever;
  }

 private:
  static constexpr double kNever = std::numeric_limits<double>::max();

  const char* m_name;
  std::function<double()> m_run;
  double m_shortest = kNever;
};

/// In each round, each contender `turns` times: A B C, A B C, ...
inline void TakeTurns(std::vector<CContender> contenders, int rounds, int turns) {
  for (int round = 0; round < rounds; ++round) {
    for (int turn = 0; turn < turns; ++turn) {
      for (CContender& contender : contenders) {
        contender.Run();
      }
    }
    for (CContender& contender : contenders) {
      contender.EndRound();
    }
  }
}
