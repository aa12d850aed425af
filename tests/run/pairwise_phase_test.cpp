#include "run/pairwise_phase.h"

#include <gtest/gtest.h>

#include <atomic>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "plugin/zemtra_types.h"
#include "run/parallel_rows.h"
#include "run_fixtures.h"

using run_test::RunInputs;

namespace {

// Writes down every call the phase makes, in order, and cancels from inside
// the event processing when told to.
class RecordingInteraction : public RunInteraction {
 public:
  bool confirmOverwrite(const std::string&) override { return true; }
  void progressStart(int) override {}
  void progressSet(int value) override { note(" set" + std::to_string(value)); }
  bool progressCanceled() override {
    note(cancelled ? " check:yes" : " check:no");
    return cancelled;
  }
  void progressEnd() override {}
  void processEvents() override {
    note(" events");
    if (eventCalls++ == cancelAtEvent) cancelled = true;
  }
  void debugMessage(const std::string&) override {}

  void note(const std::string& call) {
    calls += call;
    if (echo) std::fputs(call.c_str(), stderr);
  }

  std::string calls;
  bool echo = false;  // every call to standard error at once, for runs that end the process
  int cancelAtEvent = -1;
  int eventCalls = 0;
  bool cancelled = false;
};

// One phase over the inputs, recording the calls and the two tables.
struct PhaseRun {
  PhaseRun(RunInputs& in, const zemtra::EngineOptions& engine, int cancelAtEvent = -1, int matNo = 0, bool echo = false)
      : storage(in.seqs.rows(), in.seqs.cols()) {
    const unsigned long ns = in.seqs.rows();
    interaction.cancelAtEvent = cancelAtEvent;
    interaction.echo = echo;
    const RunInput input{in.len.data(), in.nres.data(), in.names, in.seqs, 0, matNo, 40};
    RunProgress progress{interaction, 0, static_cast<int>(ns * (ns - 1) / 2) + 1};
    log << std::fixed << std::right << std::setprecision(1);
    completed = pairwisePhase(log, input, storage, progress, engine);
    for (unsigned long j = 0; j < ns; ++j) {
      for (unsigned long k = j + 1; k < ns && completed; ++k) {
        tables << std::bit_cast<std::uint32_t>(storage.fscore[j][k]) << ' '
               << std::bit_cast<std::uint32_t>(storage.fscore[k][j]) << ' '
               << std::bit_cast<std::uint32_t>(storage.pid[j][k]) << ' ';
      }
    }
  }
  RecordingInteraction interaction;
  RunStorage storage;
  std::ostringstream log;
  std::ostringstream tables;
  bool completed = false;
};

RunInputs sixSequences() {
  return RunInputs({"a", "b", "c", "d", "e", "f"},
                   {"WACDEFGHIK", "WACEFGHIK-", "ACDEFGK---", "WWCDEFGHIK", "MACDEFGHLK", "KIHGFEDCAW"});
}

const zemtra::EngineOptions kReference{true, 0};
const zemtra::EngineOptions kFastThreeThreads{false, 3};

TEST(PairwisePhaseTest, ProgressBeforeEachPairThenEventsAndCancelChecksAtRowStarts) {
  RunInputs in = RunInputs({"a", "b", "c"}, {"WAC", "WC-", "AC-"});
  const PhaseRun fast(in, kFastThreeThreads);
  EXPECT_EQ(" check:no set0 events set1 events check:no set2 events", fast.interaction.calls);
}

// The fast phase makes the reference's calls in the reference's order, also
// when cancelled: pairs of row 0 are 0..4, and a cancel before pair 3 lets
// the row finish.
TEST(PairwisePhaseTest, CancelDuringAnyPairOfARowIsSeenAtTheNextRowStart) {
  for (int cancelAt : {-1, 0, 3, 4, 6}) {
    RunInputs a = sixSequences();
    RunInputs b = sixSequences();
    const PhaseRun reference(a, kReference, cancelAt);
    const PhaseRun fast(b, kFastThreeThreads, cancelAt);
    EXPECT_EQ(cancelAt < 0, fast.completed) << cancelAt;
    EXPECT_EQ(reference.interaction.calls, fast.interaction.calls) << cancelAt;
    EXPECT_EQ(reference.tables.str(), fast.tables.str()) << cancelAt;
  }
}

// 'A' against 'W' scores -25 under matrix 14, so pair (0, 2) aligns nothing.
RunInputs pairlessInRowZero() { return RunInputs({"a", "b", "c", "d"}, {"A", "A", "W", "A"}); }
// Only G against P (-2 under matrix 14) aligns nothing here: pair (2, 3),
// the last row's only pair; A scores at least 0 against A, G and P.
RunInputs pairlessInLastRow() { return RunInputs({"a", "b", "c", "d"}, {"A", "A", "G", "P"}); }

void runPhase(RunInputs in, const zemtra::EngineOptions& engine) { const PhaseRun run(in, engine, -1, 14, true); }

TEST(PairwisePhaseDeathTest, PairWithoutAnyMatchEndsTheProcessAfterItsProgressAndEvents) {
  const std::string where = " check:no set0 events set1 events\n?gap A";
  EXPECT_EXIT(runPhase(pairlessInRowZero(), kReference), testing::ExitedWithCode(1), where);
  EXPECT_EXIT(runPhase(pairlessInRowZero(), kFastThreeThreads), testing::ExitedWithCode(1), where);
  EXPECT_EXIT(runPhase(pairlessInLastRow(), kFastThreeThreads), testing::ExitedWithCode(1),
              "set4 events check:no set5 events\n?gap A");
}

TEST(PairwisePhaseTest, PairWithoutAnyMatchInARowNeverStartedDoesNotEndTheProcess) {
  // Cancelled during row 0; the fast phase may have aligned the last row
  // already, but the reference never gets there, so neither may end.
  RunInputs in = pairlessInLastRow();
  const PhaseRun fast(in, kFastThreeThreads, 0, 14);
  EXPECT_FALSE(fast.completed);
  EXPECT_EQ(" check:no set0 events set1 events set2 events check:yes", fast.interaction.calls);
}

// --- spreading rows over threads ---------------------------------------------

TEST(ForEachRowTest, CallsEveryRowOnceWhateverTheThreadCountAndRethrowsAFailure) {
  for (unsigned threads : {1u, 2u, 8u}) {
    std::vector<std::atomic<int>> seen(100);
    forEachRow(100, threads, [&](unsigned long r) { ++seen[r]; });
    for (const auto& s : seen) EXPECT_EQ(1, s.load());
  }
  // The failure of a row reaches the caller.
  EXPECT_THROW(forEachRow(50, 3,
                          [](unsigned long r) {
                            if (r == 17) throw std::runtime_error("row 17");
                          }),
               std::runtime_error);
}

}  // namespace
