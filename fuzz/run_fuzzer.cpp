// A whole run on small random alignments: any matrix, gap penalty 0 to 100,
// a prealigned block, any range. The run goes through the plug-in's
// exchange exactly as a host without windows calls it, in a forked child,
// because the engine ends the process on purpose in a few documented cases;
// only those endings are accepted:
//   exit status 1 after "gap0 B", "gap A" or "gap B", or after
//   "Out of memory ..."; exit status 666; abort from a failed assertion in
//   comp_kv, tree_kv or tree_rt.
// A run that returns must keep every row's residues, the columns outside
// the range and the prealigned block's alignment, and write its log.
// Input: matrix, gap, prealigned, range start, range length and engine
// bytes, then the rows, one per line ('-' and '.' are gaps, any other byte a
// residue). The engine byte picks the reference routines (bit 0) and two
// threads instead of one (bit 1), so both implementations are fuzzed.
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "byte_reader.h"
#include "forked_call.h"
#include "host/alignment.h"
#include "plugin/zemtra_exchange.h"
#include "run/headless_run_interaction.h"

namespace {

using KARVO::Alignment;

constexpr unsigned kMaxRows = 10;
constexpr std::size_t kMaxRowLength = 40;
constexpr unsigned kTimeoutSeconds = 20;

std::string tmpDir;

struct RunCase {
  int matNo = 0;
  int gap = 0;
  int prealigned = 0;
  std::vector<std::string> rows;
  KARVO::ColumnRange range{0, 0};
  bool reference = false;
  bool twoThreads = false;
};

RunCase decode(const std::uint8_t* data, std::size_t size) {
  ByteReader in(data, size);
  RunCase run;
  run.matNo = static_cast<int>(in.pick(15));
  run.gap = static_cast<int>(in.pick(101));
  const std::uint8_t prealigned = in.byte();
  const std::uint8_t start = in.byte();
  const std::uint8_t length = in.byte();
  const std::uint8_t engine = in.byte();
  run.reference = (engine & 1) != 0;
  run.twoThreads = (engine & 2) != 0;
  while (!in.empty() && run.rows.size() < kMaxRows) {
    std::string row = in.line();
    if (row.size() > kMaxRowLength) row.resize(kMaxRowLength);
    run.rows.push_back(row);
  }
  std::size_t columns = 0;
  for (const std::string& row : run.rows) columns = std::max(columns, row.size());
  run.prealigned = static_cast<int>(prealigned % (run.rows.size() + 1));
  const unsigned long first = start % (columns + 1);
  run.range = {first, first + length % (columns - first + 1)};
  return run;
}

std::vector<std::string> rowsOf(const Alignment& alignment) {
  std::vector<std::string> rows;
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) rows.push_back(alignment.rowText(r));
  return rows;
}

std::string residuesOf(const std::string& row) {
  std::string out;
  for (const char c : row)
    if (c != '-') out += c;
  return out;
}

// The columns [from, to) of rows in which at least one of the chosen rows
// has a residue, as one string per chosen row.
std::vector<std::string> project(const std::vector<std::string>& rows, const std::vector<std::size_t>& chosen,
                                 std::size_t from, std::size_t to) {
  std::vector<std::string> out(chosen.size());
  for (std::size_t c = from; c < to; ++c) {
    bool any = false;
    for (const std::size_t r : chosen) any = any || rows[r][c] != '-';
    if (!any) continue;
    for (std::size_t i = 0; i < chosen.size(); ++i) out[i] += rows[chosen[i]][c];
  }
  return out;
}

void checkResult(const RunCase& run, const std::vector<std::string>& before, const Alignment& alignment,
                 const ZemtraRunReport& report) {
  const std::vector<std::string> after = rowsOf(alignment);
  if (report.exchange != ExchangeOutcome::Rewritten) {
    if (after != before) failCheckInChild("a call that rewrote nothing changed the alignment");
    return;
  }
  std::vector<std::size_t> all(before.size());
  for (std::size_t r = 0; r < all.size(); ++r) {
    all[r] = r;
    if (residuesOf(after[r]) != residuesOf(before[r])) failCheckInChild("row " + std::to_string(r) + " lost residues");
  }
  // Outside the range only all-gap columns may go.
  const std::size_t width = before.empty() ? 0 : before[0].size();
  const std::size_t newWidth = after.empty() ? 0 : after[0].size();
  const auto left = project(before, all, 0, run.range.first);
  const auto right = project(before, all, run.range.second, width);
  const std::size_t rightWidth = right.empty() ? 0 : right[0].size();
  const std::size_t leftWidth = left.empty() ? 0 : left[0].size();
  if (leftWidth + rightWidth > newWidth) failCheckInChild("the result is narrower than the columns kept");
  if (project(after, all, 0, leftWidth) != left) failCheckInChild("columns before the range changed");
  if (project(after, all, newWidth - rightWidth, newWidth) != right)
    failCheckInChild("columns after the range changed");
  // The prealigned block moves as one.
  std::vector<std::size_t> block(report.sentRows.begin(), report.sentRows.begin() + report.fixed);
  if (block.size() >= 2 && project(before, block, 0, width) != project(after, block, 0, newWidth)) {
    failCheckInChild("the prealigned rows lost their alignment to each other");
  }
  if (report.run.outcome == RunOutcome::Completed && !report.run.logWritten) failCheckInChild("no run log written");
}

void runOnce(const RunCase& run) {
  std::vector<KARVO::SequenceInfo> infos;
  for (std::size_t r = 0; r < run.rows.size(); ++r) infos.push_back({"sequence_" + std::to_string(r), ""});
  std::unique_ptr<Alignment> alignment = Alignment::fromRows(infos, run.rows);
  alignment->selection = run.range;
  const std::vector<std::string> before = rowsOf(*alignment);

  HeadlessRunInteraction interaction;
  interaction.answerOverwrite = [](const std::string&) { return true; };
  ZemtraRunReport report;
  ZemtraParameters parameters;
  parameters.matNo = run.matNo;
  parameters.gap = run.gap;
  parameters.prealigned = run.prealigned;
  parameters.logName = "fuzz.log";
  parameters.engine = {run.reference, run.twoThreads ? 2u : 1u};
  ExecuteWithParameters(*alignment, parameters, interaction, &report);
  checkResult(run, before, *alignment, report);
}

bool acceptedEnding(const ChildEnding& ending) {
  switch (ending.kind) {
    case ChildEnding::Returned:
      return true;
    case ChildEnding::Exited:
      if (ending.status == 666) return true;
      return ending.status == 1 &&
             (ending.lastDebug == "gap0 B" || ending.lastDebug == "gap A" || ending.lastDebug == "gap B" ||
              ending.lastDebug.find("Out of memory") != std::string::npos);
    case ChildEnding::Aborted:
      for (const char* file : {"comp_kv.cpp:", "tree_kv.cpp:", "tree_rt.cpp:"}) {
        if (ending.stderrText.find(file) != std::string::npos &&
            ending.stderrText.find("Assertion") != std::string::npos) {
          return true;
        }
      }
      return false;
    default:
      return false;
  }
}

std::string describe(const ChildEnding& ending) {
  switch (ending.kind) {
    case ChildEnding::Exited:
      return "exit status " + std::to_string(ending.status) + " after \"" + ending.lastDebug + "\"";
    case ChildEnding::Aborted:
      return "abort that is not a documented assertion";
    case ChildEnding::CheckFailed:
      return ending.checkMessage;
    case ChildEnding::Sanitizer:
      return "sanitizer report";
    case ChildEnding::Died:
      return "child ended without a report (wait status " + std::to_string(ending.status) + ")";
    default:
      return "returned";
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  std::string pattern = (std::filesystem::temp_directory_path() / "zemtra-run-fuzz-XXXXXX").string();
  tmpDir = ::mkdtemp(pattern.data());
  ::setenv("KARVO_TMPDIR", tmpDir.c_str(), 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const RunCase run = decode(data, size);
  // The host log only grows; one run's worth is enough.
  ::unlink((tmpDir + "/karvo.log").c_str());
  // One input in sixteen, chosen by its content so that a finding replays
  // the same way, also gets the leak check: it scans the whole heap of the
  // fuzzer and costs some twenty small runs.
  std::uint32_t hash = 2166136261u;
  for (std::size_t i = 0; i < size; ++i) hash = (hash ^ data[i]) * 16777619u;
  const ChildEnding ending = runInChild([&run] { runOnce(run); }, kTimeoutSeconds, hash % 16 == 0);
  if (!acceptedEnding(ending)) reportDefect(ending, describe(ending));
  return 0;
}
