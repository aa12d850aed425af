#include "consistency/groups.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace zemtra::consistency {

ColumnProfiles::ColumnProfiles(const Group& g, const std::vector<std::vector<std::uint8_t>>& codes,
                               const std::vector<float>& rowWeights, double own)
    : codes_(codes), rowWeights_(rowWeights), own_(own), tally_(g.width), at_(codes.size()), codeAt_(codes.size()) {
  for (std::size_t k = 0; k < g.members.size(); ++k) {
    const std::uint32_t r = g.members[k];
    at_[r] = g.columns[k];
    codeAt_[r].assign(g.width, kGap);
    for (std::size_t i = 0; i < g.columns[k].size(); ++i) {
      const std::uint8_t code = codes[r][i];
      Tally& t = tally_[g.columns[k][i]];
      ++t.rows[code];
      t.weight[code] += rowWeights[r];
      ++t.residues;
      t.total += rowWeights[r];
      codeAt_[r][g.columns[k][i]] = code;
    }
  }
}

void ColumnProfiles::profileOf(std::uint32_t r, std::uint32_t without, ResidueProfile& out) const {
  out.start.assign(1, 0);
  out.code.clear();
  out.weight.clear();
  const std::vector<std::uint32_t>& columns = at_[r];
  const std::vector<std::uint8_t>* away = !codeAt_[without].empty() && without != r ? &codeAt_[without] : nullptr;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const Tally& t = tally_[columns[i]];
    const std::uint8_t mine = codes_[r][i];
    const std::uint8_t gone = away != nullptr ? (*away)[columns[i]] : kGap;
    // The column's residues other than r's and the left-out row's.
    const std::uint32_t others = t.residues - 1 - (gone != kGap ? 1u : 0u);
    const double otherWeight = t.total - rowWeights_[r] - (gone != kGap ? rowWeights_[without] : 0.0);
    const bool alone = others == 0 || !(otherWeight > 0);
    for (std::uint8_t a = 0; a < 21; ++a) {
      const std::uint32_t rows = t.rows[a] - (a == mine ? 1u : 0u) - (a == gone ? 1u : 0u);
      double w = a == mine ? (alone ? 1.0 : own_) : 0.0;
      if (!alone && rows > 0) {
        const double held = t.weight[a] - (a == mine ? rowWeights_[r] : 0.0) - (a == gone ? rowWeights_[without] : 0.0);
        w += (1.0 - own_) * held / otherWeight;
      }
      if (!(w > 0)) continue;
      out.code.push_back(a);
      out.weight.push_back(w);
    }
    out.start.push_back(static_cast<std::uint32_t>(out.code.size()));
  }
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
