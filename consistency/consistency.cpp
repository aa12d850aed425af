#include "consistency/consistency.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iterator>
#include <random>
#include <stdexcept>
#include <thread>

#include "consistency/groups.h"
#include "consistency/pair_hmm.h"
#include "consistency/posterior_set.h"

namespace zemtra::consistency {

namespace {

using Clock = std::chrono::steady_clock;

// In a re-estimation pass each residue keeps this weight on its own code;
// the rest goes to the other residues of its column.
constexpr double kProfileOwnWeight = 0.3;

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

bool isGap(char c) { return c == '-' || c == '.'; }

// The rows without gaps, and the prealigned block as one group.
struct Input {
  std::vector<std::string> residues;
  std::vector<std::vector<std::uint8_t>> codes;
  Group block;                                    // members 0 .. fixed - 1
  std::vector<std::vector<std::uint32_t>> units;  // the block first, then every other row alone
};

Input readInput(const std::vector<std::string>& rows, unsigned fixed) {
  if (rows.size() < 2) throw std::invalid_argument("the consistency method needs at least two rows");
  if (fixed > rows.size()) throw std::invalid_argument("more prealigned rows than rows");
  Input in;
  const std::size_t width = fixed > 0 ? rows[0].size() : 0;
  std::vector<bool> used(width, false);
  for (unsigned r = 0; r < fixed; ++r) {
    if (rows[r].size() != width) throw std::invalid_argument("the prealigned rows differ in width");
    for (std::size_t c = 0; c < width; ++c) used[c] = used[c] || !isGap(rows[r][c]);
  }
  std::vector<std::uint32_t> newColumn(width, 0);
  for (std::size_t c = 0; c < width; ++c) {
    newColumn[c] = in.block.width;
    if (used[c]) ++in.block.width;
  }
  for (std::size_t r = 0; r < rows.size(); ++r) {
    std::string res;
    std::vector<std::uint32_t> cols;
    for (std::size_t c = 0; c < rows[r].size(); ++c) {
      if (isGap(rows[r][c])) continue;
      res.push_back(rows[r][c]);
      if (r < fixed) cols.push_back(newColumn[c]);
    }
    if (r < fixed) {
      in.block.members.push_back(static_cast<std::uint32_t>(r));
      in.block.columns.push_back(std::move(cols));
    }
    in.codes.push_back(encodeResidues(res));
    in.residues.push_back(std::move(res));
  }
  if (fixed > 0) in.units.push_back(in.block.members);
  for (std::size_t r = fixed; r < rows.size(); ++r) in.units.push_back({static_cast<std::uint32_t>(r)});
  return in;
}

// Runs fn(item, worker) for every item on `threads` workers, the calling
// thread being worker 0 and the only one that reports progress. Each item
// writes only its own slot, so results never depend on the schedule.
// Returns false when cancelled.
template <typename Fn>
bool parallelFor(std::size_t count, unsigned threads, const Progress& progress, long& done, long total, Fn fn) {
  std::atomic<std::size_t> next{0};
  std::atomic<long> finished{0};
  auto cancelled = [&] { return progress.cancel != nullptr && progress.cancel->load(); };
  auto work = [&](unsigned worker) {
    while (!cancelled()) {
      const std::size_t item = next.fetch_add(1);
      if (item >= count) break;
      fn(item, worker);
      const long now = finished.fetch_add(1) + 1;
      if (worker == 0 && progress.report) progress.report(done + now, total);
    }
  };
  const unsigned extra = static_cast<unsigned>(std::min<std::size_t>(threads, std::max<std::size_t>(count, 1)) - 1);
  std::vector<std::thread> pool;
  for (unsigned w = 1; w <= extra; ++w) pool.emplace_back(work, w);
  work(0);
  for (std::thread& t : pool) t.join();
  done += static_cast<long>(count);
  return !cancelled();
}

struct RunContext {
  const Input& in;
  unsigned fixed;
  Options options;
  const Progress& progress;
  long done = 0;
  long total = 0;
};

struct PairList {
  std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs;  // x < y, both with residues, not both prealigned
};

PairList freePairs(const Input& in, unsigned fixed) {
  PairList list;
  const auto n = static_cast<std::uint32_t>(in.codes.size());
  for (std::uint32_t x = 0; x < n; ++x) {
    for (std::uint32_t y = x + 1; y < n; ++y) {
      if (y < fixed || in.codes[x].empty() || in.codes[y].empty()) continue;
      list.pairs.emplace_back(x, y);
    }
  }
  return list;
}

// The third sequences of every pair: all rows with residues, or with a
// limit the nearest rows of x and of y. near[x] lists x's nearest rows,
// ascending; empty when every row serves.
std::vector<std::vector<std::uint32_t>> nearestRows(const Input& in, const PosteriorSet& post, unsigned limit) {
  const auto n = static_cast<std::uint32_t>(in.codes.size());
  const auto rows = static_cast<std::size_t>(
      std::count_if(in.codes.begin(), in.codes.end(), [](const auto& c) { return !c.empty(); }));
  std::vector<std::vector<std::uint32_t>> near(n);
  if (limit == 0 || rows <= std::size_t{limit} + 2) return near;
  const std::size_t keep = std::max(1u, limit / 2);
  std::vector<std::pair<double, std::uint32_t>> ranked;
  for (std::uint32_t x = 0; x < n; ++x) {
    if (in.codes[x].empty()) continue;
    ranked.clear();
    for (std::uint32_t z = 0; z < n; ++z) {
      if (z == x || in.codes[z].empty()) continue;
      const double shorter = static_cast<double>(std::min(in.codes[x].size(), in.codes[z].size()));
      ranked.emplace_back(-post.get(x, z).sum() / shorter, z);
    }
    std::partial_sort(ranked.begin(), ranked.begin() + static_cast<std::ptrdiff_t>(keep), ranked.end());
    for (std::size_t k = 0; k < keep; ++k) near[x].push_back(ranked[k].second);
    std::sort(near[x].begin(), near[x].end());
  }
  return near;
}

std::vector<std::uint32_t> thirdSequences(const Input& in, const std::vector<std::vector<std::uint32_t>>& near,
                                          std::uint32_t x, std::uint32_t y) {
  std::vector<std::uint32_t> z;
  if (near[x].empty()) {
    for (std::uint32_t k = 0; k < in.codes.size(); ++k) {
      if (k != x && k != y && !in.codes[k].empty()) z.push_back(k);
    }
    return z;
  }
  std::set_union(near[x].begin(), near[x].end(), near[y].begin(), near[y].end(), std::back_inserter(z));
  z.erase(std::remove_if(z.begin(), z.end(), [&](std::uint32_t k) { return k == x || k == y; }), z.end());
  return z;
}

// 1 - expected accuracy for every pair; 1 where a row has no residues.
bool pairDistances(RunContext& ctx, const PairList& list, const PosteriorSet& post, std::vector<double>& d) {
  const std::size_t n = ctx.in.codes.size();
  d.assign(n * n, 1.0);
  for (std::size_t x = 0; x < n; ++x) d[x * n + x] = 0.0;
  std::vector<double> accuracy(list.pairs.size());
  long ignored = 0;
  const bool ok = parallelFor(list.pairs.size(), ctx.options.threads, Progress{{}, ctx.progress.cancel}, ignored, 0,
                              [&](std::size_t k, unsigned) {
                                accuracy[k] = expectedAccuracy(post.get(list.pairs[k].first, list.pairs[k].second));
                              });
  for (std::size_t k = 0; k < list.pairs.size(); ++k) {
    const auto [x, y] = list.pairs[k];
    d[x * n + y] = d[y * n + x] = 1.0 - std::min(1.0, accuracy[k]);
  }
  for (std::uint32_t x = 0; x < ctx.fixed; ++x) {
    for (std::uint32_t y = x + 1; y < ctx.fixed; ++y) d[x * n + y] = d[y * n + x] = 0.0;
  }
  return ok;
}

Group singleton(const Input& in, std::uint32_t r) {
  Group g;
  g.members = {r};
  g.width = static_cast<std::uint32_t>(in.codes[r].size());
  std::vector<std::uint32_t>& cols = g.columns.emplace_back(g.width);
  for (std::uint32_t i = 0; i < g.width; ++i) cols[i] = i;
  return g;
}

// Sum over all pairs of the posteriors of the residue pairs the alignment
// puts in one column; also per column when perColumn is given.
double alignedPosterior(const Group& g, const PosteriorSet& post, std::vector<double>* perColumn) {
  double total = 0;
  for (std::size_t a = 0; a < g.members.size(); ++a) {
    for (std::size_t b = a + 1; b < g.members.size(); ++b) {
      const SparsePosterior& p = post.get(g.members[a], g.members[b]);
      for (std::uint32_t i = 0; i < p.rows(); ++i) {
        const std::uint32_t col = g.columns[a][i];
        for (std::uint32_t k = p.rowStart[i]; k < p.rowStart[i + 1]; ++k) {
          if (g.columns[b][p.entries[k].col] != col) continue;
          total += p.entries[k].p;
          if (perColumn) (*perColumn)[col] += p.entries[k].p;
        }
      }
    }
  }
  return total;
}

}  // namespace

namespace {

// The entry-wise mean of two posterior matrices of one pair, entries below
// the cutoff dropped.
SparsePosterior meanPosterior(const SparsePosterior& a, const SparsePosterior& b) {
  SparsePosterior out;
  out.cols = a.cols;
  out.rowStart.assign(a.rowStart.size(), 0);
  for (std::uint32_t i = 0; i < a.rows(); ++i) {
    std::uint32_t p = a.rowStart[i], q = b.rowStart[i];
    const std::uint32_t pEnd = a.rowStart[i + 1], qEnd = b.rowStart[i + 1];
    while (p < pEnd || q < qEnd) {
      const bool fromA = q == qEnd || (p < pEnd && a.entries[p].col <= b.entries[q].col);
      const bool fromB = p == pEnd || (q < qEnd && b.entries[q].col <= a.entries[p].col);
      const std::uint32_t col = fromA ? a.entries[p].col : b.entries[q].col;
      const double sum = (fromA ? double{a.entries[p++].p} : 0.0) + (fromB ? double{b.entries[q++].p} : 0.0);
      const auto mean = static_cast<float>(0.5 * sum);
      if (mean >= kPosteriorCutoff) out.entries.push_back({col, mean});
    }
    out.rowStart[i + 1] = static_cast<std::uint32_t>(out.entries.size());
  }
  return out;
}

// Posteriors of every free pair, the mean of the two emission tables', from
// the rows' residues, or with `profiles` from the pair's column profiles
// (each row without the other); the prealigned block's pairs as its
// columns say.
bool computePosteriors(RunContext& ctx, const PairList& list, const ColumnProfiles* profiles, PosteriorSet& post) {
  const Input& in = ctx.in;
  for (std::uint32_t x = 0; x < ctx.fixed; ++x) {
    for (std::uint32_t y = x + 1; y < ctx.fixed; ++y)
      post.at(x, y) = alignedPairPosterior(in.block.columns[x], in.block.columns[y]);
  }
  const PairHmmParams params = defaultPairHmmParams();
  const MatchOdds& blosum = blosum62MatchOdds();
  const MatchOdds& gonnet = gonnetMatchOdds();
  const unsigned workers = std::max(1u, ctx.options.threads);
  std::vector<PairHmmWorkspace> work(workers);
  std::vector<ResidueProfile> px(workers), py(workers);
  const bool ok = parallelFor(list.pairs.size(), ctx.options.threads, ctx.progress, ctx.done, ctx.total,
                              [&](std::size_t k, unsigned w) {
                                const auto [x, y] = list.pairs[k];
                                if (profiles != nullptr) {
                                  profiles->profileOf(x, y, px[w]);
                                  profiles->profileOf(y, x, py[w]);
                                } else {
                                  px[w] = plainProfile(in.codes[x]);
                                  py[w] = plainProfile(in.codes[y]);
                                }
                                post.at(x, y) = meanPosterior(profilePosteriors(px[w], py[w], params, blosum, work[w]),
                                                              profilePosteriors(px[w], py[w], params, gonnet, work[w]));
                              });
  post.mirrorUpper();
  return ok;
}

// Weights of the third sequences: a row that many others resemble counts
// less, w_z = 1 / (1 + sum over the other rows k of EA(z, k)^4), with EA the
// expected accuracy of the pair; scaled to a mean of 1 over the rows with
// residues.
std::vector<float> thirdWeights(const Input& in, const std::vector<double>& distance) {
  constexpr double kSharpness = 4.0;
  const std::size_t n = in.codes.size();
  std::vector<double> raw(n, 0.0);
  double mean = 0;
  std::size_t rows = 0;
  for (std::size_t z = 0; z < n; ++z) {
    if (in.codes[z].empty()) continue;
    double similar = 1.0;
    for (std::size_t k = 0; k < n; ++k) {
      if (k != z && !in.codes[k].empty()) similar += std::pow(1.0 - distance[z * n + k], kSharpness);
    }
    raw[z] = 1.0 / similar;
    mean += raw[z];
    ++rows;
  }
  mean /= static_cast<double>(std::max<std::size_t>(rows, 1));
  std::vector<float> weights(n, 0.0f);
  for (std::size_t z = 0; z < n; ++z) weights[z] = static_cast<float>(raw[z] / mean);
  return weights;
}

bool transformRound(RunContext& ctx, const PairList& list, PosteriorSet& post) {
  std::vector<SparsePosterior> next(list.pairs.size());
  const auto near = nearestRows(ctx.in, post, ctx.options.thirdSequences);
  std::vector<double> distance;
  if (!pairDistances(ctx, list, post, distance)) return false;
  const std::vector<float> weights = thirdWeights(ctx.in, distance);
  std::vector<std::vector<float>> dense(std::max(1u, ctx.options.threads));
  const bool ok = parallelFor(
      list.pairs.size(), ctx.options.threads, ctx.progress, ctx.done, ctx.total, [&](std::size_t k, unsigned w) {
        const auto [x, y] = list.pairs[k];
        next[k] = transformPair(post, x, y, thirdSequences(ctx.in, near, x, y), dense[w], weights);
      });
  if (!ok) return false;
  for (std::size_t k = 0; k < list.pairs.size(); ++k)
    post.at(list.pairs[k].first, list.pairs[k].second) = std::move(next[k]);
  post.mirrorUpper();
  return true;
}

Group progressive(RunContext& ctx, const std::vector<TreeJoin>& tree, const PosteriorSet& post) {
  const std::size_t n = ctx.in.codes.size();
  std::vector<Group> clusters(n + tree.size());
  for (std::uint32_t r = 0; r < n; ++r) clusters[r] = singleton(ctx.in, r);
  const std::size_t blockJoins = ctx.fixed > 0 ? ctx.fixed - 1 : 0;
  if (ctx.fixed > 0) clusters[ctx.fixed == 1 ? 0 : n + blockJoins - 1] = ctx.in.block;
  MergeWork work;
  for (std::size_t k = blockJoins; k < tree.size(); ++k) {
    Group& a = clusters[static_cast<std::size_t>(tree[k].left)];
    Group& b = clusters[static_cast<std::size_t>(tree[k].right)];
    columnPairScores(a, b, post, work);
    double best = 0;
    clusters[n + k] = mergeGroups(a, b, work, best);
    a = Group{};
    b = Group{};
    ++ctx.done;
    if (ctx.progress.report) ctx.progress.report(ctx.done, ctx.total);
  }
  return tree.empty() ? clusters[0] : std::move(clusters.back());
}

// A random split of the units into two non-empty sides.
std::vector<bool> randomSplit(std::mt19937_64& random, std::size_t units) {
  std::vector<bool> side(units);
  for (std::size_t u = 0; u < units; ++u) side[u] = (random() >> 63) != 0;
  if (std::all_of(side.begin(), side.end(), [&](bool s) { return s == side[0]; })) {
    const std::size_t u = static_cast<std::size_t>(random() % units);
    side[u] = !side[u];
  }
  return side;
}

void refine(RunContext& ctx, const PosteriorSet& post, const std::vector<TreeJoin>& tree, Group& alignment,
            Result& result) {
  const auto& units = ctx.in.units;
  if (units.size() < 2) return;
  std::mt19937_64 random(ctx.options.seed);
  const std::vector<std::vector<bool>> edges = treeSplits(tree, ctx.in.codes.size(), ctx.fixed);
  const std::size_t edgeSteps = edges.size() * static_cast<std::size_t>(std::max(0, ctx.options.treeEdgePasses));
  MergeWork work;
  std::vector<int> keepA, keepB;
  for (int it = 0; it < ctx.options.refineIterations; ++it) {
    if (ctx.progress.cancel != nullptr && ctx.progress.cancel->load()) return;
    const auto step = static_cast<std::size_t>(it);
    const std::vector<bool> side = step < edgeSteps ? edges[step % edges.size()] : randomSplit(random, units.size());
    std::vector<std::uint32_t> membersA, membersB;
    for (std::size_t u = 0; u < units.size(); ++u) {
      auto& into = side[u] ? membersB : membersA;
      into.insert(into.end(), units[u].begin(), units[u].end());
    }
    std::sort(membersA.begin(), membersA.end());
    std::sort(membersB.begin(), membersB.end());
    const Group a = projectGroup(alignment, membersA, keepA);
    const Group b = projectGroup(alignment, membersB, keepB);
    columnPairScores(a, b, post, work);
    const double before = currentPairing(keepA, keepB, b.width, work.score);
    double after = 0;
    Group merged = mergeGroups(a, b, work, after);
    ++result.refinementTried;
    if (acceptRefinement(before, after)) {
      alignment = std::move(merged);
      ++result.refinementKept;
    }
    ++ctx.done;
    if (ctx.progress.report) ctx.progress.report(ctx.done, ctx.total);
  }
}

void writeResult(const Input& in, const Group& g, const PosteriorSet& post, Result& result) {
  result.rows.assign(in.residues.size(), std::string(g.width, '-'));
  std::vector<double> perColumn(g.width, 0.0);
  std::vector<double> residues(g.width, 0.0);
  for (std::size_t m = 0; m < g.members.size(); ++m) {
    std::string& row = result.rows[g.members[m]];
    const std::string& res = in.residues[g.members[m]];
    for (std::size_t i = 0; i < res.size(); ++i) {
      row[g.columns[m][i]] = res[i];
      residues[g.columns[m][i]] += 1.0;
    }
  }
  result.objective = alignedPosterior(g, post, &perColumn);
  result.columnConfidence.assign(g.width, 0.0f);
  for (std::size_t c = 0; c < g.width; ++c) {
    const double pairs = residues[c] * (residues[c] - 1.0) / 2.0;
    if (pairs > 0) result.columnConfidence[c] = static_cast<float>(std::clamp(perColumn[c] / pairs, 0.0, 1.0));
  }
}

// From the posteriors of every pair: the transformation rounds, the guide
// tree, the progressive alignment and its refinement, timed into result.
// Returns false when cancelled.
bool alignByPosteriors(RunContext& ctx, const PairList& list, PosteriorSet& post, Group& alignment,
                       std::vector<double>& distance, Result& result) {
  auto t = Clock::now();
  const long rounds = std::max(0, ctx.options.consistencyRounds);
  bool ok = true;
  for (long r = 0; ok && r < rounds; ++r) ok = transformRound(ctx, list, post);
  result.timings.consistency += secondsSince(t);
  t = Clock::now();
  if (!ok || !pairDistances(ctx, list, post, distance)) return false;
  result.tree = guideTree(distance, ctx.in.codes.size(), ctx.in.units);
  result.timings.tree += secondsSince(t);
  t = Clock::now();
  alignment = progressive(ctx, result.tree, post);
  result.timings.progressive += secondsSince(t);
  t = Clock::now();
  refine(ctx, post, result.tree, alignment, result);
  result.timings.refinement += secondsSince(t);
  return !(ctx.progress.cancel != nullptr && ctx.progress.cancel->load());
}

}  // namespace

int profilePassesFor(const Options& options, std::size_t rows) {
  return rows <= options.profilePassRows ? std::max(0, options.profilePasses) : 0;
}

Result align(const std::vector<std::string>& rows, unsigned fixed, const Options& options, const Progress& progress) {
  const auto start = Clock::now();
  const Input in = readInput(rows, fixed);
  const std::size_t n = rows.size();
  Options opts = options;
  opts.threads = std::max(1u, options.threads);
  RunContext ctx{in, fixed, opts, progress};
  const PairList list = freePairs(in, fixed);
  const long rounds = std::max(0, opts.consistencyRounds);
  const long passes = 1 + profilePassesFor(opts, n);
  Options later = opts;  // the re-estimation passes: a shorter refinement
  later.refineIterations = std::max(0, opts.refineIterations) / kLaterRefineShare;
  ctx.total = passes * (static_cast<long>(list.pairs.size()) * (1 + rounds) + static_cast<long>(in.units.size()) - 1) +
              std::max(0, opts.refineIterations) + (passes - 1) * later.refineIterations;
  Result result;
  PosteriorSet post(n);
  Group alignment;
  std::vector<double> distance;
  bool ok = true;
  for (long pass = 0; ok && pass < passes; ++pass) {
    if (pass == 1) ctx.options = later;
    const auto t = Clock::now();
    if (pass == 0) {
      ok = computePosteriors(ctx, list, nullptr, post);
    } else {
      const ColumnProfiles profiles(alignment, in.codes, thirdWeights(in, distance), kProfileOwnWeight);
      ok = computePosteriors(ctx, list, &profiles, post);
    }
    result.timings.posteriors += secondsSince(t);
    ok = ok && alignByPosteriors(ctx, list, post, alignment, distance, result);
  }
  result.alignments = static_cast<int>(passes);
  if (!ok) {
    result.cancelled = true;
    result.tree.clear();
    return result;
  }
  writeResult(in, alignment, post, result);
  result.timings.total = secondsSince(start);
  return result;
}

}  // namespace zemtra::consistency
