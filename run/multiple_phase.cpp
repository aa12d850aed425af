#include "run/multiple_phase.h"

#include <cmath>
#include <vector>

#include "pairwise/fast_measures.h"
#include "pairwise/measures.h"
#include "run/parallel_rows.h"
#include "run/report.h"
#include "tree/cluster_steps.h"
#include "tree/tree_kv.h"

using KARVO::Matrix;

RunStorage::RunStorage(unsigned long sequenceCount, unsigned long width)
    : cmp(width, width),
      alilen(sequenceCount, sequenceCount),
      path(2, width),
      family(sequenceCount + 1, sequenceCount + 1),
      sco(sequenceCount, sequenceCount),
      fscore(sequenceCount, sequenceCount),
      pid(sequenceCount, sequenceCount),
      dif(sequenceCount, sequenceCount) {}

std::uint64_t RunStorage::bytesFor(unsigned long sequenceCount, unsigned long width) {
  // The tables of the constructor above, in its order.
  using KARVO::bytesPlus;
  const unsigned long ns = sequenceCount;
  std::uint64_t bytes = Matrix<int>::bytesFor(width, width);
  bytes = bytesPlus(bytes, Matrix<int>::bytesFor(ns, ns));
  bytes = bytesPlus(bytes, Matrix<long>::bytesFor(2, width));
  bytes = bytesPlus(bytes, Matrix<unsigned long>::bytesFor(ns + 1, ns + 1));
  return bytesPlus(bytes, KARVO::bytesTimes(4, Matrix<float>::bytesFor(ns, ns)));
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
                            JoinHistory* history, const zemtra::EngineOptions& engine) {
  treeDistances(storage.fscore);
  tree_kv(log, input.matNo, input.gap, &storage.alen, input.names, storage.fscore, storage.family, storage.cmp,
          input.seqs, input.len, storage.path, input.fixed, history, engine);
  progress.interaction.progressSet(progress.step);
  progress.interaction.processEvents();

  const float total = engine.reference ? measureFinalAlignment(input, storage)
                                       : measureFinalAlignmentFast(input, storage, zemtra::threadCount(engine));
  printStats(log, input.names, storage.family, storage.pid, storage.dif, storage.sco, storage.fscore, input.nres,
             storage.alilen, total);

  progress.interaction.progressSet(progress.totalSteps);
  progress.interaction.progressEnd();
}
