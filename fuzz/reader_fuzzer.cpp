// One alignment reader under fuzzing, chosen at build time: any bytes give
// either an AlignmentReadError or an alignment that keeps the readers'
// promises and survives being written and read back. Any other exception or
// a crash is a defect.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "formats/alignment_formats.h"
#include "formats/alignment_io.h"

namespace {

using KARVO::Alignment;
using KARVO::AlignmentFormat;

enum class Reader { Any, Fasta, Clustal, Msf, Stockholm, Phylip, Pir, A3m };
constexpr Reader kReader = Reader::ZEMTRA_FUZZ_READER;

[[noreturn]] void defect(const std::string& what) {
  std::fprintf(stderr, "reader defect: %s\n", what.c_str());
  std::abort();
}

std::unique_ptr<Alignment> readWith(Reader reader, const std::string& text) {
  if (reader == Reader::Any) {
    std::istringstream in(text);
    return KARVO::readAlignment(in, "fuzz");
  }
  // Files with control characters are refused before any reader sees them.
  const KARVO::formats::TextFile file = KARVO::formats::splitLines(text, "fuzz");
  // As readAlignment does: control characters on title lines only for the
  // formats with titles.
  if (reader != Reader::Fasta && reader != Reader::Pir && reader != Reader::A3m) {
    KARVO::formats::refuseTitleControls(file);
  }
  switch (reader) {
    case Reader::Fasta:
      return KARVO::formats::readFasta(file);
    case Reader::Clustal:
      return KARVO::formats::readClustal(file);
    case Reader::Msf:
      return KARVO::formats::readMsf(file);
    case Reader::Phylip:
      return KARVO::formats::readPhylip(file, std::nullopt);
    case Reader::Pir:
      return KARVO::formats::readPir(file);
    case Reader::A3m:
      return KARVO::formats::readA3m(file);
    default:
      return KARVO::formats::readStockholm(file);
  }
}

bool plainName(const std::string& name) {
  return std::all_of(name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) || c == '_'; }) &&
         std::isalpha(static_cast<unsigned char>(name.front()));
}

// An alignment's names and row texts, taken once and compared with every
// copy (rows are kept by column, so each row text is built anew).
struct Rows {
  std::vector<std::string> names, texts;
};

void checkSameRows(const Rows& original, const Alignment& copy, const char* format) {
  if (copy.sequenceCount() != original.names.size()) defect(std::string(format) + " copy has another row count");
  for (unsigned long r = 0; r < original.names.size(); ++r) {
    if (copy.GetSeqName(r) != original.names[r]) defect(std::string(format) + " copy renamed row " + std::to_string(r));
    if (copy.rowText(r) != original.texts[r]) defect(std::string(format) + " copy changed row " + std::to_string(r));
  }
}

// The copy is read under a name with the format's extension, as karvo's
// own output files are.
void roundTrip(const Alignment& alignment, const Rows& rows, AlignmentFormat format, const char* formatName) {
  std::ostringstream out;
  KARVO::writeAlignment(out, alignment, format);
  std::istringstream in(out.str());
  std::unique_ptr<Alignment> copy;
  try {
    copy = KARVO::readAlignment(in, format == AlignmentFormat::A3m     ? "copy.a3m"
                                    : format == AlignmentFormat::Fasta ? "copy.fa"
                                                                       : "copy");
  } catch (const KARVO::AlignmentReadError& error) {
    defect(std::string(formatName) + " copy unreadable: " + error.what());
  }
  checkSameRows(rows, *copy, formatName);
}

void checkAlignment(const Alignment& alignment) {
  const unsigned long rows = alignment.sequenceCount();
  if (rows == 0) defect("alignment without sequences");
  std::set<std::string> names;
  Rows taken;
  bool residues = false;
  bool plain = true;
  for (unsigned long r = 0; r < rows; ++r) {
    const std::string& name = taken.names.emplace_back(alignment.GetSeqName(r));
    if (name.empty() || std::any_of(name.begin(), name.end(), [](unsigned char c) { return c <= ' ' || c == 0x7f; })) {
      defect("name empty or with blanks or control characters");
    }
    if (!names.insert(name).second) defect("duplicate name " + name);
    plain = plain && plainName(name);
    const std::string& text = taken.texts.emplace_back(alignment.rowText(r));
    if (text.size() != alignment.columnCount()) defect("row of another width");
    for (const char c : text) {
      if (c != '-' && (c < 'A' || c > 'Z')) defect("residue code outside A-Z");
      residues = residues || c != '-';
    }
  }
  if (!residues) defect("alignment without residues");
  for (const auto& column : alignment.columns) {
    if (column.size() != rows) defect("column with another row count");
  }
  roundTrip(alignment, taken, AlignmentFormat::Fasta, "FASTA");
  if (!KARVO::formats::isA3mAnnotation(alignment.GetSeqName(0)))
    roundTrip(alignment, taken, AlignmentFormat::A3m, "A3M");
  roundTrip(alignment, taken, AlignmentFormat::Phylip, "PHYLIP");
  if (plain) {
    roundTrip(alignment, taken, AlignmentFormat::Clustal, "Clustal");
    roundTrip(alignment, taken, AlignmentFormat::Msf, "MSF");
    roundTrip(alignment, taken, AlignmentFormat::Stockholm, "Stockholm");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::unique_ptr<Alignment> alignment;
  try {
    alignment = readWith(kReader, text);
  } catch (const KARVO::AlignmentReadError&) {
    return 0;
  }
  checkAlignment(*alignment);
  return 0;
}
