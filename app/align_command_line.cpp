// The align command's options: one definition, read by --help, the manual
// pages and the shell completion alike.
#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "app/align_command.h"
#include "app/align_method.h"
#include "app/align_options.h"
#include "app/exit_status.h"
#include "formats/alignment_io.h"

namespace karvo_app {
namespace {

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

CLI::Validator gapPenaltyCheck() {
  return CLI::Validator([](const std::string& text) { return gapPenaltyProblem(text); }, "");
}

}  // namespace

CLI::App* addAlignCommand(CLI::App& parent, AlignOptions& options) {
  CLI::App* command = parent.add_subcommand("align", "Re-align a column range of an alignment file");
  command
      ->add_option("input", options.input,
                   "Alignment file (FASTA, Clustal, MSF, Stockholm, PHYLIP, PIR or A3M, also gzip-compressed); - for "
                   "standard input")
      ->required();
  command->add_option("--range", options.range, "Columns to re-align, FIRST:LAST, 1-based and inclusive")
      ->type_name("FIRST:LAST");
  command
      ->add_option("--matrix", options.matrix,
                   "Substitution matrix: name or published name such as BLOSUM62 (any case), or number 0-14")
      ->type_name("NAME|NUMBER")
      ->capture_default_str();
  command->add_option("--gap", options.gap, "Gap penalty, a whole number from 0 to 100")
      ->type_name("N")
      ->capture_default_str()
      ->check(gapPenaltyCheck());
  command->add_option("--prealigned", options.prealigned, "Leading sequences already aligned to each other")
      ->type_name("N")
      ->capture_default_str();
  CLI::Option* logOption =
      command
          ->add_option("--log", options.log,
                       "Run log file, relative to the current folder (default: zemtra.log in the personal temporary "
                       "directory: $KARVO_TMPDIR, else $XDG_RUNTIME_DIR/karvo, else ~/.cache/karvo; replaced by each "
                       "run); a name ending in .gz is written gzip-compressed")
          ->type_name("PATH");
  command->add_flag("--force", options.force, "Overwrite an existing --log file without asking");
  command->add_flag("--no-log", options.noLog, "Run without any run log file")->excludes(logOption);
  command
      ->add_option("--input-format", options.inputFormat,
                   "Read the input as this format instead of recognising it from the content: " +
                       joined(KARVO::inputFormatNames()))
      ->type_name("NAME")
      ->check(CLI::IsMember(KARVO::inputFormatNames(), CLI::ignore_case));
  command
      ->add_option("--a3m-query", options.a3mQuery,
                   "A3M output: the query sequence, written first (default: the first)")
      ->type_name("NAME");
  command
      ->add_option("-o,--output", options.output,
                   "Output file; a name ending in .gz is written gzip-compressed; - or none: standard output")
      ->type_name("OUTPUT");
  command
      ->add_option("--format", options.format,
                   "Output format (default: from the output name; fasta on standard output): " + KARVO::formatChoices())
      ->type_name("FORMAT")
      ->check(CLI::IsMember(KARVO::formatNames(), CLI::ignore_case));
  command
      ->add_option("--tree-newick", options.treeNewick,
                   "Write the guide tree in Newick format, branch lengths in the run's distance units")
      ->type_name("FILE");
  command->add_option("--tree-svg", options.treeSvg, "Draw the guide tree as an SVG phylogram")->type_name("FILE");
  command
      ->add_option("--distances", options.distances,
                   "Write the pairwise percent identities and distances: TSV, or PHYLIP for names ending .phy or .dist")
      ->type_name("FILE");
  command
      ->add_option("--order", options.order,
                   "Row order of the alignment and the distance tables: input, or tree (the guide tree's leaf order)")
      ->type_name("input|tree")
      ->capture_default_str()
      ->check(CLI::IsMember({"input", "tree"}));
  addMethodOptions(*command, options);
  command
      ->add_option("--plugin-dir", options.pluginDir,
                   "Folder holding the plug-in: libZemtraBatch.so.0 (the window-less build, preferred) or "
                   "libZemtra.so.0")
      ->type_name("DIR");
  command->add_flag("-q,--quiet", options.quiet, "No progress bar and no summary line");
  command->add_flag("--verbose", options.verbose, "Show the plug-in's diagnostic messages and the run's phase timings");
  command->footer(kExitStatusHelp);
  return command;
}

}  // namespace karvo_app
