#include "pairwise/fast_measures.h"

#include <algorithm>

#include "pairwise/dpa.h"
#include "pairwise/measures.h"
#include "scoring/scomat.h"

namespace zemtra {

namespace {

// The gap cost of score_kv, told column by column: every run of gap columns
// that lies between two pair columns costs gap once; runs at either end are
// free.
class GapRuns {
 public:
  void pairColumn() {
    if (inRun_ && afterPair_) ++charged_;
    inRun_ = false;
    seenPair_ = true;
  }
  void gapColumn() {
    if (inRun_) return;
    inRun_ = true;
    afterPair_ = seenPair_;
  }
  int charged() const { return charged_; }

 private:
  bool inRun_ = false;
  bool afterPair_ = false;
  bool seenPair_ = false;
  int charged_ = 0;
};

}  // namespace

ScoreLookup::ScoreLookup(int matNo) : values_(ScoMat::mats + matNo * ScoMat::kAlphabet * ScoMat::kAlphabet) {
  for (int c = 0; c < 256; ++c) index_[c] = static_cast<std::uint8_t>(ScoMat::residueIndex(static_cast<char>(c)));
}

float normalisedScore(int score, int selfJ, int selfK) {
  const float sumSelf = static_cast<float>(selfJ + selfK);
  return static_cast<float>(static_cast<double>(static_cast<float>(score)) * 200.0 / static_cast<double>(sumSelf));
}

PathMeasures measurePath(const PathPair& in) {
  const char* rowJ = in.seqs[in.j];
  const char* rowK = in.seqs[in.k];
  const long* posJ = in.path[0];
  const long* posK = in.path[1];
  int sum = 0;
  int selfJ = 0;
  int selfK = 0;
  int identities = 0;
  GapRuns runs;
  for (int s = 1; s <= in.alen; ++s) {
    const long pa = posJ[s];
    const long pb = posK[s];
    if (pa == kGapMark) {
      if (pb == kGapMark) continue;
      const char b = rowK[pb];
      if (b == '-') continue;
      selfK += in.scores.self(b);
      runs.gapColumn();
    } else if (pb == kGapMark) {
      const char a = rowJ[pa];
      if (a == '-') continue;
      selfJ += in.scores.self(a);
      runs.gapColumn();
    } else {
      const char a = rowJ[pa];
      const char b = rowK[pb];
      if (a != '-') selfJ += in.scores.self(a);
      if (b != '-') selfK += in.scores.self(b);
      // A path pair with '-' on either side counts as a gap column.
      if (a != '-' && b != '-') {
        sum += in.scores.pair(a, b);
        identities += a == b;
        runs.pairColumn();
      } else {
        runs.gapColumn();
      }
    }
  }
  PathMeasures m;
  m.score = sum - runs.charged() * in.gap;
  m.nas = normalisedScore(m.score, selfJ, selfK);
  m.pid = percentOfShorter(identities, in.nres[in.j], in.nres[in.k]);
  return m;
}

ColumnMeasures measureColumns(const char* rowJ, const char* rowK, int alen, const ScoreLookup& scores, int gap) {
  int sum = 0;
  int identities = 0;
  int differences = 0;
  int counted = 0;
  GapRuns runs;
  for (int s = 1; s <= alen; ++s) {
    const char a = rowJ[s];
    const char b = rowK[s];
    const bool gapA = a == '-';
    const bool gapB = b == '-';
    if (gapA && gapB) continue;
    ++counted;
    differences += a != b;
    if (!gapA && !gapB) {
      sum += scores.pair(a, b);
      identities += a == b;
      runs.pairColumn();
    } else {
      runs.gapColumn();
    }
  }
  return {sum - runs.charged() * gap, identities, differences, counted};
}

int columnSelfScore(const char* row, int alen, const ScoreLookup& scores) {
  int sum = 0;
  for (int s = 1; s <= alen; ++s)
    if (row[s] != '-') sum += scores.self(row[s]);
  return sum;
}

}  // namespace zemtra
