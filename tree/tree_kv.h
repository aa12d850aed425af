// Average-linkage cluster tree interleaved with the progressive alignment of
// the joined groups.
#pragma once

#include <cstdint>
#include <ostream>

#include "core/matrix.h"
#include "pairwise/engine_options.h"
#include "tree/join_history.h"

// Join state that travels through one tree phase.
struct Counters {
  explicit Counters(unsigned long listSize, int gapPenalty, int matrix, std::ostream* logStream);

  int gap;
  int matNo;
  int nJ;
  Array<unsigned long> groupJ;
  int nK;
  Array<unsigned long> groupK;
  unsigned long lenJ;
  unsigned long lenK;
  int alen;
  int score;
  int step;
  std::ostream* log;
};

// The tree phase: the guide tree with its progressive merges, recording the
// joins and the family table into history when it is not null (the log and
// every result are the same either way).
void tree_kv(std::ostream& log, int matNo, int gap, int* alen, const KARVO::Matrix<char>& names,
             const KARVO::Matrix<float>& fscore, KARVO::Matrix<unsigned long>& family, KARVO::Matrix<int>& cmp,
             KARVO::Matrix<char>& seqs, unsigned long* len, KARVO::Matrix<long>& path, unsigned int fixed,
             JoinHistory* history);

// The same with the implementation chosen by the caller instead of the
// environment; both give the same bytes.
void tree_kv(std::ostream& log, int matNo, int gap, int* alen, const KARVO::Matrix<char>& names,
             const KARVO::Matrix<float>& fscore, KARVO::Matrix<unsigned long>& family, KARVO::Matrix<int>& cmp,
             KARVO::Matrix<char>& seqs, unsigned long* len, KARVO::Matrix<long>& path, unsigned int fixed,
             JoinHistory* history, const zemtra::EngineOptions& engine);

// Bytes tree_kv allocates at most for ns sequences in a working alignment of
// columns columns (seqs.cols()), with that engine, for distances that
// ClusterTracker::applies to (as a run's capped ones are).
std::uint64_t treePhaseBytes(unsigned long ns, unsigned long columns, const zemtra::EngineOptions& engine);

// The join routines on the reference engine, whose joined marks go into pro.
// The tree phase itself passes its engine to the same routines.
void FamFind(int& nfam, unsigned long First, unsigned long Other, KARVO::Matrix<unsigned long>& family,
             KARVO::Matrix<int>& cmp, KARVO::Matrix<char>& seqs, unsigned long* len, const KARVO::Matrix<char>& names,
             KARVO::Matrix<long>& path, KARVO::Matrix<float>& pro, Counters& counters);

void AlignPair(unsigned long First, unsigned long Other, const KARVO::Matrix<char>& names,
               KARVO::Matrix<unsigned long>& family, KARVO::Matrix<float>& pro, Counters& counters,
               KARVO::Matrix<int>& cmp, KARVO::Matrix<char>& seqs, unsigned long* len, KARVO::Matrix<long>& path,
               int& nfam);

void AddToFamily(unsigned long sequence, unsigned long familyOther, KARVO::Matrix<unsigned long>& family,
                 KARVO::Matrix<int>& cmp, KARVO::Matrix<char>& seqs, unsigned long* len,
                 const KARVO::Matrix<char>& names, KARVO::Matrix<long>& path, KARVO::Matrix<float>& pro,
                 Counters& counters);

void AlignFamilies(unsigned long familyFirst, unsigned long familyOther, KARVO::Matrix<unsigned long>& family,
                   KARVO::Matrix<int>& cmp, KARVO::Matrix<char>& seqs, unsigned long* len,
                   const KARVO::Matrix<char>& names, KARVO::Matrix<long>& path, KARVO::Matrix<float>& pro,
                   Counters& counters);
