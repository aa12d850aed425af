// What a host should tell the user about an alignment it has just read,
// beyond whether it could be read: sequences that hold nothing to align, and
// input that looks like nucleotides while every matrix is for proteins.
#pragma once

#include <string>
#include <vector>

#include "host/alignment.h"

namespace KARVO {

// Percentage of nucleotide letters (A, C, G, T, U, N) among the residues
// from which a warning is given.
inline constexpr unsigned long kNucleotidePercent = 90;

// The names of the sequences without a single residue, in file order.
std::vector<std::string> sequencesWithoutResidues(const Alignment& alignment);

// The share (0 to 1) of A, C, G, T, U and N among all residues; 0 without
// residues.
double nucleotideShare(const Alignment& alignment);

// One line each, without a program prefix: the sequences without residues
// (they take no part in a run), and input that looks like nucleotides.
std::vector<std::string> inputWarnings(const Alignment& alignment);

}  // namespace KARVO
