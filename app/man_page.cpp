#include "app/man_page.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "app/plugin_loader.h"

namespace karvo_app {
namespace {

const CLI::App* findCommand(const CLI::App& program, std::string_view command) {
  if (command.empty()) return &program;
  for (const CLI::App* sub : program.get_subcommands({})) {
    if (sub->get_name() == command) return sub;
  }
  return nullptr;
}

std::string upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

std::string withoutFinalStop(std::string text) {
  if (!text.empty() && text.back() == '.') text.pop_back();
  return text;
}

std::string bold(std::string_view text) { return "\\fB" + roffText(text) + "\\fR"; }
std::string italic(std::string_view text) { return "\\fI" + roffText(text) + "\\fR"; }

// A page name with every dash a minus: "karvo\-align".
std::string roffPageName(const std::string& name) {
  std::string out;
  for (const char c : name) out += c == '-' ? std::string("\\-") : std::string(1, c);
  return out;
}
std::string pageReference(const std::string& name) { return "\\fB" + roffPageName(name) + "\\fR(1)"; }

// A sentence ends with a full stop, so that another can follow.
std::string sentence(const std::string& text) { return text.empty() || text.back() == '.' ? text : text + "."; }

// The options --help shows, without the positional arguments.
std::vector<const CLI::Option*> namedOptions(const CLI::App& app) {
  return app.get_options(
      [](const CLI::Option* option) { return !option->get_group().empty() && option->nonpositional(); });
}

std::vector<const CLI::Option*> positionals(const CLI::App& app) {
  return app.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

// "\fB\-o\fR, \fB\-\-output\fR \fIOUTPUT\fR": the option's names and, as
// --help writes it, what it takes.
std::string optionHeading(const CLI::Option& option) {
  std::string heading;
  const std::string names = option.get_positional() ? option.get_name(true, false) : option.get_name(false, true);
  std::size_t start = 0;
  while (start <= names.size()) {
    const std::size_t comma = std::min(names.find(',', start), names.size());
    heading += (heading.empty() ? "" : ", ") + bold(names.substr(start, comma - start));
    start = comma + 1;
  }
  std::string takes = CLI::Formatter().make_option_opts(&option);
  while (!takes.empty() && takes.front() == ' ') takes.erase(0, 1);
  return takes.empty() ? heading : heading + " " + italic(takes);
}

std::string optionEntries(const std::vector<const CLI::Option*>& options) {
  std::string text;
  for (const CLI::Option* option : options) {
    text += ".TP\n" + optionHeading(*option) + "\n" + roffText(option->get_description()) + "\n";
  }
  return text;
}

// "karvo align [OPTIONS] input" with the name in bold and the rest in italics.
std::string synopsisLine(const CLI::App& program, const CLI::App& command) {
  std::string line =
      ".B " + roffText(&command == &program ? program.get_name() : program.get_name() + " " + command.get_name());
  line += "\n";
  std::string words;
  if (!namedOptions(command).empty()) words += "[" + italic("OPTIONS") + "]";
  for (const CLI::Option* positional : positionals(command)) {
    const std::string name = italic(positional->get_name(true, false));
    words += (words.empty() ? "" : " ") + (positional->get_required() ? name : "[" + name + "]");
  }
  if (&command == &program && !program.get_subcommands({}).empty()) {
    words += (words.empty() ? "" : " ") + italic("COMMAND") + " [" + italic("COMMAND OPTIONS") + "]";
  }
  return line + words + "\n";
}

// The footer under its own heading when it starts with one ("Exit status:
// ..."), else as notes.
std::string footerSection(const CLI::App& command) {
  const std::string footer = command.get_footer();
  if (footer.empty()) return "";
  const std::string exitHeading = "Exit status:";
  if (footer.starts_with(exitHeading)) {
    std::string rest = footer.substr(exitHeading.size());
    while (!rest.empty() && (rest.front() == ' ' || rest.front() == '\n')) rest.erase(0, 1);
    return ".SH EXIT STATUS\n" + roffText(rest) + "\n";
  }
  return ".SH NOTES\n" + roffText(footer) + "\n";
}

std::string commandsSection(const CLI::App& program) {
  std::string text = ".SH COMMANDS\n";
  for (const CLI::App* sub : program.get_subcommands({})) {
    text += ".TP\n" + bold(sub->get_name()) + "\n" + roffText(sentence(sub->get_description())) + " See " +
            pageReference(manPageName(program, sub->get_name())) + ".\n";
  }
  return text;
}

// Where karvo looks for the plug-in, from the loader's own names.
std::string pluginSection() {
  std::string names;
  for (const std::string& name : kPluginFileNames) names += (names.empty() ? "" : ", else ") + bold(name);
  return ".SH PLUG-IN\n" + roffText("karvo loads the plug-in ") + names +
         roffText(
             ", from the first folder that has one of: the folder given with --plugin-dir (then the only "
             "one); the folders in the KARVO_PLUGIN_PATH environment variable, separated by ':'; the folder "
             "of the karvo executable; the installed plug-in folder ") +
         italic(std::string(kInstalledPluginDir)) + roffText(", relative to the executable's folder.") + "\n";
}

std::string seeAlso(const CLI::App& program, std::string_view command) {
  std::vector<std::string> pages;
  if (!command.empty()) pages.push_back(manPageName(program, ""));
  for (const CLI::App* sub : program.get_subcommands({})) {
    if (sub->get_name() != command) pages.push_back(manPageName(program, sub->get_name()));
  }
  std::string text = ".SH SEE ALSO\n";
  for (std::size_t k = 0; k < pages.size(); ++k)
    text += pageReference(pages[k]) + (k + 1 < pages.size() ? ",\n" : "\n");
  return text;
}

}  // namespace

std::string roffText(std::string_view text) {
  std::string out;
  bool lineStart = true;
  char previous = ' ';
  for (const char c : text) {
    if (lineStart && (c == '.' || c == '\'')) out += "\\&";
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-' && !std::isalnum(static_cast<unsigned char>(previous))) {
      out += "\\-";
    } else {
      out += c;
    }
    lineStart = c == '\n';
    previous = c;
  }
  return out;
}

std::string manPageName(const CLI::App& program, std::string_view command) {
  return command.empty() ? program.get_name() : program.get_name() + "-" + std::string(command);
}

std::optional<std::string> manPage(const CLI::App& program, std::string_view command, std::string_view version) {
  const CLI::App* page = findCommand(program, command);
  if (page == nullptr) return std::nullopt;
  const std::string name = manPageName(program, command);
  std::string text = ".TH \"" + roffPageName(upper(name)) + "\" \"1\" \"\" \"" + roffText(program.get_name()) + " " +
                     roffText(version) + "\" \"User Commands\"\n.nh\n.ad l\n";
  text += ".SH NAME\n" + roffPageName(name) + " \\- " + roffText(withoutFinalStop(page->get_description())) + "\n";
  text += ".SH SYNOPSIS\n";
  if (page == &program) {
    for (const CLI::App* sub : program.get_subcommands({})) text += synopsisLine(program, *sub) + ".br\n";
  }
  text += synopsisLine(program, *page);
  text += ".SH DESCRIPTION\n" + roffText(sentence(page->get_description())) + "\n";
  if (const auto arguments = positionals(*page); !arguments.empty()) {
    text += ".SH ARGUMENTS\n" + optionEntries(arguments);
  }
  text += ".SH OPTIONS\n" + optionEntries(namedOptions(*page));
  if (page == &program) text += commandsSection(program) + pluginSection();
  text += footerSection(*page);
  return text + seeAlso(program, command);
}

}  // namespace karvo_app
