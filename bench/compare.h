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
/// counted. Reports the least time of each in seconds, and as "first/other" how many times each other's the first's is.
void TakeTurns(benchmark::State& state, const std::vector<Contender>& contenders);

#endif  // ZU_BENCH_COMPARE_H_
