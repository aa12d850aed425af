#include "failing_new.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> countdown{-1};
std::atomic<bool> hasFired{false};
std::atomic<long> live{0};
std::atomic<long> bytes{0};
std::atomic<long> peak{0};

// Each block carries its size in front of what the caller gets.
constexpr std::size_t kHeader = alignof(std::max_align_t);

void* track(void* raw, std::size_t offset, std::size_t size) {
  if (raw == nullptr) throw std::bad_alloc();
  ++live;
  const long now = bytes += static_cast<long>(size);
  long seen = peak.load();
  while (now > seen && !peak.compare_exchange_weak(seen, now)) {
  }
  char* block = static_cast<char*>(raw) + offset;
  reinterpret_cast<std::size_t*>(block)[-1] = size;
  return block;
}

void* untrack(void* block, std::size_t offset) {
  --live;
  bytes -= static_cast<long>(reinterpret_cast<std::size_t*>(block)[-1]);
  return static_cast<char*>(block) - offset;
}

void countDown() {
  if (countdown.load() >= 0 && countdown.fetch_sub(1) == 0) {
    hasFired = true;
    throw std::bad_alloc();
  }
}

}  // namespace

namespace failing_new {

void arm(long failAt) {
  hasFired = false;
  countdown = failAt;
}

void disarm() { countdown = -1; }

bool fired() { return hasFired; }

long liveBlocks() { return live; }
long liveBytes() { return bytes; }
long peakBytes() { return peak; }
void resetPeak() { peak = bytes.load(); }

}  // namespace failing_new

void* operator new(std::size_t size) {
  countDown();
  return track(std::malloc(kHeader + size), kHeader, size);
}

void operator delete(void* block) noexcept {
  if (block != nullptr) std::free(untrack(block, kHeader));
}

void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

void* operator new(std::size_t size, std::align_val_t align) {
  countDown();
  const auto a = std::max(static_cast<std::size_t>(align), kHeader);
  return track(std::aligned_alloc(a, a + (size + a - 1) / a * a), a, size);
}

void operator delete(void* block, std::align_val_t align) noexcept {
  if (block != nullptr) std::free(untrack(block, std::max(static_cast<std::size_t>(align), kHeader)));
}

void operator delete(void* block, std::size_t, std::align_val_t align) noexcept { operator delete(block, align); }
