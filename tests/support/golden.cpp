#include "golden.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "scratch_dir.h"

namespace ztest {
namespace {

std::vector<std::string> splitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::string::size_type start = 0;
  while (start < text.size()) {
    const auto end = text.find('\n', start);
    if (end == std::string::npos) {
      lines.push_back(text.substr(start) + "\\ no newline at end");
      break;
    }
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

}  // namespace

std::string goldenPath(const std::string& name) { return std::string(ZEMTRA_SOURCE_DIR) + "/tests/data/" + name; }

std::string unifiedDiff(const std::string& expected, const std::string& actual) {
  if (expected == actual) return "";
  const auto a = splitLines(expected), b = splitLines(actual);
  const std::size_t n = a.size(), m = b.size();
  // Longest common subsequence of lines, from the back.
  std::vector<std::vector<unsigned>> lcs(n + 1, std::vector<unsigned>(m + 1, 0));
  for (std::size_t i = n; i-- > 0;)
    for (std::size_t j = m; j-- > 0;)
      lcs[i][j] = a[i] == b[j] ? lcs[i + 1][j + 1] + 1 : std::max(lcs[i + 1][j], lcs[i][j + 1]);
  // Every line as ' ', '-' or '+', then only changes and two lines around them.
  std::vector<std::pair<char, std::string>> script;
  std::size_t i = 0, j = 0;
  while (i < n || j < m) {
    if (i < n && j < m && a[i] == b[j]) {
      script.emplace_back(' ', a[i++]);
      ++j;
    } else if (j < m && (i == n || lcs[i][j + 1] >= lcs[i + 1][j])) {
      script.emplace_back('+', b[j++]);
    } else {
      script.emplace_back('-', a[i++]);
    }
  }
  std::ostringstream out;
  out << "--- expected\n+++ actual\n";
  std::size_t lineA = 1, lineB = 1, last = 0;
  bool open = false;
  for (std::size_t s = 0; s < script.size(); ++s) {
    bool nearChange = false;
    for (std::size_t t = s >= 2 ? s - 2 : 0; t < std::min(script.size(), s + 3); ++t)
      nearChange |= script[t].first != ' ';
    if (nearChange) {
      if (!open || s != last + 1) out << "@@ -" << lineA << " +" << lineB << " @@\n";
      out << script[s].first << script[s].second << '\n';
      open = true;
      last = s;
    }
    lineA += script[s].first != '+';
    lineB += script[s].first != '-';
  }
  return out.str();
}

void expectGolden(const std::string& name, const std::string& text) {
  const std::string path = goldenPath(name);
  const char* update = std::getenv("ZEMTRA_UPDATE_GOLDEN");
  if (update != nullptr && std::string(update) == "1") {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
    return;
  }
  if (!std::filesystem::exists(path)) {
    ADD_FAILURE() << "no golden file " << path << "; scripts/update-golden.sh makes it";
    return;
  }
  const std::string diff = unifiedDiff(readFile(path), text);
  if (!diff.empty())
    ADD_FAILURE() << "text differs from " << path << " (scripts/update-golden.sh rewrites it):\n" << diff;
}

}  // namespace ztest
