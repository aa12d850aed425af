#include "run/consistency_tables.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace {

using zemtra::consistency::TreeJoin;

// The members of every cluster of the tree, leaves first, each join's list
// the left's members followed by the right's. Throws std::invalid_argument
// for a join that names a cluster not made yet or already joined.
std::vector<std::vector<unsigned long>> clusterMembers(const std::vector<TreeJoin>& tree, unsigned long rows) {
  std::vector<std::vector<unsigned long>> members(rows + tree.size());
  std::vector<bool> used(members.size(), false);
  for (unsigned long r = 0; r < rows; ++r) members[r] = {r};
  for (std::size_t k = 0; k < tree.size(); ++k) {
    const std::size_t made = rows + k;
    const auto left = static_cast<std::size_t>(tree[k].left);
    const auto right = static_cast<std::size_t>(tree[k].right);
    if (tree[k].left < 0 || tree[k].right < 0 || left >= made || right >= made || left == right || used[left] ||
        used[right]) {
      throw std::invalid_argument("join " + std::to_string(k + 1) + " of the guide tree does not join two clusters");
    }
    used[left] = used[right] = true;
    members[made] = members[left];
    members[made].insert(members[made].end(), members[right].begin(), members[right].end());
  }
  return members;
}

}  // namespace

JoinHistory joinHistoryOf(const std::vector<TreeJoin>& tree, unsigned long rows, unsigned fixed) {
  const std::vector<std::vector<unsigned long>> members = clusterMembers(tree, rows);
  JoinHistory history;
  const std::size_t blockJoins = fixed >= 2 ? fixed - 1 : 0;
  for (std::size_t k = 0; k < tree.size(); ++k) {
    const auto& left = members[static_cast<std::size_t>(tree[k].left)];
    const auto& right = members[static_cast<std::size_t>(tree[k].right)];
    const unsigned long a = *std::min_element(left.begin(), left.end());
    const unsigned long b = *std::min_element(right.begin(), right.end());
    history.joins.emplace_back(std::min(a, b), std::max(a, b));
    history.distances.push_back(k < blockJoins ? std::numeric_limits<float>::quiet_NaN() : tree[k].distance);
  }
  if (!tree.empty()) {
    std::vector<unsigned long> order;
    for (const unsigned long row : members.back()) order.push_back(row + 1);
    history.families.push_back(std::move(order));
  }
  return history;
}

std::vector<float> alignedIdentity(const std::vector<std::string>& rows) {
  const std::size_t n = rows.size();
  std::vector<float> identity(n * n, 100.0f);
  for (std::size_t a = 0; a < n; ++a) {
    for (std::size_t b = a + 1; b < n; ++b) {
      const std::string& x = rows[a];
      const std::string& y = rows[b];
      unsigned long both = 0;
      unsigned long same = 0;
      for (std::size_t c = 0; c < std::min(x.size(), y.size()); ++c) {
        if (x[c] == '-' || y[c] == '-') continue;
        ++both;
        if (x[c] == y[c]) ++same;
      }
      const float value =
          both == 0 ? 0.0f : static_cast<float>(100.0 * static_cast<double>(same) / static_cast<double>(both));
      identity[a * n + b] = identity[b * n + a] = value;
    }
  }
  return identity;
}

std::vector<float> joinDistanceTable(const std::vector<TreeJoin>& tree, unsigned long rows) {
  const std::vector<std::vector<unsigned long>> members = clusterMembers(tree, rows);
  std::vector<float> distance(rows * rows, 0.0f);
  for (const TreeJoin& join : tree) {
    for (const unsigned long a : members[static_cast<std::size_t>(join.left)])
      for (const unsigned long b : members[static_cast<std::size_t>(join.right)])
        distance[a * rows + b] = distance[b * rows + a] = join.distance;
  }
  return distance;
}
