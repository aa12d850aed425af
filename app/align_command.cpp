#include "app/align_command.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>

#include "app/align_options.h"
#include "app/engine_exit.h"
#include "app/exit_status.h"
#include "app/log_placement.h"
#include "app/plugin_loader.h"
#include "app/run_memory.h"
#include "app/terminal_interaction.h"
#include "app/tree_export.h"
#include "host/alignment.h"
#include "host/alignment_io.h"
#include "host/config.h"
#include "host/file_io.h"
#include "plugin/zemtra_plugin.h"
#include "scoring/matrix_names.h"

namespace karvo_app {
namespace {

namespace fs = std::filesystem;

// A failure of the command: the one-line message and the exit status.
class Failure : public std::runtime_error {
 public:
  Failure(int status, const std::string& message) : std::runtime_error(message), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

// The options once checked and turned into values.
struct Settings {
  int matNo = 0;
  LogTarget log;
  KARVO::AlignmentFormat format = KARVO::AlignmentFormat::Fasta;
  std::optional<ColumnSpan> span;
};

// What the command needs to know about a call once it returned.
struct RunSummary {
  KARVO::ColumnRange range;
  int prealigned = 0;
  std::string logPath{};  // as the user should see it
  bool logWritten = false;
  OverwriteDecision overwrite = OverwriteDecision::NotAsked;
};

bool verboseMessages = false;

// The plug-in's own diagnostic texts (those written just before the engine
// ends the process among them): at a terminal they are noise unless asked
// for, but the last one names such an ending.
void filterDebugOutput(const char* text) {
  noteDebugMessage(text);
  if (verboseMessages) std::cerr << text << '\n' << std::flush;
}

Settings checkOptions(const AlignOptions& options) {
  Settings settings;
  const auto matNo = ScoMat::findMatrix(options.matrix);
  if (!matNo) throw Failure(kExitUsage, ScoMat::unknownMatrixMessage(options.matrix));
  settings.matNo = *matNo;
  if (options.gap < 0 || options.gap > 100) {
    throw Failure(kExitUsage, "--gap must be from 0 to 100, not " + std::to_string(options.gap));
  }
  if (options.prealigned < 0) {
    throw Failure(kExitUsage, "--prealigned must be 0 or more, not " + std::to_string(options.prealigned));
  }
  if (!options.range.empty()) {
    settings.span = parseColumnRange(options.range);
    if (!settings.span) throw Failure(kExitUsage, columnRangeProblem(options.range));
  }
  const auto log = logTargetFor(options.log);
  if (!log) throw Failure(kExitUsage, "--log " + options.log + " does not name a file");
  settings.log = *log;
  if (!options.format.empty()) {
    settings.format = *KARVO::formatFromName(options.format);
  } else if (!options.output.empty()) {
    settings.format = KARVO::formatFromName(options.output).value_or(KARVO::AlignmentFormat::Fasta);
  }
  return settings;
}

// Nothing the command writes may replace the file it reads.
void checkInputKeptApart(const AlignOptions& options, const Settings& settings) {
  std::vector<std::string> outputs{options.output, options.treeNewick, options.treeSvg};
  if (settings.log.kind == LogKind::Path) outputs.push_back(settings.log.value);
  for (const std::string& output : outputs) {
    std::error_code error;
    if (!output.empty() && fs::equivalent(output, options.input, error)) {
      throw Failure(kExitUsage, output + " is the input file, which karvo never overwrites");
    }
  }
}

int cancelStepFromEnvironment() {
  const char* text = std::getenv("KARVO_TEST_CANCEL_AT_STEP");
  if (text == nullptr) return -1;
  int step = -1;
  const std::string_view view(text);
  const auto [end, error] = std::from_chars(view.data(), view.data() + view.size(), step);
  return error == std::errc() && end == view.data() + view.size() && step >= 0 ? step : -1;
}

[[noreturn]] void reportCancelled() { throw Failure(kExitCancelled, "cancelled; the alignment was not changed"); }

[[noreturn]] void refuseOverwrite(OverwriteDecision decision, const std::string& path) {
  // Ctrl-C at the question ends its read; the user wanted to stop, not to answer.
  if (interruptRequested()) reportCancelled();
  if (decision == OverwriteDecision::Declined) throw Failure(kExitRunRefused, "kept " + path + "; nothing was aligned");
  throw Failure(kExitRunRefused, "the run log " + path + " exists; use --force to overwrite it");
}

// A log outside the personal directory is asked about before anything runs,
// since the run itself only ever sees its private stand-in folder.
void confirmLogPath(const LogTarget& log, TerminalInteraction& interaction) {
  if (log.kind != LogKind::Path) return;
  std::error_code error;
  if (fs::is_directory(log.value, error)) throw Failure(kExitUsage, "--log " + log.value + " is a directory");
  if (!fs::exists(fs::symlink_status(log.value, error))) return;
  if (!interaction.confirmOverwrite(log.value)) {
    refuseOverwrite(interaction.overwriteDecision(), log.value);
  }
}

std::unique_ptr<KARVO::Alignment> readInput(const std::string& path) {
  try {
    return KARVO::readAlignmentFile(path);
  } catch (const std::exception& error) {
    throw Failure(kExitUsage, error.what());
  }
}

std::string columnsText(const KARVO::ColumnRange& range) {
  return "columns " + std::to_string(range.first + 1) + " to " + std::to_string(range.second);
}

KARVO::ColumnRange selectRange(const KARVO::Alignment& alignment, const std::optional<ColumnSpan>& span) {
  const unsigned long columns = alignment.columnCount();
  if (!span) return {0, columns};
  if (span->last > columns) {
    throw Failure(kExitUsage, "range " + std::to_string(span->first) + ":" + std::to_string(span->last) +
                                  " is outside the alignment's " + std::to_string(columns) + " columns");
  }
  return {span->first - 1, span->last};
}

std::unique_ptr<LoadedPlugin> loadZemtra(const std::string& pluginDir) {
  const char* pathVariable = std::getenv("KARVO_PLUGIN_PATH");
  const PluginSearch search{pluginDir, pathVariable ? pathVariable : "", executableDir()};
  try {
    return loadPlugin(pluginSearchDirs(search), kPluginFileNames);
  } catch (const PluginError& error) {
    throw Failure(kExitUsage, error.what());
  }
}

// Turns every way a call can end short of a finished run into its failure.
void checkRunEnded(const ZemtraRunReport& report, const RunSummary& run) {
  const std::string columns = columnsText(run.range);
  switch (report.exchange) {
    case ExchangeOutcome::Rewritten:
      break;
    case ExchangeOutcome::NoRange:
      throw Failure(kExitRunRefused, "nothing to align: the alignment has no columns");
    case ExchangeOutcome::NoAdditionalSequences:
      if (report.fixed == 0) throw Failure(kExitRunRefused, "nothing to align: no sequence has residues in " + columns);
      throw Failure(kExitRunRefused, "nothing to align: no sequence after the " + std::to_string(run.prealigned) +
                                         " prealigned ones has residues in " + columns);
    case ExchangeOutcome::FewerThanTwo:
      throw Failure(kExitRunRefused, "nothing to align: fewer than two sequences have residues in " + columns);
    case ExchangeOutcome::Declined:
      throw Failure(kExitRunRefused, "the plug-in declined the run");
  }
  switch (report.run.outcome) {
    case RunOutcome::Completed:
      break;
    case RunOutcome::FewerThanTwoSequences:
      throw Failure(kExitRunRefused, "nothing to align: fewer than two sequences have residues in " + columns);
    case RunOutcome::DirectoryFailed:
      throw Failure(kExitRunRefused,
                    "cannot create the log folder " + KARVO::folderOf(run.logPath) + "; nothing was aligned");
    case RunOutcome::OverwriteRefused:
      refuseOverwrite(run.overwrite, run.logPath);
    case RunOutcome::Cancelled:
      reportCancelled();
  }
  // A Ctrl-C after the pairwise phase still keeps every output unwritten.
  if (interruptRequested()) reportCancelled();
}

std::vector<std::string> runRowNames(const KARVO::Alignment& alignment, const ZemtraRunReport& report) {
  std::vector<std::string> names;
  names.reserve(report.sentRows.size());
  for (const unsigned long row : report.sentRows) names.push_back(alignment.GetSeqName(row));
  return names;
}

void writeTrees(const AlignOptions& options, const KARVO::Alignment& alignment, const ZemtraRunReport& report) {
  if (options.treeNewick.empty() && options.treeSvg.empty()) return;
  const std::vector<std::string> names = runRowNames(alignment, report);
  const NamedTree tree{report.tree, report.treeRoot, names};
  const auto write = [&](const std::string& path, std::string (*render)(const NamedTree&)) {
    if (path.empty()) return;
    try {
      KARVO::writeFileAtomically(path, render(tree));
    } catch (const std::invalid_argument& error) {
      throw Failure(kExitOutputFailed, "cannot write " + path + ": " + error.what());
    } catch (const std::exception& error) {
      throw Failure(kExitOutputFailed, error.what());
    }
  };
  write(options.treeNewick, newickText);
  write(options.treeSvg, svgText);
}

void writeResult(const AlignOptions& options, const Settings& settings, const KARVO::Alignment& alignment) {
  if (options.output.empty()) {
    KARVO::writeAlignment(std::cout, alignment, settings.format);
    std::cout.flush();
    if (!std::cout) throw Failure(kExitOutputFailed, "cannot write the alignment to standard output");
    return;
  }
  try {
    KARVO::writeAlignmentFile(options.output, alignment, settings.format);
  } catch (const std::exception& error) {
    throw Failure(kExitOutputFailed, error.what());
  }
}

std::unique_ptr<KARVO::Alignment> readSelected(const AlignOptions& options, const Settings& settings) {
  std::unique_ptr<KARVO::Alignment> alignment = readInput(options.input);
  alignment->selection = selectRange(*alignment, settings.span);
  if (static_cast<unsigned long>(options.prealigned) > alignment->sequenceCount()) {
    throw Failure(kExitUsage, "--prealigned " + std::to_string(options.prealigned) + " is more than the " +
                                  std::to_string(alignment->sequenceCount()) + " sequences of " + options.input);
  }
  return alignment;
}

// The run allocates its tables up front; one that cannot fit is refused
// before it starts. A plug-in that cannot be loaded is reported by the run.
void checkMemory(const KARVO::Alignment& alignment, const std::string& pluginDir) {
  // For tests of what happens when an allocation fails inside the run.
  if (const char* skip = std::getenv("KARVO_TEST_SKIP_MEMORY_CHECK"); skip != nullptr && std::string(skip) == "1")
    return;
  const KARVO::ColumnRange range = alignment.selection;
  const unsigned long width = range.second - range.first;
  std::unique_ptr<LoadedPlugin> plugin;
  try {
    plugin = loadZemtra(pluginDir);
  } catch (const Failure&) {
    return;
  }
  const auto estimate = reinterpret_cast<EstimateRunMemoryFn>(plugin->symbol("EstimateRunMemory"));
  if (estimate == nullptr) return;
  const std::uint64_t need = estimate(alignment.sequenceCount(), width, 0);
  const std::optional<std::uint64_t> available = availableMemory();
  if (!available) return;
  if (const auto refusal = memoryRefusal(width, need, *available)) throw Failure(kExitUsage, *refusal);
}

// A personal directory that must not be used stops the run here, in one
// line, rather than as the run's failure to create "/dev/null/...".
void checkPersonalDir() {
  const Config::PersonalTmpDir dir = Config::LocatePersonalTmpDir();
  if (!dir.refusal.empty()) {
    throw Failure(kExitRunRefused,
                  "refusing temporary directory " + dir.path + ": " + dir.refusal + "; nothing was aligned");
  }
}

// One call of the plug-in with the log placed where the user wants it.
RunSummary runPlugin(const AlignOptions& options, const Settings& settings, KARVO::Alignment& alignment,
                     TerminalInteraction& interaction, ZemtraRunReport& report) {
  const std::unique_ptr<LoadedPlugin> plugin = loadZemtra(options.pluginDir);
  ExecuteWithParametersFn execute = nullptr;
  std::optional<LogPlacement> placement;
  try {
    execute = plugin->executeWithParameters();
    if (auto setOutput = reinterpret_cast<SetDebugOutputFn>(plugin->symbol("SetDebugOutput"))) {
      setOutput(filterDebugOutput);
    }
    placement.emplace(settings.log);
  } catch (const std::runtime_error& error) {
    throw Failure(kExitUsage, error.what());
  }
  RunSummary run{alignment.selection, options.prealigned};
  const ZemtraParameters parameters{settings.matNo, options.gap, options.prealigned, placement->logName()};
  {
    const EngineExitWatch watch;
    execute(alignment, parameters, interaction, &report);
  }
  interaction.progressEnd();
  run.logWritten = placement->finish(report.run.logWritten) && report.run.logWritten;
  run.logPath = placement->shownPath(report.run.logPath);
  run.overwrite = interaction.overwriteDecision();
  return run;
}

int align(const AlignOptions& options) {
  const Settings settings = checkOptions(options);
  checkInputKeptApart(options, settings);

  verboseMessages = options.verbose;
  const bool stderrIsTerminal = ::isatty(STDERR_FILENO) != 0;
  TerminalInteraction interaction(TerminalSettings{
      .showProgress = stderrIsTerminal && !options.quiet,
      .canAsk = stderrIsTerminal && ::isatty(STDIN_FILENO) != 0,
      .force = options.force,
      .verbose = options.verbose,
      .cancelAtStep = cancelStepFromEnvironment(),
  });
  confirmLogPath(settings.log, interaction);

  const std::unique_ptr<KARVO::Alignment> alignment = readSelected(options, settings);
  checkMemory(*alignment, options.pluginDir);
  checkPersonalDir();
  ZemtraRunReport report;
  report.wantTree = !options.treeNewick.empty() || !options.treeSvg.empty();
  const RunSummary run = runPlugin(options, settings, *alignment, interaction, report);
  checkRunEnded(report, run);

  if (!run.logWritten) std::cerr << "karvo: warning: the run log could not be written to " << run.logPath << '\n';
  writeResult(options, settings, *alignment);
  writeTrees(options, *alignment, report);
  if (!options.quiet && run.logWritten) {
    std::cerr << "karvo: aligned " << report.sentRows.size() << " sequences in " << columnsText(run.range)
              << "; run log: " << run.logPath << '\n';
  }
  return run.logWritten ? kExitOk : kExitLogNotWritten;
}

}  // namespace

CLI::App* addAlignCommand(CLI::App& parent, AlignOptions& options) {
  CLI::App* command = parent.add_subcommand("align", "Re-align a column range of an alignment file");
  command->add_option("input", options.input, "Alignment file (FASTA, Clustal, MSF or Stockholm)")->required();
  command->add_option("--range", options.range, "Columns to re-align, FIRST:LAST, 1-based and inclusive")
      ->type_name("FIRST:LAST");
  command->add_option("--matrix", options.matrix, "Substitution matrix: name (any case) or number 0-14")
      ->type_name("NAME|NUMBER")
      ->capture_default_str();
  command->add_option("--gap", options.gap, "Gap penalty, 0 to 100")->type_name("N")->capture_default_str();
  command->add_option("--prealigned", options.prealigned, "Leading sequences already aligned to each other")
      ->type_name("N")
      ->capture_default_str();
  command
      ->add_option("--log", options.log,
                   "Run log: a name in the personal temporary directory (default zemtra.log), or a path")
      ->type_name("NAME|PATH");
  command->add_flag("--force", options.force, "Overwrite an existing run log without asking");
  command->add_option("-o,--output", options.output, "Output file (default: standard output)")->type_name("OUTPUT");
  command->add_option("--format", options.format, "Output format (default: from the output name, else fasta)")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({"fasta", "clustal", "msf"}, CLI::ignore_case));
  command->add_option("--tree-newick", options.treeNewick, "Write the guide tree in Newick format")->type_name("FILE");
  command->add_option("--tree-svg", options.treeSvg, "Draw the guide tree as SVG")->type_name("FILE");
  command->add_option("--plugin-dir", options.pluginDir, "Folder holding libZemtra.so.0")->type_name("DIR");
  command->add_flag("-q,--quiet", options.quiet, "No progress bar and no summary line");
  command->add_flag("--verbose", options.verbose, "Show the plug-in's diagnostic messages");
  command->footer(kExitStatusHelp);
  return command;
}

int runAlign(const AlignOptions& options) {
  installInterruptHandler();
  try {
    return align(options);
  } catch (const Failure& failure) {
    std::cerr << "karvo: " << failure.what() << '\n';
    return failure.status();
  } catch (const std::bad_alloc&) {
    // Reading or the run: either way everything was released on the way out
    // and nothing has been written yet.
    std::cerr << "karvo: out of memory; the input is unchanged and nothing was written\n";
    return kExitUsage;
  } catch (const std::exception& error) {
    std::cerr << "karvo: " << error.what() << '\n';
    return kExitUsage;
  }
}

}  // namespace karvo_app
