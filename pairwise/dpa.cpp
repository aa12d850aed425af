#include "pairwise/dpa.h"

#include <algorithm>

#include "core/diagnostics.h"
#include "plugin/zemtra_types.h"

namespace {

// Gap mark of the scratch record: 1-based positions there, so that the
// conversion to 0-based turns it into kGapMark.
constexpr long kScratchGap = -98;

}  // namespace

Alignment::Alignment() : nmatch(0), length(0), posA(nullptr), posB(nullptr), paired(nullptr), capacity(0) {}

Alignment::Alignment(unsigned long n)
    : nmatch(0), length(0), posA(nullptr), posB(nullptr), paired(nullptr), capacity(n) {
  if (n == 0) return;
  posA = new long[2 * n];
  try {
    paired = new unsigned char[n];
  } catch (...) {
    delete[] posA;
    throw;
  }
  posB = posA + n;
  std::fill(posA, posA + 2 * n, kGapMark);
  std::fill(paired, paired + n, static_cast<unsigned char>(0));
}

std::uint64_t Alignment::bytesFor(unsigned long capacity) {
  // posA and posB in one block, and paired.
  return KARVO::bytesTimes(capacity, 2 * sizeof(long) + sizeof(unsigned char));
}

Alignment::Alignment(const Alignment& other) : Alignment() { allocateAndCopy(other); }

Alignment& Alignment::operator=(const Alignment& other) {
  if (this == &other) return *this;
  release();
  allocateAndCopy(other);
  return *this;
}

Alignment::~Alignment() { release(); }

void Alignment::allocateAndCopy(const Alignment& other) {
  nmatch = other.nmatch;
  length = other.length;
  capacity = other.capacity;
  posA = posB = nullptr;
  paired = nullptr;
  if (capacity == 0) return;
  posA = new long[2 * capacity];
  try {
    paired = new unsigned char[capacity];
  } catch (...) {
    delete[] posA;
    posA = nullptr;
    capacity = 0;
    throw;
  }
  posB = posA + capacity;
  std::copy(other.posA, other.posA + 2 * capacity, posA);
  std::copy(other.paired, other.paired + capacity, paired);
}

void Alignment::release() {
  if (capacity != 0) {
    delete[] paired;
    delete[] posA;
  }
  posA = posB = nullptr;
  paired = nullptr;
  capacity = 0;
}

namespace DPA {

namespace {

enum State { kDiag, kVert, kHorz };

}  // namespace

// The fill and the traceback share their state tables; the algorithm reads best whole.
template <typename T>
T fredman(T gap, const KARVO::Matrix<T>& S, Alignment& aln) {
  const unsigned long n = S.rows();
  const unsigned long m = S.cols();
  KARVO::Matrix<T> diag(n + 1, m + 1);
  KARVO::Matrix<T> vert(n + 1, m + 1);
  KARVO::Matrix<T> horz(n + 1, m + 1);
  Alignment scratch(aln.capacity);

  for (unsigned long i = 0; i <= n; ++i) diag[i][0] = vert[i][0] = horz[i][0] = 0;
  for (unsigned long c = 1; c <= m; ++c) diag[0][c] = vert[0][c] = horz[0][c] = 0;

  for (unsigned long i = 1; i <= n; ++i) {
    const T* score = S[i - 1];
    for (unsigned long c = 1; c <= m; ++c) {
      diag[i][c] = std::max({diag[i - 1][c - 1], vert[i - 1][c - 1] - gap, horz[i - 1][c - 1] - gap}) + score[c - 1];
      vert[i][c] = std::max(vert[i - 1][c], diag[i - 1][c]);
      horz[i][c] = std::max(horz[i][c - 1], diag[i][c - 1]);
    }
  }

  const T best = std::max({diag[n][m], vert[n][m], horz[n][m]});
  int state = diag[n][m] == best ? kDiag : (vert[n][m] == best ? kVert : kHorz);

  unsigned long i = n;
  unsigned long c = m;
  unsigned long count = 0;
  int pairs = 0;
  auto record = [&](long a, long b, unsigned char isPair, const char* fullMessage) {
    // A record without room (capacity 0) fails like a full one.
    if (count >= aln.capacity) zemtra::fatalExit(fullMessage, ZemtraExit::kPairedNoPosition);
    scratch.posA[count] = a;
    scratch.posB[count] = b;
    scratch.paired[count] = isPair;
    ++count;
    if (count >= aln.capacity) zemtra::fatalExit(fullMessage, ZemtraExit::kPairedNoPosition);
  };

  while (i > 0 && c > 0) {
    switch (state) {
      case kDiag: {
        record(static_cast<long>(i), static_cast<long>(c), 1, "gap0 B");
        ++pairs;
        --i;
        --c;
        const T d = diag[i][c];
        const T v = vert[i][c] - gap;
        const T h = horz[i][c] - gap;
        if (d >= v && d >= h)
          state = kDiag;
        else if (v >= h)
          state = kVert;
        else
          state = kHorz;
        break;
      }
      case kHorz:
        record(kScratchGap, static_cast<long>(c), 0, "gap0 B");
        --c;
        state = horz[i][c] > diag[i][c] ? kHorz : kDiag;
        break;
      case kVert:
        record(static_cast<long>(i), kScratchGap, 0, "gap0 B");
        --i;
        state = vert[i][c] > diag[i][c] ? kVert : kDiag;
        break;
      default:
        zemtra::debugMessage("Foul things");
        ++count;
        break;
    }
  }

  if (i == 0) {
    while (c > 0) {
      record(kScratchGap, static_cast<long>(c), 0, "gap A");
      --c;
    }
  }
  while (i > 0) {
    record(static_cast<long>(i), kScratchGap, 0, "gap B");
    --i;
  }

  for (unsigned long o = 0; o < count; ++o) {
    aln.posA[o] = scratch.posA[count - 1 - o] - 1;
    aln.posB[o] = scratch.posB[count - 1 - o] - 1;
    aln.paired[o] = scratch.paired[count - 1 - o];
  }
  aln.length = static_cast<int>(count);
  aln.nmatch = pairs;
  return best;
}

template int fredman<int>(int gap, const KARVO::Matrix<int>& S, Alignment& aln);

std::uint64_t fredmanBytes(unsigned long n, unsigned long m, unsigned long capacity) {
  // diag, vert and horz, and the scratch record.
  return KARVO::bytesPlus(KARVO::bytesTimes(3, KARVO::Matrix<int>::bytesFor(n + 1, m + 1)),
                          Alignment::bytesFor(capacity));
}

}  // namespace DPA
