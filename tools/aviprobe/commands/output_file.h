#ifndef ZU_TOOLS_AVIPROBE_COMMANDS_OUTPUT_FILE_H_
#define ZU_TOOLS_AVIPROBE_COMMANDS_OUTPUT_FILE_H_

#include <string>
#include <string_view>

/// Fails as WriteWhole() would, as far as that can be known before there is anything to write. Leaves nothing behind.
/// @throw HostError
void CheckWritable(const std::string& path);

/// Writes a file that gets its name, and takes the place of one that has it, only when it is whole. What is no file,
/// such as a pipe, is written as it is. @throw HostError
void WriteWhole(const std::string& path, std::string_view text);

#endif  // ZU_TOOLS_AVIPROBE_COMMANDS_OUTPUT_FILE_H_
