#include "tree/join_routines.h"

#include <algorithm>
#include <cstdint>

#include "core/diagnostics.h"
#include "pairwise/comp_kv.h"
#include "pairwise/pair_kv.h"
#include "tree/cluster_steps.h"

using KARVO::Matrix;

// The join routines report their failed checks as part of the tree phase.
#define JOIN_ASSERT(expr) ZEMTRA_ASSERT_IN("tree_kv.cpp", expr)

namespace {

const char* const kJoinRule = "___________________________________________________________________________";

void writeJoinHead(std::ostream& log) { log << "\n" << kJoinRule << "\n\n"; }

// The names of a group, in group order, separated by single blanks.
void writeGroupNames(std::ostream& log, const Matrix<char>& names, const Array<unsigned long>& group, int count) {
  for (int i = 0; i < count; ++i) {
    if (i > 0) log << " ";
    log << names[group.data[i]];
  }
}

// The log lines of a join that involves a family: both groups, one line each.
void writeGroupJoin(std::ostream& log, const Matrix<char>& names, const Counters& counters) {
  writeJoinHead(log);
  log << "Cluster: [";
  writeGroupNames(log, names, counters.groupJ, counters.nJ);
  log << "]\n"
      << "Cluster: [";
  writeGroupNames(log, names, counters.groupK, counters.nK);
  log << "]\n";
}

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
void markFamilyJoined(const FamilyTable& family, unsigned long row, unsigned long members, Matrix<float>& pro) {
  for (unsigned long p = 0; p < members; ++p) {
    for (unsigned long q = 0; q < members; ++q) {
      if (p == q) continue;
      pro[family[row][p]][family[row][q]] = kJoinedMark;
    }
  }
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

void ReferenceEngine::compare(Counters& counters, Matrix<int>& cmp, const Matrix<char>& seqs,
                              const unsigned long* len) {
  bool first = true;
  for (int a = 0; a < counters.nJ; ++a) {
    for (int b = 0; b < counters.nK; ++b) {
      comp_kv(counters.groupJ.data[a], counters.groupK.data[b], counters.matNo, &counters.lenJ, &counters.lenK, cmp,
              seqs, len, first);
    }
  }
}

int ReferenceEngine::align(Counters& counters, int pairs, const Matrix<int>& cmp, Matrix<long>& path) {
  return pair_kv(counters.lenJ, counters.lenK, counters.gap, &counters.alen, pairs, cmp, path);
}

void ReferenceEngine::joined(const FamilyTable& family, unsigned long row, unsigned long members) {
  markFamilyJoined(family, row, members, pro_);
}

void FastEngine::compare(Counters& counters, Matrix<int>& cmp, const Matrix<char>& seqs, const unsigned long* len) {
  const zemtra::GroupComparison groups{
      seqs, len, counters.groupJ.data, counters.nJ, counters.groupK.data, counters.nK, counters.matNo};
  profile_.compare(groups, cmp, &counters.lenJ, &counters.lenK);
}

int FastEngine::align(Counters& counters, int pairs, const Matrix<int>& cmp, Matrix<long>& path) {
  return zemtra::pairFast(counters.lenJ, counters.lenK, counters.gap, &counters.alen, pairs, cmp, path, workspace_);
}

void FamFind(JoinEngine& engine, int& nfam, unsigned long First, unsigned long Other, FamilyTable& family,
             Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len, const Matrix<char>& names, Matrix<long>& path,
             Counters& counters) {
  JOIN_ASSERT(First != Other);

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
    JOIN_ASSERT(First < Other);
    AlignPair(engine, First, Other, names, family, counters, cmp, seqs, len, path, nfam);
  } else if (singleFirst) {
    AddToFamily(engine, First, familyOther, family, cmp, seqs, len, names, path, counters);
  } else if (singleOther) {
    JOIN_ASSERT(! singleFirst);
    AddToFamily(engine, Other, familyFirst, family, cmp, seqs, len, names, path, counters);
  } else {
    JOIN_ASSERT(( singleFirst || singleOther ) || ( familyFirst != familyOther ));
    JOIN_ASSERT(! singleFirst && ! singleOther);
    JOIN_ASSERT(familyFirst != familyOther);
    AlignFamilies(engine, std::min(familyFirst, familyOther), std::max(familyFirst, familyOther), family, cmp, seqs,
                  len, names, path, counters);
  }
  // clang-format on
}

void AlignPair(JoinEngine& engine, unsigned long First, unsigned long Other, const Matrix<char>& names,
               FamilyTable& family, Counters& counters, Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len,
               Matrix<long>& path, int& nfam) {
  const unsigned long k = static_cast<unsigned long>(nfam);
  nfam = nfam + 1;
  family[k][0] = static_cast<std::uint32_t>(First);
  family[k][1] = static_cast<std::uint32_t>(Other);

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

void AddToFamily(JoinEngine& engine, unsigned long sequence, unsigned long familyOther, FamilyTable& family,
                 Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len, const Matrix<char>& names,
                 Matrix<long>& path, Counters& counters) {
  const unsigned long ns = seqs.rows();
  const unsigned long vacant = familySize(family, familyOther, ns);
  // clang-format off
  JOIN_ASSERT(0 < vacant);
  JOIN_ASSERT(vacant <= ns);
  JOIN_ASSERT(0 == family[ familyOther ][vacant]);
  // clang-format on

  counters.nJ = static_cast<int>(vacant);
  for (unsigned long p = 0; p < vacant; ++p) counters.groupJ.data[p] = family[familyOther][p] - 1;
  counters.nK = 1;
  counters.groupK.data[0] = sequence - 1;

  family[familyOther][vacant] = static_cast<std::uint32_t>(sequence);
  // clang-format off
  JOIN_ASSERT(0 == family[ familyOther ][vacant+1]);
  // clang-format on

  engine.compare(counters, cmp, seqs, len);

  writeGroupJoin(*counters.log, names, counters);

  alignGroups(counters.nJ, cmp, seqs, len, path, counters, engine);

  engine.joined(family, familyOther, vacant + 1);
}

void AlignFamilies(JoinEngine& engine, unsigned long familyFirst, unsigned long familyOther, FamilyTable& family,
                   Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len, const Matrix<char>& names,
                   Matrix<long>& path, Counters& counters) {
  const unsigned long ns = seqs.rows();
  unsigned long vacant = familySize(family, familyFirst, ns);
  // clang-format off
  JOIN_ASSERT(0 < vacant);
  JOIN_ASSERT(vacant <= ns);
  JOIN_ASSERT(0 == family[ familyFirst ][vacant]);
  // clang-format on

  const unsigned long membersJ = vacant;
  const unsigned long membersK = familySize(family, familyOther, ns);
  counters.nJ = static_cast<int>(membersJ);
  for (unsigned long p = 0; p < membersJ; ++p) counters.groupJ.data[p] = family[familyFirst][p] - 1;
  counters.nK = static_cast<int>(membersK);
  for (unsigned long p = 0; p < membersK; ++p) counters.groupK.data[p] = family[familyOther][p] - 1;

  for (unsigned long p = 0; p < membersK; ++p) family[familyFirst][vacant++] = family[familyOther][p];
  // clang-format off
  JOIN_ASSERT(0 == family[ familyFirst ][vacant]);
  // clang-format on

  engine.compare(counters, cmp, seqs, len);

  writeGroupJoin(*counters.log, names, counters);

  alignGroups(counters.nK * counters.nJ, cmp, seqs, len, path, counters, engine);

  engine.joined(family, familyFirst, vacant);
}

void FamFind(int& nfam, unsigned long First, unsigned long Other, FamilyTable& family, Matrix<int>& cmp,
             Matrix<char>& seqs, unsigned long* len, const Matrix<char>& names, Matrix<long>& path, Matrix<float>& pro,
             Counters& counters) {
  ReferenceEngine engine(pro);
  FamFind(engine, nfam, First, Other, family, cmp, seqs, len, names, path, counters);
}

void AlignPair(unsigned long First, unsigned long Other, const Matrix<char>& names, FamilyTable& family,
               Matrix<float>& pro, Counters& counters, Matrix<int>& cmp, Matrix<char>& seqs, unsigned long* len,
               Matrix<long>& path, int& nfam) {
  ReferenceEngine engine(pro);
  AlignPair(engine, First, Other, names, family, counters, cmp, seqs, len, path, nfam);
}

void AddToFamily(unsigned long sequence, unsigned long familyOther, FamilyTable& family, Matrix<int>& cmp,
                 Matrix<char>& seqs, unsigned long* len, const Matrix<char>& names, Matrix<long>& path,
                 Matrix<float>& pro, Counters& counters) {
  ReferenceEngine engine(pro);
  AddToFamily(engine, sequence, familyOther, family, cmp, seqs, len, names, path, counters);
}

void AlignFamilies(unsigned long familyFirst, unsigned long familyOther, FamilyTable& family, Matrix<int>& cmp,
                   Matrix<char>& seqs, unsigned long* len, const Matrix<char>& names, Matrix<long>& path,
                   Matrix<float>& pro, Counters& counters) {
  ReferenceEngine engine(pro);
  AlignFamilies(engine, familyFirst, familyOther, family, cmp, seqs, len, names, path, counters);
}
