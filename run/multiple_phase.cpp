#include "run/multiple_phase.h"

#include <cmath>

#include "pairwise/measures.h"
#include "run/report.h"
#include "tree/tree_kv.h"

using KARVO::Matrix;

namespace {

constexpr float kLargestDistance = 999.0f;
constexpr float kJoinedMark = 1000.0f;

}  // namespace

RunStorage::RunStorage(unsigned long sequenceCount, unsigned long width)
    : cmp(width, width),
      alilen(sequenceCount, sequenceCount),
      path(2, width),
      family(sequenceCount + 1, sequenceCount + 1),
      sco(sequenceCount, sequenceCount),
      fscore(sequenceCount, sequenceCount),
      pid(sequenceCount, sequenceCount),
      dif(sequenceCount, sequenceCount) {}

void capDistances(Matrix<float>& distances) {
  for (unsigned long r = 0; r < distances.rows(); ++r) {
    for (unsigned long c = 0; c < distances.cols(); ++c) {
      float& d = distances[r][c];
      if (r != c && (std::isnan(d) || d >= kJoinedMark)) d = kLargestDistance;
    }
  }
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

void multipleAlignmentPhase(std::ostream& log, const RunInput& input, RunStorage& storage, RunProgress& progress,
                            JoinHistory* history) {
  dist_kv(storage.fscore);
  capDistances(storage.fscore);
  tree_kv(log, input.matNo, input.gap, &storage.alen, input.names, storage.fscore, storage.family, storage.cmp,
          input.seqs, input.len, storage.path, input.fixed, history);
  progress.interaction.progressSet(progress.step);
  progress.interaction.processEvents();

  const float total = measureFinalAlignment(input, storage);
  printStats(log, input.names, storage.family, storage.pid, storage.dif, storage.sco, storage.fscore, input.nres,
             storage.alilen, total);

  progress.interaction.progressSet(progress.totalSteps);
  progress.interaction.progressEnd();
}
