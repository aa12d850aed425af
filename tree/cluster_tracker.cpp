#include "tree/cluster_tracker.h"

#include "core/diagnostics.h"

using KARVO::Matrix;

bool ClusterTracker::applies(const Matrix<float>& fscore, unsigned long ns) {
  if (fscore.rows() < ns || fscore.cols() < ns) return false;
  for (unsigned long r = 0; r < ns; ++r) {
    for (unsigned long c = 0; c < ns; ++c) {
      // Written so that a NaN fails as well.
      if (r != c && !(fscore[r][c] <= kJoinedThreshold)) return false;
    }
  }
  return true;
}

std::uint64_t ClusterTracker::bytesFor(unsigned long ns) {
  const std::uint64_t ids = std::uint64_t{ns} + 1;
  const std::uint64_t sums = KARVO::bytesTimes(KARVO::bytesTimes(ids / 2 + 1, ids), sizeof(float));
  // The records, and what one join marks: the clusters merged, the single
  // sequences.
  const std::uint64_t records = sizeof(Cluster) + sizeof(unsigned long) + sizeof(std::vector<float>) + sizeof(Best);
  return KARVO::bytesPlus(sums, KARVO::bytesPlus(KARVO::bytesTimes(ids, records), ids + ids / 8 + 8));
}

ClusterTracker::ClusterTracker(const Matrix<float>& fscore, unsigned long ns)
    : fscore_(fscore), ns_(ns), clusters_(ns + 1), idOf_(ns + 1), rowSums_(ns + 1), best_(ns + 1) {
  clusters_[0].active = false;
  for (unsigned long s = 1; s <= ns; ++s) idOf_[s] = s;
  for (unsigned long i = 1; i <= ns; ++i) rescan(i);
}

float ClusterTracker::distance(unsigned long a, unsigned long b) const {
  const Cluster& ca = clusters_[a];
  const Cluster& cb = clusters_[b];
  if (ca.row == kSingle && cb.row == kSingle) {
    // Two single sequences keep the distance the reference copied from the
    // upper triangle.
    return a < b ? fscore_[a - 1][b - 1] : fscore_[b - 1][a - 1];
  }
  // The mean over the family's members, as the reference divides it: the
  // sum by (size x 1).
  if (cb.row == kSingle) return rowSums_[ca.row][b] / static_cast<float>(ca.size);
  if (ca.row == kSingle) return rowSums_[cb.row][a] / static_cast<float>(cb.size);
  return rowSums_[ca.row][b];
}

void ClusterTracker::storeFamilyDistance(unsigned long a, unsigned long b, float d) {
  rowSums_[clusters_[a].row][b] = d;
  rowSums_[clusters_[b].row][a] = d;
}

ClosestPair ClusterTracker::closest() const {
  unsigned long first = 0;
  for (unsigned long i = 1; i <= ns_; ++i) {
    if (!clusters_[i].active || best_[i].other == 0) continue;
    // Strictly smaller only: on ties the earliest row wins, as in the
    // row-major scan.
    if (first == 0 || best_[i].value < best_[first].value) first = i;
  }
  ZEMTRA_ASSERT(first != 0);
  return {first, best_[first].other, best_[first].value};
}

void ClusterTracker::rescan(unsigned long id) {
  Best best;
  for (unsigned long j = id + 1; j <= ns_; ++j) {
    if (!clusters_[j].active) continue;
    const float d = distance(id, j);
    if (best.other == 0 || d < best.value) best = {d, j};
  }
  best_[id] = best;
}

void ClusterTracker::offer(unsigned long id, unsigned long other) {
  const float d = distance(id, other);
  Best& best = best_[id];
  if (best.other == 0 || d < best.value || (d == best.value && other < best.other)) best = {d, other};
}

float ClusterTracker::familyDistance(const FamilyTable& family, unsigned long rowA, unsigned long sizeA,
                                     unsigned long rowB, unsigned long sizeB) const {
  // The higher row's members form the outer loop, as in the reference.
  const bool aIsLower = rowA < rowB;
  const std::uint32_t* lower = family[aIsLower ? rowA : rowB];
  const std::uint32_t* higher = family[aIsLower ? rowB : rowA];
  const unsigned long lowerSize = aIsLower ? sizeA : sizeB;
  const unsigned long higherSize = aIsLower ? sizeB : sizeA;
  float sum = 0.0f;
  for (unsigned long a = 0; a < higherSize; ++a) {
    const float* row = fscore_[higher[a] - 1];
    for (unsigned long b = 0; b < lowerSize; ++b) sum += row[lower[b] - 1];
  }
  return sum / static_cast<float>(lowerSize * higherSize);
}

void ClusterTracker::rowGrew(const FamilyTable& family, unsigned long row, unsigned long oldMembers,
                             unsigned long members, unsigned long absorbedRow) {
  const std::uint32_t* entries = family[row];

  // The new cluster takes the smallest id of the clusters it is made of.
  std::vector<bool> merged(ns_ + 1, false);
  unsigned long id = ns_ + 1;
  for (unsigned long p = 0; p < members; ++p) {
    const unsigned long old = idOf_[entries[p]];
    merged[old] = true;
    if (old < id) id = old;
  }
  for (unsigned long p = 0; p < members; ++p) idOf_[entries[p]] = id;
  for (unsigned long old = 1; old <= ns_; ++old)
    if (merged[old] && old != id) clusters_[old].active = false;
  clusters_[id] = {row, members, true};

  // Continue the row's sums of the single sequences with the newcomers, in
  // row order; the other cells are not read until they are set below.
  std::vector<float>& sums = rowSums_[row];
  if (oldMembers == 0) sums.assign(ns_ + 1, 0.0f);
  std::vector<unsigned char> single(ns_ + 1, 0);
  for (unsigned long y = 1; y <= ns_; ++y) single[y] = isSingle(y) ? 1 : 0;
  for (unsigned long p = oldMembers; p < members; ++p) {
    const float* distances = fscore_[entries[p] - 1];
    for (unsigned long y = 1; y <= ns_; ++y)
      if (single[y] != 0) sums[y] += distances[y - 1];
  }
  if (absorbedRow != kSingle) std::vector<float>().swap(rowSums_[absorbedRow]);

  for (unsigned long other = 1; other <= ns_; ++other) {
    const Cluster& c = clusters_[other];
    if (!c.active || other == id || c.row == kSingle) continue;
    // The mean over the members x c.size member pairs.
    storeFamilyDistance(id, other, familyDistance(family, row, members, c.row, c.size));
  }

  for (unsigned long i = 1; i <= ns_; ++i) {
    if (!clusters_[i].active || i == id) continue;
    const unsigned long partner = best_[i].other;
    if (partner != 0 && (merged[partner] || (i < id && partner == id)))
      rescan(i);
    else if (i < id)
      offer(i, id);
  }
  rescan(id);
}
