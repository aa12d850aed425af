// PHYLIP: a line with the sequence count and the column count, then the
// sequences, sequential (each whole, over as many lines as it takes) or
// interleaved (a first block of named lines, then blocks of unnamed lines in
// the same order). Names are the first 10 characters of a line (strict) or
// end at the first blank (relaxed). Files rarely say which of the four
// shapes they are, so every shape the user left open is tried: the readings
// that succeed must agree, or the file is ambiguous and the message says how
// to choose.
#include <algorithm>
#include <charconv>

#include "formats/alignment_formats.h"
#include "formats/alignment_io.h"

namespace KARVO::formats {

namespace {

constexpr std::size_t kStrictNameWidth = 10;

struct Header {
  std::size_t index;  // of the header line
  std::size_t sequences;
  std::size_t columns;
};

Header readHeader(const TextFile& file) {
  std::size_t index = 0;
  while (index < file.lines.size() && isBlank(file.lines[index])) ++index;
  const auto lineNo = static_cast<unsigned long>(index + 1);
  if (index == file.lines.size() || !isPhylipHeader(file.lines[index])) {
    fail(file, lineNo, 1, "a PHYLIP file starts with the sequence count and the column count");
  }
  const std::vector<Word> words = splitWords(file.lines[index]);
  std::size_t values[2] = {0, 0};
  for (std::size_t w = 0; w < 2; ++w) {
    const std::string_view text = words[w].text;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), values[w]);
    if (error != std::errc() || values[w] == 0) {
      fail(file, lineNo, words[w].column, "PHYLIP count " + std::string(text) + " is not a usable number");
    }
  }
  return {index, values[0], values[1]};
}

// One named line: the name, and the residues with the column they start at.
struct NamedLine {
  std::string name;
  unsigned long nameColumn;
  std::string_view residues;
  unsigned long residueColumn;
};

NamedLine splitNamed(const TextFile& file, std::string_view line, unsigned long lineNo, PhylipNames names) {
  if (names == PhylipNames::Relaxed) {
    const std::vector<Word> words = splitWords(line);
    const std::size_t end = words[0].column - 1 + words[0].text.size();
    return {std::string(words[0].text), words[0].column, line.substr(end), static_cast<unsigned long>(end + 1)};
  }
  // Blanks inside a 10-character name become '_', as names hold none here
  // (a stray carriage return counts as a blank, found by fuzzing).
  const std::string_view field = line.substr(0, kStrictNameWidth);
  const std::size_t first = field.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) fail(file, lineNo, 1, "no name in the first 10 characters");
  std::string name(field.substr(first, field.find_last_not_of(" \t\r") + 1 - first));
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == ' ' || c == '\t' || c == '\r'; }, '_');
  const std::string_view rest = line.size() > kStrictNameWidth ? line.substr(kStrictNameWidth) : std::string_view();
  return {std::move(name), static_cast<unsigned long>(first + 1), rest, kStrictNameWidth + 1};
}

class PhylipReading {
 public:
  PhylipReading(const TextFile& file, const Header& header, PhylipNames names)
      : file_(file), header_(header), names_(names), rows_(file) {}

  std::unique_ptr<Alignment> sequential() {
    std::size_t i = header_.index + 1;
    for (std::size_t s = 0; s < header_.sequences; ++s) {
      i = nextLine(i, "the file ends after " + std::to_string(s) + " of the " + std::to_string(header_.sequences) +
                          " sequences its first line announces");
      const std::size_t row = addNamed(i++);
      while (rows_.rowLength(row) < header_.columns) {
        i = nextLine(i, "sequence " + rows_.name(row) + " ends after " + std::to_string(rows_.rowLength(row)) +
                            " of the " + std::to_string(header_.columns) + " columns");
        append(row, file_.lines[i], i, 1);
        ++i;
      }
    }
    return finish(i);
  }

  std::unique_ptr<Alignment> interleaved() {
    std::size_t i = header_.index;
    for (std::size_t s = 0; s < header_.sequences; ++s) {
      i = nextLine(i + 1, "the file ends after " + std::to_string(s) + " of the " + std::to_string(header_.sequences) +
                              " sequences its first line announces");
      checkBlockWidth(s, rows_.rowLength(addNamed(i)), i);
    }
    while (rows_.rowLength(header_.sequences - 1) < header_.columns) {
      for (std::size_t s = 0; s < header_.sequences; ++s) {
        i = nextLine(i + 1, "sequence " + rows_.name(s) + " ends after " + std::to_string(rows_.rowLength(s)) +
                                " of the " + std::to_string(header_.columns) + " columns");
        const std::size_t before = rows_.rowLength(s);
        append(s, file_.lines[i], i, 1);
        checkBlockWidth(s, rows_.rowLength(s) - before, i);
      }
    }
    return finish(i + 1);
  }

 private:
  std::size_t nextLine(std::size_t i, const std::string& problem) {
    while (i < file_.lines.size() && isBlank(file_.lines[i])) ++i;
    if (i == file_.lines.size()) fail(file_, static_cast<unsigned long>(i), 0, problem);
    return i;
  }

  std::size_t addNamed(std::size_t i) {
    const auto lineNo = static_cast<unsigned long>(i + 1);
    const NamedLine named = splitNamed(file_, file_.lines[i], lineNo, names_);
    const std::size_t row = rows_.add(named.name, "", lineNo, named.nameColumn);
    append(row, named.residues, i, named.residueColumn);
    return row;
  }

  void append(std::size_t row, std::string_view text, std::size_t i, unsigned long column) {
    const auto lineNo = static_cast<unsigned long>(i + 1);
    rows_.append(row, text, lineNo, column);
    if (rows_.rowLength(row) > header_.columns) {
      const std::size_t first = std::min(text.find_first_not_of(" \t\r"), text.size());
      fail(file_, lineNo, column + static_cast<unsigned long>(first),
           "sequence " + rows_.name(row) + " has more than the " + std::to_string(header_.columns) +
               " columns the first line announces");
    }
  }

  // Every line of a block adds as many columns as the block's first line.
  void checkBlockWidth(std::size_t s, std::size_t width, std::size_t i) {
    if (s == 0) blockWidth_ = width;
    if (width == blockWidth_ && width > 0) return;
    fail(file_, static_cast<unsigned long>(i + 1), 1,
         "sequence " + rows_.name(s) + " has " + std::to_string(width) +
             " columns in this block, the block's first row has " + std::to_string(blockWidth_));
  }

  std::unique_ptr<Alignment> finish(std::size_t i) {
    while (i < file_.lines.size() && isBlank(file_.lines[i])) ++i;
    if (i < file_.lines.size()) {
      fail(file_, static_cast<unsigned long>(i + 1), 1,
           "text after the " + std::to_string(header_.sequences) + " sequences the first line announces");
    }
    return rows_.finish();
  }

  const TextFile& file_;
  const Header& header_;
  PhylipNames names_;
  RowCollector rows_;
  std::size_t blockWidth_ = 0;
};

struct Attempt {
  std::unique_ptr<Alignment> alignment;
  std::optional<AlignmentReadError> error;
};

Attempt attempt(const TextFile& file, const Header& header, PhylipNames names, bool interleaved) {
  try {
    PhylipReading reading(file, header, names);
    return {interleaved ? reading.interleaved() : reading.sequential(), std::nullopt};
  } catch (const AlignmentReadError& error) {
    return {nullptr, error};
  }
}

bool sameAlignment(const Alignment& a, const Alignment& b) {
  if (a.sequenceCount() != b.sequenceCount()) return false;
  for (unsigned long r = 0; r < a.sequenceCount(); ++r) {
    if (a.GetSeqName(r) != b.GetSeqName(r) || a.rowText(r) != b.rowText(r)) return false;
  }
  return true;
}

// Which of two failed readings came further into the file.
bool laterThan(const AlignmentReadError& a, const AlignmentReadError& b) {
  const auto place = [](const AlignmentReadError& e) {
    // A problem of the whole file lies behind every line.
    return std::pair(e.line() == 0 ? ~0ul : e.line(), e.column());
  };
  return place(a) > place(b);
}

// The reading with these names: interleaved, PHYLIP's usual shape, where
// both shapes read; else the one that reads; else the error that came
// furthest.
Attempt readNames(const TextFile& file, const Header& header, PhylipNames names) {
  Attempt interleaved = attempt(file, header, names, true);
  if (interleaved.alignment) return interleaved;
  Attempt sequential = attempt(file, header, names, false);
  if (sequential.alignment) return sequential;
  return laterThan(*sequential.error, *interleaved.error) ? std::move(sequential) : std::move(interleaved);
}

// Neither reading worked: the message follows the strict one when the
// first name runs into its residues (a word longer than a name field), the
// relaxed one otherwise.
bool gluedName(const TextFile& file, const Header& header) {
  for (std::size_t i = header.index + 1; i < file.lines.size(); ++i) {
    const std::vector<Word> words = splitWords(file.lines[i]);
    if (!words.empty()) return words[0].text.size() > kStrictNameWidth;
  }
  return false;
}

}  // namespace

std::unique_ptr<Alignment> readPhylip(const TextFile& file, std::optional<PhylipNames> names) {
  const Header header = readHeader(file);
  if (names) {
    Attempt only = readNames(file, header, *names);
    if (!only.alignment) throw *only.error;
    return std::move(only.alignment);
  }
  Attempt strict = readNames(file, header, PhylipNames::Strict);
  Attempt relaxed = readNames(file, header, PhylipNames::Relaxed);
  if (strict.alignment && relaxed.alignment) {
    if (sameAlignment(*strict.alignment, *relaxed.alignment)) return std::move(relaxed.alignment);
    fail(file, static_cast<unsigned long>(header.index + 1), 0,
         "PHYLIP that reads both with 10-character names and with names ending at a blank, giving different "
         "sequences; say which with --input-format phylip (10 characters) or --input-format phylip-relaxed");
  }
  if (strict.alignment) return std::move(strict.alignment);
  if (relaxed.alignment) return std::move(relaxed.alignment);
  throw gluedName(file, header) ? *strict.error : *relaxed.error;
}

}  // namespace KARVO::formats
