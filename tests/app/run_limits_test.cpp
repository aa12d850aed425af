// The pure parts of karvo's refusals: the message that refuses a range too
// wide and the messages for the process exits of the
// engine. The messages for ranges that are not ranges are in tests/badinput.
#include <gtest/gtest.h>

#include "app/align_method.h"
#include "app/engine_exit.h"
#include "app/run_memory.h"
#include "tests/support/alignment_rows.h"

namespace {

using namespace karvo_app;

constexpr std::uint64_t kGiB = std::uint64_t{1} << 30;

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

TEST(ConsistencyEstimate, LargeRunsAreAnnouncedAndRunsBeyondTheMachineRefused) {
  const RangeSize size{800, 300};
  EXPECT_EQ(consistencyEstimateLine(size, kGiB / 2, 59.0), "");
  EXPECT_EQ(consistencyEstimateLine(size, 3 * kGiB / 2, 170.0),
            "the consistency method on 800 sequences of mean length 300 takes about 3 minutes and 1.5 GiB of memory");
  EXPECT_EQ(consistencyMemoryRefusal(size, 40 * kGiB, 22 * kGiB),
            "re-aligning 800 sequences of mean length 300 with the consistency method needs about 40 GiB of memory; "
            "this machine has 22 GiB available; choose a smaller --range, fewer sequences, or --method progressive");
  EXPECT_EQ(consistencyMemoryRefusal(size, kGiB, kGiB), std::nullopt);
}

// Column 2 is a gap in every row: the run removes it, so the range that
// starts at column 4 starts at column 3 of the written alignment.
TEST(ColumnConfidence, IsNumberedInTheWrittenAlignment) {
  const auto input = ztest::alignmentOf({"M-KVLS-", "M-RV-SA", "--EL--A"});
  const KARVO::ColumnRange range{3, 6};
  EXPECT_EQ(rangeSize(*input, range).sequences, 3u);
  EXPECT_EQ(rangeSize(*input, range).meanLength, 2u);
  const unsigned long first = firstColumnAfterRun(*input, range);
  EXPECT_EQ(first, 2u);
  const std::vector<float> confidence{0.0f, 0.35f, 0.9f, 1.0f};
  EXPECT_EQ(confidenceTsv(confidence, first), "column\tconfidence\n3\t0.000\n4\t0.350\n5\t0.900\n6\t1.000\n");
  EXPECT_EQ(confidenceMarks(confidence, first, 7).marks, "..0399.");
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
