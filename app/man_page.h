// The manual pages of karvo and its subcommands, rendered in man(7) roff from
// the command line's own definitions (the CLI11 application), so that they
// list exactly the options --help lists. The build writes them with the
// hidden `karvo --man-page [COMMAND]`.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace karvo_app {

// The page of the program (command "") or of one of its subcommands;
// nullopt for a command the program does not have.
std::optional<std::string> manPage(const CLI::App& program, std::string_view command, std::string_view version);

// The page's name: "karvo" or "karvo-align".
std::string manPageName(const CLI::App& program, std::string_view command);

// Text set as roff input: backslashes escaped, a leading '.' or '\'' kept
// from being read as a request, and the dashes that start an option word
// written as \- so that they render (and copy) as the ASCII minus.
std::string roffText(std::string_view text);

}  // namespace karvo_app
