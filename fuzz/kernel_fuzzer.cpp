// The fast pairwise routines against the reference, pair by pair: every row
// of a batch is aligned against every later row as the pairwise phase does
// it, once by comp_kv + pair_kv and the reference measures, and once by each
// fast routine on each instruction-set level this CPU runs. Any difference
// in what the run reads from a pair is a defect: the score, the alignment's
// length, every column of the path (those an alignment does not write
// included, since the path carries over from one pair to the next), the
// process exit and its message, the similarity, normalised score and
// identities taken through the path, and the column measures of the two
// aligned rows.
// The joins of the progressive run are checked the same way: for every split
// of the batch, the rows before it against the rows from it on, each group
// padded with gaps to its longest row, once by the comp_kv series over all
// member pairs + pair_kv and once by the group profile + pairFast on each
// level; the lengths compare leaves, the score, the alignment's length, the
// path (carried over from join to join) and the exit must agree.
// Input: matrix, gap and shape bytes, then the rows, one per line: '-' and
// '.' are gaps, "*N" repeats the row so far to N copies in all ("AC*1500" is
// 3,000 residues), any other byte is a residue. Rows are cut at 3,000
// positions and the batch at a budget of cells, so that one input stays
// within a few seconds.
// New fast routines are checked by adding them to fastRoutines().
#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "byte_reader.h"
#include "core/diagnostics.h"
#include "pairwise/comp_kv.h"
#include "pairwise/fast_dp.h"
#include "pairwise/fast_measures.h"
#include "pairwise/group_profile.h"
#include "pairwise/measures.h"
#include "pairwise/pair_kv.h"

namespace {

constexpr unsigned long kMaxRows = 12;
constexpr unsigned long kMaxLength = 3000;
constexpr unsigned long long kCellBudget = 2'000'000;

using Path = KARVO::Matrix<long>;

// The engine's process exits, turned into an exception so that the
// reference can be asked what it would have done.
struct EngineExit {
  const char* reason;
};

[[noreturn]] void throwExit(int, const char* reason) { throw EngineExit{reason}; }
void quiet(const char*) {}

std::string decodeRow(const std::string& line) {
  std::string row;
  for (std::size_t i = 0; i < line.size() && row.size() < kMaxLength; ++i) {
    const char c = line[i];
    if (c != '*') {
      row += c == '.' ? '-' : c;
      continue;
    }
    unsigned long copies = 0;
    while (i + 1 < line.size() && line[i + 1] >= '0' && line[i + 1] <= '9' && copies < kMaxLength)
      copies = copies * 10 + static_cast<unsigned long>(line[++i] - '0');
    const std::string unit = row;
    for (unsigned long n = 1; n < copies && !unit.empty() && row.size() < kMaxLength; ++n) row += unit;
  }
  row.resize(std::min<std::size_t>(row.size(), kMaxLength));
  return row;
}

// Rows laid out as the run lays out its working alignment: text from
// column 1, '.' in every other cell.
struct Batch {
  int matNo = 0;
  int gap = 0;
  std::vector<std::string> text;
  std::vector<unsigned long> len, nres, ks;
  unsigned long cols = 0;
  std::unique_ptr<KARVO::Matrix<char>> seqs;
  // Comparison matrix of the pairs, lent to every routine in turn: comp_kv
  // writes all of it that a pair's alignment reads.
  std::unique_ptr<KARVO::Matrix<int>> cmp;
};

Batch decode(const std::uint8_t* data, std::size_t size) {
  ByteReader in(data, size);
  Batch b;
  b.matNo = static_cast<int>(in.pick(15));
  b.gap = static_cast<int>(in.pick(101));
  const std::uint8_t shape = in.byte();
  unsigned long long cells = 0;
  while (!in.empty() && b.text.size() < kMaxRows) {
    std::string row = decodeRow(in.line());
    for (const std::string& other : b.text) cells += static_cast<unsigned long long>(other.size()) * row.size();
    if (cells > kCellBudget) break;
    b.text.push_back(std::move(row));
  }
  std::vector<unsigned long> lengths;
  for (const std::string& row : b.text) {
    b.len.push_back(row.size());
    b.nres.push_back(
        static_cast<unsigned long>(std::count_if(row.begin(), row.end(), [](char c) { return c != '-'; })));
    b.ks.push_back(b.ks.size());
    lengths.push_back(row.size());
  }
  std::sort(lengths.rbegin(), lengths.rend());
  lengths.resize(2, 0);
  // Bit 0 set: room for every path, as when the run takes the fast phase;
  // otherwise a few columns past the longest row, so that long alignments
  // leave the path as it was.
  b.cols = lengths[0] + 1 + ((shape & 1) != 0 ? lengths[1] : (shape >> 1) % 16u);
  b.seqs = std::make_unique<KARVO::Matrix<char>>(std::max<std::size_t>(b.text.size(), 1), b.cols);
  for (unsigned long r = 0; r < b.text.size(); ++r)
    for (unsigned long c = 0; c < b.cols; ++c) (*b.seqs)[r][c] = c >= 1 && c <= b.len[r] ? b.text[r][c - 1] : '.';
  b.cmp = std::make_unique<KARVO::Matrix<int>>(lengths[0] + 1, lengths[0] + 1);
  return b;
}

// What the run reads from one pair.
struct PairSeen {
  const char* exit = nullptr;  // the message the process ends with, if any
  int score = 0;
  int alen = 0;
  std::vector<long> path;  // both rows of the path after the pair
  // Exit messages by their text: each routine has its own copy.
  bool operator==(const PairSeen& o) const {
    return (exit == nullptr ? o.exit == nullptr : o.exit != nullptr && std::strcmp(exit, o.exit) == 0) &&
           score == o.score && alen == o.alen && path == o.path;
  }
};

std::vector<long> pathCells(const Path& path) {
  std::vector<long> cells(path[0], path[0] + 2 * path.cols());
  return cells;
}

// A path whose untouched columns are recognisable.
std::unique_ptr<Path> markedPath(unsigned long cols) {
  auto path = std::make_unique<Path>(2, cols);
  for (unsigned long c = 0; c < cols; ++c) (*path)[0][c] = (*path)[1][c] = 7000 + static_cast<long>(c);
  return path;
}

// One alignment's outcome: align(&alen) returns the score or ends the
// process; the path is read afterwards either way.
template <class Align>
PairSeen alignedSeen(const Path& path, const Align& align) {
  PairSeen s;
  try {
    s.score = align(&s.alen);
  } catch (const EngineExit& e) {
    s = PairSeen{e.reason, 0, 0, {}};
  }
  s.path = pathCells(path);
  return s;
}

// Row j's pairs, in order, through one routine; the path carries over from
// pair to pair as in the run.
using RowRoutine = std::function<std::vector<PairSeen>(const Batch&, unsigned long j, Path& path)>;

// Pairs of row j one at a time: comp_kv, then align(lenJ, lenK, cmp, path,
// &alen) as pair_kv.
template <class Align>
std::vector<PairSeen> pairsOneByOne(const Batch& b, unsigned long j, Path& path, const Align& align) {
  std::vector<PairSeen> seen;
  KARVO::Matrix<int>& cmp = *b.cmp;
  for (unsigned long k = j + 1; k < b.text.size(); ++k) {
    bool first = true;
    unsigned long lenJ = 0, lenK = 0;
    comp_kv(j, k, b.matNo, &lenJ, &lenK, cmp, *b.seqs, b.len.data(), first);
    seen.push_back(alignedSeen(path, [&](int* alen) { return align(lenJ, lenK, cmp, path, alen); }));
  }
  return seen;
}

std::vector<PairSeen> reference(const Batch& b, unsigned long j, Path& path) {
  return pairsOneByOne(b, j, path,
                       [&](unsigned long lenJ, unsigned long lenK, const KARVO::Matrix<int>& cmp, Path& p, int* alen) {
                         return pair_kv(lenJ, lenK, b.gap, alen, 1, cmp, p);
                       });
}

[[noreturn]] void defectAt(const std::string& routine, const std::string& where, const std::string& what) {
  std::fprintf(stderr, "fuzz_kernels: %s differs from the reference on %s: %s\n", routine.c_str(), where.c_str(),
               what.c_str());
  std::abort();
}

[[noreturn]] void defect(const std::string& routine, unsigned long j, unsigned long k, const std::string& what) {
  defectAt(routine, "pair " + std::to_string(j) + "-" + std::to_string(k), what);
}

std::vector<PairSeen> rowPairs(const Batch& b, unsigned long j, Path& path, zemtra::SimdLevel level,
                               zemtra::LaneWidth width, zemtra::PairKernel kernel, zemtra::DpWorkspace& ws) {
  std::vector<PairSeen> seen;
  const zemtra::RowPairs request{
      *b.seqs, b.len.data(), j, b.ks.data() + j + 1, b.text.size() - j - 1, b.matNo, b.gap, level, width, true, kernel};
  zemtra::alignRowPairs(request, path, ws, [&](const zemtra::PairOutcome& o) {
    if (o.j != j || o.k != j + 1 + seen.size()) defect("alignRowPairs", o.j, o.k, "a pair out of order");
    seen.push_back({o.pairless, o.pairless != nullptr ? 0 : o.score, o.alen, pathCells(path)});
  });
  return seen;
}

// Every fast routine on every level this CPU runs, with a name for the
// report. One workspace per routine, shared by all its calls, so that
// buffers warmed up on other shapes are exercised too.
std::vector<std::pair<std::string, RowRoutine>> fastRoutines() {
  std::vector<std::pair<std::string, RowRoutine>> routines;
  for (const zemtra::SimdLevel level : zemtra::kSimdLevels) {
    if (!zemtra::simdLevelSupported(level)) continue;
    const std::string name = "level " + std::to_string(static_cast<int>(level));
    auto ws = std::make_shared<zemtra::DpWorkspace>();
    routines.emplace_back("pairFast, " + name, [level, ws](const Batch& b, unsigned long j, Path& path) {
      return pairsOneByOne(
          b, j, path, [&](unsigned long lenJ, unsigned long lenK, const KARVO::Matrix<int>& cmp, Path& p, int* alen) {
            return zemtra::pairFast(lenJ, lenK, b.gap, alen, 1, cmp, p, *ws, level);
          });
    });
    for (const zemtra::LaneWidth width : {zemtra::LaneWidth::kAuto, zemtra::LaneWidth::kWide}) {
      for (const zemtra::PairKernel kernel :
           {zemtra::PairKernel::kChosen, zemtra::PairKernel::kMultiPair, zemtra::PairKernel::kWithinPair}) {
        const std::string lanes = width == zemtra::LaneWidth::kAuto ? ", auto lanes" : ", wide lanes";
        const char* kernels[] = {"", ", multi-pair", ", within-pair"};
        routines.emplace_back("alignRowPairs, " + name + lanes + kernels[static_cast<int>(kernel)],
                              [level, width, kernel, ws](const Batch& b, unsigned long j, Path& path) {
                                return rowPairs(b, j, path, level, width, kernel, *ws);
                              });
      }
    }
  }
  return routines;
}

std::string difference(const PairSeen& want, const PairSeen& got) {
  auto reason = [](const char* r) { return std::string(r == nullptr ? "none" : r); };
  std::string what = "exit " + reason(want.exit) + " / " + reason(got.exit) + ", score " + std::to_string(want.score) +
                     " / " + std::to_string(got.score) + ", length " + std::to_string(want.alen) + " / " +
                     std::to_string(got.alen);
  if (want.path != got.path) what += ", paths differ";
  return what;
}

void expectSame(const std::string& routine, unsigned long j, unsigned long k, const PairSeen& want,
                const PairSeen& got) {
  if (!(want == got)) defect(routine, j, k, difference(want, got));
}

std::uint32_t bits(float f) { return std::bit_cast<std::uint32_t>(f); }

// The measures of the pairwise phase through the path, and the column
// measures of the final alignment on the two rows laid out along it.
void checkMeasures(const Batch& b, unsigned long j, unsigned long k, const Path& path, int alen) {
  const zemtra::ScoreLookup scores(b.matNo);
  const zemtra::PathMeasures m = zemtra::measurePath({*b.seqs, b.nres.data(), j, k, alen, path, scores, b.gap});
  const int score = score_kv(j, k, alen, b.matNo, b.gap, 1, *b.seqs, path);
  if (m.score != score || bits(m.nas) != bits(norm_kv(j, k, alen, score, b.matNo, 1, *b.seqs, path)) ||
      bits(m.pid) != bits(pids_kv(j, k, alen, *b.seqs, b.nres.data(), path)))
    defect("measurePath", j, k, "a measure through the path");

  const unsigned long width = static_cast<unsigned long>(alen) + 1;
  KARVO::Matrix<char> rows(2, width);
  for (unsigned long s = 1; s < width; ++s) {
    const long pj = path[0][s], pk = path[1][s];
    rows[0][s] = pj == kGapMark ? '-' : (*b.seqs)[j][pj];
    rows[1][s] = pk == kGapMark ? '-' : (*b.seqs)[k][pk];
  }
  const unsigned long nres[2] = {b.nres[j], b.nres[k]};
  KARVO::Matrix<int> alilen(2, 2);
  const zemtra::ColumnMeasures c = zemtra::measureColumns(rows[0], rows[1], alen, scores, b.gap);
  const int columnScore = score_kv(0, 1, alen, b.matNo, b.gap, 0, rows, path);
  const float nas = zemtra::normalisedScore(c.score, zemtra::columnSelfScore(rows[0], alen, scores),
                                            zemtra::columnSelfScore(rows[1], alen, scores));
  if (c.score != columnScore || bits(nas) != bits(norm_kv(0, 1, alen, columnScore, b.matNo, 0, rows, path)) ||
      bits(zemtra::percentOfShorter(c.identities, nres[0], nres[1])) != bits(pidf_kv(0, 1, alen, rows, nres)) ||
      static_cast<float>(c.differences) != pdif_kv(0, 1, alen, rows, alilen) || c.counted != alilen[0][1])
    defect("measureColumns", j, k, "a column measure of the aligned rows");
}

// Two groups of a join laid out as the run's working alignment: the rows
// before split and the rows from it on, each padded with gaps to its
// group's longest row, as the rows of an aligned group are.
struct Join {
  std::unique_ptr<KARVO::Matrix<char>> seqs;
  std::vector<unsigned long> len, members1, members2;
  unsigned long long cells = 0;  // what the comp_kv series over all member pairs visits
  int pairs() const { return static_cast<int>(members1.size() * members2.size()); }
};

Join joinAt(const Batch& b, unsigned long split) {
  Join g;
  const unsigned long rows = b.text.size();
  unsigned long longest[2] = {0, 0};
  for (unsigned long r = 0; r < rows; ++r) longest[r < split ? 0 : 1] = std::max(longest[r < split ? 0 : 1], b.len[r]);
  g.seqs = std::make_unique<KARVO::Matrix<char>>(rows, b.cols);
  for (unsigned long r = 0; r < rows; ++r) {
    const unsigned long padded = longest[r < split ? 0 : 1];
    g.len.push_back(padded);
    (r < split ? g.members1 : g.members2).push_back(r);
    for (unsigned long c = 0; c < b.cols; ++c)
      (*g.seqs)[r][c] = c < 1 || c > padded ? '.' : c <= b.len[r] ? b.text[r][c - 1] : '-';
  }
  g.cells = static_cast<unsigned long long>(g.pairs()) * longest[0] * longest[1];
  return g;
}

// What the run reads from a join: the lengths compare leaves, then the
// alignment as from a pair.
struct JoinSeen {
  unsigned long lenJ = 0, lenK = 0;
  PairSeen aligned;
  bool operator==(const JoinSeen& o) const { return lenJ == o.lenJ && lenK == o.lenK && aligned == o.aligned; }
};

// One join through one routine; cmp and path carry over from join to join
// as in the run.
using JoinRoutine = std::function<JoinSeen(const Batch&, const Join&, KARVO::Matrix<int>& cmp, Path& path)>;

JoinSeen joinReference(const Batch& b, const Join& g, KARVO::Matrix<int>& cmp, Path& path) {
  JoinSeen seen;
  bool first = true;
  for (const unsigned long j : g.members1)
    for (const unsigned long k : g.members2)
      comp_kv(j, k, b.matNo, &seen.lenJ, &seen.lenK, cmp, *g.seqs, g.len.data(), first);
  seen.aligned =
      alignedSeen(path, [&](int* alen) { return pair_kv(seen.lenJ, seen.lenK, b.gap, alen, g.pairs(), cmp, path); });
  return seen;
}

// The fast engine's joins on every level this CPU runs; one profile and one
// workspace per level, warmed up by the joins before.
std::vector<std::pair<std::string, JoinRoutine>> joinRoutines() {
  std::vector<std::pair<std::string, JoinRoutine>> routines;
  for (const zemtra::SimdLevel level : zemtra::kSimdLevels) {
    if (!zemtra::simdLevelSupported(level)) continue;
    auto profile = std::make_shared<zemtra::GroupProfile>();
    auto ws = std::make_shared<zemtra::DpWorkspace>();
    routines.emplace_back("GroupProfile + pairFast, level " + std::to_string(static_cast<int>(level)),
                          [level, profile, ws](const Batch& b, const Join& g, KARVO::Matrix<int>& cmp, Path& path) {
                            JoinSeen seen;
                            const zemtra::GroupComparison groups{*g.seqs,
                                                                 g.len.data(),
                                                                 g.members1.data(),
                                                                 static_cast<int>(g.members1.size()),
                                                                 g.members2.data(),
                                                                 static_cast<int>(g.members2.size()),
                                                                 b.matNo};
                            profile->compare(groups, cmp, &seen.lenJ, &seen.lenK);
                            seen.aligned = alignedSeen(path, [&](int* alen) {
                              return zemtra::pairFast(seen.lenJ, seen.lenK, b.gap, alen, g.pairs(), cmp, path, *ws,
                                                      level);
                            });
                            return seen;
                          });
  }
  return routines;
}

// A comparison matrix whose stale cells are recognisable.
std::unique_ptr<KARVO::Matrix<int>> markedCmp(unsigned long rows, unsigned long cols) {
  auto cmp = std::make_unique<KARVO::Matrix<int>>(rows, cols);
  for (unsigned long r = 0; r < rows; ++r) std::fill((*cmp)[r], (*cmp)[r] + cols, -9999);
  return cmp;
}

void checkJoins(const Batch& b) {
  static const auto routines = joinRoutines();
  std::vector<Join> joins;
  unsigned long rows = 1, cols = 1;
  for (unsigned long split = 1; split < b.text.size(); ++split) {
    Join g = joinAt(b, split);
    if (g.cells > kCellBudget) continue;
    rows = std::max(rows, g.len.front() + 1);
    cols = std::max(cols, g.len.back() + 1);
    joins.push_back(std::move(g));
  }
  auto refCmp = markedCmp(rows, cols);
  auto refPath = markedPath(b.cols);
  std::vector<std::unique_ptr<KARVO::Matrix<int>>> cmps;
  std::vector<std::unique_ptr<Path>> paths;
  for (std::size_t i = 0; i < routines.size(); ++i) {
    cmps.push_back(markedCmp(rows, cols));
    paths.push_back(markedPath(b.cols));
  }
  for (const Join& g : joins) {
    const unsigned long split = g.members2.front();
    const JoinSeen want = joinReference(b, g, *refCmp, *refPath);
    for (std::size_t i = 0; i < routines.size(); ++i) {
      const JoinSeen got = routines[i].second(b, g, *cmps[i], *paths[i]);
      if (got == want) continue;
      defectAt(routines[i].first, "the join at row " + std::to_string(split),
               "lengths " + std::to_string(want.lenJ) + "x" + std::to_string(want.lenK) + " / " +
                   std::to_string(got.lenJ) + "x" + std::to_string(got.lenK) + ", " +
                   difference(want.aligned, got.aligned));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  zemtra::setExitHandler(throwExit);
  zemtra::setDebugOutput(quiet);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto routines = fastRoutines();
  const Batch b = decode(data, size);
  for (unsigned long j = 0; j + 1 < b.text.size(); ++j) {
    auto refPath = markedPath(b.cols);
    const std::vector<PairSeen> want = reference(b, j, *refPath);
    for (const auto& [name, routine] : routines) {
      auto path = markedPath(b.cols);
      const std::vector<PairSeen> got = routine(b, j, *path);
      if (got.size() != want.size()) defect(name, j, j + 1, "a pair missing or reported twice");
      for (std::size_t p = 0; p < want.size(); ++p) expectSame(name, j, j + 1 + p, want[p], got[p]);
    }
    // Measures read the path of the pair just aligned, so pair by pair.
    auto path = markedPath(b.cols);
    for (unsigned long k = j + 1; k < b.text.size(); ++k) {
      const PairSeen& seen = want[k - j - 1];
      if (seen.exit != nullptr || seen.alen <= 0 || static_cast<unsigned long>(seen.alen) >= b.cols) continue;
      std::copy(seen.path.begin(), seen.path.end(), (*path)[0]);
      checkMeasures(b, j, k, *path, seen.alen);
    }
  }
  checkJoins(b);
  return 0;
}
