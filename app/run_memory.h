// Whether a run fits the machine, checked before it starts: the plug-in says
// what the run will need (EstimateRunMemory), this says what the machine has
// and words the refusal, so a range too wide is refused with a message
// instead of failing half-way or being killed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace karvo_app {

// What the process may still allocate: MemAvailable from /proc/meminfo
// (else the physical memory), capped by the address-space limit. nullopt
// when neither can be read.
std::optional<std::uint64_t> availableMemory();

// "re-aligning N columns needs about X GiB of memory; this machine has Y GiB
// available; choose a smaller --range"; nullopt when need fits.
std::optional<std::string> memoryRefusal(unsigned long columns, std::uint64_t need, std::uint64_t available);

// Bytes as GiB: whole, with one decimal below 10 GiB so that two close
// amounts differ ("1.5", "22").
std::string gibText(std::uint64_t bytes);

}  // namespace karvo_app
