#ifndef ZU_TOOLS_AVIPROBE_COMMANDS_EXAMPLES_H_
#define ZU_TOOLS_AVIPROBE_COMMANDS_EXAMPLES_H_

namespace CLI {
class App;
}

/// Ends the help of every subcommand with examples, behind what is there already.
void AddExamples(CLI::App& app);

#endif  // ZU_TOOLS_AVIPROBE_COMMANDS_EXAMPLES_H_
