#ifndef ZU_TOOLS_AVIPROBE_HOST_LAST_WORDS_H_
#define ZU_TOOLS_AVIPROBE_HOST_LAST_WORDS_H_

#include <string_view>

// What a process still says when the library ends it, or somebody else does.

/// Gives stdout its buffer. Call before anything is printed.
void BufferStdout();

/// From now on a signal that ends the process first writes what stands in stdout's buffer, and the note. Signals that
/// are ignored or that somebody else handles stay as they are.
void InstallLastWords(int noteFd);

/// What is written to `noteFd` then; at most some hundred bytes of it, whole or not at all. Cheap.
void SetLastNote(std::string_view note);

#endif  // ZU_TOOLS_AVIPROBE_HOST_LAST_WORDS_H_
