// The consistency method on small random alignments, once on one thread and
// once on two: both results must be the same bytes (rows, column
// confidences, tree, objective and refinement counts), and the rows must
// keep every row's residues in order, share one width, hold no all-gap
// column (unless every row is without residues) and keep the prealigned
// block's alignment.
// Input: fixed, rounds, refinement, seed bytes, then the rows, one per line
// ('-' and '.' are gaps, any other byte a residue); the first `fixed` rows
// are padded with gaps to one width, as the prealigned block is.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "byte_reader.h"
#include "consistency/consistency.h"

namespace {

using zemtra::consistency::Result;

constexpr unsigned kMaxRows = 8;
constexpr std::size_t kMaxRowLength = 40;

[[noreturn]] void defect(const std::string& what) {
  std::fprintf(stderr, "fuzz_consistency: %s\n", what.c_str());
  std::abort();
}

std::string residues(const std::string& row) {
  std::string out;
  for (const char c : row)
    if (c != '-' && c != '.') out += c;
  return out;
}

bool sameBytes(const Result& a, const Result& b) {
  if (a.rows != b.rows || a.tree.size() != b.tree.size() || a.columnConfidence != b.columnConfidence ||
      std::bit_cast<std::uint64_t>(a.objective) != std::bit_cast<std::uint64_t>(b.objective) ||
      a.refinementTried != b.refinementTried || a.refinementKept != b.refinementKept)
    return false;
  for (std::size_t i = 0; i < a.tree.size(); ++i) {
    const auto &x = a.tree[i], &y = b.tree[i];
    if (x.left != y.left || x.right != y.right ||
        std::bit_cast<std::uint32_t>(x.distance) != std::bit_cast<std::uint32_t>(y.distance))
      return false;
  }
  return true;
}

// The columns of rows [0, fixed) in which one of them has a residue.
std::vector<std::string> block(const std::vector<std::string>& rows, unsigned fixed) {
  std::vector<std::string> out(fixed);
  for (std::size_t c = 0; fixed > 0 && c < rows[0].size(); ++c) {
    bool any = false;
    for (unsigned r = 0; r < fixed; ++r) any = any || (rows[r][c] != '-' && rows[r][c] != '.');
    for (unsigned r = 0; any && r < fixed; ++r) out[r] += rows[r][c] == '.' ? '-' : rows[r][c];
  }
  return out;
}

void checkRows(const std::vector<std::string>& input, unsigned fixed, const Result& result) {
  if (result.rows.size() != input.size()) defect("a row lost or added");
  const std::size_t width = result.rows[0].size();
  bool anyResidue = false;
  for (std::size_t r = 0; r < input.size(); ++r) {
    if (result.rows[r].size() != width) defect("rows of different widths");
    if (residues(result.rows[r]) != residues(input[r])) defect("row " + std::to_string(r) + " lost residues");
    anyResidue = anyResidue || !residues(input[r]).empty();
  }
  for (std::size_t c = 0; anyResidue && c < width; ++c) {
    bool any = false;
    for (const std::string& row : result.rows) any = any || row[c] != '-';
    if (!any) defect("an all-gap column");
  }
  if (result.columnConfidence.size() != width) defect("not one confidence per column");
  if (fixed >= 2 && block(input, fixed) != block(result.rows, fixed))
    defect("the prealigned rows lost their alignment to each other");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ByteReader in(data, size);
  const std::uint8_t fixedByte = in.byte();
  zemtra::consistency::Options options;
  options.consistencyRounds = static_cast<int>(in.pick(4));
  options.refineIterations = static_cast<int>(in.pick(21));
  options.seed = in.byte();
  std::vector<std::string> rows;
  while (!in.empty() && rows.size() < kMaxRows) {
    std::string row = in.line();
    row.resize(std::min(row.size(), kMaxRowLength));
    rows.push_back(row);
  }
  if (rows.size() < 2) return 0;
  const unsigned fixed = fixedByte % static_cast<unsigned>(rows.size() + 1);
  std::size_t blockWidth = 0;
  for (unsigned r = 0; r < fixed; ++r) blockWidth = std::max(blockWidth, rows[r].size());
  for (unsigned r = 0; r < fixed; ++r) rows[r].resize(blockWidth, '-');

  options.threads = 1;
  const Result one = zemtra::consistency::align(rows, fixed, options);
  options.threads = 2;
  const Result two = zemtra::consistency::align(rows, fixed, options);
  if (!sameBytes(one, two)) defect("one thread and two threads give different results");
  checkRows(rows, fixed, one);
  return 0;
}
