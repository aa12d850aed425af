// Random inputs for comparing the fast engine with the reference one, and
// a way to run each side in a child process so that runs which end the
// process can be compared as well.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/scratch_dir.h"

namespace exact {

using ScratchDir = ztest::ScratchDir;
using ztest::readFile;

inline int uniform(std::mt19937& rng, int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); }

inline unsigned long size(std::mt19937& rng, int lo, int hi) {
  return static_cast<unsigned long>(uniform(rng, lo, hi));
}

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
  r.text = readFile(textFile);
  r.errors = readFile(errorFile);
  return r;
}

}  // namespace exact
