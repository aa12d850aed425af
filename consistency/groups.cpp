#include "consistency/groups.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace zemtra::consistency {

namespace {

enum Step : std::uint8_t { kPair = 0, kOnlyA = 1, kOnlyB = 2 };

}  // namespace

void columnPairScores(const Group& a, const Group& b, const PosteriorSet& post, std::vector<double>& score) {
  const std::size_t wb = b.width;
  score.assign(std::size_t{a.width} * wb, 0.0);
  for (std::size_t ia = 0; ia < a.members.size(); ++ia) {
    const std::vector<std::uint32_t>& ca = a.columns[ia];
    for (std::size_t ib = 0; ib < b.members.size(); ++ib) {
      const std::vector<std::uint32_t>& cb = b.columns[ib];
      const SparsePosterior& p = post.get(a.members[ia], b.members[ib]);
      for (std::uint32_t i = 0; i < p.rows(); ++i) {
        double* row = score.data() + std::size_t{ca[i]} * wb;
        for (std::uint32_t k = p.rowStart[i]; k < p.rowStart[i + 1]; ++k) row[cb[p.entries[k].col]] += p.entries[k].p;
      }
    }
  }
}

Group mergeGroups(const Group& a, const Group& b, const std::vector<double>& score, double& bestScore) {
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

Group projectGroup(const Group& g, const std::vector<std::uint32_t>& members, std::vector<int>& keep) {
  std::vector<std::size_t> rows;
  for (std::size_t r = 0, k = 0; r < g.members.size() && k < members.size(); ++r) {
    if (g.members[r] == members[k]) rows.push_back(r), ++k;
  }
  keep.assign(g.width, -1);
  for (std::size_t r : rows) {
    for (std::uint32_t c : g.columns[r]) keep[c] = 0;
  }
  Group out;
  for (int& k : keep) {
    if (k == 0) k = static_cast<int>(out.width++);
  }
  for (std::size_t r : rows) {
    out.members.push_back(g.members[r]);
    std::vector<std::uint32_t>& cols = out.columns.emplace_back(g.columns[r].size());
    for (std::size_t i = 0; i < cols.size(); ++i) cols[i] = static_cast<std::uint32_t>(keep[g.columns[r][i]]);
  }
  return out;
}

double currentPairing(const std::vector<int>& keepA, const std::vector<int>& keepB, std::uint32_t widthB,
                      const std::vector<double>& score) {
  double sum = 0;
  for (std::size_t c = 0; c < keepA.size(); ++c) {
    if (keepA[c] >= 0 && keepB[c] >= 0) {
      sum += score[static_cast<std::size_t>(keepA[c]) * widthB + static_cast<std::size_t>(keepB[c])];
    }
  }
  return sum;
}

bool acceptRefinement(double before, double after) { return after > before + 1e-6 * std::max(1.0, std::abs(before)); }

std::vector<TreeJoin> guideTree(const std::vector<double>& distance, std::size_t n,
                                const std::vector<std::vector<std::uint32_t>>& units) {
  std::vector<TreeJoin> joins;
  const std::size_t u = units.size();
  std::vector<int> id(u);
  std::vector<double> size(u);
  for (std::size_t k = 0; k < u; ++k) {
    id[k] = static_cast<int>(units[k][0]);
    for (std::size_t m = 1; m < units[k].size(); ++m) {
      joins.push_back({id[k], static_cast<int>(units[k][m]), 0.0f});
      id[k] = static_cast<int>(n + joins.size() - 1);
    }
    size[k] = static_cast<double>(units[k].size());
  }
  std::vector<double> d(u * u, 0.0);
  for (std::size_t a = 0; a < u; ++a) {
    for (std::size_t b = a + 1; b < u; ++b) {
      double sum = 0;
      for (std::uint32_t x : units[a]) {
        for (std::uint32_t y : units[b]) sum += distance[x * n + y];
      }
      d[a * u + b] = d[b * u + a] = sum / (size[a] * size[b]);
    }
  }
  std::vector<bool> active(u, true);
  for (std::size_t left = u; left > 1; --left) {
    std::size_t ba = 0, bb = 0;
    double best = std::numeric_limits<double>::infinity();
    for (std::size_t a = 0; a < u; ++a) {
      if (!active[a]) continue;
      for (std::size_t b = a + 1; b < u; ++b) {
        if (active[b] && d[a * u + b] < best) best = d[a * u + b], ba = a, bb = b;
      }
    }
    joins.push_back({id[ba], id[bb], static_cast<float>(best)});
    for (std::size_t k = 0; k < u; ++k) {
      if (!active[k] || k == ba || k == bb) continue;
      const double v = (size[ba] * d[ba * u + k] + size[bb] * d[bb * u + k]) / (size[ba] + size[bb]);
      d[ba * u + k] = d[k * u + ba] = v;
    }
    size[ba] += size[bb];
    active[bb] = false;
    id[ba] = static_cast<int>(n + joins.size() - 1);
  }
  return joins;
}

std::vector<std::vector<bool>> treeSplits(const std::vector<TreeJoin>& tree, std::size_t n, unsigned fixed) {
  const std::size_t blockJoins = fixed > 0 ? fixed - 1 : 0;
  const std::size_t units = n - blockJoins;
  auto unitOf = [&](std::size_t row) { return row < fixed ? 0 : row - fixed + (fixed > 0 ? 1 : 0); };
  std::vector<std::vector<bool>> under(n + tree.size(), std::vector<bool>(units, false));
  for (std::size_t r = 0; r < n; ++r) under[r][unitOf(r)] = true;
  std::vector<std::vector<bool>> splits;
  const int rootRight = tree.empty() ? -1 : tree.back().right;
  for (std::size_t r = n; r-- > 0;) {
    if ((r >= fixed || (fixed == 1 && r == 0)) && static_cast<int>(r) != rootRight) splits.push_back(under[r]);
  }
  std::vector<std::size_t> inner;
  for (std::size_t k = 0; k < tree.size(); ++k) {
    std::vector<bool>& u = under[n + k];
    const std::vector<bool>& l = under[static_cast<std::size_t>(tree[k].left)];
    const std::vector<bool>& r = under[static_cast<std::size_t>(tree[k].right)];
    for (std::size_t i = 0; i < units; ++i) u[i] = l[i] || r[i];
    const bool blockInside = k + 1 < blockJoins;  // the block is one unit: its inner joins split nothing
    if (!blockInside && k + 1 < tree.size() && static_cast<int>(n + k) != rootRight) inner.push_back(k);
  }
  for (std::size_t k = inner.size(); k-- > 0;) splits.push_back(under[n + inner[k]]);
  return splits;
}

}  // namespace zemtra::consistency
