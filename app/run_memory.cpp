#include "app/run_memory.h"

#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "core/memory_size.h"

namespace karvo_app {
namespace {

std::optional<std::uint64_t> memAvailable() {
  std::ifstream in("/proc/meminfo");
  std::string key;
  std::uint64_t kib = 0;
  std::string unit;
  while (in >> key >> kib >> unit) {
    if (key == "MemAvailable:") return KARVO::bytesTimes(kib, 1024);
  }
  return std::nullopt;
}

}  // namespace

std::string gibText(std::uint64_t bytes) {
  const double gib = static_cast<double>(bytes) / static_cast<double>(std::uint64_t{1} << 30);
  std::ostringstream text;
  text.setf(std::ios::fixed);
  text.precision(gib < 10.0 ? 1 : 0);
  text << gib;
  return text.str();
}

std::optional<std::uint64_t> availableMemory() {
  std::optional<std::uint64_t> available = memAvailable();
  if (!available) {
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long pageSize = ::sysconf(_SC_PAGESIZE);
    if (pages > 0 && pageSize > 0)
      available = KARVO::bytesTimes(static_cast<std::uint64_t>(pages), static_cast<std::uint64_t>(pageSize));
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
