#include "formats/input_notes.h"

#include <cctype>

namespace KARVO {

std::vector<std::string> sequencesWithoutResidues(const Alignment& alignment) {
  std::vector<bool> hasResidue(alignment.sequenceCount(), false);
  for (const std::vector<Residue*>& column : alignment.columns) {
    for (std::size_t r = 0; r < column.size(); ++r) hasResidue[r] = hasResidue[r] || column[r] != nullptr;
  }
  std::vector<std::string> names;
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) {
    if (!hasResidue[r]) names.push_back(alignment.GetSeqName(r));
  }
  return names;
}

namespace {

struct ResidueCounts {
  unsigned long residues = 0;
  unsigned long nucleotides = 0;
};

ResidueCounts countResidues(const Alignment& alignment) {
  ResidueCounts counts;
  for (const std::vector<Residue*>& column : alignment.columns) {
    for (const Residue* residue : column) {
      if (residue == nullptr) continue;
      ++counts.residues;
      switch (std::toupper(static_cast<unsigned char>(residue->code()))) {
        case 'A':
        case 'C':
        case 'G':
        case 'T':
        case 'U':
        case 'N':
          ++counts.nucleotides;
          break;
        default:
          break;
      }
    }
  }
  return counts;
}

}  // namespace

double nucleotideShare(const Alignment& alignment) {
  const ResidueCounts counts = countResidues(alignment);
  return counts.residues == 0 ? 0.0 : static_cast<double>(counts.nucleotides) / static_cast<double>(counts.residues);
}

std::vector<std::string> inputWarnings(const Alignment& alignment) {
  std::vector<std::string> lines;
  const std::vector<std::string> empty = sequencesWithoutResidues(alignment);
  if (empty.size() == 1) {
    lines.push_back("sequence " + empty.front() + " has no residues; it is not aligned and stays a row of gaps");
  } else if (!empty.empty()) {
    std::string names;
    for (const std::string& name : empty) names += (names.empty() ? "" : ", ") + name;
    lines.push_back(std::to_string(empty.size()) + " sequences have no residues (" + names +
                    "); they are not aligned and stay rows of gaps");
  }
  // In whole numbers, so that exactly 90 % is 90 % and not a rounding away.
  const ResidueCounts counts = countResidues(alignment);
  if (counts.residues > 0 && counts.nucleotides * 100 >= counts.residues * kNucleotidePercent) {
    const unsigned long percent = counts.nucleotides * 100 / counts.residues;
    lines.push_back("the input looks like nucleotides (" + std::to_string(percent) +
                    " % of the residues are A, C, G, T, U or N); the substitution matrices are for proteins");
  }
  return lines;
}

}  // namespace KARVO
