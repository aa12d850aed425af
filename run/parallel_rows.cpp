#include "run/parallel_rows.h"

#include <atomic>
#include <exception>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

void forEachRow(unsigned long count, unsigned threads, const std::function<void(unsigned long)>& work) {
  std::atomic<unsigned long> next{0};
  std::atomic<bool> failed{false};
  std::exception_ptr error;
  std::mutex errorLock;
  auto drain = [&] {
    try {
      for (unsigned long r = next.fetch_add(1); r < count && !failed.load(); r = next.fetch_add(1)) work(r);
    } catch (...) {
      const std::lock_guard<std::mutex> lock(errorLock);
      if (!error) error = std::current_exception();
      failed.store(true);
    }
  };
  std::vector<std::thread> helpers;
  // Fewer helpers than asked for only cost time.
  try {
    for (unsigned t = 1; t < threads && t < count; ++t) helpers.emplace_back(drain);
  } catch (const std::system_error&) {
  } catch (const std::bad_alloc&) {
  }
  drain();
  for (std::thread& t : helpers) t.join();
  if (error) std::rethrow_exception(error);
}
