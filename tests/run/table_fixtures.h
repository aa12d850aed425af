// Small fillers for the matrices that the run and its report read. The
// matrices cannot be copied, so the tests declare them and fill them here.
#pragma once

#include <cstring>
#include <initializer_list>
#include <iomanip>
#include <sstream>
#include <vector>

#include "core/matrix.h"

namespace run_test {

// The log stream as every run sets it up.
inline void setUpLog(std::ostringstream& os) { os << std::fixed << std::right << std::setprecision(1); }

// One NUL-terminated name per row; the columns after a name are NUL.
inline void setNames(KARVO::Matrix<char>& names, std::initializer_list<const char*> list) {
  unsigned long row = 0;
  for (const char* name : list) {
    std::memset(names[row], 0, names.cols());
    std::strncpy(names[row], name, names.cols());
    ++row;
  }
}

template <typename T>
void setTable(KARVO::Matrix<T>& table, std::initializer_list<std::initializer_list<T>> rows) {
  unsigned long r = 0;
  for (const auto& row : rows) {
    unsigned long c = 0;
    for (T value : row) table[r][c++] = value;
    ++r;
  }
}

// Row 0 becomes the joining order (1-based sequence numbers), the rest 0.
inline void setFamily(KARVO::Matrix<unsigned long>& family, std::vector<unsigned long> order) {
  for (unsigned long r = 0; r < family.rows(); ++r) {
    for (unsigned long c = 0; c < family.cols(); ++c) family[r][c] = (r == 0 && c < order.size()) ? order[c] : 0;
  }
}

}  // namespace run_test
