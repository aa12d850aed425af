// The part of a run that follows the pairwise tables when there are more
// than two sequences: the guide tree with its progressive merges, the
// measurements of the finished alignment and their statistics.
#pragma once

#include <cstdint>
#include <ostream>

#include "core/matrix.h"
#include "pairwise/engine_options.h"
#include "plugin/zemtra_types.h"
#include "tree/cluster_steps.h"

// The working storage of one run. The comparison matrix, the path and the
// NAS table live as long as the run; the other tables are made by the phase
// that needs them and released when it ends, and stay empty otherwise.
struct RunStorage {
  // identities: whether the pairwise phase keeps its percent identities
  // (for the log or the host); without them pid stays empty.
  RunStorage(unsigned long sequenceCount, unsigned long width, bool identities = true);

  // Bytes the constructor allocates.
  static std::uint64_t bytesFor(unsigned long sequenceCount, unsigned long width, bool identities);
  // Bytes of the tables the final measures fill (see makeFinalTables), beside
  // fscore.
  static std::uint64_t finalTablesBytes(unsigned long sequenceCount);

  // pid, dif, sco and alilen at ns x ns, for the final measures.
  void makeFinalTables();
  void releaseFinalTables();

  unsigned long ns;
  KARVO::Matrix<int> cmp;       // width x width
  KARVO::Matrix<long> path;     // 2 x width
  KARVO::Matrix<float> fscore;  // ns x ns: pairwise NAS, the tree's distances, the final NAS
  KARVO::Matrix<float> pid;     // ns x ns: pairwise, later final, identities
  FamilyTable family;           // (ns + 1) x (ns + 1) in the tree phase and the final tables
  KARVO::Matrix<int> alilen;    // ns x ns, the final measures
  KARVO::Matrix<float> sco;
  KARVO::Matrix<float> dif;
  int alen = 0;  // columns of the last alignment path
};

// The caller's sequences and the run parameters.
struct RunInput {
  unsigned long* len;
  unsigned long* nres;
  const KARVO::Matrix<char>& names;
  KARVO::Matrix<char>& seqs;
  unsigned int fixed;
  int matNo;
  int gap;
};

// Progress display of the run and the steps counted so far.
struct RunProgress {
  RunInteraction& interaction;
  int step;
  int totalSteps;
};

// The tree phase takes distances up to kJoinedThreshold only: an off-diagonal
// distance that is not a number or kJoinedMark or more (an identity or NAS of
// 0, a negative NAS) becomes kJoinedThreshold, the most distant a pair can be.
void capDistances(KARVO::Matrix<float>& distances);

// The pairwise NAS (diagonal 100) turned in place into the distances the tree
// phase clusters: -100 ln(NAS/100), capped as above.
void treeDistances(KARVO::Matrix<float>& nas);

// Measures every pair in columns 1 .. storage.alen of the finished alignment
// into pid, dif, alilen, sco and fscore; returns the sum of the scores of all
// pairs j < k.
float measureFinalAlignment(const RunInput& input, RunStorage& storage);

// The same measurements, every pair in one pass over its two rows, spread
// over the given number of threads; the tables and the sum are the same bit
// for bit.
float measureFinalAlignmentFast(const RunInput& input, RunStorage& storage, unsigned threads);

// fscore holds the tree distances of the pairwise NAS on entry (see
// treeDistances). Builds the
// multiple alignment in input.seqs and input.len, appends the tree phase and,
// when statistics is set, the final measures' statistics to log, and ends the
// progress display. The measures are made for the log alone: without it they
// are skipped. history, when not null, receives the joins of the tree phase;
// timings.tree the phase's seconds.
void multipleAlignmentPhase(std::ostream& log, const RunInput& input, RunStorage& storage, RunProgress& progress,
                            JoinHistory* history, const zemtra::EngineOptions& engine, bool statistics,
                            RunTimings& timings);

// Bytes multipleAlignmentPhase allocates at most beside the storage it is
// given, for ns sequences in a working alignment of columns columns.
std::uint64_t multipleAlignmentPhaseBytes(unsigned long ns, unsigned long columns, const zemtra::EngineOptions& engine,
                                          bool statistics);
