#include "consistency/pair_hmm.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "scoring/scomat.h"

namespace zemtra::consistency {

namespace {

constexpr int kStates = 5;  // match, short insert in x, short insert in y, long insert in x, long insert in y
constexpr int kM = 0, kX1 = 1, kY1 = 2, kX2 = 3, kY2 = 4;

struct Transitions {
  double mm, o1, o2, e1, e2, c1, c2;  // c1, c2: insert back to match
  explicit Transitions(const PairHmmParams& p)
      : mm(1.0 - 2.0 * p.openShort - 2.0 * p.openLong),
        o1(p.openShort),
        o2(p.openLong),
        e1(p.extendShort),
        e2(p.extendLong),
        c1(1.0 - p.extendShort),
        c2(1.0 - p.extendLong) {}
};

// The match emission of position i of x against position j of y.
struct CellOdds {
  const ResidueProfile& x;
  const ResidueProfile& y;
  const MatchOdds& odds;
  double against(std::size_t a, std::size_t j) const {
    std::uint32_t l = y.start[j];
    double q = y.weight[l] * odds[a * 21 + y.code[l]];
    for (++l; l < y.start[j + 1]; ++l) q += y.weight[l] * odds[a * 21 + y.code[l]];
    return q;
  }
  double operator()(std::size_t i, std::size_t j) const {
    std::uint32_t k = x.start[i];
    double e = x.weight[k] * against(x.code[k], j);
    for (++k; k < x.start[i + 1]; ++k) e += x.weight[k] * against(x.code[k], j);
    return e;
  }
};

// Scaled forward table: every row times the inverse of its sum, the sums kept in
// work.scale. The begin state counts as row 0's scale, 1 / scale[0] there.
void forwardPass(const CellOdds& odds, const PairHmmParams& params, PairHmmWorkspace& work) {
  const ResidueProfile& x = odds.x;
  const ResidueProfile& y = odds.y;
  const std::size_t n = x.size(), m = y.size(), w = m + 1;
  const Transitions t(params);
  work.forward.assign((n + 1) * w * kStates, 0.0);
  work.scale.assign(n + 1, 1.0);
  double* f = work.forward.data();
  for (std::size_t i = 0; i <= n; ++i) {
    const double begin = i == 1 ? 1.0 / work.scale[0] : 0.0;
    double rowSum = 0;
    for (std::size_t j = 0; j <= m; ++j) {
      double* c = f + (i * w + j) * kStates;
      if (i > 0 && j > 0) {
        const double* d = c - (w + 1) * kStates;
        double s = t.mm * d[kM] + t.c1 * (d[kX1] + d[kY1]) + t.c2 * (d[kX2] + d[kY2]);
        if (j == 1) s += begin * params.startMatch;
        c[kM] = odds(i - 1, j - 1) * s;
      }
      if (i > 0) {
        const double* u = c - w * kStates;
        c[kX1] = t.o1 * u[kM] + t.e1 * u[kX1] + (j == 0 ? begin * params.startShort : 0.0);
        c[kX2] = t.o2 * u[kM] + t.e2 * u[kX2] + (j == 0 ? begin * params.startLong : 0.0);
      }
      if (j > 0) {
        const double* l = c - kStates;
        const bool first = i == 0 && j == 1;
        c[kY1] = t.o1 * l[kM] + t.e1 * l[kY1] + (first ? params.startShort : 0.0);
        c[kY2] = t.o2 * l[kM] + t.e2 * l[kY2] + (first ? params.startLong : 0.0);
      }
      rowSum += c[kM] + c[kX1] + c[kY1] + c[kX2] + c[kY2];
    }
    if (rowSum > 0) {
      work.scale[i] = rowSum;
      double* row = f + i * w * kStates;
      const double inv = 1.0 / rowSum;
      for (std::size_t k = 0; k < w * kStates; ++k) row[k] *= inv;
    }
  }
}

// Expected transitions out of cell f (scaled forward values) into the
// successors whose scaled backward values, already divided by the pair's
// total, are mterm (match, emission included), xs/xl (inserts in x) and
// ys/yl (inserts in y).
void countCell(const double* f, const Transitions& t, double mterm, double xs, double xl, double ys, double yl,
               TransitionCounts& c) {
  c.matchMatch += f[kM] * t.mm * mterm;
  c.shortClose += (f[kX1] + f[kY1]) * t.c1 * mterm;
  c.longClose += (f[kX2] + f[kY2]) * t.c2 * mterm;
  c.openShort += f[kM] * t.o1 * (xs + ys);
  c.openLong += f[kM] * t.o2 * (xl + yl);
  c.shortStay += t.e1 * (f[kX1] * xs + f[kY1] * ys);
  c.longStay += t.e2 * (f[kX2] * xl + f[kY2] * yl);
}

}  // namespace

ResidueProfile plainProfile(const std::vector<std::uint8_t>& codes) {
  ResidueProfile p;
  p.start.resize(codes.size() + 1);
  for (std::size_t i = 0; i <= codes.size(); ++i) p.start[i] = static_cast<std::uint32_t>(i);
  p.code = codes;
  p.weight.assign(codes.size(), 1.0);
  return p;
}

SparsePosterior pairPosteriorsPlain(const std::vector<std::uint8_t>& x, const std::vector<std::uint8_t>& y,
                                    const PairHmmParams& params, const MatchOdds& odds, PairHmmWorkspace& work,
                                    TransitionCounts* counts) {
  return profilePosteriorsPlain(plainProfile(x), plainProfile(y), params, odds, work, counts);
}

double SparsePosterior::sum() const {
  double s = 0;
  for (const Entry& e : entries) s += e.p;
  return s;
}

void TransitionCounts::add(const TransitionCounts& o) {
  startMatch += o.startMatch;
  startShort += o.startShort;
  startLong += o.startLong;
  matchMatch += o.matchMatch;
  openShort += o.openShort;
  openLong += o.openLong;
  shortStay += o.shortStay;
  shortClose += o.shortClose;
  longStay += o.longStay;
  longClose += o.longClose;
  logLikelihood += o.logLikelihood;
}

std::vector<std::uint8_t> encodeResidues(std::string_view residues) {
  std::vector<std::uint8_t> codes;
  codes.reserve(residues.size());
  for (char c : residues) {
    const char upper = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    codes.push_back(static_cast<std::uint8_t>(ScoMat::residueIndex(upper)));
  }
  return codes;
}

// The backward pass, the posteriors and the expected counts share one sweep
// over the rows, last row first; it reads best as one piece.
SparsePosterior profilePosteriorsPlain(const ResidueProfile& x, const ResidueProfile& y, const PairHmmParams& params,
                                       const MatchOdds& matchOdds, PairHmmWorkspace& work, TransitionCounts* counts) {
  SparsePosterior out;
  out.cols = static_cast<std::uint32_t>(y.size());
  out.rowStart.assign(x.size() + 1, 0);
  if (x.size() == 0 || y.size() == 0) return out;
  const CellOdds odds{x, y, matchOdds};
  forwardPass(odds, params, work);
  const std::size_t n = x.size(), m = y.size(), w = m + 1;
  const Transitions t(params);
  const double* f = work.forward.data();
  const double* last = f + (n * w + m) * kStates;
  const double total = last[0] + last[1] + last[2] + last[3] + last[4];
  const double invTotal = 1.0 / total;
  TransitionCounts c;
  work.back.assign(2 * w * kStates, 0.0);
  std::vector<SparsePosterior::Entry> reversed;  // rows and columns descending
  for (std::size_t i = n + 1; i-- > 0;) {
    double* cur = work.back.data() + (i % 2) * w * kStates;
    const double* nx = i < n ? work.back.data() + ((i + 1) % 2) * w * kStates : nullptr;
    const double inv = i < n ? 1.0 / work.scale[i + 1] : 0.0;
    for (std::size_t j = m + 1; j-- > 0;) {
      double* b = cur + j * kStates;
      const bool end = i == n && j == m;
      const double mterm = (nx && j < m) ? odds(i, j) * nx[(j + 1) * kStates + kM] * inv : 0.0;
      const double xs = nx ? nx[j * kStates + kX1] * inv : 0.0;
      const double xl = nx ? nx[j * kStates + kX2] * inv : 0.0;
      const double ys = j < m ? b[kStates + kY1] : 0.0;
      const double yl = j < m ? b[kStates + kY2] : 0.0;
      if (end) {
        std::fill(b, b + kStates, 1.0);
      } else {
        b[kM] = t.mm * mterm + t.o1 * (xs + ys) + t.o2 * (xl + yl);
        b[kX1] = t.c1 * mterm + t.e1 * xs;
        b[kY1] = t.c1 * mterm + t.e1 * ys;
        b[kX2] = t.c2 * mterm + t.e2 * xl;
        b[kY2] = t.c2 * mterm + t.e2 * yl;
      }
      const double* fc = f + (i * w + j) * kStates;
      if (counts) countCell(fc, t, mterm * invTotal, xs * invTotal, xl * invTotal, ys * invTotal, yl * invTotal, c);
      if (counts && i == 0 && j == 0) {
        const double begin = 1.0 / work.scale[0];
        c.startMatch += begin * params.startMatch * mterm * invTotal;
        c.startShort += begin * params.startShort * (xs + ys) * invTotal;
        c.startLong += begin * params.startLong * (xl + yl) * invTotal;
      }
      if (i > 0 && j > 0) {
        const double p = fc[kM] * b[kM] * invTotal;
        if (p >= kPosteriorCutoff) {
          reversed.push_back({static_cast<std::uint32_t>(j - 1), static_cast<float>(std::min(p, 1.0))});
          ++out.rowStart[i];  // counts row i - 1 at index i until the prefix sum below
        }
      }
    }
  }
  for (std::size_t i = 1; i <= n; ++i) out.rowStart[i] += out.rowStart[i - 1];
  out.entries.assign(reversed.rbegin(), reversed.rend());
  if (counts) {
    double logLik = std::log(total);
    for (double s : work.scale) logLik += std::log(s);
    c.logLikelihood = logLik;
    counts->add(c);
  }
  return out;
}

}  // namespace zemtra::consistency
