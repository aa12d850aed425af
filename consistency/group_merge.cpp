// Aligning two groups' columns: the column-pair scores from the posteriors
// and the dynamic programme that pairs the columns with the largest summed
// score, by rows (the scores kept sparse, the running maximum four cells at
// a time) beside its cell-by-cell reference.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#include <immintrin.h>
#endif

#include "consistency/groups.h"
#include "consistency/row_kernel.h"

namespace zemtra::consistency {

namespace {

enum Step : std::uint8_t { kPair = 0, kOnlyA = 1, kOnlyB = 2 };

}  // namespace

void columnPairScores(const Group& a, const Group& b, const PosteriorSet& post, MergeWork& work) {
  const std::size_t wb = b.width;
  if (work.score.size() < std::size_t{a.width} * wb) work.score.resize(std::size_t{a.width} * wb, 0.0);
  double* score = work.score.data();
  for (std::size_t ia = 0; ia < a.members.size(); ++ia) {
    const std::vector<std::uint32_t>& ca = a.columns[ia];
    for (std::size_t ib = 0; ib < b.members.size(); ++ib) {
      const std::vector<std::uint32_t>& cb = b.columns[ib];
      const SparsePosterior& p = post.get(a.members[ia], b.members[ib]);
      for (std::uint32_t i = 0; i < p.rows(); ++i) {
        const std::size_t row = std::size_t{ca[i]} * wb;
        for (std::uint32_t k = p.rowStart[i]; k < p.rowStart[i + 1]; ++k) {
          double& cell = score[row + cb[p.entries[k].col]];
          if (cell == 0.0) work.touched.push_back(row + cb[p.entries[k].col]);
          cell += p.entries[k].p;
        }
      }
    }
  }
}

namespace {

// The merged group along a trace of steps from cell (wa, wb) back to (0, 0).
Group followTrace(const Group& a, const Group& b, const std::uint8_t* step, std::size_t stride) {
  const std::size_t wa = a.width, wb = b.width;
  std::vector<std::uint8_t> path;
  for (std::size_t i = wa, j = wb; i > 0 || j > 0;) {
    const std::uint8_t s = step[i * stride + j];
    path.push_back(s);
    if (s != kOnlyB) --i;
    if (s != kOnlyA) --j;
  }
  std::vector<std::uint32_t> newA(wa), newB(wb);
  std::uint32_t col = 0, ia = 0, ib = 0;
  for (auto it = path.rbegin(); it != path.rend(); ++it, ++col) {
    if (*it != kOnlyB) newA[ia++] = col;
    if (*it != kOnlyA) newB[ib++] = col;
  }
  Group merged;
  merged.width = col;
  std::size_t pa = 0, pb = 0;
  while (pa < a.members.size() || pb < b.members.size()) {
    const bool takeA = pb == b.members.size() || (pa < a.members.size() && a.members[pa] < b.members[pb]);
    const std::vector<std::uint32_t>& old = takeA ? a.columns[pa] : b.columns[pb];
    const std::vector<std::uint32_t>& map = takeA ? newA : newB;
    merged.members.push_back(takeA ? a.members[pa++] : b.members[pb++]);
    std::vector<std::uint32_t>& cols = merged.columns.emplace_back(old.size());
    for (std::size_t r = 0; r < old.size(); ++r) cols[r] = map[old[r]];
  }
  return merged;
}

// Row i of the programme without the scores: a pair step (worth the
// diagonal's value while its score is 0) or a's column alone, whichever is
// larger, the pair on ties.
ZEMTRA_ROW_KERNEL
void unscoredRow(const double* __restrict prev, double* __restrict best, std::uint8_t* __restrict step,
                 std::size_t wb) {
  for (std::size_t j = 1; j <= wb; ++j) {
    const bool onlyA = prev[j] > prev[j - 1];
    best[j] = onlyA ? prev[j] : prev[j - 1];
    step[j] = onlyA ? kOnlyA : kPair;
  }
}

// b's column alone wherever the running value of the row, max(0, best[1 ..
// j - 1]), beats best[j]; cur[j] receives the larger. Values are never
// negative, so 0 is the maximum's identity.
void runningMaxPlain(const double* best, double* cur, std::uint8_t* step, std::size_t wb) {
  double run = 0.0;
  for (std::size_t j = 1; j <= wb; ++j) {  // without branches: which side wins is data, not pattern
    const auto onlyB = static_cast<std::uint8_t>(-static_cast<int>(run > best[j]));
    run = std::max(best[j], run);
    step[j] = static_cast<std::uint8_t>((step[j] & ~onlyB) | (kOnlyB & onlyB));
    cur[j] = run;
  }
}

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
// For a four-bit lane mask, the bytes of those lanes in a little-endian word.
constexpr std::array<std::uint32_t, 16> kLaneBytes = [] {
  std::array<std::uint32_t, 16> t{};
  for (unsigned m = 0; m < 16; ++m) {
    for (unsigned k = 0; k < 4; ++k) t[m] |= (m >> k & 1u) ? 0xFFu << (8 * k) : 0u;
  }
  return t;
}();

// The same four cells at a time: the running maximum is an exclusive prefix
// maximum within each vector (two shifted maxima) joined to the carry of the
// vectors before, so the chain from cell to cell is one maximum per vector.
__attribute__((target("avx2"))) void runningMaxAvx2(const double* best, double* cur, std::uint8_t* step,
                                                    std::size_t wb) {
  const __m256d zero = _mm256_setzero_pd();
  __m256d carry = zero;
  std::size_t j = 1;
  for (; j + 3 <= wb; j += 4) {
    const __m256d v = _mm256_loadu_pd(best + j);
    const __m256d v1 = _mm256_max_pd(v, _mm256_blend_pd(_mm256_permute4x64_pd(v, 0x90), zero, 0x1));
    const __m256d incl = _mm256_max_pd(v1, _mm256_blend_pd(_mm256_permute4x64_pd(v1, 0x40), zero, 0x3));
    const __m256d excl = _mm256_max_pd(_mm256_blend_pd(_mm256_permute4x64_pd(incl, 0x90), zero, 0x1), carry);
    const auto onlyB = static_cast<std::size_t>(_mm256_movemask_pd(_mm256_cmp_pd(excl, v, _CMP_GT_OQ)));
    const __m256d run = _mm256_max_pd(v, excl);
    _mm256_storeu_pd(cur + j, run);
    carry = _mm256_permute4x64_pd(run, 0xFF);
    std::uint32_t steps;  // the four steps as one word, b's column set where it wins
    std::memcpy(&steps, step + j, 4);
    steps = (steps & ~kLaneBytes[onlyB]) | (kOnlyB * 0x01010101u & kLaneBytes[onlyB]);
    std::memcpy(step + j, &steps, 4);
  }
  const double before = j > 1 ? cur[j - 1] : 0.0;
  double run = before;
  for (; j <= wb; ++j) {
    const bool onlyB = run > best[j];
    run = std::max(best[j], run);
    if (onlyB) step[j] = kOnlyB;
    cur[j] = run;
  }
}
#endif

using RunningMax = void (*)(const double*, double*, std::uint8_t*, std::size_t);

RunningMax pickRunningMax() {
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
  if (__builtin_cpu_supports("avx2")) return runningMaxAvx2;
#endif
  return runningMaxPlain;
}

}  // namespace

Group mergeGroups(const Group& a, const Group& b, MergeWork& work, double& bestScore) {
  static const RunningMax runningMax = pickRunningMax();
  const std::size_t wa = a.width, wb = b.width, stride = wb + 1;
  // The touched cells by row of a's columns.
  work.rowStart.assign(wa + 2, 0);
  for (std::size_t cell : work.touched) ++work.rowStart[cell / wb + 2];
  for (std::size_t i = 2; i < wa + 2; ++i) work.rowStart[i] += work.rowStart[i - 1];
  work.cells.resize(work.touched.size());
  for (std::size_t cell : work.touched) {
    work.cells[work.rowStart[cell / wb + 1]++] = {static_cast<std::uint32_t>(cell % wb + 1), work.score[cell]};
    work.score[cell] = 0.0;
  }
  work.touched.clear();
  work.step.resize((wa + 1) * stride);
  std::fill(work.step.begin(), work.step.begin() + static_cast<std::ptrdiff_t>(stride), std::uint8_t{kOnlyB});
  work.prev.assign(stride, 0.0);
  work.cur.assign(stride, 0.0);
  work.best.resize(stride);
  for (std::size_t i = 1; i <= wa; ++i) {
    const double* prev = work.prev.data();
    double* best = work.best.data();
    std::uint8_t* step = work.step.data() + i * stride;
    unscoredRow(prev, best, step, wb);
    for (std::size_t k = work.rowStart[i - 1]; k < work.rowStart[i]; ++k) {
      const auto [j, score] = work.cells[k];
      const double pair = prev[j - 1] + score;
      const bool onlyA = prev[j] > pair;
      best[j] = onlyA ? prev[j] : pair;
      step[j] = onlyA ? kOnlyA : kPair;
    }
    step[0] = kOnlyA;
    runningMax(best, work.cur.data(), step, wb);
    std::swap(work.prev, work.cur);
  }
  bestScore = work.prev[wb];
  return followTrace(a, b, work.step.data(), stride);
}

Group mergeGroupsPlain(const Group& a, const Group& b, const std::vector<double>& score, double& bestScore) {
  const std::size_t wa = a.width, wb = b.width, stride = wb + 1;
  std::vector<std::uint8_t> step((wa + 1) * stride, kOnlyB);
  std::vector<double> prev(stride, 0.0), cur(stride, 0.0);
  for (std::size_t i = 1; i <= wa; ++i) {
    cur[0] = 0.0;
    step[i * stride] = kOnlyA;
    for (std::size_t j = 1; j <= wb; ++j) {
      const double pair = prev[j - 1] + score[(i - 1) * wb + (j - 1)];
      const double onlyA = prev[j], onlyB = cur[j - 1];
      std::uint8_t s = kPair;
      double v = pair;
      if (onlyA > v) s = kOnlyA, v = onlyA;
      if (onlyB > v) s = kOnlyB, v = onlyB;
      cur[j] = v;
      step[i * stride + j] = s;
    }
    std::swap(prev, cur);
  }
  bestScore = prev[wb];
  return followTrace(a, b, step.data(), stride);
}

}  // namespace zemtra::consistency
