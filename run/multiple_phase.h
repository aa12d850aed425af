// The part of a run that follows the pairwise tables when there are more
// than two sequences: the guide tree with its progressive merges, the
// measurements of the finished alignment and their statistics.
#pragma once

#include <cstdint>
#include <ostream>

#include "core/matrix.h"
#include "pairwise/engine_options.h"
#include "plugin/zemtra_types.h"

// The working storage of one run, allocated once at its largest size and
// reused by every alignment of the run.
struct RunStorage {
  RunStorage(unsigned long sequenceCount, unsigned long width);

  // Bytes the constructor allocates.
  static std::uint64_t bytesFor(unsigned long sequenceCount, unsigned long width);

  KARVO::Matrix<int> cmp;               // width x width
  KARVO::Matrix<int> alilen;            // ns x ns
  KARVO::Matrix<long> path;             // 2 x width
  KARVO::Matrix<unsigned long> family;  // (ns + 1) x (ns + 1)
  KARVO::Matrix<float> sco;             // ns x ns, the other tables as well
  KARVO::Matrix<float> fscore;
  KARVO::Matrix<float> pid;
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

// fscore holds the pairwise NAS with a diagonal of 100 on entry. Builds the
// multiple alignment in input.seqs and input.len, appends the tree phase and
// the statistics to log and ends the progress display. history, when not
// null, receives the joins of the tree phase.
void multipleAlignmentPhase(std::ostream& log, const RunInput& input, RunStorage& storage, RunProgress& progress,
                            JoinHistory* history, const zemtra::EngineOptions& engine);
