#ifndef ZU_BENCH_COMPARE_H_
#define ZU_BENCH_COMPARE_H_

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

/// CPU time of the calling thread in seconds.
double CpuSeconds();

/// Does some work and returns the seconds that the part that counts took.
using Work = std::function<double()>;

struct Contender {
  std::string name;
  Work work;
};

/// Lets all take turns, each going first in its turn, once per iteration of `state`, after one round that is not
/// counted. Reports the least time of each in seconds, and how many times the least of the first is that of each other:
/// as "first/other", and as "first/other paired" the median of the same in each round.
void TakeTurns(benchmark::State& state, const std::vector<Contender>& contenders);

#endif  // ZU_BENCH_COMPARE_H_
