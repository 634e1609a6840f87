#include "bench/compare.h"

#include <algorithm>
#include <ctime>

double CpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

void TakeTurns(benchmark::State& state, const std::vector<Contender>& contenders) {
  const size_t count = contenders.size();
  std::vector<std::vector<double>> seconds(count);
  for (const Contender& contender : contenders) contender.work();
  size_t first = 0;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
    for (size_t i = 0; i < count; ++i) {
      const size_t turn = (first + i) % count;
      seconds[turn].push_back(contenders[turn].work());
    }
    ++first;
    state.SetIterationTime(seconds[0].back());
  }
  double leastOfFirst = 0;
  for (size_t i = 0; i < count; ++i) {
    const double least = *std::min_element(seconds[i].begin(), seconds[i].end());
    state.counters[contenders[i].name] = least;
    if (i != 0) {
      state.counters[contenders[0].name + "/" + contenders[i].name] = leastOfFirst / least;
    } else {
      leastOfFirst = least;
    }
  }
}
