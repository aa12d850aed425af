// Forward-backward of the pair model by rows instead of by cells. Every cell
// gets exactly the arithmetic of the plain recurrences in pair_hmm.cpp, in
// the same order, so the posteriors are bit-identical; what changes is the
// layout. The states are kept as separate rows (one array per state), so the
// match and x-insert states, which read only the row before, run as
// vectorisable loops across the row, and only the y-insert states and the
// row sum, which carry a dependency along the row, stay scalar. Only the
// scaled forward match values are kept for the whole table (one double per
// cell instead of five); every other state lives in two rolling rows.
// Emission odds come from a per-pair table of every residue code against
// each position of y; a position of x that mixes codes gets its row as the
// weighted sum of its codes' rows.
#include <algorithm>

#include "consistency/pair_hmm.h"
#include "consistency/row_kernel.h"

namespace zemtra::consistency {

namespace {

struct Trans {
  double mm, o1, o2, e1, e2, c1, c2;
};

// States of one row of the forward table, m + 1 cells each.
struct FwdRow {
  double* mat;
  double* x1;
  double* y1;
  double* x2;
  double* y2;
};

// Forward row i >= 1 from the scaled row before, unscaled; returns the row
// sum. prof[j - 1] is the match odds of x[i - 1] against y[j - 1]. The
// begin state's entries (row 1 only) are added by the caller's fix-up.
ZEMTRA_ROW_KERNEL
double forwardRow(const Trans t, const double* __restrict prof, const FwdRow& p, const FwdRow& c, std::size_t m,
                  double begin, const PairHmmParams& params) {
  const double* __restrict pm = p.mat;
  const double* __restrict px1 = p.x1;
  const double* __restrict py1 = p.y1;
  const double* __restrict px2 = p.x2;
  const double* __restrict py2 = p.y2;
  double* __restrict cm = c.mat;
  double* __restrict cx1 = c.x1;
  double* __restrict cx2 = c.x2;
  cm[0] = 0.0;
  for (std::size_t j = 1; j <= m; ++j) {
    const double s = t.mm * pm[j - 1] + t.c1 * (px1[j - 1] + py1[j - 1]) + t.c2 * (px2[j - 1] + py2[j - 1]);
    cm[j] = prof[j - 1] * s;
  }
  for (std::size_t j = 0; j <= m; ++j) {
    cx1[j] = t.o1 * pm[j] + t.e1 * px1[j];
    cx2[j] = t.o2 * pm[j] + t.e2 * px2[j];
  }
  if (begin != 0.0) {
    double s = t.mm * pm[0] + t.c1 * (px1[0] + py1[0]) + t.c2 * (px2[0] + py2[0]);
    s += begin * params.startMatch;
    cm[1] = prof[0] * s;
    cx1[0] += begin * params.startShort;
    cx2[0] += begin * params.startLong;
  }
  double* __restrict cy1 = c.y1;
  double* __restrict cy2 = c.y2;
  cy1[0] = 0.0;
  cy2[0] = 0.0;
  double rowSum = cm[0] + cx1[0] + cy1[0] + cx2[0] + cy2[0];
  for (std::size_t j = 1; j <= m; ++j) {
    cy1[j] = t.o1 * cm[j - 1] + t.e1 * cy1[j - 1];
    cy2[j] = t.o2 * cm[j - 1] + t.e2 * cy2[j - 1];
    rowSum += cm[j] + cx1[j] + cy1[j] + cx2[j] + cy2[j];
  }
  return rowSum;
}

ZEMTRA_ROW_KERNEL
void scaleRow(const FwdRow& c, std::size_t m, double rowSum) {
  const double inv = 1.0 / rowSum;
  for (double* a : {c.mat, c.x1, c.y1, c.x2, c.y2}) {
    double* __restrict r = a;
    for (std::size_t j = 0; j <= m; ++j) r[j] *= inv;
  }
}

// Row 0: nothing but the y inserts that open from the begin state.
double forwardFirstRow(const Trans t, const FwdRow& c, std::size_t m, const PairHmmParams& params) {
  double rowSum = 0;
  for (std::size_t j = 0; j <= m; ++j) {
    c.mat[j] = c.x1[j] = c.x2[j] = 0.0;
    c.y1[j] = c.y2[j] = 0.0;
    if (j > 0) {
      const bool first = j == 1;
      c.y1[j] = t.o1 * c.mat[j - 1] + t.e1 * c.y1[j - 1] + (first ? params.startShort : 0.0);
      c.y2[j] = t.o2 * c.mat[j - 1] + t.e2 * c.y2[j - 1] + (first ? params.startLong : 0.0);
    }
    rowSum += c.mat[j] + c.x1[j] + c.y1[j] + c.x2[j] + c.y2[j];
  }
  return rowSum;
}

// Backward states of one row; y1 and y2 hold m + 2 cells, the last one 0.
struct BwdRow {
  double* mat;
  double* x1;
  double* x2;
};

struct BwdScratch {
  double* mterm;  // match successor's term, emission and scale included
  double* xs;     // short insert in x successor
  double* xl;     // long insert in x successor
  double* y1;
  double* y2;
};

// Backward row i from row i + 1 (nx, already scaled values; inv its
// reciprocal scale). prof is null on the last row, which has no successor
// below; endCell marks the last row, whose last cell is the end state.
ZEMTRA_ROW_KERNEL
void backwardRow(const Trans t, const double* __restrict prof, const BwdRow& nx, const BwdRow& cur, const BwdScratch& s,
                 std::size_t m, double inv, bool endCell) {
  double* __restrict mt = s.mterm;
  double* __restrict xs = s.xs;
  double* __restrict xl = s.xl;
  const double* __restrict nm = nx.mat;
  const double* __restrict nx1 = nx.x1;
  const double* __restrict nx2 = nx.x2;
  if (prof) {
    for (std::size_t j = 0; j < m; ++j) mt[j] = prof[j] * nm[j + 1] * inv;
  } else {
    for (std::size_t j = 0; j < m; ++j) mt[j] = 0.0;
  }
  mt[m] = 0.0;
  double* __restrict bx1 = cur.x1;
  double* __restrict bx2 = cur.x2;
  for (std::size_t j = 0; j <= m; ++j) {
    xs[j] = nx1[j] * inv;
    xl[j] = nx2[j] * inv;
    bx1[j] = t.c1 * mt[j] + t.e1 * xs[j];
    bx2[j] = t.c2 * mt[j] + t.e2 * xl[j];
  }
  double* __restrict y1 = s.y1;
  double* __restrict y2 = s.y2;
  y1[m + 1] = 0.0;
  y2[m + 1] = 0.0;
  for (std::size_t j = m + 1; j-- > 0;) {
    y1[j] = t.c1 * mt[j] + t.e1 * y1[j + 1];
    y2[j] = t.c2 * mt[j] + t.e2 * y2[j + 1];
    if (endCell && j == m) y1[j] = y2[j] = 1.0;
  }
  double* __restrict bm = cur.mat;
  for (std::size_t j = 0; j <= m; ++j) {
    bm[j] = t.mm * mt[j] + t.o1 * (xs[j] + y1[j + 1]) + t.o2 * (xl[j] + y2[j + 1]);
  }
  if (endCell) bm[m] = bx1[m] = bx2[m] = 1.0;
}

// Posteriors of row i (cells j = 1 .. m) into post[1 .. m].
ZEMTRA_ROW_KERNEL
void posteriorRow(const double* __restrict fm, const double* __restrict bm, double* __restrict post, std::size_t m,
                  double invTotal) {
  for (std::size_t j = 1; j <= m; ++j) post[j] = fm[j] * bm[j] * invTotal;
}

// Offsets of the workspace's arrays for an n x m pair: the forward match
// table, the odds of every residue code against each position of y, the
// rolling rows, and one emission row for positions of x that mix codes.
struct Layout {
  std::size_t w, table, profile, rolling;
  Layout(std::size_t n, std::size_t m) : w(m + 2), table((n + 1) * w), profile(21 * m), rolling(21 * w) {}
  std::size_t total() const { return table + profile + rolling; }
};

// prof[a * m + j]: the odds of residue code a against position j of y, its
// codes' odds weighted and summed in order.
void fillOddsProfile(const ResidueProfile& y, const MatchOdds& odds, double* prof) {
  const std::size_t m = y.size();
  for (std::size_t a = 0; a < 21; ++a) {
    double* row = prof + a * m;
    for (std::size_t j = 0; j < m; ++j) {
      std::uint32_t k = y.start[j];
      double q = y.weight[k] * odds[a * 21 + y.code[k]];
      for (++k; k < y.start[j + 1]; ++k) q += y.weight[k] * odds[a * 21 + y.code[k]];
      row[j] = q;
    }
  }
}

// The emission row of position i of x: its codes' rows of prof, weighted and
// summed in order; a position that is one code of weight 1 is that row.
ZEMTRA_ROW_KERNEL
const double* emissionRow(const ResidueProfile& x, std::size_t i, const double* prof, std::size_t m,
                          double* __restrict out) {
  std::uint32_t k = x.start[i];
  const std::uint32_t end = x.start[i + 1];
  if (end - k == 1 && x.weight[k] == 1.0) return prof + std::size_t{x.code[k]} * m;
  const double w0 = x.weight[k];
  const double* __restrict q0 = prof + std::size_t{x.code[k]} * m;
  for (std::size_t j = 0; j < m; ++j) out[j] = w0 * q0[j];
  for (++k; k < end; ++k) {
    const double wk = x.weight[k];
    const double* __restrict q = prof + std::size_t{x.code[k]} * m;
    for (std::size_t j = 0; j < m; ++j) out[j] += wk * q[j];
  }
  return out;
}

}  // namespace

std::uint64_t pairHmmWorkspaceBytes(std::uint64_t n, std::uint64_t m) {
  return (Layout(n, m).total() + (n + 1)) * sizeof(double);
}

// The fast path has no transition counts; training takes the plain one.
SparsePosterior pairPosteriors(const std::vector<std::uint8_t>& x, const std::vector<std::uint8_t>& y,
                               const PairHmmParams& params, const MatchOdds& odds, PairHmmWorkspace& work,
                               TransitionCounts* counts) {
  if (counts) return pairPosteriorsPlain(x, y, params, odds, work, counts);
  return profilePosteriors(plainProfile(x), plainProfile(y), params, odds, work);
}

SparsePosterior profilePosteriors(const ResidueProfile& x, const ResidueProfile& y, const PairHmmParams& params,
                                  const MatchOdds& odds, PairHmmWorkspace& work) {
  SparsePosterior out;
  out.cols = static_cast<std::uint32_t>(y.size());
  out.rowStart.assign(x.size() + 1, 0);
  if (x.size() == 0 || y.size() == 0) return out;
  const std::size_t n = x.size(), m = y.size();
  const Layout lay(n, m);
  work.forward.resize(lay.total());
  work.scale.assign(n + 1, 1.0);
  double* table = work.forward.data();  // scaled forward match values, row stride lay.w
  double* prof = table + lay.table;
  fillOddsProfile(y, odds, prof);
  double* roll = prof + lay.profile;
  const std::size_t w = lay.w;
  double* emit = roll + 20 * w;
  const Trans t{1.0 - 2.0 * params.openShort - 2.0 * params.openLong,
                params.openShort,
                params.openLong,
                params.extendShort,
                params.extendLong,
                1.0 - params.extendShort,
                1.0 - params.extendLong};
  auto fwdRow = [&](std::size_t i) {
    double* r = roll + (i % 2) * 4 * w;
    return FwdRow{table + i * w, r, r + w, r + 2 * w, r + 3 * w};
  };
  for (std::size_t i = 0; i <= n; ++i) {
    const FwdRow c = fwdRow(i);
    const double begin = i == 1 ? 1.0 / work.scale[0] : 0.0;
    const double rowSum = i == 0
                              ? forwardFirstRow(t, c, m, params)
                              : forwardRow(t, emissionRow(x, i - 1, prof, m, emit), fwdRow(i - 1), c, m, begin, params);
    if (rowSum > 0) {
      work.scale[i] = rowSum;
      scaleRow(c, m, rowSum);
    }
  }
  const FwdRow last = fwdRow(n);
  const double total = last.mat[m] + last.x1[m] + last.y1[m] + last.x2[m] + last.y2[m];
  const double invTotal = 1.0 / total;

  double* b = roll + 8 * w;
  BwdRow rows[2] = {{b, b + w, b + 2 * w}, {b + 3 * w, b + 4 * w, b + 5 * w}};
  const BwdScratch s{b + 6 * w, b + 7 * w, b + 8 * w, b + 9 * w, b + 10 * w};
  double* post = b + 11 * w;
  std::fill(b, b + 6 * w, 0.0);                  // the row below the last one
  std::vector<SparsePosterior::Entry> reversed;  // rows and columns descending
  for (std::size_t i = n + 1; i-- > 0;) {
    const BwdRow& cur = rows[i % 2];
    const BwdRow& nx = rows[(i + 1) % 2];
    if (i == 0) break;  // row 0 holds no match posteriors
    const double inv = i < n ? 1.0 / work.scale[i + 1] : 0.0;
    backwardRow(t, i < n ? emissionRow(x, i, prof, m, emit) : nullptr, nx, cur, s, m, inv, i == n);
    posteriorRow(table + i * w, cur.mat, post, m, invTotal);
    for (std::size_t j = m; j >= 1; --j) {
      const double p = post[j];
      if (p >= kPosteriorCutoff) {
        reversed.push_back({static_cast<std::uint32_t>(j - 1), static_cast<float>(std::min(p, 1.0))});
        ++out.rowStart[i];  // counts row i - 1 at index i until the prefix sum below
      }
    }
  }
  for (std::size_t i = 1; i <= n; ++i) out.rowStart[i] += out.rowStart[i - 1];
  out.entries.assign(reversed.rbegin(), reversed.rend());
  return out;
}

}  // namespace zemtra::consistency
