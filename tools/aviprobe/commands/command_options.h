#ifndef ZU_TOOLS_AVIPROBE_COMMANDS_COMMAND_OPTIONS_H_
#define ZU_TOOLS_AVIPROBE_COMMANDS_COMMAND_OPTIONS_H_

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

constexpr int64_t kMaxInt = std::numeric_limits<int32_t>::max();

struct SNumberRange {
  int64_t low, high;
};

/// An option that has been declared.
class CommandOption {
 public:
  explicit CommandOption(CLI::Option* option) : m_Option(option) {}
  CommandOption& Required();
  CommandOption& ShowDefault();
  CommandOption& Needs(const CommandOption& other);
  CommandOption& Excludes(const CommandOption& other);
  bool Given() const;

 private:
  CLI::Option* m_Option;
};

/// Declares a subcommand and its options. All that is read goes where the pointers say, which have to live as long as
/// the command line is read; what is not given stays as it was. CLI11 is behind this door because it is headers only:
/// each source that includes it compiles all of it.
class CommandOptions {
 public:
  CommandOptions(CLI::App& app, const std::string& name, const std::string& help);

  /// The files, at least one. @param count  just so many unless 0.
  void Files(std::vector<std::string>* files, const std::string& help = "AVI files", int count = 0);
  /// @param name  "!--no-x" clears what it names.
  CommandOption Flag(const std::string& name, bool* flag, const std::string& help);
  CommandOption Text(const std::string& name, std::string* text, const std::string& type, const std::string& help);
  /// Whole numbers of a range. An unsigned option alone would take a minus sign as a huge number.
  CommandOption Number(const std::string& name, unsigned* number, SNumberRange range, const std::string& type,
                       const std::string& help);
  CommandOption Number(const std::string& name, int* number, SNumberRange range, const std::string& type,
                       const std::string& help);
  /// The number of a track.
  CommandOption Track(const std::string& name, std::optional<uint32_t>* track, const std::string& help);
  CommandOption OneOf(const std::string& name, std::string* word, std::initializer_list<const char*> words,
                      const std::string& type, const std::string& help);
  /// A time as ParseTime understands it.
  CommandOption Time(const std::string& name, uint32_t* ms, const std::string& help);
  /// Stands at the end of the help, before what is there.
  void Epilogue(const std::string& text);
  /// Called when all options are read; may refuse them.
  void OnRead(const std::function<void()>& read);

 private:
  CLI::App* m_Command;
};

/// Ends the reading of a command line that cannot be meant.
[[noreturn]] void RefuseUsage(const std::string& why);

#endif  // ZU_TOOLS_AVIPROBE_COMMANDS_COMMAND_OPTIONS_H_
