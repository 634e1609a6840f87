#include "tools/aviprobe/model/parameter_sets.h"

std::vector<uint8_t> ParameterSets(std::span<const uint8_t> record) {
  std::vector<uint8_t> sets;
  size_t at = 5;
  for (const uint8_t countMask : {uint8_t{0x1F}, uint8_t{0xFF}}) {  // sequence sets, then picture sets
    if (at >= record.size()) break;
    for (int left = record[at++] & countMask; left > 0 && record.size() - at >= 2; --left) {
      const size_t size = static_cast<size_t>(record[at] << 8 | record[at + 1]);
      at += 2;
      if (record.size() - at < size) return sets;
      sets.insert(sets.end(), {0, 0, 0, 1});
      sets.insert(sets.end(), record.begin() + static_cast<ptrdiff_t>(at),
                  record.begin() + static_cast<ptrdiff_t>(at + size));
      at += size;
    }
  }
  return sets;
}
