// Random inputs for comparing the fast engine with the reference one, and
// a way to run each side in a child process so that runs which end the
// process can be compared as well.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace exact {

inline int uniform(std::mt19937& rng, int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); }

inline bool chance(std::mt19937& rng, double p) { return std::uniform_real_distribution<double>(0, 1)(rng) < p; }

// Alphabets from everyday to tie-heavy: with one or two letters almost every
// cell of a comparison matrix has the same value.
inline const std::vector<std::string> kAlphabets = {
    "ACDEFGHIKLMNPQRSTVWY", "ACDEFGHIKLMNPQRSTVWYBZXJOU", "A", "AC", "AW", "WWC"};

// A row of length letters from alphabet, each a gap with probability gapShare,
// with at least one residue.
inline std::string randomRow(std::mt19937& rng, int length, const std::string& alphabet, double gapShare) {
  std::string row;
  for (int c = 0; c < length; ++c)
    row += chance(rng, gapShare) ? '-' : alphabet[static_cast<std::size_t>(uniform(rng, 0, int(alphabet.size()) - 1))];
  if (row.find_first_not_of('-') == std::string::npos)
    row[static_cast<std::size_t>(uniform(rng, 0, length - 1))] = alphabet[0];
  return row;
}

// What a child process left behind: its exit status (the status it exited
// with, 128 + the signal that ended it, or 0 after body returned), the text
// body returned and what it wrote to standard error.
struct ChildResult {
  int status = -1;
  std::string text;
  std::string errors;
};

inline std::string slurp(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

// Runs body in a forked child with its own scratch directory (passed to
// body) and standard error captured.
inline ChildResult inChild(const std::string& scratch, const std::function<std::string(const std::string&)>& body) {
  const std::string textFile = scratch + "/result.txt";
  const std::string errorFile = scratch + "/stderr.txt";
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    if (!std::freopen(errorFile.c_str(), "w", stderr)) _exit(120);
    const std::string text = body(scratch);
    std::ofstream(textFile, std::ios::binary) << text;
    std::fflush(nullptr);
    _exit(0);
  }
  ChildResult r;
  int raw = 0;
  if (pid < 0 || waitpid(pid, &raw, 0) != pid) return r;
  r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
  r.text = slurp(textFile);
  r.errors = slurp(errorFile);
  return r;
}

// A fresh scratch directory; removed with everything in it when the object
// goes.
class ScratchDir {
 public:
  // In memory when the system has a memory file system: runs write and
  // flush a log each, and nothing here needs to reach a disk.
  ScratchDir() {
    std::string pattern = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
    pattern += "/zemtra_exact_XXXXXX";
    path_ = mkdtemp(pattern.data()) ? pattern : "";
  }
  ~ScratchDir() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  // A new empty subdirectory.
  std::string fresh() {
    const std::string dir = path_ + "/" + std::to_string(next_++);
    std::filesystem::create_directories(dir);
    return dir;
  }

 private:
  std::string path_;
  int next_ = 0;
};

}  // namespace exact
