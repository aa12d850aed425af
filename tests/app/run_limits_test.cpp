// The pure parts of karvo's refusals: the message that refuses a range too
// wide and the messages for the process exits of the
// engine. The messages for ranges that are not ranges are in tests/badinput.
#include <gtest/gtest.h>

#include "app/engine_exit.h"
#include "app/run_memory.h"

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

// "gap A" and status 666 are run end to end in tests/badinput.
TEST(EngineExitMessage, NamesTheOtherEndingsByTheirReason) {
  EXPECT_EQ(engineExitMessage(1, "gap0 B"),
            "the run ended the process (status 1, \"gap0 B\"): an alignment of two sequences or groups paired no "
            "position; nothing was written");
  EXPECT_EQ(engineExitMessage(1, "out of memory in the tree builder"),
            "the run ended the process (status 1): out of memory while building the guide tree; nothing was written");
}

}  // namespace
