#include "app/run_memory.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>
#include <string_view>
#include <thread>

#include "pairwise/fast_dp.h"

namespace karvo_app {
namespace {

constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();

std::uint64_t times(std::uint64_t a, std::uint64_t b) {
  if (a != 0 && b > kMax / a) return kMax;
  return a * b;
}

std::uint64_t plus(std::uint64_t a, std::uint64_t b) { return b > kMax - a ? kMax : a + b; }

std::uint64_t square(std::uint64_t a) { return times(a, a); }

std::optional<std::uint64_t> memAvailable() {
  std::ifstream in("/proc/meminfo");
  std::string key;
  std::uint64_t kib = 0;
  std::string unit;
  while (in >> key >> kib >> unit) {
    if (key == "MemAvailable:") return times(kib, 1024);
  }
  return std::nullopt;
}

// Whole GiB, with one decimal below 10 GiB so that two close amounts differ.
std::string gibText(std::uint64_t bytes) {
  const double gib = static_cast<double>(bytes) / static_cast<double>(std::uint64_t{1} << 30);
  std::ostringstream text;
  text.setf(std::ios::fixed);
  text.precision(gib < 10.0 ? 1 : 0);
  text << gib;
  return text.str();
}

}  // namespace

std::uint64_t runMemoryNeed(const RunShape& shape) {
  const std::uint64_t width = shape.rangeWidth;
  const std::uint64_t W = times(2, width);
  const std::uint64_t ns = shape.sequences;

  std::uint64_t need = times(square(W), sizeof(int));                    // cmp
  need = plus(need, times(times(2, W), sizeof(long)));                   // path
  need = plus(need, times(ns, plus(W, 8 + 2 * sizeof(unsigned long))));  // seqs, names, len, nres
  // alilen and the four float tables over all pairs, and the family table.
  need = plus(need, times(square(ns), sizeof(int) + 4 * sizeof(float)));
  need = plus(need, times(square(plus(ns, 1)), sizeof(unsigned long)));
  if (shape.referenceEngine) {
    // The averaged scores and the three tables of the dynamic programming,
    // and the path record with its scratch copy.
    need = plus(need, times(square(width), sizeof(int)));
    need = plus(need, times(square(plus(width, 1)), 3 * sizeof(int)));
    need = plus(need, times(times(2, times(2, width)), 2 * sizeof(long) + 1));
  } else {
    // Each thread aligns a batch of pairs in SIMD lanes with a traceback
    // byte per cell and lane: at most the batch budget, or eight lanes for
    // pairs too long for it.
    const std::uint64_t cells = square(plus(width, 1));
    const std::uint64_t batch =
        std::max(std::min(times(cells, 32), std::uint64_t{zemtra::kBatchTraceBudget}), times(cells, 8));
    need = plus(need, times(batch, std::max(1u, shape.threads)));
  }
  return need;
}

RunShape engineFromEnvironment(RunShape shape) {
  const char* reference = std::getenv("ZEMTRA_REFERENCE_ENGINE");
  shape.referenceEngine = reference != nullptr && std::string(reference) == "1";
  unsigned threads = std::thread::hardware_concurrency();
  if (const char* text = std::getenv("ZEMTRA_THREADS")) {
    unsigned value = 0;
    const std::string_view view(text);
    const auto [end, error] = std::from_chars(view.data(), view.data() + view.size(), value);
    if (error == std::errc() && end == view.data() + view.size() && value >= 1) threads = value;
  }
  shape.threads = std::max(1u, threads);
  return shape;
}

std::optional<std::uint64_t> availableMemory() {
  std::optional<std::uint64_t> available = memAvailable();
  if (!available) {
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long pageSize = ::sysconf(_SC_PAGESIZE);
    if (pages > 0 && pageSize > 0)
      available = times(static_cast<std::uint64_t>(pages), static_cast<std::uint64_t>(pageSize));
  }
  rlimit limit{};
  if (::getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
    const auto cap = static_cast<std::uint64_t>(limit.rlim_cur);
    if (!available || cap < *available) available = cap;
  }
  return available;
}

std::optional<std::string> memoryRefusal(unsigned long columns, std::uint64_t need, std::uint64_t available) {
  if (need <= available) return std::nullopt;
  std::ostringstream text;
  text << "re-aligning " << columns << " columns needs about " << gibText(need) << " GiB of memory; this machine has "
       << gibText(available) << " GiB available; choose a smaller --range";
  return text.str();
}

}  // namespace karvo_app
