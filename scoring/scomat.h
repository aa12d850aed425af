// The fifteen built-in substitution matrices, their names and the
// letter-to-index table.
#pragma once

namespace ScoMat {

constexpr int kMatrixCount = 15;
constexpr int kAlphabet = 21;  // twenty residues and the neutral index 20
constexpr int kNeutral = 20;
constexpr int kNameField = 25;

// Matrix k, row a, column b is element k * 441 + a * 21 + b.
extern const int mats[kMatrixCount * kAlphabet * kAlphabet];

// Index of the letter 'A' + k.
inline constexpr int ind[26] = {0,  2,  1,  2,  3,  4,  5,  6,  7,  20, 8,  9,  10,
                                11, 20, 12, 13, 14, 15, 16, 20, 17, 18, 20, 19, 3};

extern const char m_names[kMatrixCount][kNameField];

// Index of any character: letters 'A'..'Z' through the table, every other
// character (lower case, digits, '*', '.') the neutral index, so that no
// lookup ever leaves the table.
inline int residueIndex(char c) {
  const unsigned char u = static_cast<unsigned char>(c);
  return (u >= 'A' && u <= 'Z') ? ind[u - 'A'] : kNeutral;
}

// Score of a residue pair under matrix matNo; the first letter picks the row.
inline int pairScore(int matNo, char a, char b) {
  return mats[matNo * kAlphabet * kAlphabet + residueIndex(a) * kAlphabet + residueIndex(b)];
}

inline int selfScore(int matNo, char a) { return pairScore(matNo, a, a); }

}  // namespace ScoMat
