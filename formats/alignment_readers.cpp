// The FASTA, PIR, Clustal, MSF and Stockholm readers. Each walks the lines
// once, hands every sequence line to RowCollector (which checks the
// characters) and, for the interleaved formats, to BlockChecker (which
// checks the block structure).
#include <algorithm>
#include <charconv>
#include <cstdio>

#include "formats/alignment_formats.h"
#include "formats/alignment_io.h"

namespace KARVO::formats {

namespace {

// A stray carriage return inside a line separates words like a blank, so
// that it never ends up in a name.
bool isBlankChar(char c) { return c == ' ' || c == '\t' || c == '\r'; }
bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool isDigits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlankChar(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlankChar(text.back())) text.remove_suffix(1);
  return text;
}

// The line from the start of words[from] to the end of words[last].
std::string_view wordSpan(std::string_view line, const std::vector<Word>& words, std::size_t from, std::size_t last) {
  const std::size_t begin = words[from].column - 1;
  const std::size_t end = words[last].column - 1 + words[last].text.size();
  return line.substr(begin, end - begin);
}

unsigned long firstWordColumn(std::string_view line) {
  const std::vector<Word> words = splitWords(line);
  return words.empty() ? 1 : words.front().column;
}

std::size_t firstNonBlankLine(const TextFile& file) {
  std::size_t index = 0;
  while (index < file.lines.size() && isBlank(file.lines[index])) ++index;
  return index;
}

void failNoResidues(const TextFile& file, unsigned long line, const Word& name) {
  fail(file, line, name.column + name.text.size(), "no residues after the name " + std::string(name.text));
}

}  // namespace

void fail(const TextFile& file, unsigned long line, unsigned long column, const std::string& problem) {
  throw AlignmentReadError(file.name, line, column, problem);
}

std::string describeChar(char c) {
  const auto byte = static_cast<unsigned char>(c);
  if (byte > 0x20 && byte < 0x7f) return std::string("'") + c + "'";
  char hex[8];
  std::snprintf(hex, sizeof hex, "0x%02x", byte);
  return hex;
}

std::vector<Word> splitWords(std::string_view line) {
  std::vector<Word> words;
  std::size_t pos = 0;
  while (pos < line.size()) {
    while (pos < line.size() && isBlankChar(line[pos])) ++pos;
    if (pos == line.size()) break;
    const std::size_t start = pos;
    while (pos < line.size() && !isBlankChar(line[pos])) ++pos;
    words.push_back({line.substr(start, pos - start), static_cast<unsigned long>(start + 1)});
  }
  return words;
}

bool isBlank(std::string_view line) { return std::all_of(line.begin(), line.end(), isBlankChar); }

Title splitTitle(std::string_view text, unsigned long firstColumn) {
  const auto ends = [](char c) { return isBlankChar(c) || isControlByte(static_cast<unsigned char>(c)); };
  std::size_t start = 0;
  while (start < text.size() && isBlankChar(text[start])) ++start;
  std::size_t end = start;
  while (end < text.size() && !ends(text[end])) ++end;
  return {std::string(text.substr(start, end - start)), firstColumn + static_cast<unsigned long>(start),
          std::string(trimmed(text.substr(end)))};
}

bool isPirHeader(std::string_view line) {
  // The sequence types: protein (P1, F1), DNA and RNA (DL, DC, RL, RC, N1,
  // N3) and other (XX).
  static constexpr std::string_view kTypes[] = {"P1", "F1", "DL", "DC", "RL", "RC", "N1", "N3", "XX"};
  return line.size() >= 4 && line[0] == '>' && line[3] == ';' &&
         std::find(std::begin(kTypes), std::end(kTypes), line.substr(1, 2)) != std::end(kTypes);
}

bool isPhylipHeader(std::string_view line) {
  const std::vector<Word> words = splitWords(line);
  return words.size() == 2 && isDigits(words[0].text) && isDigits(words[1].text);
}

std::string withoutControls(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (isControlByte(static_cast<unsigned char>(c)) || c == '\t') c = ' ';
  }
  return out;
}

std::size_t RowCollector::add(const std::string& name, const std::string& description, unsigned long line,
                              unsigned long column) {
  if (auto existing = find(name)) {
    fail(file_, line, column,
         "duplicate sequence name " + name + " (first at line " + std::to_string(defined_[*existing].line) + ")");
  }
  index_.emplace(name, sequences_.size());
  sequences_.push_back({name, description});
  rows_.emplace_back();
  defined_.push_back({line, column});
  star_.emplace_back();
  return sequences_.size() - 1;
}

std::optional<std::size_t> RowCollector::find(const std::string& name) const {
  const auto it = index_.find(name);
  if (it == index_.end()) return std::nullopt;
  return it->second;
}

std::size_t RowCollector::append(std::size_t row, std::string_view text, unsigned long line, unsigned long firstColumn,
                                 bool extraGap) {
  std::size_t taken = 0;
  std::string& out = rows_[row];
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (isBlankChar(c)) continue;
    const unsigned long column = firstColumn + static_cast<unsigned long>(i);
    if (const auto& star = star_[row]) {
      fail(file_, star->line, star->column, "'*' inside sequence " + sequences_[row].name + " (it may only end it)");
    }
    ++taken;
    if (isLetter(c)) {
      out += static_cast<char>(c & ~0x20);
    } else if (c == '-' || c == '.' || (extraGap && c == '~')) {
      out += '-';
    } else if (c == '*') {
      star_[row] = Position{line, column};
    } else {
      fail(file_, line, column, "unexpected character " + describeChar(c) + " in sequence " + sequences_[row].name);
    }
  }
  return taken;
}

void RowCollector::padTo(std::size_t row, std::size_t length) {
  if (rows_[row].size() < length) rows_[row].resize(length, '-');
}

void RowCollector::addDescription(std::size_t row, const std::string& text) {
  std::string& description = sequences_[row].description;
  if (!description.empty()) description += ' ';
  description += text;
}

std::size_t RowCollector::residueCount() const {
  std::size_t count = 0;
  for (const std::string& row : rows_)
    count += static_cast<std::size_t>(std::count_if(row.begin(), row.end(), isLetter));
  return count;
}

std::unique_ptr<Alignment> RowCollector::finish() const {
  if (sequences_.empty()) fail(file_, 0, 0, "no sequences");
  // Every format refuses this alike: there would be nothing to align, and
  // a FASTA copy of it could not be read back.
  if (residueCount() == 0) fail(file_, 0, 0, "only gaps, no residues in any sequence");
  return Alignment::fromRows(sequences_, rows_);
}

void BlockChecker::row(const std::string& name, unsigned long line, unsigned long nameColumn, std::string_view text,
                       unsigned long textColumn, bool extraGap) {
  if (!inBlock_) {
    inBlock_ = true;
    position_ = 0;
    width_ = 0;
    firstLine_ = line;
  }
  if (ragged_) {
    raggedRow(name, line, nameColumn, rows_.append(*rows_.find(name), text, line, textColumn, extraGap));
    return;
  }
  std::size_t index = 0;
  if (!fixed_ && blocks_ == 0) {
    index = rows_.add(name, "", line, nameColumn);
  } else {
    if (position_ >= rows_.size()) {
      fail(file_, line, nameColumn,
           "block starting at line " + std::to_string(firstLine_) + " has more rows than the " +
               std::to_string(rows_.size()) + " sequences");
    }
    if (name != rows_.name(position_)) {
      fail(file_, line, nameColumn,
           "sequence " + name + " where " + rows_.name(position_) +
               " was expected (every block lists the sequences in the same order)");
    }
    index = position_;
  }
  const std::size_t taken = rows_.append(index, text, line, textColumn, extraGap);
  if (position_ == 0) {
    width_ = taken;
  } else if (taken != width_) {
    fail(file_, line, textColumn,
         "sequence " + name + " has " + std::to_string(taken) + " columns in this block, the block's first row has " +
             std::to_string(width_));
  }
  ++position_;
}

// A row of a file whose sequences may end early: rows keep the header's
// order, may be shorter than the block's widest and leave out sequences that
// have ended, but a sequence that ended does not start again.
void BlockChecker::raggedRow(const std::string& name, unsigned long line, unsigned long nameColumn, std::size_t taken) {
  const std::size_t index = *rows_.find(name);
  if (index < position_) {
    fail(file_, line, nameColumn,
         "sequence " + name + " after " + rows_.name(position_ - 1) +
             " (every block lists the sequences in the order of the 'Name:' lines)");
  }
  if (ended_[index] && taken > 0) {
    fail(
        file_, line, nameColumn,
        "sequence " + name + " goes on after it ended in the block starting at line " + std::to_string(*ended_[index]));
  }
  taken_[index] = taken;
  width_ = std::max(width_, taken);
  position_ = index + 1;
}

void BlockChecker::endBlock() {
  if (!inBlock_) return;
  if (ragged_) {
    for (std::size_t r = 0; r < taken_.size(); ++r) {
      if (taken_[r] < width_ && !ended_[r]) ended_[r] = firstLine_;
      taken_[r] = 0;
    }
  }
  if (!ragged_ && (fixed_ || blocks_ > 0) && position_ != rows_.size()) {
    fail(file_, firstLine_, 0,
         "block has " + std::to_string(position_) + " rows, expected one for each of the " +
             std::to_string(rows_.size()) + " sequences");
  }
  inBlock_ = false;
  ++blocks_;
}

std::unique_ptr<Alignment> readFasta(const TextFile& file) {
  RowCollector rows(file);
  std::optional<std::size_t> current;
  for (std::size_t i = 0; i < file.lines.size(); ++i) {
    const std::string_view line = file.lines[i];
    const auto lineNo = static_cast<unsigned long>(i + 1);
    if (isBlank(line)) continue;
    if (line.front() != '>') {
      if (!current) fail(file, lineNo, firstWordColumn(line), "sequence data before the first '>' header");
      rows.append(*current, line, lineNo, 1);
      continue;
    }
    const Title title = splitTitle(line.substr(1), 2);
    if (title.name.empty()) fail(file, lineNo, 2, "header without a sequence name");
    current = rows.add(title.name, title.description, lineNo, title.nameColumn);
  }
  bool anyRow = false;
  for (std::size_t r = 0; r < rows.size(); ++r) anyRow = anyRow || rows.rowLength(r) > 0;
  if (!anyRow) fail(file, 0, 0, "only headers, no residues in any sequence");
  return rows.finish();
}

std::unique_ptr<Alignment> readClustal(const TextFile& file) {
  RowCollector rows(file);
  BlockChecker blocks(file, rows, false);
  for (std::size_t i = firstNonBlankLine(file) + 1; i < file.lines.size(); ++i) {
    const std::string_view line = file.lines[i];
    const auto lineNo = static_cast<unsigned long>(i + 1);
    if (isBlank(line)) {
      blocks.endBlock();
      continue;
    }
    if (isBlankChar(line.front())) {
      // The conservation line under a block.
      const bool marks = line.find_first_not_of(" \t*:.") == std::string_view::npos;
      if (!marks)
        fail(file, lineNo, firstWordColumn(line), "unexpected indented text (sequence lines start with the name)");
      continue;
    }
    const std::vector<Word> words = splitWords(line);
    if (words.size() == 1) failNoResidues(file, lineNo, words[0]);
    // A trailing number is the optional running residue count.
    const std::size_t last = words.size() >= 3 && isDigits(words.back().text) ? words.size() - 2 : words.size() - 1;
    blocks.row(std::string(words[0].text), lineNo, words[0].column, wordSpan(line, words, 1, last), words[1].column);
  }
  blocks.endBlock();
  return rows.finish();
}

std::unique_ptr<Alignment> readMsf(const TextFile& file) {
  RowCollector rows(file);
  struct DeclaredLength {
    std::size_t row;
    unsigned long length;
    unsigned long line;
    unsigned long column;
  };
  std::vector<DeclaredLength> lengths;

  std::size_t i = 0;
  for (; i < file.lines.size(); ++i) {
    const std::string_view line = file.lines[i];
    const auto lineNo = static_cast<unsigned long>(i + 1);
    if (trimmed(line).starts_with("//")) break;
    const std::vector<Word> words = splitWords(line);
    if (words.empty() || words[0].text != "Name:") continue;
    if (words.size() < 2) fail(file, lineNo, words[0].column + 5, "'Name:' without a sequence name");
    const std::size_t row = rows.add(std::string(words[1].text), "", lineNo, words[1].column);
    for (std::size_t w = 2; w + 1 < words.size(); ++w) {
      const std::string_view number = words[w + 1].text;
      if (words[w].text != "Len:" || !isDigits(number)) continue;
      unsigned long length = 0;
      const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), length);
      if (error != std::errc() || end != number.data() + number.size()) {
        fail(file, lineNo, words[w + 1].column, "Len: " + std::string(number) + " is too large");
      }
      lengths.push_back({row, length, lineNo, words[w + 1].column});
    }
  }
  if (i == file.lines.size()) fail(file, 0, 0, "no '//' line ending the MSF header");
  if (rows.size() == 0) fail(file, static_cast<unsigned long>(i + 1), 1, "no 'Name:' lines before '//'");

  BlockChecker blocks(file, rows, true, true);
  for (++i; i < file.lines.size(); ++i) {
    const std::string_view line = file.lines[i];
    const auto lineNo = static_cast<unsigned long>(i + 1);
    const std::vector<Word> words = splitWords(line);
    if (words.empty()) {
      blocks.endBlock();
      continue;
    }
    // Column numbers above a block.
    if (std::all_of(words.begin(), words.end(), [](const Word& w) { return isDigits(w.text); })) continue;
    const std::string name(words[0].text);
    if (!rows.find(name)) fail(file, lineNo, words[0].column, "sequence " + name + " is not among the 'Name:' lines");
    if (words.size() == 1) failNoResidues(file, lineNo, words[0]);
    blocks.row(name, lineNo, words[0].column, wordSpan(line, words, 1, words.size() - 1), words[1].column, true);
  }
  blocks.endBlock();
  if (!blocks.sawRows()) fail(file, 0, 0, "no sequence lines after the '//' line");
  // A sequence that ends early is padded to the length its 'Name:' line
  // gives, but never past the longest sequence: no file has more columns
  // than that, and a huge Len: would only claim memory.
  std::size_t widest = 0;
  for (std::size_t row = 0; row < rows.size(); ++row) widest = std::max(widest, rows.rowLength(row));
  for (const DeclaredLength& declared : lengths) {
    if (declared.length > widest) {
      fail(file, declared.line, declared.column,
           "sequence " + rows.name(declared.row) + ": its 'Name:' line says Len: " + std::to_string(declared.length) +
               ", but no sequence has more than " + std::to_string(widest) + " columns");
    }
    if (rows.rowLength(declared.row) > declared.length) {
      fail(file, declared.line, declared.column,
           "sequence " + rows.name(declared.row) + " has " + std::to_string(rows.rowLength(declared.row)) +
               " columns, its 'Name:' line says Len: " + std::to_string(declared.length));
    }
    rows.padTo(declared.row, declared.length);
  }
  return rows.finish();
}

std::unique_ptr<Alignment> readStockholm(const TextFile& file) {
  RowCollector rows(file);
  BlockChecker blocks(file, rows, false);
  std::vector<std::pair<std::string, std::string>> descriptions;
  bool ended = false;
  for (std::size_t i = firstNonBlankLine(file) + 1; i < file.lines.size(); ++i) {
    const std::string_view line = file.lines[i];
    const auto lineNo = static_cast<unsigned long>(i + 1);
    if (ended) {
      if (!isBlank(line)) {
        fail(file, lineNo, firstWordColumn(line), "text after the '//' line (one alignment per file is read)");
      }
      continue;
    }
    if (isBlank(line)) {
      blocks.endBlock();
      continue;
    }
    if (line.starts_with("//")) {
      ended = true;
      continue;
    }
    const std::vector<Word> words = splitWords(line);
    if (line.front() == '#') {
      // Per-sequence descriptions: "#=GS <name> DE <text>".
      if (words.size() >= 4 && words[0].text == "#=GS" && words[2].text == "DE") {
        descriptions.emplace_back(std::string(words[1].text), std::string(trimmed(line.substr(words[3].column - 1))));
      }
      continue;
    }
    if (words.size() == 1) failNoResidues(file, lineNo, words[0]);
    if (words.size() > 2) {
      fail(file, lineNo, words[2].column,
           "unexpected text after the residues of " + std::string(words[0].text) + " (rows hold no blanks)");
    }
    blocks.row(std::string(words[0].text), lineNo, words[0].column, words[1].text, words[1].column);
  }
  if (!ended) fail(file, 0, 0, "no '//' line ending the alignment");
  blocks.endBlock();
  for (const auto& [name, text] : descriptions) {
    if (const auto row = rows.find(name)) rows.addDescription(*row, text);
  }
  return rows.finish();
}

// ">P1;NAME", a description line, the residues ending with '*' (which
// some files leave out).
std::unique_ptr<Alignment> readPir(const TextFile& file) {
  RowCollector rows(file);
  std::optional<std::size_t> current;
  bool ended = true;
  for (std::size_t i = 0; i < file.lines.size(); ++i) {
    const std::string_view line = file.lines[i];
    const auto lineNo = static_cast<unsigned long>(i + 1);
    if (isBlank(line)) continue;
    if (line.front() == '>') {
      if (!isPirHeader(line)) fail(file, lineNo, 1, "a PIR header starts with '>', a sequence type and ';' (>P1;NAME)");
      const Title title = splitTitle(line.substr(4), 5);
      if (title.name.empty()) fail(file, lineNo, 5, "header without a sequence name");
      if (i + 1 == file.lines.size()) fail(file, lineNo + 1, 0, "the description line after the header is missing");
      current = rows.add(title.name, std::string(trimmed(file.lines[++i])), lineNo, title.nameColumn);
      if (!title.description.empty()) rows.addDescription(*current, title.description);
      ended = false;
      continue;
    }
    if (!current) fail(file, lineNo, firstWordColumn(line), "sequence data before the first '>' header");
    if (ended) {
      fail(file, lineNo, firstWordColumn(line), "text after the '*' that ended sequence " + rows.name(*current));
    }
    rows.append(*current, line, lineNo, 1);
    ended = trimmed(line).ends_with('*');
  }
  return rows.finish();
}

}  // namespace KARVO::formats
