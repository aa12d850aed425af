#include "pairwise/engine_options.h"

#include <thread>

namespace zemtra {

unsigned threadCount(const EngineOptions& options) {
  if (options.threads > 0) return options.threads;
  const unsigned cores = std::thread::hardware_concurrency();
  return cores > 0 ? cores : 1;
}

}  // namespace zemtra
