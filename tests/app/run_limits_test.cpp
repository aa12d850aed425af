// The pure parts of karvo's refusals: the memory a run needs, the message
// that refuses a range too wide and the messages for the process exits of the
// engine. The messages for ranges that are not ranges are in tests/badinput.
#include <gtest/gtest.h>

#include "app/engine_exit.h"
#include "app/run_memory.h"
#include "pairwise/fast_dp.h"

namespace {

using namespace karvo_app;

constexpr std::uint64_t kGiB = std::uint64_t{1} << 30;

TEST(RunMemory, ComparisonMatrixAndBatchTracebackDominate) {
  // 100000 columns: a 200000 x 200000 int matrix is 149 GiB on its own; one
  // thread's batch of eight long pairs adds a byte per cell and lane.
  const std::uint64_t w = 100000;
  const std::uint64_t need = runMemoryNeed({100000, 2, false, 1});
  EXPECT_GE(need, 4 * (2 * w) * (2 * w) + 8 * w * w);
  EXPECT_LT(need, (4 * (2 * w) * (2 * w) + 8 * w * w) * 11 / 10);
}

TEST(RunMemory, ReferenceEngineNeedsFourIntTablesOfThePair) {
  const std::uint64_t w = 10000;
  EXPECT_GE(runMemoryNeed({10000, 2, true, 1}), 4 * (2 * w) * (2 * w) + 16 * w * w);
}

TEST(RunMemory, FastEngineNeedsABatchOfPairTablesForEveryThread) {
  // Long pairs: eight lanes of a byte per cell in each thread.
  EXPECT_GE(runMemoryNeed({10000, 2, false, 4}) - runMemoryNeed({10000, 2, false, 1}),
            std::uint64_t{10000} * 10000 * 8 * 3);
  // Short ones: at most the batch budget.
  EXPECT_LE(runMemoryNeed({300, 2, false, 2}) - runMemoryNeed({300, 2, false, 1}), zemtra::kBatchTraceBudget);
}

TEST(RunMemory, CountsTheTablesOverAllPairs) {
  EXPECT_GE(runMemoryNeed({10, 3000}) - runMemoryNeed({10, 0}), std::uint64_t{3000} * 3000 * 20);
}

TEST(RunMemory, SaturatesInsteadOfOverflowing) { EXPECT_EQ(runMemoryNeed({~0ul, 2}), ~std::uint64_t{0}); }

TEST(MemoryRefusal, NamesTheColumnsTheNeedAndTheMachine) {
  EXPECT_EQ(memoryRefusal(100000, 149 * kGiB + 1000, 23 * kGiB),
            "re-aligning 100000 columns needs about 149 GiB of memory; this machine has 23 GiB available; "
            "choose a smaller --range");
}

TEST(MemoryRefusal, SmallAmountsKeepADecimal) {
  EXPECT_EQ(memoryRefusal(5000, 3 * kGiB / 2, kGiB),
            "re-aligning 5000 columns needs about 1.5 GiB of memory; this machine has 1.0 GiB available; "
            "choose a smaller --range");
}

TEST(MemoryRefusal, NothingToRefuseWhenTheRunFits) {
  EXPECT_EQ(memoryRefusal(100, kGiB, kGiB), std::nullopt);
  EXPECT_EQ(memoryRefusal(100, 1, kGiB), std::nullopt);
}

// "gap A" and status 666 are run end to end in tests/badinput.
TEST(EngineExitMessage, NamesTheOtherEndingsByTheirReason) {
  EXPECT_EQ(engineExitMessage(1, "gap0 B"),
            "the run ended the process (status 1, \"gap0 B\"): an alignment of two sequences or groups paired no "
            "position; nothing was written");
  EXPECT_EQ(engineExitMessage(1, "out of memory in the tree builder"),
            "the run ended the process (status 1): out of memory while building the guide tree; nothing was written");
}

}  // namespace
