#include "tree/tree_kv.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "core/diagnostics.h"
#include "pairwise/comp_kv.h"
#include "pairwise/fast_dp.h"
#include "pairwise/group_profile.h"
#include "pairwise/pair_kv.h"
#include "tree/cluster_steps.h"
#include "tree/cluster_tracker.h"

using KARVO::Matrix;

namespace {

constexpr unsigned long kNotFound = ~0UL;

const char* const kStarLine = "\n**************************************************************************";
const char* const kBannerLine = "\n****** Starting multiple alignment following tree construction ... *******";
const char* const kJoinRule = "___________________________________________________________________________";

// Number of members of a family row: the cells before its terminating 0, at
// most limit.
unsigned long rowLength(const Matrix<unsigned long>& family, unsigned long row, unsigned long limit) {
  unsigned long n = 0;
  while (n < limit && n < family.cols() && family[row][n] != 0) ++n;
  return n;
}

// The live family of a sequence: the lowest row that holds it, or kNotFound.
unsigned long liveFamily(const Matrix<unsigned long>& family, unsigned long sequence) {
  for (unsigned long row = 0; row < family.rows() && family[row][0] != 0; ++row) {
    for (unsigned long col = 0; col < family.cols() && family[row][col] != 0; ++col) {
      if (family[row][col] == sequence) return row;
    }
  }
  return kNotFound;
}

void writeJoinHead(std::ostream& log) { log << "\n" << kJoinRule << "\n\n"; }

// The names of a group, in group order, separated by single blanks.
void writeGroupNames(std::ostream& log, const Matrix<char>& names, const Array<unsigned long>& group, int count) {
  for (int i = 0; i < count; ++i) {
    if (i > 0) log << " ";
    log << names[group.data[i]];
  }
}

// How a join builds its comparison matrix and aligns its two groups, passed
// down to every join routine: the engine choice together with what it keeps
// from one join to the next (the cluster distance matrix of the reference,
// the workspace and the group profile of the fast engine). The family table,
// the Counters record, the log text and the merge are the same for every
// engine; engines differ only in how they compute the same matrix and the
// same alignment.
class JoinEngine {
 public:
  virtual ~JoinEngine() = default;

  // Leaves cmp, counters.lenJ and counters.lenK as the comp_kv series over
  // every (member of group J, member of group K), J outer, leaves them.
  virtual void compare(Counters& counters, Matrix<int>& cmp, const Matrix<char>& seqs, const unsigned long* len) = 0;

  // pair_kv on the comparison matrix summed over pairs member pairs.
  virtual int align(Counters& counters, int pairs, const Matrix<int>& cmp, Matrix<long>& path) = 0;

  // The first members entries of family row `row` now form one cluster.
  virtual void joined(const Matrix<unsigned long>& family, unsigned long row, unsigned long members) = 0;
};

// The steps every join shares once its groups and cmp are ready: align, report
// the score, count the join and rewrite both groups in the working alignment.
void alignGroups(int pairs, Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len, Matrix<long>& path,
                 Counters& counters, JoinEngine& engine) {
  counters.score = engine.align(counters, pairs, cmp, path);
  *counters.log << "\n\n\nSimilarity score: " << counters.score << "\n";
  ++counters.step;
  copy_kv(counters.groupJ.data, counters.nJ, counters.groupK.data, counters.nK, counters.alen, seqs, path, len);
}

// Every pair of different members of a family row gets the joined mark.
void markFamilyJoined(const Matrix<unsigned long>& family, unsigned long row, unsigned long members,
                      Matrix<float>& pro) {
  for (unsigned long p = 0; p < members; ++p) {
    for (unsigned long q = 0; q < members; ++q) {
      if (p == q) continue;
      pro[family[row][p]][family[row][q]] = kJoinedMark;
    }
  }
}

// The straightforward engine: one comp_kv call per member pair, pair_kv,
// and the joined marks in the cluster distance matrix.
class ReferenceEngine : public JoinEngine {
 public:
  explicit ReferenceEngine(Matrix<float>& pro) : pro_(pro) {}

  void compare(Counters& counters, Matrix<int>& cmp, const Matrix<char>& seqs, const unsigned long* len) override {
    bool first = true;
    for (int a = 0; a < counters.nJ; ++a) {
      for (int b = 0; b < counters.nK; ++b) {
        comp_kv(counters.groupJ.data[a], counters.groupK.data[b], counters.matNo, &counters.lenJ, &counters.lenK, cmp,
                seqs, len, first);
      }
    }
  }

  int align(Counters& counters, int pairs, const Matrix<int>& cmp, Matrix<long>& path) override {
    return pair_kv(counters.lenJ, counters.lenK, counters.gap, &counters.alen, pairs, cmp, path);
  }

  void joined(const Matrix<unsigned long>& family, unsigned long row, unsigned long members) override {
    markFamilyJoined(family, row, members, pro_);
  }

 private:
  Matrix<float>& pro_;
};

// Group comparison from residue counts and the dynamic programming in
// storage kept from one join to the next; the cluster tracker follows the
// joins through ClusterTracker::rowGrew instead of joined marks.
class FastEngine : public JoinEngine {
 public:
  void compare(Counters& counters, Matrix<int>& cmp, const Matrix<char>& seqs, const unsigned long* len) override {
    const zemtra::GroupComparison groups{
        seqs, len, counters.groupJ.data, counters.nJ, counters.groupK.data, counters.nK, counters.matNo};
    profile_.compare(groups, cmp, &counters.lenJ, &counters.lenK);
  }

  int align(Counters& counters, int pairs, const Matrix<int>& cmp, Matrix<long>& path) override {
    return zemtra::pairFast(counters.lenJ, counters.lenK, counters.gap, &counters.alen, pairs, cmp, path, workspace_);
  }

  void joined(const Matrix<unsigned long>&, unsigned long, unsigned long) override {}

 private:
  zemtra::GroupProfile profile_;
  zemtra::DpWorkspace workspace_;
};

// The join routines with the engine given; the overloads without one (in
// tree_kv.h) are these with the reference engine.
void FamFind(JoinEngine& engine, int& nfam, unsigned long First, unsigned long Other, Matrix<unsigned long>& family,
             Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len, const Matrix<char>& names, Matrix<long>& path,
             Counters& counters);
void AlignPair(JoinEngine& engine, unsigned long First, unsigned long Other, const Matrix<char>& names,
               Matrix<unsigned long>& family, Counters& counters, Matrix<int>& cmp, Matrix<char>& seqs,
               unsigned long* len, Matrix<long>& path, int& nfam);
void AddToFamily(JoinEngine& engine, unsigned long sequence, unsigned long familyOther, Matrix<unsigned long>& family,
                 Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len, const Matrix<char>& names,
                 Matrix<long>& path, Counters& counters);
void AlignFamilies(JoinEngine& engine, unsigned long familyFirst, unsigned long familyOther,
                   Matrix<unsigned long>& family, Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len,
                   const Matrix<char>& names, Matrix<long>& path, Counters& counters);

// The family rows in use, each up to its terminating 0.
void recordFamilies(const Matrix<unsigned long>& family, int nfam, JoinHistory& history) {
  history.families.clear();
  for (int row = 0; row < nfam; ++row) {
    const unsigned long members = rowLength(family, static_cast<unsigned long>(row), family.cols());
    const unsigned long* cells = family[static_cast<unsigned long>(row)];
    history.families.emplace_back(cells, cells + members);
  }
}

void writeBranchingOrder(std::ostream& log, const Matrix<char>& names, const Matrix<unsigned long>& family, int nfam,
                         unsigned long ns) {
  log << "\n\n\nBranching order: ";
  for (int k = 0; k < nfam; ++k) {
    const unsigned long* row = family[static_cast<unsigned long>(k)];
    if (k > 0) log << "\nSub    Clusters: ";
    log << "[" << names[row[0] - 1] << " " << names[row[1] - 1] << "] ";
    for (unsigned long p = 2; p < family.cols() && row[p] != 0; ++p) {
      log << names[row[p] - 1] << "] ";
      if (ns > 5 && p % 5 == 0) log << "\n                  ";
    }
  }
  log << "\n";
}

}  // namespace

Counters::Counters(unsigned long listSize, int gapPenalty, int matrix, std::ostream* logStream)
    : gap(gapPenalty),
      matNo(matrix),
      nJ(0),
      groupJ(static_cast<std::uint32_t>(listSize)),
      nK(0),
      groupK(static_cast<std::uint32_t>(listSize)),
      lenJ(0),
      lenK(0),
      alen(0),
      score(0),
      step(0),
      log(logStream) {}

void refreshClusterDistances(unsigned long ns, const Matrix<float>& fscore, const Matrix<unsigned long>& family,
                             Matrix<float>& pro) {
  for (unsigned long i = 1; i < ns; ++i) {
    for (unsigned long j = i + 1; j <= ns; ++j) {
      if (pro[i][j] > kJoinedThreshold) continue;

      // Whichever of the two is met first decides the family f; the other
      // one, y, is then looked up on its own.
      unsigned long f = kNotFound;
      unsigned long y = 0;
      for (unsigned long row = 0; f == kNotFound && row < family.rows() && family[row][0] != 0; ++row) {
        for (unsigned long col = 0; col < family.cols() && family[row][col] != 0; ++col) {
          const unsigned long m = family[row][col];
          if (m == i) {
            f = row;
            y = j;
            break;
          }
          if (m == j) {
            f = row;
            y = i;
            break;
          }
        }
      }
      if (f == kNotFound) continue;

      const unsigned long* rowF = family[f];
      const unsigned long membersF = rowLength(family, f, family.cols());
      const unsigned long g = liveFamily(family, y);
      if (g == kNotFound) {
        float sum = 0.0f;
        for (unsigned long b = 0; b < membersF; ++b) sum += fscore[rowF[b] - 1][y - 1];
        const float d = sum / static_cast<float>(membersF);
        pro[i][j] = d;
        pro[j][i] = d;
        continue;
      }

      const unsigned long* rowG = family[g];
      const unsigned long membersG = rowLength(family, g, family.cols());
      float sum = 0.0f;
      unsigned long count = 0;
      for (unsigned long a = 0; a < membersG; ++a) {
        for (unsigned long b = 0; b < membersF; ++b) {
          sum += fscore[rowG[a] - 1][rowF[b] - 1];
          ++count;
        }
      }
      const float d = sum / static_cast<float>(count);
      for (unsigned long a = 0; a < membersG; ++a) {
        for (unsigned long b = 0; b < membersF; ++b) {
          pro[rowG[a]][rowF[b]] = d;
          pro[rowF[b]][rowG[a]] = d;
        }
      }
    }
  }
}

ClosestPair findClosestPair(unsigned long ns, const Matrix<float>& pro) {
  ClosestPair best{1, 2, pro[1][2]};
  for (unsigned long i = 1; i < ns; ++i) {
    for (unsigned long j = i + 1; j <= ns; ++j) {
      if (pro[i][j] < best.distance) best = {i, j, pro[i][j]};
    }
  }
  return best;
}

namespace {

// The joins so far as the history lists them.
void recordJoin(const Counters& counters, float distance, JoinHistory* history) {
  if (history == nullptr) return;
  history->joins.emplace_back(counters.groupJ.data[0], counters.groupK.data[0]);
  history->distances.push_back(distance);
}

// Clustering by the reference's full refresh of pro before every search.
void clusterByRescan(std::ostream& log, const Matrix<char>& names, const Matrix<float>& fscore,
                     Matrix<unsigned long>& family, Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len,
                     Matrix<long>& path, unsigned long block, int& nfam, Counters& counters, JoinHistory* history) {
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
                          Matrix<unsigned long>& family, Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len,
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
    const unsigned long members = lower == ClusterTracker::kSingle ? 0 : rowLength(family, lower, ns);
    FamFind(engine, nfam, pair.first, pair.other, family, cmp, seqs, len, names, path, counters);
    if (lower == ClusterTracker::kSingle)
      tracker.rowGrew(family, rows, 0, 2, ClusterTracker::kSingle);
    else if (higher == ClusterTracker::kSingle)
      tracker.rowGrew(family, lower, members, members + 1, ClusterTracker::kSingle);
    else
      tracker.rowGrew(family, lower, members, members + rowLength(family, higher, ns), higher);
    recordJoin(counters, pair.distance, history);
  }
}

}  // namespace

void tree_kv(std::ostream& log, int matNo, int gap, int* alen, const Matrix<char>& names, const Matrix<float>& fscore,
             Matrix<unsigned long>& family, Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len,
             Matrix<long>& path, unsigned int fixed, JoinHistory* history) {
  tree_kv(log, matNo, gap, alen, names, fscore, family, cmp, seqs, len, path, fixed, history,
          zemtra::defaultEngineOptions());
}

void tree_kv(std::ostream& log, int matNo, int gap, int* alen, const Matrix<char>& names, const Matrix<float>& fscore,
             Matrix<unsigned long>& family, Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len,
             Matrix<long>& path, unsigned int fixed, JoinHistory* history, const zemtra::EngineOptions& engine) {
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
  for (unsigned long r = 0; r < family.rows(); ++r) std::fill(family[r], family[r] + family.cols(), 0UL);

  // Tables too small for ns sequences cannot be clustered without reading
  // outside them; the diagnostics above say why nothing was joined.
  if (ns < 2 || fscore.rows() < ns || fscore.cols() < ns || family.rows() < ns + 1 || family.cols() < ns + 1) return;

  const unsigned long block = std::min<unsigned long>(fixed, ns);
  if (block >= 2) {
    for (unsigned long m = 1; m <= block; ++m) family[0][m - 1] = m;
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

namespace {

void FamFind(JoinEngine& engine, int& nfam, unsigned long First, unsigned long Other, Matrix<unsigned long>& family,
             Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len, const Matrix<char>& names, Matrix<long>& path,
             Counters& counters) {
  ZEMTRA_ASSERT(First != Other);

  bool singleFirst = true;
  bool singleOther = true;
  unsigned long familyFirst = 0;
  unsigned long familyOther = 0;
  for (unsigned long row = 0; (singleFirst || singleOther) && row < family.rows() && family[row][0] != 0; ++row) {
    for (unsigned long col = 0; (singleFirst || singleOther) && col < family.cols() && family[row][col] != 0; ++col) {
      const unsigned long m = family[row][col];
      if (singleFirst && m == First) {
        singleFirst = false;
        familyFirst = row;
      } else if (singleOther && m == Other) {
        singleOther = false;
        familyOther = row;
      }
    }
  }

  // The assertion texts below are reported verbatim, so their spelling is kept
  // as it is.
  // clang-format off
  if (singleFirst && singleOther) {
    ZEMTRA_ASSERT(First < Other);
    AlignPair(engine, First, Other, names, family, counters, cmp, seqs, len, path, nfam);
  } else if (singleFirst) {
    AddToFamily(engine, First, familyOther, family, cmp, seqs, len, names, path, counters);
  } else if (singleOther) {
    ZEMTRA_ASSERT(! singleFirst);
    AddToFamily(engine, Other, familyFirst, family, cmp, seqs, len, names, path, counters);
  } else {
    ZEMTRA_ASSERT(( singleFirst || singleOther ) || ( familyFirst != familyOther ));
    ZEMTRA_ASSERT(! singleFirst && ! singleOther);
    ZEMTRA_ASSERT(familyFirst != familyOther);
    AlignFamilies(engine, std::min(familyFirst, familyOther), std::max(familyFirst, familyOther), family, cmp, seqs,
                  len, names, path, counters);
  }
  // clang-format on
}

void AlignPair(JoinEngine& engine, unsigned long First, unsigned long Other, const Matrix<char>& names,
               Matrix<unsigned long>& family, Counters& counters, Matrix<int>& cmp, Matrix<char>& seqs,
               unsigned long* len, Matrix<long>& path, int& nfam) {
  const unsigned long k = static_cast<unsigned long>(nfam);
  nfam = nfam + 1;
  family[k][0] = First;
  family[k][1] = Other;

  counters.nJ = 1;
  counters.groupJ.data[0] = First - 1;
  counters.nK = 1;
  counters.groupK.data[0] = Other - 1;
  engine.compare(counters, cmp, seqs, len);

  std::ostream& log = *counters.log;
  writeJoinHead(log);
  log << "Cluster: [" << names[First - 1] << " " << names[Other - 1] << "]";

  alignGroups(1, cmp, seqs, len, path, counters, engine);

  engine.joined(family, k, 2);
}

void AddToFamily(JoinEngine& engine, unsigned long sequence, unsigned long familyOther, Matrix<unsigned long>& family,
                 Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len, const Matrix<char>& names,
                 Matrix<long>& path, Counters& counters) {
  const unsigned long ns = seqs.rows();
  const unsigned long vacant = rowLength(family, familyOther, ns);
  // clang-format off
  ZEMTRA_ASSERT(0 < vacant);
  ZEMTRA_ASSERT(vacant <= ns);
  ZEMTRA_ASSERT(0 == family[ familyOther ][vacant]);
  // clang-format on

  counters.nJ = static_cast<int>(vacant);
  for (unsigned long p = 0; p < vacant; ++p) counters.groupJ.data[p] = family[familyOther][p] - 1;
  counters.nK = 1;
  counters.groupK.data[0] = sequence - 1;

  family[familyOther][vacant] = sequence;
  // clang-format off
  ZEMTRA_ASSERT(0 == family[ familyOther ][vacant+1]);
  // clang-format on

  engine.compare(counters, cmp, seqs, len);

  std::ostream& log = *counters.log;
  writeJoinHead(log);
  log << "Cluster: [";
  writeGroupNames(log, names, counters.groupJ, counters.nJ);
  log << "]\n"
      << "Cluster: [" << names[sequence - 1] << "]\n";

  alignGroups(counters.nJ, cmp, seqs, len, path, counters, engine);

  engine.joined(family, familyOther, vacant + 1);
}

void AlignFamilies(JoinEngine& engine, unsigned long familyFirst, unsigned long familyOther,
                   Matrix<unsigned long>& family, Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len,
                   const Matrix<char>& names, Matrix<long>& path, Counters& counters) {
  const unsigned long ns = seqs.rows();
  unsigned long vacant = rowLength(family, familyFirst, ns);
  // clang-format off
  ZEMTRA_ASSERT(0 < vacant);
  ZEMTRA_ASSERT(vacant <= ns);
  ZEMTRA_ASSERT(0 == family[ familyFirst ][vacant]);
  // clang-format on

  const unsigned long membersJ = vacant;
  const unsigned long membersK = rowLength(family, familyOther, ns);
  counters.nJ = static_cast<int>(membersJ);
  for (unsigned long p = 0; p < membersJ; ++p) counters.groupJ.data[p] = family[familyFirst][p] - 1;
  counters.nK = static_cast<int>(membersK);
  for (unsigned long p = 0; p < membersK; ++p) counters.groupK.data[p] = family[familyOther][p] - 1;

  for (unsigned long p = 0; p < membersK; ++p) family[familyFirst][vacant++] = family[familyOther][p];
  // clang-format off
  ZEMTRA_ASSERT(0 == family[ familyFirst ][vacant]);
  // clang-format on

  engine.compare(counters, cmp, seqs, len);

  std::ostream& log = *counters.log;
  writeJoinHead(log);
  log << "Cluster: [";
  writeGroupNames(log, names, counters.groupJ, counters.nJ);
  log << "]\n"
      << "Cluster: [";
  writeGroupNames(log, names, counters.groupK, counters.nK);
  log << "]\n";

  alignGroups(counters.nK * counters.nJ, cmp, seqs, len, path, counters, engine);

  engine.joined(family, familyFirst, vacant);
}

}  // namespace

void FamFind(int& nfam, unsigned long First, unsigned long Other, Matrix<unsigned long>& family, Matrix<int>& cmp,
             Matrix<char>& seqs, unsigned long* len, const Matrix<char>& names, Matrix<long>& path, Matrix<float>& pro,
             Counters& counters) {
  ReferenceEngine engine(pro);
  FamFind(engine, nfam, First, Other, family, cmp, seqs, len, names, path, counters);
}

void AlignPair(unsigned long First, unsigned long Other, const Matrix<char>& names, Matrix<unsigned long>& family,
               Matrix<float>& pro, Counters& counters, Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len,
               Matrix<long>& path, int& nfam) {
  ReferenceEngine engine(pro);
  AlignPair(engine, First, Other, names, family, counters, cmp, seqs, len, path, nfam);
}

void AddToFamily(unsigned long sequence, unsigned long familyOther, Matrix<unsigned long>& family, Matrix<int>& cmp,
                 Matrix<char>& seqs, unsigned long* len, const Matrix<char>& names, Matrix<long>& path,
                 Matrix<float>& pro, Counters& counters) {
  ReferenceEngine engine(pro);
  AddToFamily(engine, sequence, familyOther, family, cmp, seqs, len, names, path, counters);
}

void AlignFamilies(unsigned long familyFirst, unsigned long familyOther, Matrix<unsigned long>& family,
                   Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len, const Matrix<char>& names,
                   Matrix<long>& path, Matrix<float>& pro, Counters& counters) {
  ReferenceEngine engine(pro);
  AlignFamilies(engine, familyFirst, familyOther, family, cmp, seqs, len, names, path, counters);
}
