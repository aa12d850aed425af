// Inputs of one run and a private personal temporary directory for it.
#pragma once

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <sstream>
#include <string>
#include <vector>

#include "core/matrix.h"

namespace run_test {

// Rows of one selected range: every row as wide as the range, gaps
// included; the working alignment is twice as wide, as the host makes it.
struct RunInputs {
  RunInputs(std::initializer_list<const char*> nameList, std::initializer_list<std::string> rows)
      : names(nameList.size(), 8), seqs(rows.size(), 2 * (rows.size() == 0 ? 1 : rows.begin()->size())) {
    unsigned long r = 0;
    for (const char* name : nameList) {
      std::memset(names[r], 0, names.cols());
      std::strncpy(names[r], name, names.cols() - 1);
      ++r;
    }
    r = 0;
    for (const std::string& row : rows) {
      std::memset(seqs[r], 0, seqs.cols());
      std::memcpy(seqs[r] + 1, row.data(), row.size());
      len.push_back(row.size());
      unsigned long residues = 0;
      for (char c : row) residues += c != '-';
      nres.push_back(residues);
      ++r;
    }
  }

  std::string row(unsigned long r) const { return std::string(seqs[r] + 1, len[r]); }

  KARVO::Matrix<char> names;
  KARVO::Matrix<char> seqs;
  std::vector<unsigned long> len;
  std::vector<unsigned long> nres;
};

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return "<missing>";
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

inline void writeFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

// Points the host's personal temporary directory at a fresh directory for
// as long as it lives.
class PersonalTmpDir {
 public:
  PersonalTmpDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zemtra-run-XXXXXX").string();
    path_ = ::mkdtemp(pattern.data());
    use(path_);
  }
  ~PersonalTmpDir() {
    ::unsetenv("KARVO_TMPDIR");
    std::error_code ignored;
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(path_, ignored);
  }
  PersonalTmpDir(const PersonalTmpDir&) = delete;
  PersonalTmpDir& operator=(const PersonalTmpDir&) = delete;

  static void use(const std::string& path) { ::setenv("KARVO_TMPDIR", path.c_str(), 1); }
  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  bool exists(const std::string& name) const { return std::filesystem::exists(file(name)); }

 private:
  std::string path_;
};

}  // namespace run_test
