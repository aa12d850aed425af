// Inputs of one run and a private personal temporary directory for it.
#pragma once

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <string>

#include "core/matrix.h"
#include "tests/support/host_settings.h"
#include "tests/support/scratch_dir.h"
#include "tests/support/working_rows.h"

namespace run_test {

// Rows of one selected range: every row as wide as the range, gaps
// included; the working alignment is twice as wide, as the host makes it.
struct RunInputs : ztest::WorkingRows {
  RunInputs(std::initializer_list<const char*> nameList, std::initializer_list<std::string> rows)
      : WorkingRows(rows, 2 * (rows.size() == 0 ? 1 : rows.begin()->size())), names(nameList.size(), 8) {
    unsigned long r = 0;
    for (const char* name : nameList) {
      std::memset(names[r], 0, names.cols());
      std::strncpy(names[r++], name, names.cols() - 1);
    }
  }

  KARVO::Matrix<char> names;
};

using ztest::readFile;

inline void writeFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

// A scratch directory that is the host's personal temporary directory for
// as long as it lives.
class PersonalTmpDir : public ztest::ScratchDir {
 public:
  static void use(const std::string& path) { Config::UseSettings(ztest::withTmpDir(path)); }

 private:
  ztest::ScopedHostSettings settings_{ztest::withTmpDir(path())};
};

}  // namespace run_test
