// The join routines of the tree phase: each join aligns two groups (two
// sequences, a family and a sequence, or two families), writes its lines of
// the run log and records the grown family in the family table. How the
// groups are compared and aligned is the engine's part (JoinEngine); the
// family table, the Counters record, the log text and the merge are the same
// for every engine.
#pragma once

#include <ostream>

#include "core/matrix.h"
#include "pairwise/fast_dp.h"
#include "pairwise/group_profile.h"
#include "tree/cluster_steps.h"

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
  virtual void compare(Counters& counters, KARVO::Matrix<int>& cmp, const KARVO::Matrix<char>& seqs,
                       const unsigned long* len) = 0;

  // pair_kv on the comparison matrix summed over pairs member pairs.
  virtual int align(Counters& counters, int pairs, const KARVO::Matrix<int>& cmp, KARVO::Matrix<long>& path) = 0;

  // The first members entries of family row `row` now form one cluster.
  virtual void joined(const FamilyTable& family, unsigned long row, unsigned long members) = 0;
};

// The straightforward engine: one comp_kv call per member pair, pair_kv,
// and the joined marks in the cluster distance matrix.
class ReferenceEngine : public JoinEngine {
 public:
  explicit ReferenceEngine(KARVO::Matrix<float>& pro) : pro_(pro) {}
  void compare(Counters& counters, KARVO::Matrix<int>& cmp, const KARVO::Matrix<char>& seqs,
               const unsigned long* len) override;
  int align(Counters& counters, int pairs, const KARVO::Matrix<int>& cmp, KARVO::Matrix<long>& path) override;
  void joined(const FamilyTable& family, unsigned long row, unsigned long members) override;

 private:
  KARVO::Matrix<float>& pro_;
};

// Group comparison from residue counts and the dynamic programming in
// storage kept from one join to the next; the cluster tracker follows the
// joins through ClusterTracker::rowGrew instead of joined marks.
class FastEngine : public JoinEngine {
 public:
  void compare(Counters& counters, KARVO::Matrix<int>& cmp, const KARVO::Matrix<char>& seqs,
               const unsigned long* len) override;
  int align(Counters& counters, int pairs, const KARVO::Matrix<int>& cmp, KARVO::Matrix<long>& path) override;
  void joined(const FamilyTable&, unsigned long, unsigned long) override {}

 private:
  zemtra::GroupProfile profile_;
  zemtra::DpWorkspace workspace_;
};

// The join routines with the engine given.
void FamFind(JoinEngine& engine, int& nfam, unsigned long First, unsigned long Other, FamilyTable& family,
             KARVO::Matrix<int>& cmp, KARVO::Matrix<char>& seqs, unsigned long* len, const KARVO::Matrix<char>& names,
             KARVO::Matrix<long>& path, Counters& counters);
void AlignPair(JoinEngine& engine, unsigned long First, unsigned long Other, const KARVO::Matrix<char>& names,
               FamilyTable& family, Counters& counters, KARVO::Matrix<int>& cmp, KARVO::Matrix<char>& seqs,
               unsigned long* len, KARVO::Matrix<long>& path, int& nfam);
void AddToFamily(JoinEngine& engine, unsigned long sequence, unsigned long familyOther, FamilyTable& family,
                 KARVO::Matrix<int>& cmp, KARVO::Matrix<char>& seqs, unsigned long* len,
                 const KARVO::Matrix<char>& names, KARVO::Matrix<long>& path, Counters& counters);
void AlignFamilies(JoinEngine& engine, unsigned long familyFirst, unsigned long familyOther, FamilyTable& family,
                   KARVO::Matrix<int>& cmp, KARVO::Matrix<char>& seqs, unsigned long* len,
                   const KARVO::Matrix<char>& names, KARVO::Matrix<long>& path, Counters& counters);

// The join routines on the reference engine, whose joined marks go into pro.
// The tree phase itself passes its engine to the same routines.
void FamFind(int& nfam, unsigned long First, unsigned long Other, FamilyTable& family, KARVO::Matrix<int>& cmp,
             KARVO::Matrix<char>& seqs, unsigned long* len, const KARVO::Matrix<char>& names, KARVO::Matrix<long>& path,
             KARVO::Matrix<float>& pro, Counters& counters);

void AlignPair(unsigned long First, unsigned long Other, const KARVO::Matrix<char>& names, FamilyTable& family,
               KARVO::Matrix<float>& pro, Counters& counters, KARVO::Matrix<int>& cmp, KARVO::Matrix<char>& seqs,
               unsigned long* len, KARVO::Matrix<long>& path, int& nfam);

void AddToFamily(unsigned long sequence, unsigned long familyOther, FamilyTable& family, KARVO::Matrix<int>& cmp,
                 KARVO::Matrix<char>& seqs, unsigned long* len, const KARVO::Matrix<char>& names,
                 KARVO::Matrix<long>& path, KARVO::Matrix<float>& pro, Counters& counters);

void AlignFamilies(unsigned long familyFirst, unsigned long familyOther, FamilyTable& family, KARVO::Matrix<int>& cmp,
                   KARVO::Matrix<char>& seqs, unsigned long* len, const KARVO::Matrix<char>& names,
                   KARVO::Matrix<long>& path, KARVO::Matrix<float>& pro, Counters& counters);
