// The host tests' names for the shared scratch directory helpers.
#pragma once

#include "tests/support/scratch_dir.h"

using TempDir = ztest::ScratchDir;
using ztest::ScopedEnv;
inline std::string slurp(const std::string& path) { return ztest::readFile(path); }
