#include "app/align_command.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <optional>

#include "app/align_method.h"
#include "app/align_options.h"
#include "app/engine_exit.h"
#include "app/exit_status.h"
#include "app/output_paths.h"
#include "app/plugin_loader.h"
#include "app/run_log_output.h"
#include "app/run_memory.h"
#include "app/terminal_interaction.h"
#include "consistency/consistency.h"
#include "draw/phylogram.h"
#include "formats/alignment_io.h"
#include "formats/input_notes.h"
#include "formats/phylo_tree.h"
#include "host/alignment.h"
#include "host/config.h"
#include "host/file_io.h"
#include "pairwise/engine_options.h"
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
  LogPlan logPlan;
  std::optional<KARVO::InputFormat> inputFormat;
  KARVO::AlignmentFormat format = KARVO::AlignmentFormat::Fasta;
  std::optional<ColumnSpan> span;
  bool consistency = false;
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

// The plug-in's own diagnostic texts: at a terminal they are noise unless
// asked for.
void filterDebugOutput(const char* text) {
  if (verboseMessages) std::cerr << text << '\n' << std::flush;
}

// The engine's own ends of a run become failures like any other: the
// exception unwinds the run, nothing is written and the status is the one
// the engine would have ended the process with.
[[noreturn]] void failOnEngineExit(int status, const char* reason) {
  throw Failure(status, engineExitMessage(status, reason));
}

Settings checkOptions(const AlignOptions& options) {
  Settings settings;
  const auto matNo = ScoMat::findMatrix(options.matrix);
  if (!matNo) throw Failure(kExitUsage, ScoMat::unknownMatrixMessage(options.matrix));
  settings.matNo = *matNo;
  if (const std::string problem = gapPenaltyProblem(std::to_string(options.gap)); !problem.empty()) {
    throw Failure(kExitUsage, "--gap: " + problem);
  }
  if (options.prealigned < 0) {
    throw Failure(kExitUsage, "--prealigned must be 0 or more, not " + std::to_string(options.prealigned));
  }
  if (!options.range.empty()) {
    settings.span = parseColumnRange(options.range);
    if (!settings.span) throw Failure(kExitUsage, columnRangeProblem(options.range));
  }
  if (const std::string problem = methodOptionsProblem(options); !problem.empty()) throw Failure(kExitUsage, problem);
  settings.consistency = options.method == "consistency";
  const auto log = logTargetFor(options.log);
  if (!log) throw Failure(kExitUsage, "--log " + options.log + " does not name a file");
  settings.log = *log;
  settings.logPlan = planLog(*log, options.noLog);
  const OutputFormat format = outputFormatFor(options.output, options.format);
  if (!format.format) throw Failure(kExitUsage, format.problem);
  settings.format = *format.format;
  if (!options.inputFormat.empty()) settings.inputFormat = KARVO::inputFormatFromName(options.inputFormat);
  if (!options.a3mQuery.empty() && settings.format != KARVO::AlignmentFormat::A3m) {
    throw Failure(kExitUsage, "--a3m-query applies to A3M output only (-o NAME.a3m or --format a3m)");
  }
  return settings;
}

// Every output file's folder is checked before the run, so that a typo in a
// path does not cost a whole run.
void checkOutputPaths(const AlignOptions& options) {
  const std::pair<const char*, const std::string*> outputs[] = {{"-o", &options.output},
                                                                {"--tree-newick", &options.treeNewick},
                                                                {"--tree-svg", &options.treeSvg},
                                                                {"--distances", &options.distances},
                                                                {"--confidence", &options.confidence}};
  // Standard output takes one of them: the alignment unless -o names a file.
  const char* onStandardOutput = options.output.empty() || isStandardStream(options.output) ? "-o" : nullptr;
  for (const auto& [option, path] : outputs) {
    if (const std::string problem = outputPathProblem(option, *path); !problem.empty()) {
      throw Failure(kExitUsage, problem);
    }
    if (std::string_view(option) == "-o" || !isStandardStream(*path)) continue;
    if (onStandardOutput != nullptr) {
      throw Failure(kExitUsage, std::string(option) + " -: standard output already takes " + onStandardOutput +
                                    (std::string_view(onStandardOutput) == "-o" ? " (the alignment)" : "") +
                                    "; name a file for " + option);
    }
    onStandardOutput = option;
  }
}

// Nothing the command writes may replace the file it reads.
void checkInputKeptApart(const AlignOptions& options, const Settings& settings) {
  std::vector<std::string> outputs{options.output,    options.treeNewick, options.treeSvg,
                                   options.distances, options.confidence, settings.log.given};
  for (const std::string& output : outputs) {
    std::error_code error;
    if (!output.empty() && !isStandardStream(output) && fs::equivalent(output, options.input, error)) {
      throw Failure(kExitUsage, output + " is the input file, which karvo never overwrites");
    }
  }
}

[[noreturn]] void reportCancelled() { throw Failure(kExitCancelled, "cancelled; the alignment was not changed"); }

[[noreturn]] void refuseOverwrite(OverwriteDecision decision, const std::string& path) {
  // Ctrl-C at the question ends its read; the user wanted to stop, not to answer.
  if (interruptRequested()) reportCancelled();
  if (decision == OverwriteDecision::Declined) throw Failure(kExitRunRefused, "kept " + path + "; nothing was aligned");
  throw Failure(kExitRunRefused, "the run log " + path + " exists; use --force to overwrite it");
}

// A log named with --log is checked and, when it exists, asked about before
// anything is read or run; the run then replaces it without asking again.
// The default scratch log is replaced without asking.
void confirmLogPath(const LogTarget& log, TerminalInteraction& interaction) {
  if (log.given.empty()) return;
  std::error_code error;
  if (!fs::is_directory(log.folder, error)) {
    throw Failure(kExitUsage, "cannot write the run log " + log.given + ": " +
                                  std::make_error_code(std::errc::no_such_file_or_directory).message());
  }
  if (fs::is_directory(log.given, error)) throw Failure(kExitUsage, "--log " + log.given + " is a directory");
  if (!fs::exists(fs::symlink_status(log.given, error))) return;
  if (!interaction.confirmOverwrite(log.given)) {
    refuseOverwrite(interaction.overwriteDecision(), log.given);
  }
}

std::unique_ptr<KARVO::Alignment> readInput(const std::string& path, std::optional<KARVO::InputFormat> format) {
  try {
    return KARVO::readAlignmentFile(path, format);
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

// The engine settings of this process, from ZEMTRA_REFERENCE_ENGINE and
// ZEMTRA_THREADS as it started with them.
const ZemtraEngineSettings& engineSettings() {
  static const ZemtraEngineSettings settings =
      zemtraEngineSettingsFrom(std::getenv("ZEMTRA_REFERENCE_ENGINE"), std::getenv("ZEMTRA_THREADS"));
  return settings;
}

std::unique_ptr<LoadedPlugin> loadZemtra(const std::string& pluginDir) {
  const PluginSearch search{pluginDir, pluginPathVariable(), executableDir()};
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
      throw Failure(kExitRunRefused, report.run.logProblem + "; nothing was aligned");
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

void writeOutputFile(const std::string& path, const std::string& text) {
  if (isStandardStream(path)) {
    std::cout << text << std::flush;
    if (!std::cout) throw Failure(kExitOutputFailed, "cannot write to standard output");
    return;
  }
  try {
    KARVO::writeFileAtomically(path, text);
  } catch (const std::exception& error) {
    throw Failure(kExitOutputFailed, error.what());
  }
}

// The run's rows as the outputs list them: input order, or the guide tree's
// leaf order.
struct RunOutputs {
  std::vector<std::string> names;  // per run row
  KARVO::PhyloTree tree;           // built when an output needs it
  std::vector<std::size_t> order;  // run rows in output order
};

RunOutputs runOutputs(const AlignOptions& options, const KARVO::Alignment& alignment, const ZemtraRunReport& report) {
  RunOutputs out{runRowNames(alignment, report), {}, {}};
  const bool treeOrder = options.order == "tree";
  if (options.treeNewick.empty() && options.treeSvg.empty() && !treeOrder) return out;
  try {
    out.tree = KARVO::runTree(report, alignment);
  } catch (const std::invalid_argument& error) {
    throw Failure(kExitOutputFailed, std::string("no guide tree: ") + error.what());
  }
  if (treeOrder) {
    for (const int leaf : KARVO::leafOrder(out.tree))
      out.order.push_back(static_cast<std::size_t>(out.tree.nodes[static_cast<std::size_t>(leaf)].row));
  }
  return out;
}

void writeTreeAndTables(const AlignOptions& options, const ZemtraRunReport& report, const RunOutputs& outputs) {
  if (!options.treeNewick.empty()) writeOutputFile(options.treeNewick, KARVO::toNewick(outputs.tree));
  if (!options.treeSvg.empty()) writeOutputFile(options.treeSvg, KARVO::toSvg(outputs.tree));
  if (!options.distances.empty()) {
    const KARVO::PairwiseTables tables{outputs.names, report.run.identity, report.run.distance, outputs.order};
    writeOutputFile(options.distances,
                    KARVO::wantsPhylip(options.distances) ? KARVO::distancePhylip(tables) : KARVO::distanceTsv(tables));
  }
}

// The alignment with the run's rows in the given order, followed by the rows
// that took no part in the run, in input order.
std::unique_ptr<KARVO::Alignment> reordered(const KARVO::Alignment& alignment, const ZemtraRunReport& report,
                                            const std::vector<std::size_t>& order) {
  std::vector<unsigned long> rows;
  for (const std::size_t r : order) rows.push_back(report.sentRows[r]);
  std::vector<bool> taken(alignment.sequenceCount(), false);
  for (const unsigned long row : rows) taken[row] = true;
  for (unsigned long row = 0; row < alignment.sequenceCount(); ++row)
    if (!taken[row]) rows.push_back(row);
  std::vector<KARVO::SequenceInfo> sequences;
  std::vector<std::string> texts;
  for (const unsigned long row : rows) {
    sequences.push_back(alignment.sequence(row));
    texts.push_back(alignment.rowText(row));
  }
  return KARVO::Alignment::fromRows(sequences, texts);
}

void writeResult(const AlignOptions& options, const Settings& settings, const KARVO::Alignment& alignment,
                 const std::vector<KARVO::ColumnMarks>& marks) {
  if (options.output.empty() || isStandardStream(options.output)) {
    KARVO::writeAlignment(std::cout, alignment, settings.format, {options.a3mQuery, marks});
    std::cout.flush();
    if (!std::cout) throw Failure(kExitOutputFailed, "cannot write the alignment to standard output");
    return;
  }
  try {
    KARVO::writeAlignmentFile(options.output, alignment, settings.format, {options.a3mQuery, marks});
  } catch (const std::exception& error) {
    throw Failure(kExitOutputFailed, error.what());
  }
}

std::unique_ptr<KARVO::Alignment> readSelected(const AlignOptions& options, const Settings& settings) {
  std::unique_ptr<KARVO::Alignment> alignment = readInput(options.input, settings.inputFormat);
  for (const std::string& warning : KARVO::inputWarnings(*alignment))
    std::cerr << "karvo: warning: " << warning << '\n';
  if (!options.a3mQuery.empty()) {
    bool found = false;
    for (unsigned long r = 0; r < alignment->sequenceCount(); ++r)
      found = found || alignment->GetSeqName(r) == options.a3mQuery;
    if (!found)
      throw Failure(kExitUsage, "--a3m-query " + options.a3mQuery + ": no sequence of that name in " + options.input);
  }
  alignment->selection = selectRange(*alignment, settings.span);
  if (static_cast<unsigned long>(options.prealigned) > alignment->sequenceCount()) {
    throw Failure(kExitUsage, "--prealigned " + std::to_string(options.prealigned) + " is more than the " +
                                  std::to_string(alignment->sequenceCount()) + " sequences of " + options.input);
  }
  return alignment;
}

// What the plug-in is asked to do. The pairwise tables are asked for only
// when an output shows them: the distance tables, or a guide tree (a tree
// of two sequences takes its one distance from them).
ZemtraParameters runParameters(const AlignOptions& options, const Settings& settings) {
  ZemtraParameters parameters;
  parameters.matNo = settings.matNo;
  parameters.gap = options.gap;
  parameters.prealigned = options.prealigned;
  parameters.logName = settings.logPlan.runName;
  parameters.logFolder = settings.logPlan.folder;
  parameters.writeLogFile = settings.logPlan.write;
  parameters.wantTables =
      !options.distances.empty() || !options.treeNewick.empty() || !options.treeSvg.empty() || options.order == "tree";
  if (settings.consistency) {
    parameters.method = ZemtraMethod::Consistency;
    if (options.consistencyRounds >= 0) parameters.consistencyRounds = options.consistencyRounds;
    if (options.refine >= 0) parameters.refineIterations = options.refine;
  }
  parameters.engine = engineSettings();
  return parameters;
}

// The run allocates its tables as its phases need them; a run whose peak
// cannot fit is refused before it starts. A plug-in that cannot be loaded
// is reported by the run.
void checkMemory(const KARVO::Alignment& alignment, const ZemtraParameters& parameters, const std::string& pluginDir) {
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
  if (plugin->contractVersion() != kZemtraContractVersion) return;
  const std::uint64_t need = estimate(alignment.sequenceCount(), width, parameters);
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

// A log in the personal directory that would fill it is announced, with
// the two ways around it; the run goes on.
void warnOfLargeLog(const KARVO::Alignment& alignment) {
  std::vector<std::string> names;
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) names.push_back(alignment.GetSeqName(r));
  const std::string path = Config::LocatePersonalTmpDir().path + "/" + kDefaultLogName;
  if (const auto warning = largeLogWarning(names.size(), runLogBytes(names), path)) {
    std::cerr << "karvo: warning: " << *warning << '\n';
  }
}

// One call of the plug-in with the log placed where the user wants it.
RunSummary runPlugin(const AlignOptions& options, const Settings& settings, KARVO::Alignment& alignment,
                     TerminalInteraction& interaction, ZemtraRunReport& report) {
  const std::unique_ptr<LoadedPlugin> plugin = loadZemtra(options.pluginDir);
  ExecuteWithParametersFn execute = nullptr;
  SetExitHandlerFn setExitHandler = nullptr;
  try {
    execute = plugin->executeWithParameters();
    if (auto setOutput = reinterpret_cast<SetDebugOutputFn>(plugin->symbol("SetDebugOutput"))) {
      setOutput(filterDebugOutput);
    }
    setExitHandler = reinterpret_cast<SetExitHandlerFn>(plugin->symbol("SetExitHandler"));
  } catch (const std::runtime_error& error) {
    throw Failure(kExitUsage, error.what());
  }
  if (setExitHandler == nullptr) throw Failure(kExitUsage, plugin->path() + " does not export SetExitHandler");
  setExitHandler(failOnEngineExit);
  RunSummary run{alignment.selection, options.prealigned};
  const ZemtraParameters parameters = runParameters(options, settings);
  try {
    execute(alignment, parameters, interaction, &report);
  } catch (...) {
    interaction.progressEnd();
    discardRunLog(settings.logPlan);
    throw;
  }
  interaction.progressEnd();
  if (!settings.logPlan.gzipInto.empty() && report.run.logWritten) {
    try {
      compressRunLog(settings.logPlan);
    } catch (const std::runtime_error& error) {
      report.run.logWritten = false;
      std::cerr << "karvo: warning: " << error.what() << '\n';
    }
  }
  run.logWritten = report.run.logWritten;
  run.logPath = settings.log.given.empty() ? report.run.logPath : settings.log.given;
  run.overwrite = interaction.overwriteDecision();
  return run;
}

int align(const AlignOptions& options) {
  const Settings settings = checkOptions(options);
  checkInputKeptApart(options, settings);
  checkOutputPaths(options);

  verboseMessages = options.verbose;
  const bool stderrIsTerminal = ::isatty(STDERR_FILENO) != 0;
  TerminalInteraction interaction(TerminalSettings{
      .showProgress = stderrIsTerminal && !options.quiet,
      // Standard input holding the alignment cannot answer a question.
      .canAsk = stderrIsTerminal && ::isatty(STDIN_FILENO) != 0 && !isStandardStream(options.input),
      // The default scratch log is replaced without asking; a log named
      // with --log was asked about already.
      .force = true,
      .verbose = options.verbose,
  });
  TerminalInteraction logQuestion(TerminalSettings{
      .canAsk = stderrIsTerminal && ::isatty(STDIN_FILENO) != 0 && !isStandardStream(options.input),
      .force = options.force,
  });
  confirmLogPath(settings.log, logQuestion);

  const std::unique_ptr<KARVO::Alignment> alignment = readSelected(options, settings);
  if (settings.consistency) {
    const unsigned threads = zemtra::threadCount(zemtra::EngineOptions{false, engineSettings().threads});
    const ZemtraParameters parameters = runParameters(options, settings);
    if (const auto refusal = checkConsistencyRun(*alignment, parameters.consistencyRounds, parameters.refineIterations,
                                                 threads, options.quiet ? nullptr : &std::cerr))
      throw Failure(kExitUsage, *refusal);
  } else {
    checkMemory(*alignment, runParameters(options, settings), options.pluginDir);
  }
  const unsigned long firstColumn = firstColumnAfterRun(*alignment, alignment->selection);
  if (settings.log.given.empty() && !options.noLog) {
    checkPersonalDir();
    if (!settings.consistency) warnOfLargeLog(*alignment);
  }
  ZemtraRunReport report;
  const RunSummary run = runPlugin(options, settings, *alignment, interaction, report);
  checkRunEnded(report, run);
  if (options.verbose) {
    const RunTimings& t = report.run.timings;
    std::cerr << std::fixed << std::setprecision(2) << "karvo: pairwise phase " << t.pairwise << " s, tree phase "
              << t.tree << " s, whole run " << t.total << " s\n"
              << std::defaultfloat;
  }

  if (!run.logWritten && !options.noLog) {
    std::cerr << "karvo: warning: the run log could not be written to " << run.logPath << '\n';
  }
  const RunOutputs outputs = runOutputs(options, *alignment, report);
  std::vector<KARVO::ColumnMarks> marks;
  if (settings.consistency && settings.format == KARVO::AlignmentFormat::Stockholm)
    marks.push_back(confidenceMarks(report.columnConfidence, firstColumn, alignment->columnCount()));
  if (outputs.order.empty())
    writeResult(options, settings, *alignment, marks);
  else
    writeResult(options, settings, *reordered(*alignment, report, outputs.order), marks);
  writeTreeAndTables(options, report, outputs);
  if (!options.confidence.empty())
    writeOutputFile(options.confidence, confidenceTsv(report.columnConfidence, firstColumn));
  if (!options.quiet && (run.logWritten || options.noLog)) {
    std::cerr << "karvo: aligned " << report.sentRows.size() << " sequences in " << columnsText(run.range)
              << (options.noLog ? "; no run log (--no-log)" : "; run log: " + run.logPath) << '\n';
  }
  return run.logWritten || options.noLog ? kExitOk : kExitLogNotWritten;
}

}  // namespace

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
