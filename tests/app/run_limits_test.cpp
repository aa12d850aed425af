// The pure parts of karvo's refusals: the memory a run needs, the message
// that refuses a range too wide, the messages for ranges that are not ranges
// and for the process exits of the engine.
#include <gtest/gtest.h>

#include "app/align_options.h"
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

TEST(RunMemory, GrowsWithTheSquareOfTheWidth) {
  const std::uint64_t small = runMemoryNeed({10000, 10});
  const std::uint64_t large = runMemoryNeed({20000, 10});
  EXPECT_GT(large, 3 * small);
  EXPECT_LT(large, 5 * small);
}

TEST(RunMemory, CountsTheTablesOverAllPairs) {
  EXPECT_GE(runMemoryNeed({10, 3000}) - runMemoryNeed({10, 0}), std::uint64_t{3000} * 3000 * 20);
}

TEST(RunMemory, SaturatesInsteadOfOverflowing) { EXPECT_EQ(runMemoryNeed({~0ul, 2}), ~std::uint64_t{0}); }

TEST(RunMemory, AvailableMemoryIsKnownOnThisSystem) {
  const auto available = availableMemory();
  ASSERT_TRUE(available.has_value());
  EXPECT_GT(*available, 0u);
}

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

TEST(ColumnRangeProblem, SaysWhyARangeIsRefused) {
  EXPECT_EQ(columnRangeProblem("5:4"), "empty range '5:4': LAST comes before FIRST");
  EXPECT_EQ(columnRangeProblem("0:4"), "invalid range '0:4': columns are numbered from 1");
  EXPECT_EQ(columnRangeProblem("4-9"), "invalid range '4-9' (expected FIRST:LAST, two column numbers)");
  EXPECT_EQ(columnRangeProblem("4:x"), "invalid range '4:x' (expected FIRST:LAST, two column numbers)");
  EXPECT_EQ(columnRangeProblem(":"), "invalid range ':' (expected FIRST:LAST, two column numbers)");
}

TEST(EngineExitMessage, NamesTheDocumentedEndings) {
  EXPECT_EQ(engineExitMessage(1, "gap0 B"),
            "the run ended the process (status 1, \"gap0 B\"): an alignment of two sequences or groups paired no "
            "position; nothing was written");
  EXPECT_EQ(engineExitMessage(1, "gap B"),
            "the run ended the process (status 1, \"gap B\"): an alignment of two sequences or groups paired no "
            "position; nothing was written");
  EXPECT_EQ(engineExitMessage(666, "Do the real thing"),
            "the run ended the process (status 666): the re-aligned rows would not fit in twice the range width; "
            "nothing was written");
  EXPECT_EQ(engineExitMessage(1, "\n\nOut of memory CreateTree2() at pos 3.\n\n"),
            "the run ended the process (status 1): out of memory while building the guide tree; nothing was written");
}

TEST(EngineExitMessage, AnyOtherEndingGivesItsStatus) {
  EXPECT_EQ(engineExitMessage(1, "Do the real thing"), "the run ended the process with status 1; nothing was written");
  EXPECT_EQ(engineExitMessage(3, ""), "the run ended the process with status 3; nothing was written");
}

}  // namespace
