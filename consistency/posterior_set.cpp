#include "consistency/posterior_set.h"

#include <algorithm>

namespace zemtra::consistency {

void PosteriorSet::mirrorUpper() {
  for (std::size_t x = 0; x < n_; ++x) {
    for (std::size_t y = x + 1; y < n_; ++y) mats_[y * n_ + x] = transpose(mats_[x * n_ + y]);
  }
}

std::uint64_t PosteriorSet::bytes() const {
  std::uint64_t total = mats_.capacity() * sizeof(SparsePosterior);
  for (const SparsePosterior& m : mats_) {
    total += m.rowStart.capacity() * sizeof(std::uint32_t) + m.entries.capacity() * sizeof(SparsePosterior::Entry);
  }
  return total;
}

SparsePosterior transpose(const SparsePosterior& m) {
  SparsePosterior t;
  const std::uint32_t rows = m.rows();
  t.cols = rows;
  t.rowStart.assign(std::size_t{m.cols} + 1, 0);
  for (const auto& e : m.entries) ++t.rowStart[e.col + 1];
  for (std::size_t k = 1; k < t.rowStart.size(); ++k) t.rowStart[k] += t.rowStart[k - 1];
  t.entries.resize(m.entries.size());
  std::vector<std::uint32_t> next(t.rowStart.begin(), t.rowStart.end() - 1);
  for (std::uint32_t i = 0; i < rows; ++i) {
    for (std::uint32_t k = m.rowStart[i]; k < m.rowStart[i + 1]; ++k) {
      t.entries[next[m.entries[k].col]++] = {i, m.entries[k].p};
    }
  }
  return t;
}

SparsePosterior transformPairPlain(const PosteriorSet& set, std::size_t x, std::size_t y,
                                   const std::vector<std::uint32_t>& thirds, std::vector<float>& dense,
                                   const std::vector<float>& weights) {
  const SparsePosterior& xy = set.get(x, y);
  const std::size_t rows = xy.rows(), cols = xy.cols;
  dense.assign(rows * cols, 0.0f);
  for (std::size_t i = 0; i < rows; ++i) {
    for (std::uint32_t k = xy.rowStart[i]; k < xy.rowStart[i + 1]; ++k) {
      dense[i * cols + xy.entries[k].col] = 2.0f * xy.entries[k].p;
    }
  }
  for (std::uint32_t z : thirds) {
    const SparsePosterior& xz = set.get(x, z);
    const SparsePosterior& zy = set.get(z, y);
    if (xz.entries.empty() || zy.entries.empty()) continue;
    const float weight = weights.empty() ? 1.0f : weights[z];
    for (std::size_t i = 0; i < rows; ++i) {
      float* out = dense.data() + i * cols;
      for (std::uint32_t a = xz.rowStart[i]; a < xz.rowStart[i + 1]; ++a) {
        const float p = weight * xz.entries[a].p;
        const std::uint32_t k = xz.entries[a].col;
        for (std::uint32_t b = zy.rowStart[k]; b < zy.rowStart[k + 1]; ++b)
          out[zy.entries[b].col] += p * zy.entries[b].p;
      }
    }
  }
  float weightSum = 0.0f;
  for (std::uint32_t z : thirds) weightSum += weights.empty() ? 1.0f : weights[z];
  const float scale = 1.0f / (2.0f + weightSum);
  SparsePosterior out;
  out.cols = static_cast<std::uint32_t>(cols);
  out.rowStart.assign(rows + 1, 0);
  for (std::size_t i = 0; i < rows; ++i) {
    for (std::size_t j = 0; j < cols; ++j) {
      const float p = dense[i * cols + j] * scale;
      if (p >= kPosteriorCutoff) out.entries.push_back({static_cast<std::uint32_t>(j), std::min(p, 1.0f)});
    }
    out.rowStart[i + 1] = static_cast<std::uint32_t>(out.entries.size());
  }
  out.entries.shrink_to_fit();
  return out;
}

// Third sequence by third sequence as the reference, so every cell adds the
// same products in the same order, but the dense table is never filled or
// scanned whole: each row keeps the span of columns it touched, and only
// that span is read and cleared again (cells outside it are 0, below any
// positive cutoff).
SparsePosterior transformPair(const PosteriorSet& set, std::size_t x, std::size_t y,
                              const std::vector<std::uint32_t>& thirds, std::vector<float>& dense,
                              const std::vector<float>& weights) {
  const SparsePosterior& xy = set.get(x, y);
  const std::size_t rows = xy.rows(), cols = xy.cols;
  if (dense.size() < rows * cols) dense.assign(rows * cols, 0.0f);
  std::vector<std::uint32_t> lo(rows, static_cast<std::uint32_t>(cols)), hi(rows, 0);  // touched [lo, hi)
  for (std::size_t i = 0; i < rows; ++i) {
    const std::uint32_t first = xy.rowStart[i], end = xy.rowStart[i + 1];
    for (std::uint32_t k = first; k < end; ++k) dense[i * cols + xy.entries[k].col] = 2.0f * xy.entries[k].p;
    if (first < end) {
      lo[i] = xy.entries[first].col;
      hi[i] = xy.entries[end - 1].col + 1;
    }
  }
  for (std::uint32_t z : thirds) {
    const SparsePosterior& xz = set.get(x, z);
    const SparsePosterior& zy = set.get(z, y);
    if (xz.entries.empty() || zy.entries.empty()) continue;
    const float weight = weights.empty() ? 1.0f : weights[z];
    for (std::size_t i = 0; i < rows; ++i) {
      float* out = dense.data() + i * cols;
      for (std::uint32_t a = xz.rowStart[i]; a < xz.rowStart[i + 1]; ++a) {
        const float p = weight * xz.entries[a].p;
        const std::uint32_t k = xz.entries[a].col, first = zy.rowStart[k], end = zy.rowStart[k + 1];
        if (first == end) continue;
        lo[i] = std::min(lo[i], zy.entries[first].col);
        hi[i] = std::max(hi[i], zy.entries[end - 1].col + 1);
        for (std::uint32_t b = first; b < end; ++b) out[zy.entries[b].col] += p * zy.entries[b].p;
      }
    }
  }
  float weightSum = 0.0f;
  for (std::uint32_t z : thirds) weightSum += weights.empty() ? 1.0f : weights[z];
  const float scale = 1.0f / (2.0f + weightSum);
  SparsePosterior out;
  out.cols = static_cast<std::uint32_t>(cols);
  out.rowStart.assign(rows + 1, 0);
  for (std::size_t i = 0; i < rows; ++i) {
    float* row = dense.data() + i * cols;
    for (std::uint32_t j = lo[i]; j < hi[i]; ++j) {
      const float p = row[j] * scale;
      row[j] = 0.0f;
      if (p >= kPosteriorCutoff) out.entries.push_back({j, std::min(p, 1.0f)});
    }
    out.rowStart[i + 1] = static_cast<std::uint32_t>(out.entries.size());
  }
  out.entries.shrink_to_fit();
  return out;
}

double expectedAccuracyPlain(const SparsePosterior& m) {
  const std::size_t rows = m.rows(), cols = m.cols;
  if (rows == 0 || cols == 0) return 0.0;
  std::vector<double> prev(cols + 1, 0.0), cur(cols + 1, 0.0);
  for (std::size_t i = 0; i < rows; ++i) {
    std::uint32_t k = m.rowStart[i];
    for (std::size_t j = 1; j <= cols; ++j) {
      double pair = prev[j - 1];
      if (k < m.rowStart[i + 1] && m.entries[k].col == j - 1) pair += m.entries[k++].p;
      cur[j] = std::max({pair, prev[j], cur[j - 1]});
    }
    std::swap(prev, cur);
  }
  return prev[cols] / static_cast<double>(std::min(rows, cols));
}

// The pair and skip moves of a row as vector maxima (a missing entry adds
// 0, which changes nothing), then the running maximum along the row: max is
// exact, so every cell is the reference's.
double expectedAccuracy(const SparsePosterior& m) {
  const std::size_t rows = m.rows(), cols = m.cols;
  if (rows == 0 || cols == 0) return 0.0;
  std::vector<double> prevRow(cols + 1, 0.0), curRow(cols + 1, 0.0), gainRow(cols + 1, 0.0);
  for (std::size_t i = 0; i < rows; ++i) {
    const auto* first = m.entries.data() + m.rowStart[i];
    const auto* end = m.entries.data() + m.rowStart[i + 1];
    for (const auto* e = first; e != end; ++e) gainRow[e->col + 1] = e->p;
    const double* __restrict prev = prevRow.data();
    const double* __restrict gain = gainRow.data();
    double* __restrict cur = curRow.data();
    for (std::size_t j = 1; j <= cols; ++j) cur[j] = std::max(prev[j - 1] + gain[j], prev[j]);
    for (std::size_t j = 1; j <= cols; ++j) cur[j] = std::max(cur[j], cur[j - 1]);
    for (const auto* e = first; e != end; ++e) gainRow[e->col + 1] = 0.0;
    std::swap(prevRow, curRow);
  }
  return prevRow[cols] / static_cast<double>(std::min(rows, cols));
}

SparsePosterior alignedPairPosterior(const std::vector<std::uint32_t>& columnsX,
                                     const std::vector<std::uint32_t>& columnsY) {
  SparsePosterior out;
  out.cols = static_cast<std::uint32_t>(columnsY.size());
  out.rowStart.assign(columnsX.size() + 1, 0);
  std::size_t j = 0;
  for (std::size_t i = 0; i < columnsX.size(); ++i) {
    while (j < columnsY.size() && columnsY[j] < columnsX[i]) ++j;
    if (j < columnsY.size() && columnsY[j] == columnsX[i]) out.entries.push_back({static_cast<std::uint32_t>(j), 1.0f});
    out.rowStart[i + 1] = static_cast<std::uint32_t>(out.entries.size());
  }
  return out;
}

}  // namespace zemtra::consistency
