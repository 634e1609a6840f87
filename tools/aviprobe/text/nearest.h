#ifndef ZU_TOOLS_AVIPROBE_TEXT_NEAREST_H_
#define ZU_TOOLS_AVIPROBE_TEXT_NEAREST_H_

#include <span>
#include <string>
#include <string_view>

/// Which of the words somebody meant who typed another: the one that takes the fewest letters added, left out, changed
/// or swapped with the next. Empty when none is near.
std::string Nearest(std::string_view typed, std::span<const std::string> words);

#endif  // ZU_TOOLS_AVIPROBE_TEXT_NEAREST_H_
