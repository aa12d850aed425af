// The bash completion of karvo, generated from the command line's own
// definitions (the CLI11 application) like the manual pages. The build
// writes it with the hidden `karvo --bash-completion`.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace karvo_app {

// What an option or argument takes, as the completion offers it: nothing
// (a flag), a file, a folder, one of a few words, or a value to be typed.
enum class ValueKind { None, File, Folder, Choice, Typed };
struct OptionValue {
  ValueKind kind = ValueKind::None;
  std::vector<std::string> choices;  // ValueKind::Choice
};

// Told from the option's type name, which --help shows as well: FILE, PATH,
// OUTPUT and CLI11's default TEXT are files, DIR a folder, a validator's
// "{a,b,c}" the words a, b and c; any other name is typed.
OptionValue optionValue(const CLI::Option& option);

// The script for the program: after a subcommand its options, after an
// option its value, else the subcommands.
std::string bashCompletion(const CLI::App& program);

}  // namespace karvo_app
