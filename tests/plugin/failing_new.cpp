#include "failing_new.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> countdown{-1};
std::atomic<bool> hasFired{false};
std::atomic<long> live{0};

}  // namespace

namespace failing_new {

void arm(long failAt) {
  hasFired = false;
  countdown = failAt;
}

void disarm() { countdown = -1; }

bool fired() { return hasFired; }

long liveBlocks() { return live; }

}  // namespace failing_new

void* operator new(std::size_t size) {
  if (countdown.load() >= 0 && countdown.fetch_sub(1) == 0) {
    hasFired = true;
    throw std::bad_alloc();
  }
  if (void* block = std::malloc(size == 0 ? 1 : size)) {
    ++live;
    return block;
  }
  throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
  if (block != nullptr) --live;
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
