// Square tables of the run log: pairwise identities, scores, differences,
// lengths and distances, one row and one column per sequence. Every printer
// appends to a stream set to fixed notation, right adjustment and
// precision 1, and relies on those settings.
#pragma once

#include <ostream>

#include "core/matrix.h"
#include "tree/cluster_steps.h"

// |-100 ln(v / 100)| in double precision: identities or NAS into distances.
struct PID_dist {
  double operator()(float v) const;
};

// v / 100 in single precision.
struct Div100 {
  float operator()(float v) const;
};

// The heading and the column header line of an n-column table.
void printIndices(std::ostream& os, unsigned long n, const char* heading);

// n rows in input order, without heading (printIndices comes first).
void printMatrix(std::ostream& os, unsigned long n, const KARVO::Matrix<char>& names,
                 const KARVO::Matrix<float>& values);

// Heading, header line and rows in the joining order of family row 0, with
// the given precision; the stream's precision is restored afterwards.
void printMatrix(std::ostream& os, unsigned long precision, const KARVO::Matrix<char>& names,
                 const KARVO::Matrix<float>& values, const FamilyTable& family, const char* heading);

// Like the family-order table above, every cell passed through transform,
// printed with the stream's current precision. Instantiated for PID_dist and
// Div100.
template <typename Transform>
void printMatrix(std::ostream& os, const KARVO::Matrix<char>& names, const KARVO::Matrix<float>& values,
                 const FamilyTable& family, const char* heading, Transform transform);

extern template void printMatrix<PID_dist>(std::ostream&, const KARVO::Matrix<char>&, const KARVO::Matrix<float>&,
                                           const FamilyTable&, const char*, PID_dist);
extern template void printMatrix<Div100>(std::ostream&, const KARVO::Matrix<char>&, const KARVO::Matrix<float>&,
                                         const FamilyTable&, const char*, Div100);

// Alignment lengths in family order; the diagonal shows residue counts.
void printLens(std::ostream& os, const KARVO::Matrix<char>& names, const KARVO::Matrix<int>& alilen,
               unsigned long* nres, const FamilyTable& family, const char* heading);

// The multiple comparison statistics block of a finished alignment.
void printStats(std::ostream& os, const KARVO::Matrix<char>& names, const FamilyTable& family,
                const KARVO::Matrix<float>& pid, const KARVO::Matrix<float>& dif, const KARVO::Matrix<float>& sco,
                const KARVO::Matrix<float>& fscore, unsigned long* nres, const KARVO::Matrix<int>& alilen, float total);
