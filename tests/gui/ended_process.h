// A process id for recovery files that an ended process left.
#pragma once

namespace karvo_gui::testing {

// Far above any process id the kernel hands out, so never running.
constexpr long kEndedProcess = 2'000'000'000L;

}  // namespace karvo_gui::testing
