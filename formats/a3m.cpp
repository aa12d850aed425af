// A3M, the query-anchored alignment of profile searches: FASTA-like
// entries whose upper-case letters and '-' are the match columns (the
// query's residues), while lower-case letters are insertions relative to
// the query and '.' a gap inside an insertion. Reading expands it to a full
// alignment: the insertions between two match columns take as many columns
// as the longest of them, filled from the left, and the other rows get gaps
// there.
#include <algorithm>

#include "formats/alignment_formats.h"
#include "formats/alignment_io.h"

namespace KARVO::formats {

bool isA3mAnnotation(std::string_view name) {
  return name == "ss_pred" || name == "ss_conf" || name == "ss_dssp" || name == "sa_dssp";
}

namespace {

bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool isLower(char c) { return c >= 'a' && c <= 'z'; }
bool isMatch(char c) { return isUpper(c) || c == '-'; }
bool isInsert(char c) { return isLower(c) || c == '.'; }

// One entry as read: the inserted text before each match column (and after
// the last one), and the match columns.
struct A3mRow {
  std::size_t row = 0;
  unsigned long line = 0;
  std::string matches;
  std::vector<std::string> inserts{std::string()};
  bool star = false;
};

void appendA3m(const TextFile& file, A3mRow& entry, const std::string& name, std::string_view text,
               unsigned long line) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == ' ' || c == '\t' || c == '\r') continue;
    if (entry.star) fail(file, line, static_cast<unsigned long>(i + 1), "text after the '*' ending " + name);
    if (isMatch(c)) {
      entry.matches += c;
      entry.inserts.emplace_back();
    } else if (isInsert(c)) {
      entry.inserts.back() += c;
    } else if (c == '*') {
      entry.star = true;
    } else {
      fail(file, line, static_cast<unsigned long>(i + 1),
           "unexpected character " + describeChar(c) + " in sequence " + name);
    }
  }
}

// The entries of the file; lines starting with '#' before the first header
// are comments.
std::vector<A3mRow> readEntries(const TextFile& file, RowCollector& rows) {
  std::vector<A3mRow> entries;
  bool skipping = false;
  for (std::size_t i = 0; i < file.lines.size(); ++i) {
    const std::string_view line = file.lines[i];
    const auto lineNo = static_cast<unsigned long>(i + 1);
    if (isBlank(line) || (entries.empty() && !skipping && line.front() == '#')) continue;
    if (line.front() == '>') {
      const Title title = splitTitle(line.substr(1), 2);
      if (title.name.empty()) fail(file, lineNo, 2, "header without a sequence name");
      skipping = entries.empty() && isA3mAnnotation(title.name);
      if (!skipping) {
        A3mRow entry;
        entry.row = rows.add(title.name, title.description, lineNo, title.nameColumn);
        entry.line = lineNo;
        entries.push_back(std::move(entry));
      }
      continue;
    }
    if (skipping) continue;
    if (entries.empty()) fail(file, lineNo, 1, "sequence data before the first '>' header");
    appendA3m(file, entries.back(), rows.name(entries.back().row), line, lineNo);
  }
  return entries;
}

}  // namespace

std::unique_ptr<Alignment> readA3m(const TextFile& file) {
  RowCollector rows(file);
  const std::vector<A3mRow> entries = readEntries(file, rows);
  if (entries.empty()) fail(file, 0, 0, "no sequences");
  const std::size_t matches = entries.front().matches.size();
  std::vector<std::size_t> widths(matches + 1, 0);
  for (const A3mRow& entry : entries) {
    if (entry.matches.size() != matches) {
      fail(file, entry.line, 0,
           "sequence " + rows.name(entry.row) + " has " + std::to_string(entry.matches.size()) +
               " match columns (upper-case letters and '-'), the first sequence has " + std::to_string(matches));
    }
    for (std::size_t k = 0; k <= matches; ++k) widths[k] = std::max(widths[k], entry.inserts[k].size());
  }
  for (const A3mRow& entry : entries) {
    std::string text;
    for (std::size_t k = 0; k <= matches; ++k) {
      text += entry.inserts[k];
      text.append(widths[k] - entry.inserts[k].size(), '-');
      if (k < matches) text += entry.matches[k];
    }
    rows.append(entry.row, text, entry.line, 1);
  }
  return rows.finish();
}

bool looksLikeA3m(const TextFile& file) {
  std::vector<std::size_t> lengths;
  std::vector<std::size_t> matches;
  bool lower = false;
  bool skipping = false;
  for (const std::string& line : file.lines) {
    if (!line.empty() && line.front() == '>') {
      skipping = lengths.empty() && isA3mAnnotation(splitTitle(std::string_view(line).substr(1), 2).name);
      if (!skipping) {
        lengths.push_back(0);
        matches.push_back(0);
      }
      continue;
    }
    if (skipping || lengths.empty()) continue;
    for (const char c : line) {
      if (isMatch(c) || isInsert(c)) ++lengths.back();
      if (isMatch(c)) ++matches.back();
      lower = lower || isLower(c);
    }
  }
  if (!lower || lengths.size() < 2) return false;
  const bool sameLengths = std::all_of(lengths.begin(), lengths.end(), [&](std::size_t n) { return n == lengths[0]; });
  const bool sameMatches = std::all_of(matches.begin(), matches.end(), [&](std::size_t n) { return n == matches[0]; });
  return !sameLengths && sameMatches;
}

namespace {

// One row's text: match columns (where the query has a residue) as
// upper-case residues or '-', insertions in lower case with '.' for a gap
// before a later inserted residue (trailing gaps of an insertion are left
// out, as reading pads them back). Columns marked in fill are written as
// '.' even without a residue after them.
std::string a3mRow(const std::string& row, const std::string& query, const std::vector<bool>& fill) {
  std::string out;
  std::size_t pendingGaps = 0;
  for (std::size_t c = 0; c < row.size(); ++c) {
    const bool gap = row[c] == '-';
    if (query[c] != '-') {
      pendingGaps = 0;
      out += row[c];
    } else if (gap && !fill[c]) {
      ++pendingGaps;
    } else {
      out.append(pendingGaps, '.');
      pendingGaps = 0;
      out += gap ? '.' : static_cast<char>(row[c] | 0x20);
    }
  }
  return out;
}

// The insertion columns the query writes as '.': those of an insertion
// whose last columns hold no residue in any row, which reading would
// otherwise not know of.
std::vector<bool> queryFill(const std::vector<std::string>& rows, const std::string& query) {
  std::vector<bool> fill(query.size(), false);
  for (std::size_t start = 0; start < query.size();) {
    if (query[start] != '-') {
      ++start;
      continue;
    }
    std::size_t end = start;
    while (end < query.size() && query[end] == '-') ++end;
    std::size_t reached = start;
    for (const std::string& row : rows) {
      for (std::size_t c = end; c > reached; --c) {
        if (row[c - 1] != '-') {
          reached = c;
          break;
        }
      }
    }
    if (reached < end)
      std::fill(fill.begin() + static_cast<std::ptrdiff_t>(start), fill.begin() + static_cast<std::ptrdiff_t>(end),
                true);
    start = end;
  }
  return fill;
}

}  // namespace

void writeA3m(std::ostream& out, const Alignment& alignment, unsigned long query) {
  std::vector<unsigned long> order{query};
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) {
    if (r != query) order.push_back(r);
  }
  std::vector<std::string> texts;
  for (const unsigned long r : order) texts.push_back(alignment.rowText(r));
  const std::vector<bool> fill = queryFill(texts, texts.front());
  const std::vector<bool> none(fill.size(), false);
  for (std::size_t i = 0; i < order.size(); ++i) {
    const SequenceInfo& info = alignment.sequence(order[i]);
    out << '>' << info.name;
    if (!info.description.empty()) out << ' ' << info.description;
    out << '\n' << a3mRow(texts[i], texts.front(), i == 0 ? fill : none) << '\n';
  }
}

}  // namespace KARVO::formats
