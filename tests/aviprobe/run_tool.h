#ifndef ZU_TESTS_AVIPROBE_RUN_TOOL_H_
#define ZU_TESTS_AVIPROBE_RUN_TOOL_H_

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

struct SRun {
  int nExit = -1;       ///< -1: it did not end by itself
  std::string sOutput;  ///< stdout and stderr
};

/// Runs the tool that was built. @param arguments  as a shell takes them.
inline SRun RunTool(const std::string& arguments) {
  SRun run;
  FILE* pipe = popen((ZU_AVIPROBE " " + arguments + " 2>&1").c_str(), "r");
  if (!pipe) return run;
  std::array<char, 4096> block;
  for (size_t n; (n = fread(block.data(), 1, block.size(), pipe)) > 0;) run.sOutput.append(block.data(), n);
  const int status = pclose(pipe);
  if (WIFEXITED(status)) run.nExit = WEXITSTATUS(status);
  return run;
}

#endif  // ZU_TESTS_AVIPROBE_RUN_TOOL_H_
