#include "tree/tree_kv.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "core/diagnostics.h"
#include "pairwise/pair_kv.h"
#include "tree/cluster_steps.h"
#include "tree/cluster_tracker.h"

using KARVO::Matrix;

namespace {

const char* const kStarLine = "\n**************************************************************************";
const char* const kBannerLine = "\n****** Starting multiple alignment following tree construction ... *******";

// The family rows in use, each up to its terminating 0.
void recordFamilies(const FamilyTable& family, int nfam, JoinHistory& history) {
  history.families.clear();
  for (int row = 0; row < nfam; ++row) {
    const unsigned long members = familySize(family, static_cast<unsigned long>(row), family.cols());
    const std::uint32_t* cells = family[static_cast<unsigned long>(row)];
    history.families.emplace_back(cells, cells + members);
  }
}

void writeBranchingOrder(std::ostream& log, const Matrix<char>& names, const FamilyTable& family, int nfam,
                         unsigned long ns) {
  log << "\n\n\nBranching order: ";
  for (int k = 0; k < nfam; ++k) {
    const std::uint32_t* row = family[static_cast<unsigned long>(k)];
    if (k > 0) log << "\nSub    Clusters: ";
    log << "[" << names[row[0] - 1] << " " << names[row[1] - 1] << "] ";
    for (unsigned long p = 2; p < family.cols() && row[p] != 0; ++p) {
      log << names[row[p] - 1] << "] ";
      if (ns > 5 && p % 5 == 0) log << "\n                  ";
    }
  }
  log << "\n";
}

// The joins so far as the history lists them.
void recordJoin(const Counters& counters, float distance, JoinHistory* history) {
  if (history == nullptr) return;
  history->joins.emplace_back(counters.groupJ.data[0], counters.groupK.data[0]);
  history->distances.push_back(distance);
}

// Clustering by the reference's full refresh of pro before every search.
void clusterByRescan(std::ostream& log, const Matrix<char>& names, const Matrix<float>& fscore, FamilyTable& family,
                     Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len, Matrix<long>& path, unsigned long block,
                     int& nfam, Counters& counters, JoinHistory* history) {
  const unsigned long ns = seqs.rows();
  Matrix<float> pro(fscore.rows() + 1);
  ReferenceEngine engine(pro);
  // pro has one row more than fscore has rows, so a wider fscore is read only
  // as far as pro reaches.
  const unsigned long lastColumn = std::min(fscore.cols(), fscore.rows());
  for (unsigned long r = 1; r < fscore.rows(); ++r) {
    for (unsigned long c = r + 1; c <= lastColumn; ++c) {
      pro[r][c] = fscore[r - 1][c - 1];
      pro[c][r] = fscore[r - 1][c - 1];
    }
  }
  unsigned long joinsLeft = 0;
  if (block >= 2) {
    for (unsigned long a = 1; a <= block; ++a) {
      for (unsigned long b = 1; b <= block; ++b) {
        if (a != b) pro[a][b] = kJoinedMark;
      }
    }
    joinsLeft = ns - block;
  } else {
    const ClosestPair pair = findClosestPair(ns, pro);
    log << "\n\n" << kStarLine << kBannerLine << kStarLine;
    AlignPair(engine, pair.first, pair.other, names, family, counters, cmp, seqs, len, path, nfam);
    recordJoin(counters, pair.distance, history);
    joinsLeft = ns - 2;
  }
  nfam = 1;

  for (unsigned long t = 0; t < joinsLeft; ++t) {
    refreshClusterDistances(ns, fscore, family, pro);
    const ClosestPair pair = findClosestPair(ns, pro);
    FamFind(engine, nfam, pair.first, pair.other, family, cmp, seqs, len, names, path, counters);
    recordJoin(counters, pair.distance, history);
  }
}

// The same joins with the distances kept up to date by a ClusterTracker and
// the join routines running on the fast engine.
void clusterIncrementally(std::ostream& log, const Matrix<char>& names, const Matrix<float>& fscore,
                          FamilyTable& family, Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len,
                          Matrix<long>& path, unsigned long block, int& nfam, Counters& counters,
                          JoinHistory* history) {
  const unsigned long ns = seqs.rows();
  ClusterTracker tracker(fscore, ns);
  FastEngine engine;

  unsigned long joinsLeft = 0;
  if (block >= 2) {
    tracker.rowGrew(family, 0, 0, block, ClusterTracker::kSingle);
    joinsLeft = ns - block;
  } else {
    const ClosestPair pair = tracker.closest();
    log << "\n\n" << kStarLine << kBannerLine << kStarLine;
    AlignPair(engine, pair.first, pair.other, names, family, counters, cmp, seqs, len, path, nfam);
    tracker.rowGrew(family, 0, 0, 2, ClusterTracker::kSingle);
    recordJoin(counters, pair.distance, history);
    joinsLeft = ns - 2;
  }
  nfam = 1;

  for (unsigned long t = 0; t < joinsLeft; ++t) {
    const ClosestPair pair = tracker.closest();
    // FamFind finds the same live rows by scanning the table; the tracker
    // needs them to follow the join.
    const unsigned long rowFirst = tracker.liveRow(pair.first);
    const unsigned long rowOther = tracker.liveRow(pair.other);
    const unsigned long rows = static_cast<unsigned long>(nfam);
    const unsigned long lower = std::min(rowFirst, rowOther);
    const unsigned long higher = std::max(rowFirst, rowOther);
    const unsigned long members = lower == ClusterTracker::kSingle ? 0 : familySize(family, lower, ns);
    FamFind(engine, nfam, pair.first, pair.other, family, cmp, seqs, len, names, path, counters);
    if (lower == ClusterTracker::kSingle)
      tracker.rowGrew(family, rows, 0, 2, ClusterTracker::kSingle);
    else if (higher == ClusterTracker::kSingle)
      tracker.rowGrew(family, lower, members, members + 1, ClusterTracker::kSingle);
    else
      tracker.rowGrew(family, lower, members, members + familySize(family, higher, ns), higher);
    recordJoin(counters, pair.distance, history);
  }
}

}  // namespace

void tree_kv(std::ostream& log, int matNo, int gap, int* alen, const Matrix<char>& names, const Matrix<float>& fscore,
             FamilyTable& family, Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len, Matrix<long>& path,
             unsigned int fixed, JoinHistory* history, const zemtra::EngineOptions& engine) {
  const unsigned long ns = seqs.rows();
  Counters counters(ns + 1, gap, matNo, &log);
  if (history != nullptr) {
    history->joins.clear();
    history->distances.clear();
    history->families.clear();
  }

  if (fscore.rows() != ns || fscore.cols() != ns) zemtra::debugMessage("Tree_kv: Matrix fscore is wrong size");
  // pro is made with fscore's row count plus one, square by construction.
  const unsigned long proSize = fscore.rows() + 1;
  if (family.rows() != proSize || family.cols() != proSize)
    zemtra::debugMessage("Tree_kv: Matrix family is wrong size");
  for (unsigned long r = 0; r < family.rows(); ++r) std::fill(family[r], family[r] + family.cols(), 0U);

  // Tables too small for ns sequences cannot be clustered without reading
  // outside them; the diagnostics above say why nothing was joined.
  if (ns < 2 || fscore.rows() < ns || fscore.cols() < ns || family.rows() < ns + 1 || family.cols() < ns + 1) return;

  const unsigned long block = std::min<unsigned long>(fixed, ns);
  if (block >= 2) {
    for (unsigned long m = 1; m <= block; ++m) family[0][m - 1] = static_cast<std::uint32_t>(m);
    counters.step = static_cast<int>(block) - 1;
    if (history != nullptr) {
      for (unsigned long m = 1; m < block; ++m) {
        history->joins.emplace_back(0UL, m);
        history->distances.push_back(std::numeric_limits<float>::quiet_NaN());
      }
    }
  }

  int nfam = 0;
  if (!engine.reference && ClusterTracker::applies(fscore, ns))
    clusterIncrementally(log, names, fscore, family, cmp, seqs, len, path, block, nfam, counters, history);
  else
    clusterByRescan(log, names, fscore, family, cmp, seqs, len, path, block, nfam, counters, history);

  // With every sequence prealigned nothing was joined: the block as it came
  // in is the alignment.
  *alen = block == ns ? static_cast<int>(len[0]) : counters.alen;

  writeBranchingOrder(log, names, family, nfam, ns);
  if (history != nullptr) recordFamilies(family, nfam, *history);
}

std::uint64_t treePhaseBytes(unsigned long ns, unsigned long columns, const zemtra::EngineOptions& engine) {
  using KARVO::bytesPlus;
  // The two member lists of Counters, then the engine's cluster distances
  // and its largest group alignment: no row grows past columns - 1.
  std::uint64_t bytes = KARVO::bytesTimes(2 * sizeof(unsigned long), std::uint64_t{ns} + 1);
  const unsigned long longest = columns > 0 ? columns - 1 : 0;
  const std::uint64_t rescan = bytesPlus(Matrix<float>::bytesFor(ns + 1, ns + 1), pairKvBytes(longest, longest));
  if (engine.reference) return bytesPlus(bytes, rescan);
  std::uint64_t fast = bytesPlus(ClusterTracker::bytesFor(ns), zemtra::GroupProfile::bytesFor(longest));
  fast = bytesPlus(fast, zemtra::scalarWorkspaceBytes(longest, longest));
  return bytesPlus(bytes, fast);
}
