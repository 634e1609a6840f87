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
  for (size_t i = 0; i < count; ++i) {
    const double least = *std::min_element(seconds[i].begin(), seconds[i].end());
    state.counters[contenders[i].name] = least;
    if (i == 0) continue;
    std::vector<double> ratios;
    for (size_t round = 0; round < seconds[i].size(); ++round) ratios.push_back(seconds[0][round] / seconds[i][round]);
    std::nth_element(ratios.begin(), ratios.begin() + static_cast<ptrdiff_t>(ratios.size() / 2), ratios.end());
    const std::string name = contenders[0].name + "/" + contenders[i].name;
    state.counters[name] = *std::min_element(seconds[0].begin(), seconds[0].end()) / least;
    state.counters[name + " paired"] = ratios[ratios.size() / 2];
  }
}
