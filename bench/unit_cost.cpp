// What callgrind counts in, inside one operation of the library only: unit_cost open|video|audio FILE opens the file
// and plays one of its tracks out. Prints the number of units.
#include <cstring>
#include <exception>
#include <iostream>
#include <vector>

#include "bench/player.h"
#include "bench/sources.h"

int main(int argc, char** argv) {
  if (argc != 3) return std::cerr << "usage: unit_cost open|video|audio FILE\n", 2;
  try {
    MappedSource source(argv[2]);
    Player player(source);
    uint64_t units = 0;
    const auto count = [&](auto&&...) { ++units; };
    if (std::strcmp(argv[1], "video") == 0) player.Drain(Player::kVideo, count);
    if (std::strcmp(argv[1], "audio") == 0) player.Drain(Player::kAudio, count);
    std::cout << units << '\n';
  } catch (const std::exception& error) {
    return std::cerr << "unit_cost: " << error.what() << '\n', 1;
  }
}
