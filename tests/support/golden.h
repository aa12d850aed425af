// Byte-exact expected texts live in files under tests/data/. A test hands
// its text to expectGolden, which compares it with the file and, on a
// difference, fails with a unified diff. With ZEMTRA_UPDATE_GOLDEN=1 in the
// environment the file is rewritten instead (scripts/update-golden.sh).
#pragma once

#include <string>

namespace ztest {

// The full path of name under tests/data/.
std::string goldenPath(const std::string& name);

// Compares text with tests/data/<name>; adds a test failure that shows the
// differing lines when they differ or the file is missing.
void expectGolden(const std::string& name, const std::string& text);

// A unified diff of two texts (lines of expected marked '-', of actual '+',
// with two lines of context); empty when they are equal.
std::string unifiedDiff(const std::string& expected, const std::string& actual);

}  // namespace ztest
