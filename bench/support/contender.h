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

/// How often: a round is so many turns of each contender. After so many seconds no further round
/// begins, except the second.
struct CTurns {
  int rounds;
  int inRound;
  double seconds;
};

/// A B C, A B C, ... Gives the number of rounds.
inline int TakeTurns(std::vector<CContender> contenders, const CTurns& turns) {
  constexpr int kLeastRounds = 2;
  const CStopwatch stopwatch;
  int round = 0;
  for (; round < turns.rounds && (round < kLeastRounds || stopwatch.Elapsed() < turns.seconds);
       ++round) {
    for (int turn = 0; turn < turns.inRound; ++turn) {
      for (CContender& contender : contenders) {
        contender.Run();
      }
    }
    for (CContender& contender : contenders) {
      contender.EndRound();
    }
  }
  return round;
}
