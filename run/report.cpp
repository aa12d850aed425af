#include "run/report.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iomanip>
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

// One line per table position r, showing sequence sequenceAt(r); printCell
// writes the cell of the sequences (p, q).
template <typename SequenceAt, typename PrintCell>
void printRows(std::ostream& os, unsigned long n, const Matrix<char>& names, SequenceAt sequenceAt,
               PrintCell printCell) {
  for (unsigned long r = 0; r < n; ++r) {
    const unsigned long p = sequenceAt(r);
    os << '\n'
       << std::setw(3) << r + 1 << '-' << std::left << std::setw(kNameWidth) << shortName(names, p) << std::right;
    for (unsigned long c = 0; c < n; ++c) {
      if (startsContinuation(c)) os << '\n' << kIndent;
      printCell(p, sequenceAt(c));
    }
  }
}

auto familyOrder(const Matrix<unsigned long>& family) {
  return [&family](unsigned long position) { return family[0][position] - 1; };
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
      [&](unsigned long p, unsigned long q) { os << std::setw(kCellWidth) << values[p][q]; });
}

void printMatrix(std::ostream& os, unsigned long precision, const Matrix<char>& names, const Matrix<float>& values,
                 const Matrix<unsigned long>& family, const char* heading) {
  const std::streamsize saved = os.precision(static_cast<std::streamsize>(precision));
  const unsigned long n = names.rows();
  printIndices(os, n, heading);
  printRows(os, n, names, familyOrder(family),
            [&](unsigned long p, unsigned long q) { os << std::setw(kCellWidth) << values[p][q]; });
  os << '\n';
  os.precision(saved);
}

template <typename Transform>
void printMatrix(std::ostream& os, const Matrix<char>& names, const Matrix<float>& values,
                 const Matrix<unsigned long>& family, const char* heading, Transform transform) {
  const unsigned long n = names.rows();
  printIndices(os, n, heading);
  printRows(os, n, names, familyOrder(family),
            [&](unsigned long p, unsigned long q) { os << std::setw(kCellWidth) << transform(values[p][q]); });
  os << '\n';
}

template void printMatrix<PID_dist>(std::ostream&, const Matrix<char>&, const Matrix<float>&,
                                    const Matrix<unsigned long>&, const char*, PID_dist);
template void printMatrix<Div100>(std::ostream&, const Matrix<char>&, const Matrix<float>&,
                                  const Matrix<unsigned long>&, const char*, Div100);

void printLens(std::ostream& os, const Matrix<char>& names, const Matrix<int>& alilen, unsigned long* nres,
               const Matrix<unsigned long>& family, const char* heading) {
  const unsigned long n = names.rows();
  printIndices(os, n, heading);
  printRows(os, n, names, familyOrder(family), [&](unsigned long p, unsigned long q) {
    // The diagonal of the alignment lengths is never measured; the residue
    // count stands there instead.
    if (p == q) {
      os << std::setw(kCellWidth) << nres[p];
    } else {
      os << std::setw(kCellWidth) << alilen[p][q];
    }
  });
  os << '\n';
}

void printStats(std::ostream& os, const Matrix<char>& names, const Matrix<unsigned long>& family,
                const Matrix<float>& pid, const Matrix<float>& dif, const Matrix<float>& sco,
                const Matrix<float>& fscore, unsigned long* nres, const Matrix<int>& alilen, float total) {
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
  overall << std::fixed << std::right << std::setprecision(1)
          << "Overall (sum of off-diagonal elements): " << std::setw(8) << total * 0.01f;
  printMatrix(os, names, sco, family, overall.str().c_str(), Div100{});

  printMatrix(os, 1, names, fscore, family, "Normalized alignment scores (NAS = 100.0 * Sreal/Smax):");
  printMatrix(os, names, fscore, family, "Distances based on NAS scores [-100.0 * ln(NAS/100.0)]:", PID_dist{});
  os << "\n\n" << kStars76 << "\n\n";
}
