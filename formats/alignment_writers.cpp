// The writers. Each writes the whole alignment; all rows have the
// alignment's width, gaps included.
#include <algorithm>
#include <array>
#include <cctype>

#include "formats/alignment_formats.h"

namespace KARVO::formats {

namespace {

constexpr std::size_t kFastaLine = 60;
constexpr std::size_t kClustalBlock = 60;
constexpr std::size_t kMsfBlock = 50;
constexpr std::size_t kMsfChunk = 10;

std::size_t longestName(const Alignment& alignment) {
  std::size_t longest = 0;
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) {
    longest = std::max(longest, alignment.sequence(r).name.size());
  }
  return longest;
}

std::string padded(const std::string& text, std::size_t width) {
  return text.size() >= width ? text : text + std::string(width - text.size(), ' ');
}

std::vector<std::string> rowTexts(const Alignment& alignment) {
  std::vector<std::string> rows;
  rows.reserve(alignment.sequenceCount());
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) rows.push_back(alignment.rowText(r));
  return rows;
}

// The residue groups of the Clustal conservation line.
constexpr std::array<std::string_view, 9> kStrongGroups{"STA",  "NEQK", "NHQK", "NDEQ", "QHRK",
                                                        "MILV", "MILF", "HY",   "FYW"};
constexpr std::array<std::string_view, 11> kWeakGroups{"CSA",    "ATV",    "SAG",    "STNK",  "STPA", "SGND",
                                                       "SNDEQK", "NDEQHK", "NEQHRK", "FVLIM", "HFY"};

template <std::size_t N>
bool withinOneGroup(std::string_view residues, const std::array<std::string_view, N>& groups) {
  return std::any_of(groups.begin(), groups.end(), [residues](std::string_view group) {
    return std::all_of(residues.begin(), residues.end(),
                       [group](char c) { return group.find(c) != std::string_view::npos; });
  });
}

}  // namespace

char conservationMark(std::string_view column) {
  std::string residues;
  for (const char c : column) {
    if (c == '-' || c == '.') return ' ';
    residues += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  if (residues.empty()) return ' ';
  if (std::all_of(residues.begin(), residues.end(), [&](char c) { return c == residues.front(); })) return '*';
  if (withinOneGroup(residues, kStrongGroups)) return ':';
  if (withinOneGroup(residues, kWeakGroups)) return '.';
  return ' ';
}

int gcgChecksum(std::string_view row) {
  long check = 0;
  for (std::size_t i = 0; i < row.size(); ++i) {
    check += static_cast<long>(i % 57 + 1) * std::toupper(static_cast<unsigned char>(row[i]));
  }
  return static_cast<int>(check % 10000);
}

void writeFasta(std::ostream& out, const Alignment& alignment) {
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) {
    const SequenceInfo& info = alignment.sequence(r);
    out << '>' << info.name;
    if (!info.description.empty()) out << ' ' << info.description;
    out << '\n';
    const std::string row = alignment.rowText(r);
    for (std::size_t start = 0; start < row.size(); start += kFastaLine) out << row.substr(start, kFastaLine) << '\n';
  }
}

void writeClustal(std::ostream& out, const Alignment& alignment) {
  out << "CLUSTAL multiple sequence alignment by karvo\n\n";
  const std::size_t nameWidth = longestName(alignment) + 4;
  const std::vector<std::string> rows = rowTexts(alignment);
  std::string marks(alignment.columnCount(), ' ');
  std::string column(rows.size(), ' ');
  for (std::size_t c = 0; c < marks.size(); ++c) {
    for (std::size_t r = 0; r < rows.size(); ++r) column[r] = rows[r][c];
    marks[c] = conservationMark(column);
  }
  for (std::size_t start = 0; start < alignment.columnCount(); start += kClustalBlock) {
    out << '\n';
    for (unsigned long r = 0; r < rows.size(); ++r) {
      out << padded(alignment.sequence(r).name, nameWidth) << rows[r].substr(start, kClustalBlock) << '\n';
    }
    // The marks line stands under the residues; trailing blanks are kept, as
    // readers expect the line to be as long as the block.
    out << std::string(nameWidth, ' ') << marks.substr(start, kClustalBlock) << '\n';
  }
}

void writeMsf(std::ostream& out, const Alignment& alignment) {
  std::vector<std::string> rows;
  long total = 0;
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) {
    std::string row = alignment.rowText(r);
    std::replace(row.begin(), row.end(), '-', '.');
    total += gcgChecksum(row);
    rows.push_back(std::move(row));
  }
  const unsigned long length = alignment.columnCount();
  const std::size_t nameWidth = longestName(alignment);

  out << "!!AA_MULTIPLE_ALIGNMENT 1.0\n\n";
  out << " MSF: " << length << "  Type: P  Check: " << total % 10000 << "  ..\n\n";
  for (unsigned long r = 0; r < rows.size(); ++r) {
    out << " Name: " << padded(alignment.sequence(r).name, nameWidth) << "  Len: " << length
        << "  Check: " << gcgChecksum(rows[r]) << "  Weight: 1.00\n";
  }
  out << "\n//\n";
  for (std::size_t start = 0; start < length; start += kMsfBlock) {
    out << '\n';
    for (unsigned long r = 0; r < rows.size(); ++r) {
      out << padded(alignment.sequence(r).name, nameWidth + 2);
      const std::size_t end = std::min<std::size_t>(start + kMsfBlock, length);
      for (std::size_t chunk = start; chunk < end; chunk += kMsfChunk) {
        if (chunk != start) out << ' ';
        out << rows[r].substr(chunk, std::min(kMsfChunk, end - chunk));
      }
      out << '\n';
    }
  }
}

// One block with every row on one line; descriptions as "#=GS name DE".
void writeStockholm(std::ostream& out, const Alignment& alignment, const std::vector<ColumnMarks>& columnMarks) {
  out << "# STOCKHOLM 1.0\n";
  const std::size_t nameWidth = longestName(alignment);
  bool anyDescription = false;
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) {
    const SequenceInfo& info = alignment.sequence(r);
    if (info.description.empty()) continue;
    out << "#=GS " << padded(info.name, nameWidth) << " DE " << withoutControls(info.description) << '\n';
    anyDescription = true;
  }
  if (anyDescription) out << '\n';
  // Rows and marks start in one column.
  std::size_t start = nameWidth + 2;
  for (const ColumnMarks& line : columnMarks) start = std::max(start, line.tag.size() + 6);
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) {
    out << padded(alignment.sequence(r).name, start) << alignment.rowText(r) << '\n';
  }
  for (const ColumnMarks& line : columnMarks) out << padded("#=GC " + line.tag, start) << line.marks << '\n';
  out << "//\n";
}

// Relaxed PHYLIP, sequential: the counts, then each full name and its whole
// row on one line (no room for descriptions).
void writePhylip(std::ostream& out, const Alignment& alignment) {
  out << ' ' << alignment.sequenceCount() << ' ' << alignment.columnCount() << '\n';
  const std::size_t nameWidth = longestName(alignment);
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) {
    out << padded(alignment.sequence(r).name, nameWidth + 2) << alignment.rowText(r) << '\n';
  }
}

}  // namespace KARVO::formats
