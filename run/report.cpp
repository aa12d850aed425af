#include "run/report.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <locale>
#include <sstream>
#include <string>

using KARVO::Matrix;

namespace {

constexpr int kCellWidth = 6;
constexpr unsigned long kCellsPerLine = 10;
constexpr std::uint64_t kNameLength = 8;
constexpr int kNameWidth = 8;
constexpr const char* kIndent = "            ";  // as wide as a row label
const std::string kStars76(76, '*');
const std::string kStars24(24, '*');
const std::string kStars19(19, '*');

std::string shortName(const Matrix<char>& names, unsigned long row) {
  const char* name = names[row];
  const std::uint64_t limit = std::min(names.cols(), kNameLength);
  std::uint64_t n = 0;
  while (n < limit && name[n] != '\0') ++n;
  return std::string(name, n);
}

bool startsContinuation(unsigned long column) { return column != 0 && column % kCellsPerLine == 0; }

// Whether the stream formats numbers as the run's log stream does: fixed
// notation, right adjustment, blank fill, decimal integers, nothing else, in
// the classic locale. Tables of such a stream are formatted here directly,
// byte for byte what the stream would write, because a large run prints
// millions of cells.
bool plainFixedStream(const std::ostream& os) {
  const std::ios::fmtflags wanted = std::ios::fixed | std::ios::right | std::ios::dec;
  return (os.flags() & ~std::ios::skipws) == wanted && os.fill() == ' ' && os.getloc() == std::locale::classic();
}

// Appends text right-adjusted in a field of width characters.
void appendPadded(std::string& out, const char* text, std::size_t size, std::size_t width) {
  if (size < width) out.append(width - size, ' ');
  out.append(text, size);
}

// The stream's fixed-point text of a number: printf's "%.*f", which is what
// std::to_chars gives for finite values; "inf", "nan" and their negatives
// otherwise.
void appendFixed(std::string& out, double v, int precision, std::size_t width) {
  char text[400];
  if (std::isnan(v)) {
    const char* t = std::signbit(v) ? "-nan" : "nan";
    appendPadded(out, t, std::strlen(t), width);
    return;
  }
  if (std::isinf(v)) {
    const char* t = v < 0 ? "-inf" : "inf";
    appendPadded(out, t, std::strlen(t), width);
    return;
  }
  const std::to_chars_result r = std::to_chars(text, text + sizeof text, v, std::chars_format::fixed, precision);
  appendPadded(out, text, static_cast<std::size_t>(r.ptr - text), width);
}

template <typename Integer>
void appendInteger(std::string& out, Integer v, std::size_t width) {
  char text[32];
  const std::to_chars_result r = std::to_chars(text, text + sizeof text, v);
  appendPadded(out, text, static_cast<std::size_t>(r.ptr - text), width);
}

void appendCell(std::string& out, float v, int precision) { appendFixed(out, v, precision, kCellWidth); }
void appendCell(std::string& out, double v, int precision) { appendFixed(out, v, precision, kCellWidth); }
void appendCell(std::string& out, int v, int) { appendInteger(out, v, kCellWidth); }
void appendCell(std::string& out, unsigned long v, int) { appendInteger(out, v, kCellWidth); }

// A cell of the length table: a residue count (unsigned) on the diagonal,
// an alignment length (signed) elsewhere.
struct LengthCell {
  bool residues;
  unsigned long count;
  int length;
};

void appendCell(std::string& out, const LengthCell& v, int precision) {
  if (v.residues)
    appendCell(out, v.count, precision);
  else
    appendCell(out, v.length, precision);
}

std::ostream& operator<<(std::ostream& os, const LengthCell& v) {
  const std::streamsize width = os.width();
  if (v.residues) return os << std::setw(static_cast<int>(width)) << v.count;
  return os << std::setw(static_cast<int>(width)) << v.length;
}

// One line per table position r, showing sequence sequenceAt(r); cell(p, q)
// gives the value shown for the sequences (p, q).
template <typename SequenceAt, typename Cell>
void printRows(std::ostream& os, unsigned long n, const Matrix<char>& names, SequenceAt sequenceAt, Cell cell) {
  if (!plainFixedStream(os)) {
    for (unsigned long r = 0; r < n; ++r) {
      const unsigned long p = sequenceAt(r);
      os << '\n'
         << std::setw(3) << r + 1 << '-' << std::left << std::setw(kNameWidth) << shortName(names, p) << std::right;
      for (unsigned long c = 0; c < n; ++c) {
        if (startsContinuation(c)) os << '\n' << kIndent;
        os << std::setw(kCellWidth) << cell(p, sequenceAt(c));
      }
    }
    return;
  }
  const int precision = static_cast<int>(os.precision());
  std::string line;
  for (unsigned long r = 0; r < n; ++r) {
    const unsigned long p = sequenceAt(r);
    line.clear();
    line += '\n';
    appendInteger(line, r + 1, 3);
    line += '-';
    const std::string name = shortName(names, p);
    line += name;
    if (name.size() < static_cast<std::size_t>(kNameWidth)) line.append(kNameWidth - name.size(), ' ');
    for (unsigned long c = 0; c < n; ++c) {
      if (startsContinuation(c)) {
        line += '\n';
        line += kIndent;
      }
      appendCell(line, cell(p, sequenceAt(c)), precision);
    }
    os.write(line.data(), static_cast<std::streamsize>(line.size()));
  }
}

auto familyOrder(const FamilyTable& family) {
  return [&family](unsigned long position) { return static_cast<unsigned long>(family[0][position]) - 1; };
}

}  // namespace

double PID_dist::operator()(float v) const { return std::fabs(-100.0 * std::log(static_cast<double>(v) * 0.01)); }

float Div100::operator()(float v) const { return v * 0.01f; }

void printIndices(std::ostream& os, unsigned long n, const char* heading) {
  os << "\n\n" << heading << "\n\n" << kIndent;
  for (unsigned long c = 0; c < n; ++c) {
    if (startsContinuation(c)) os << '\n' << kIndent;
    os << " [" << std::setw(3) << c + 1 << ']';
  }
  os << '\n';
}

void printMatrix(std::ostream& os, unsigned long n, const Matrix<char>& names, const Matrix<float>& values) {
  printRows(
      os, n, names, [](unsigned long position) { return position; },
      [&](unsigned long p, unsigned long q) { return values[p][q]; });
}

void printMatrix(std::ostream& os, unsigned long precision, const Matrix<char>& names, const Matrix<float>& values,
                 const FamilyTable& family, const char* heading) {
  const std::streamsize saved = os.precision(static_cast<std::streamsize>(precision));
  const unsigned long n = names.rows();
  printIndices(os, n, heading);
  printRows(os, n, names, familyOrder(family), [&](unsigned long p, unsigned long q) { return values[p][q]; });
  os << '\n';
  os.precision(saved);
}

template <typename Transform>
void printMatrix(std::ostream& os, const Matrix<char>& names, const Matrix<float>& values, const FamilyTable& family,
                 const char* heading, Transform transform) {
  const unsigned long n = names.rows();
  printIndices(os, n, heading);
  printRows(os, n, names, familyOrder(family),
            [&](unsigned long p, unsigned long q) { return transform(values[p][q]); });
  os << '\n';
}

template void printMatrix<PID_dist>(std::ostream&, const Matrix<char>&, const Matrix<float>&, const FamilyTable&,
                                    const char*, PID_dist);
template void printMatrix<Div100>(std::ostream&, const Matrix<char>&, const Matrix<float>&, const FamilyTable&,
                                  const char*, Div100);

void printLens(std::ostream& os, const Matrix<char>& names, const Matrix<int>& alilen, unsigned long* nres,
               const FamilyTable& family, const char* heading) {
  const unsigned long n = names.rows();
  printIndices(os, n, heading);
  // The diagonal of the alignment lengths is never measured; the residue
  // count stands there instead.
  printRows(os, n, names, familyOrder(family), [&](unsigned long p, unsigned long q) {
    return p == q ? LengthCell{true, nres[p], 0} : LengthCell{false, 0, alilen[p][q]};
  });
  os << '\n';
}

void printStats(std::ostream& os, const Matrix<char>& names, const FamilyTable& family, const Matrix<float>& pid,
                const Matrix<float>& dif, const Matrix<float>& sco, const Matrix<float>& fscore, unsigned long* nres,
                const Matrix<int>& alilen, float total) {
  os << '\n'
     << '\n'
     << kStars76 << '\n'
     << kStars24 << " Multiple comparison statistics: " << kStars19 << '\n'
     << kStars76;
  printMatrix(os, 1, names, pid, family, "Percentage identities:");
  printMatrix(os, 0, names, dif, family, "Differences: 100 * Normalized differences:");
  printLens(os, names, alilen, nres, family, "Lengths of alignment including overhangs, gaps:");
  printMatrix(os, names, pid, family, "Distances from identities (D = -100.0 ln pids/100):", PID_dist{});

  std::ostringstream overall;
  overall.exceptions(std::ios::badbit);
  overall << std::fixed << std::right << std::setprecision(1)
          << "Overall (sum of off-diagonal elements): " << std::setw(8) << total * 0.01f;
  printMatrix(os, names, sco, family, overall.str().c_str(), Div100{});

  printMatrix(os, 1, names, fscore, family, "Normalized alignment scores (NAS = 100.0 * Sreal/Smax):");
  printMatrix(os, names, fscore, family, "Distances based on NAS scores [-100.0 * ln(NAS/100.0)]:", PID_dist{});
  os << "\n\n" << kStars76 << "\n\n";
}
