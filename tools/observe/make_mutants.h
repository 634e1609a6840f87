#ifndef ZU_TOOLS_OBSERVE_MAKE_MUTANTS_H_
#define ZU_TOOLS_OBSERVE_MAKE_MUTANTS_H_

#include <cstddef>
#include <cstdint>
#include <filesystem>

/// Writes into folder `out` each different file of folder `in` - those named *.avi and fuzz seeds, "seed-" and a
/// number, without the decisions at their end - and `count` damaged copies, which depend on the files and `seed` only.
/// @return the program's exit status.
int MakeMutants(const std::filesystem::path& in, const std::filesystem::path& out, size_t count, uint64_t seed);

#endif  // ZU_TOOLS_OBSERVE_MAKE_MUTANTS_H_
