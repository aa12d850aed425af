// The extension module _zemtra: reads rows into the host's alignment, runs
// the window-less plug-in on a worker thread while the calling thread keeps
// the interpreter's side (progress callback, Ctrl-C), and hands back rows,
// log and tree as plain Python values. Argument checks and the public
// objects live in zemtra/__init__.py.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "formats/alignment_formats.h"
#include "formats/alignment_io.h"
#include "formats/phylo_tree.h"
#include "host/alignment.h"
#include "host/file_io.h"
#include "plugin/zemtra_plugin.h"
#include "scoring/matrix_names.h"

namespace py = pybind11;

namespace {

// ---------------------------------------------------------------------------
// Engine exits. The plug-in ends the process in a few cases unless a host
// installs an exit handler; ours throws, the engine unwinds, and the caller
// learns the status and the short reason.

struct EngineExitThrown {
  int status;
  std::string reason;
};

void throwEngineExit(int status, const char* reason) { throw EngineExitThrown{status, reason ? reason : ""}; }

void dropDebugText(const char*) {}

// Installed once, when the module is imported. The fixed texts written
// before an ending are not shown: the reason the exception carries names it.
const bool exitHandlerInstalled = [] {
  SetExitHandler(throwEngineExit);
  SetDebugOutput(dropDebugText);
  return true;
}();

// ---------------------------------------------------------------------------
// The run log: no file is written, the plug-in hands the text back.

void prepareLog(ZemtraParameters& parameters) {
  parameters.writeLogFile = false;
  parameters.wantLogText = true;
}

// The engine settings of this process, from ZEMTRA_REFERENCE_ENGINE and
// ZEMTRA_THREADS as they were when the module was imported.
const ZemtraEngineSettings engineSettings =
    zemtraEngineSettingsFrom(std::getenv("ZEMTRA_REFERENCE_ENGINE"), std::getenv("ZEMTRA_THREADS"));

std::string collectLog(ZemtraRunReport& report) { return std::move(report.logText); }

// ---------------------------------------------------------------------------
// The pairwise tables (ns x ns, row-major floats), None when the run stopped
// before they were made.

py::object floatBytes(const std::vector<float>& values) {
  if (values.empty()) return py::none();
  return py::bytes(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(float));
}

py::object pairwiseTable(const RunDetails& details, bool identity) {
  return floatBytes(identity ? details.identity : details.distance);
}

// The column where the re-aligned range starts once the run removed the
// columns before it that are gaps in every row.
unsigned long firstColumnAfterRun(const KARVO::Alignment& alignment, unsigned long first) {
  unsigned long column = first;
  for (unsigned long c = 0; c < first; ++c) {
    bool allGaps = true;
    for (unsigned long row = 0; row < alignment.sequenceCount() && allGaps; ++row)
      allGaps = alignment.getItem(row, c) == nullptr;
    if (allGaps) --column;
  }
  return column;
}

// ---------------------------------------------------------------------------
// The run's side of the interaction: values and flags only, so that the
// engine never waits for the interpreter.

class WorkerInteraction : public RunInteraction {
 public:
  bool confirmOverwrite(const std::string&) override { return true; }
  void progressStart(int totalSteps) override {
    total_.store(totalSteps);
    value_.store(0);
  }
  void progressSet(int value) override { value_.store(value); }
  bool progressCanceled() override { return cancel_.load(); }
  void progressEnd() override {}
  void processEvents() override {}
  void debugMessage(const std::string&) override {}

  void cancel() { cancel_.store(true); }
  bool cancelled() const { return cancel_.load(); }
  int value() const { return value_.load(); }
  int total() const { return total_.load(); }

 private:
  std::atomic<int> value_{-1};
  std::atomic<int> total_{0};
  std::atomic<bool> cancel_{false};
};

// One call of the plug-in on a thread of its own. The calling thread waits
// without the interpreter lock, waking now and then to hand the latest
// progress point to the callback and to let Ctrl-C be noticed; either of
// them (a callback that returns False or raises, a KeyboardInterrupt) cancels
// the run at its next row start. A Python error met meanwhile is raised once
// the run has stopped.
struct CallResult {
  std::exception_ptr failure;
  std::optional<EngineExitThrown> exit;
  double seconds = 0.0;
};

CallResult callPlugin(KARVO::Alignment& alignment, const ZemtraParameters& parameters, ZemtraRunReport& report,
                      const py::object& progress) {
  WorkerInteraction interaction;
  CallResult result;
  std::mutex mutex;
  std::condition_variable finished;
  bool done = false;

  std::thread worker([&] {
    const auto start = std::chrono::steady_clock::now();
    try {
      ExecuteWithParameters(alignment, parameters, interaction, &report);
    } catch (const EngineExitThrown& exit) {
      result.exit = exit;
    } catch (...) {
      result.failure = std::current_exception();
    }
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const std::lock_guard<std::mutex> lock(mutex);
    done = true;
    finished.notify_one();
  });

  const bool reporting = !progress.is_none();
  const auto interval = std::chrono::milliseconds(reporting ? 20 : 50);
  std::optional<py::error_already_set> pending;
  int reported = -1;
  const auto report_progress = [&] {
    const int value = interaction.value();
    if (!reporting || pending || interaction.cancelled() || value < 0 || value == reported) return;
    reported = value;
    try {
      const py::object answer = progress(value, interaction.total());
      if (answer.is(py::bool_(false))) interaction.cancel();
    } catch (py::error_already_set& error) {
      pending.emplace(std::move(error));
      interaction.cancel();
    }
  };

  for (bool stopped = false; !stopped;) {
    {
      const py::gil_scoped_release release;
      std::unique_lock<std::mutex> lock(mutex);
      finished.wait_for(lock, interval, [&] { return done; });
      stopped = done;
    }
    if (!pending && PyErr_CheckSignals() != 0) {
      pending.emplace();
      interaction.cancel();
    }
    report_progress();
  }
  {
    const py::gil_scoped_release release;
    worker.join();
  }
  if (pending) throw std::move(*pending);
  return result;
}

// ---------------------------------------------------------------------------

std::string rowProblem(const KARVO::AlignmentReadError& error) {
  if (error.line() == 0) return error.problem();
  std::string text = error.problem() + ", at row " + std::to_string(error.line() - 1);
  if (error.column() > 0) text += ", position " + std::to_string(error.column() - 1);
  return text;
}

// The rows as the host's readers take them, ready for one run.
class HostAlignment {
 public:
  HostAlignment(const std::vector<std::string>& names, const std::vector<std::string>& rows) {
    if (names.size() != rows.size()) throw std::invalid_argument("names and rows differ in number");
    const KARVO::formats::TextFile source{"alignment", {}};
    KARVO::formats::RowCollector collector(source);
    try {
      for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto row = collector.add(names[i], "", static_cast<unsigned long>(i + 1), 0);
        collector.append(row, rows[i], static_cast<unsigned long>(i + 1), 1);
      }
      alignment_ = collector.finish();
    } catch (const KARVO::AlignmentReadError& error) {
      throw py::value_error(rowProblem(error));
    }
  }

  unsigned long columns() const { return alignment_->columnCount(); }
  unsigned long sequences() const { return alignment_->sequenceCount(); }

  py::dict realign(unsigned long first, unsigned long stop, int matNo, int gap, int prealigned, bool wantTree,
                   const py::object& progress, const std::string& method, int consistencyRounds, int refine) {
    if (used_) throw std::logic_error("this alignment was already re-aligned");
    used_ = true;
    if (first >= stop || stop > columns()) throw py::value_error("range outside the alignment");
    alignment_->selection = {first, stop};

    ZemtraParameters parameters;
    parameters.matNo = matNo;
    parameters.gap = gap;
    parameters.prealigned = prealigned;
    if (method == "consistency") {
      parameters.method = ZemtraMethod::Consistency;
      if (consistencyRounds >= 0) parameters.consistencyRounds = consistencyRounds;
      if (refine >= 0) parameters.refineIterations = refine;
    } else if (method != "progressive") {
      throw py::value_error("unknown method " + method);
    }
    const unsigned long firstColumn = firstColumnAfterRun(*alignment_, first);
    parameters.engine = engineSettings;
    // The result always carries the pairwise tables.
    parameters.wantTables = true;
    prepareLog(parameters);
    ZemtraRunReport report;

    const CallResult call = callPlugin(*alignment_, parameters, report, progress);
    py::dict out;
    out["seconds"] = call.seconds;
    if (call.exit) {
      out["exit"] = py::make_tuple(call.exit->status, call.exit->reason);
      return out;
    }
    if (call.failure) {
      try {
        std::rethrow_exception(call.failure);
      } catch (const std::bad_alloc&) {
        const std::string message = "out of memory re-aligning " + std::to_string(stop - first) + " columns of " +
                                    std::to_string(sequences()) + " sequences; the input is unchanged";
        PyErr_SetString(PyExc_MemoryError, message.c_str());
        throw py::error_already_set();
      }
    }

    out["exchange"] = exchangeName(report.exchange);
    out["fixed"] = report.fixed;
    if (report.exchange != ExchangeOutcome::Rewritten) return out;
    out["outcome"] = outcomeName(report.run.outcome);
    out["log_path"] = report.run.logPath;
    std::string log = collectLog(report);
    out["log"] = py::bytes(log);
    out["sent"] = report.sentRows;
    std::vector<std::string> rows;
    rows.reserve(sequences());
    for (unsigned long row = 0; row < sequences(); ++row) rows.push_back(alignment_->rowText(row));
    out["rows"] = std::move(rows);
    const bool joined = wantTree && report.run.outcome == RunOutcome::Completed;
    out["newick"] = joined ? py::object(py::str(runNewick(report))) : py::object(py::none());
    out["identity"] = pairwiseTable(report.run, true);
    out["distance"] = pairwiseTable(report.run, false);
    out["confidence"] = floatBytes(report.columnConfidence);
    out["first_column"] = firstColumn;
    out["columns"] = alignment_->columnCount();
    return out;
  }

 private:
  // The guide tree of the run in Newick, named after the rows that took part.
  std::string runNewick(const ZemtraRunReport& report) const {
    std::string text = KARVO::toNewick(KARVO::runTree(report, *alignment_));
    if (!text.empty() && text.back() == '\n') text.pop_back();  // a file's line end, not part of the tree
    return text;
  }

  static const char* exchangeName(ExchangeOutcome outcome) {
    switch (outcome) {
      case ExchangeOutcome::Rewritten:
        return "rewritten";
      case ExchangeOutcome::NoRange:
        return "no range";
      case ExchangeOutcome::NoAdditionalSequences:
        return "no additional sequences";
      case ExchangeOutcome::FewerThanTwo:
        return "fewer than two";
      case ExchangeOutcome::Declined:
        return "declined";
    }
    return "unknown";
  }

  static const char* outcomeName(RunOutcome outcome) {
    switch (outcome) {
      case RunOutcome::Completed:
        return "completed";
      case RunOutcome::FewerThanTwoSequences:
        return "fewer than two";
      case RunOutcome::DirectoryFailed:
        return "directory failed";
      case RunOutcome::OverwriteRefused:
        return "overwrite refused";
      case RunOutcome::Cancelled:
        return "cancelled";
    }
    return "unknown";
  }

  std::unique_ptr<KARVO::Alignment> alignment_;
  bool used_ = false;
};

std::optional<int> findMatrix(const std::string& nameOrNumber) { return ScoMat::findMatrix(nameOrNumber); }

// Writes the log file the caller asked for; OSError with the host's
// one-line message when that fails.
void writeFileAtomically(const std::string& path, const py::bytes& data) {
  const std::string bytes = data;
  try {
    KARVO::writeFileAtomically(path, bytes);
  } catch (const std::runtime_error& error) {
    PyErr_SetString(PyExc_OSError, error.what());
    throw py::error_already_set();
  }
}

}  // namespace

PYBIND11_MODULE(_zemtra, module) {
  module.doc() = "The zemtra engine itself; use the functions of the zemtra package.";
  if (ZemtraContractVersion() != kZemtraContractVersion) {
    throw py::import_error("the zemtra plug-in library speaks contract version " +
                           std::to_string(ZemtraContractVersion()) + ", this module version " +
                           std::to_string(kZemtraContractVersion) + ": reinstall the package");
  }

  py::class_<HostAlignment>(module, "HostAlignment")
      .def(py::init<const std::vector<std::string>&, const std::vector<std::string>&>(), py::arg("names"),
           py::arg("rows"))
      .def_property_readonly("columns", &HostAlignment::columns)
      .def_property_readonly("sequences", &HostAlignment::sequences)
      .def("realign", &HostAlignment::realign, py::arg("first"), py::arg("stop"), py::arg("matrix"), py::arg("gap"),
           py::arg("prealigned"), py::arg("tree"), py::arg("progress"), py::arg("method") = "progressive",
           py::arg("consistency_rounds") = -1, py::arg("refine") = -1);

  module.def("find_matrix", &findMatrix, py::arg("name_or_number"));
  module.def("unknown_matrix_message", &ScoMat::unknownMatrixMessage, py::arg("given"));
  module.def("matrix_names", &ScoMat::matrixNameList);
  module.def("write_file_atomically", &writeFileAtomically, py::arg("path"), py::arg("data"));
}
