#include "tree/cluster_steps.h"

using KARVO::Matrix;

unsigned long familySize(const FamilyTable& family, unsigned long row, unsigned long limit) {
  unsigned long n = 0;
  while (n < limit && n < family.cols() && family[row][n] != 0) ++n;
  return n;
}

unsigned long liveFamily(const FamilyTable& family, unsigned long sequence) {
  for (unsigned long row = 0; row < family.rows() && family[row][0] != 0; ++row) {
    for (unsigned long col = 0; col < family.cols() && family[row][col] != 0; ++col) {
      if (family[row][col] == sequence) return row;
    }
  }
  return kNoFamily;
}

void refreshClusterDistances(unsigned long ns, const Matrix<float>& fscore, const FamilyTable& family,
                             Matrix<float>& pro) {
  for (unsigned long i = 1; i < ns; ++i) {
    for (unsigned long j = i + 1; j <= ns; ++j) {
      if (pro[i][j] > kJoinedThreshold) continue;

      // Whichever of the two is met first decides the family f; the other
      // one, y, is then looked up on its own.
      unsigned long f = kNoFamily;
      unsigned long y = 0;
      for (unsigned long row = 0; f == kNoFamily && row < family.rows() && family[row][0] != 0; ++row) {
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
      if (f == kNoFamily) continue;

      const std::uint32_t* rowF = family[f];
      const unsigned long membersF = familySize(family, f, family.cols());
      const unsigned long g = liveFamily(family, y);
      if (g == kNoFamily) {
        float sum = 0.0f;
        for (unsigned long b = 0; b < membersF; ++b) sum += fscore[rowF[b] - 1][y - 1];
        const float d = sum / static_cast<float>(membersF);
        pro[i][j] = d;
        pro[j][i] = d;
        continue;
      }

      const std::uint32_t* rowG = family[g];
      const unsigned long membersG = familySize(family, g, family.cols());
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
