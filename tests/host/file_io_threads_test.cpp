// Files written atomically from two threads at once into one folder: each
// target ends with its own bytes and no temporary file is left behind. The
// ThreadSanitizer build runs this to watch the temporary names being made.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>

#include "host/file_io.h"
#include "tests/support/scratch_dir.h"

TEST(FileIoThreads, TwoThreadsWritingIntoOneFolderAtOnce) {
  const ztest::ScratchDir dir;
  constexpr int kFiles = 100;
  auto name = [&](int thread, int n) { return dir / ("t" + std::to_string(thread) + "_" + std::to_string(n)); };
  auto write = [&](int thread) {
    for (int n = 0; n < kFiles; ++n) KARVO::writeFileAtomically(name(thread, n), name(thread, n));
  };
  std::thread other(write, 1);
  write(0);
  other.join();
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
    ++files;
    EXPECT_EQ(entry.path().string(), ztest::readFile(entry.path().string()));
  }
  EXPECT_EQ(2 * kFiles, files);
}
