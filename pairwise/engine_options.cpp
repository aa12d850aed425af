#include "pairwise/engine_options.h"

#include <cstdlib>
#include <cstring>
#include <thread>

namespace zemtra {

EngineOptions engineOptionsFrom(const char* reference, const char* threads) {
  EngineOptions options;
  if (reference != nullptr) options.reference = std::strcmp(reference, "1") == 0;
  if (threads != nullptr && *threads >= '0' && *threads <= '9') {
    char* end = nullptr;
    const unsigned long n = std::strtoul(threads, &end, 10);
    if (*end == '\0' && n >= 1 && n <= 1024) options.threads = static_cast<unsigned>(n);
  }
  return options;
}

const EngineOptions& defaultEngineOptions() {
  static const EngineOptions options =
      engineOptionsFrom(std::getenv("ZEMTRA_REFERENCE_ENGINE"), std::getenv("ZEMTRA_THREADS"));
  return options;
}

unsigned threadCount(const EngineOptions& options) {
  if (options.threads > 0) return options.threads;
  const unsigned cores = std::thread::hardware_concurrency();
  return cores > 0 ? cores : 1;
}

}  // namespace zemtra
