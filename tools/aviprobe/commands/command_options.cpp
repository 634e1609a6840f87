#include "tools/aviprobe/commands/command_options.h"

#include <CLI/CLI.hpp>

#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/text/times.h"

namespace {

CLI::Validator Within(SNumberRange range) { return CLI::Range(range.low, range.high).description(""); }

}  // namespace

CommandOption& CommandOption::Required() {
  m_Option->required();
  return *this;
}

CommandOption& CommandOption::ShowDefault() {
  m_Option->capture_default_str();
  return *this;
}

CommandOption& CommandOption::Needs(const CommandOption& other) {
  m_Option->needs(other.m_Option);
  return *this;
}

CommandOption& CommandOption::Excludes(const CommandOption& other) {
  m_Option->excludes(other.m_Option);
  return *this;
}

bool CommandOption::Given() const { return !m_Option->empty(); }

CommandOptions::CommandOptions(CLI::App& app, const std::string& name, const std::string& help)
    : m_Command(app.add_subcommand(name, help)) {}

void CommandOptions::Files(std::vector<std::string>* files, const std::string& help, int count) {
  CLI::Option* option = m_Command->add_option("FILE", *files, help)->required();
  if (count > 0) option->expected(count);
}

CommandOption CommandOptions::Flag(const std::string& name, bool* flag, const std::string& help) {
  return CommandOption(m_Command->add_flag(name, *flag, help));
}

CommandOption CommandOptions::Text(const std::string& name, std::string* text, const std::string& type,
                                   const std::string& help) {
  return CommandOption(m_Command->add_option(name, *text, help)->type_name(type));
}

CommandOption CommandOptions::Number(const std::string& name, unsigned* number, SNumberRange range,
                                     const std::string& type, const std::string& help) {
  return CommandOption(m_Command->add_option(name, *number, help)->type_name(type)->check(Within(range)));
}

CommandOption CommandOptions::Number(const std::string& name, int* number, SNumberRange range, const std::string& type,
                                     const std::string& help) {
  return CommandOption(m_Command->add_option(name, *number, help)->type_name(type)->check(Within(range)));
}

CommandOption CommandOptions::Track(const std::string& name, std::optional<uint32_t>* track, const std::string& help) {
  return CommandOption(m_Command->add_option(name, *track, help)->type_name("N")->check(Within({0, kMaxInt})));
}

CommandOption CommandOptions::OneOf(const std::string& name, std::string* word,
                                    std::initializer_list<const char*> words, const std::string& type,
                                    const std::string& help) {
  const CLI::Validator known = CLI::IsMember(std::vector<std::string>(words.begin(), words.end())).description("");
  return CommandOption(m_Command->add_option(name, *word, help)->type_name(type)->check(known));
}

CommandOption CommandOptions::Time(const std::string& name, uint32_t* ms, const std::string& help) {
  const auto take = [ms, name](const std::string& text) {
    const std::optional<uint32_t> time = ParseTime(text);
    if (!time) RefuseUsage(name + ": no time from 0 to 4294967295 ms: " + text);
    *ms = *time;
  };
  return CommandOption(m_Command->add_option_function<std::string>(name, take, help)->type_name("TIME"));
}

void CommandOptions::Epilogue(const std::string& text) { m_Command->footer(text + "\n" + m_Command->get_footer()); }

void CommandOptions::OnRead(const std::function<void()>& read) { m_Command->callback(read); }

void RefuseUsage(const std::string& why) { throw CLI::ParseError(why, kExitUsage); }
