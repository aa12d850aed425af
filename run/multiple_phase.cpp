#include "run/multiple_phase.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <vector>

#include "pairwise/fast_measures.h"
#include "pairwise/measures.h"
#include "run/parallel_rows.h"
#include "run/report.h"
#include "tree/cluster_steps.h"
#include "tree/tree_kv.h"

using KARVO::Matrix;

RunStorage::RunStorage(unsigned long sequenceCount, unsigned long width, bool identities)
    : ns(sequenceCount),
      cmp(width, width),
      path(2, width),
      fscore(sequenceCount, sequenceCount),
      pid(identities ? sequenceCount : 0, sequenceCount) {}

std::uint64_t RunStorage::bytesFor(unsigned long sequenceCount, unsigned long width, bool identities) {
  // The tables of the constructor above, in its order.
  using KARVO::bytesPlus;
  const unsigned long ns = sequenceCount;
  std::uint64_t bytes = Matrix<int>::bytesFor(width, width);
  bytes = bytesPlus(bytes, Matrix<long>::bytesFor(2, width));
  bytes = bytesPlus(bytes, Matrix<float>::bytesFor(ns, ns));
  return bytesPlus(bytes, identities ? Matrix<float>::bytesFor(ns, ns) : 0);
}

std::uint64_t RunStorage::finalTablesBytes(unsigned long sequenceCount) {
  const unsigned long ns = sequenceCount;
  return KARVO::bytesPlus(Matrix<int>::bytesFor(ns, ns), KARVO::bytesTimes(3, Matrix<float>::bytesFor(ns, ns)));
}

void RunStorage::makeFinalTables() {
  pid = Matrix<float>(ns, ns);
  dif = Matrix<float>(ns, ns);
  sco = Matrix<float>(ns, ns);
  alilen = Matrix<int>(ns, ns);
}

void RunStorage::releaseFinalTables() {
  pid = Matrix<float>();
  dif = Matrix<float>();
  sco = Matrix<float>();
  alilen = Matrix<int>();
}

void capDistances(Matrix<float>& distances) {
  for (unsigned long r = 0; r < distances.rows(); ++r) {
    for (unsigned long c = 0; c < distances.cols(); ++c) {
      float& d = distances[r][c];
      if (r != c && (std::isnan(d) || d >= kJoinedMark)) d = kJoinedThreshold;
    }
  }
}

void treeDistances(Matrix<float>& nas) {
  dist_kv(nas);
  capDistances(nas);
}

float measureFinalAlignment(const RunInput& input, RunStorage& storage) {
  const unsigned long ns = input.seqs.rows();
  const int alen = storage.alen;
  for (unsigned long j = 0; j < ns; ++j) {
    for (unsigned long k = j + 1; k < ns; ++k) {
      storage.pid[j][k] = storage.pid[k][j] = pidf_kv(j, k, alen, input.seqs, input.nres);
    }
  }
  for (unsigned long j = 0; j < ns; ++j) {
    for (unsigned long k = j + 1; k < ns; ++k) {
      storage.dif[j][k] = storage.dif[k][j] = pdif_kv(j, k, alen, input.seqs, storage.alilen);
    }
  }
  float total = 0.0f;
  for (unsigned long j = 0; j < ns; ++j) {
    for (unsigned long k = j; k < ns; ++k) {
      const int score = score_kv(j, k, alen, input.matNo, input.gap, 0, input.seqs, storage.path);
      storage.sco[j][k] = storage.sco[k][j] = static_cast<float>(score);
      if (j != k) total += storage.sco[j][k];
      storage.fscore[j][k] = storage.fscore[k][j] =
          norm_kv(j, k, alen, score, input.matNo, 0, input.seqs, storage.path);
    }
  }
  for (unsigned long d = 0; d < ns; ++d) {
    storage.pid[d][d] = 100.0f;
    storage.dif[d][d] = 0.0f;
    storage.fscore[d][d] = 100.0f;
  }
  return total;
}

float measureFinalAlignmentFast(const RunInput& input, RunStorage& storage, unsigned threads) {
  const unsigned long ns = input.seqs.rows();
  const int alen = storage.alen;
  const zemtra::ScoreLookup scores(input.matNo);
  std::vector<int> self(ns);
  for (unsigned long r = 0; r < ns; ++r) self[r] = zemtra::columnSelfScore(input.seqs[r], alen, scores);

  forEachRow(ns, threads, [&](unsigned long j) {
    const char* rowJ = input.seqs[j];
    // A row against itself: every column with a residue is a pair of
    // identical residues, so the score is the row's self score.
    storage.sco[j][j] = static_cast<float>(self[j]);
    for (unsigned long k = j + 1; k < ns; ++k) {
      const zemtra::ColumnMeasures m = zemtra::measureColumns(rowJ, input.seqs[k], alen, scores, input.gap);
      storage.pid[j][k] = storage.pid[k][j] = zemtra::percentOfShorter(m.identities, input.nres[j], input.nres[k]);
      storage.dif[j][k] = storage.dif[k][j] = static_cast<float>(m.differences);
      storage.alilen[j][k] = storage.alilen[k][j] = m.counted;
      storage.sco[j][k] = storage.sco[k][j] = static_cast<float>(m.score);
      storage.fscore[j][k] = storage.fscore[k][j] = zemtra::normalisedScore(m.score, self[j], self[k]);
    }
  });

  // Summed afterwards in the reference's order.
  float total = 0.0f;
  for (unsigned long j = 0; j < ns; ++j)
    for (unsigned long k = j + 1; k < ns; ++k) total += storage.sco[j][k];
  for (unsigned long d = 0; d < ns; ++d) {
    storage.pid[d][d] = 100.0f;
    storage.dif[d][d] = 0.0f;
    storage.fscore[d][d] = 100.0f;
  }
  return total;
}

void multipleAlignmentPhase(std::ostream& log, const RunInput& input, RunStorage& storage, RunProgress& progress,
                            JoinHistory* history, const zemtra::EngineOptions& engine, bool statistics,
                            RunTimings& timings) {
  const auto started = std::chrono::steady_clock::now();
  storage.family = FamilyTable(storage.ns + 1, storage.ns + 1);
  tree_kv(log, input.matNo, input.gap, &storage.alen, input.names, storage.fscore, storage.family, storage.cmp,
          input.seqs, input.len, storage.path, input.fixed, history, engine);
  timings.tree = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  progress.interaction.progressSet(progress.step);
  progress.interaction.processEvents();

  if (statistics) {
    storage.makeFinalTables();
    const float total = engine.reference ? measureFinalAlignment(input, storage)
                                         : measureFinalAlignmentFast(input, storage, zemtra::threadCount(engine));
    printStats(log, input.names, storage.family, storage.pid, storage.dif, storage.sco, storage.fscore, input.nres,
               storage.alilen, total);
    storage.releaseFinalTables();
  }
  storage.family = FamilyTable();

  progress.interaction.progressSet(progress.totalSteps);
  progress.interaction.progressEnd();
}

std::uint64_t multipleAlignmentPhaseBytes(unsigned long ns, unsigned long columns, const zemtra::EngineOptions& engine,
                                          bool statistics) {
  using KARVO::bytesPlus;
  // The family table lives through both steps; the tree phase's own storage
  // is released before the final tables are made.
  const std::uint64_t family = FamilyTable::bytesFor(ns + 1, ns + 1);
  // The fast measures keep a self score per row.
  const std::uint64_t measures =
      statistics ? bytesPlus(RunStorage::finalTablesBytes(ns), KARVO::bytesTimes(ns, sizeof(int))) : 0;
  return bytesPlus(family, std::max(treePhaseBytes(ns, columns, engine), measures));
}
