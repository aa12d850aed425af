#include "run/log_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "run_fixtures.h"

namespace {

namespace fs = std::filesystem;
using run_test::PersonalTmpDir;
using run_test::readFile;

long entriesIn(const fs::path& dir) { return std::distance(fs::directory_iterator(dir), fs::directory_iterator()); }

std::string readBack(RunLogFile& log) {
  std::string text;
  log.readBack([&text](std::string_view piece) { text.append(piece); });
  return text;
}

// Several times the log's own buffer, so that most of it has gone to the
// file before the end.
std::string largeText() {
  std::string text;
  for (int line = 0; text.size() < 300 * 1024; ++line) text += "line " + std::to_string(line) + "\n";
  return text;
}

class RunLogFileTest : public testing::Test {
 protected:
  void SetUp() override {
    dir = fs::path(home.path()) / "personal";
    outside = fs::path(home.path()) / "outside.txt";
    fs::create_directory(dir);
    std::ofstream(outside) << "keep me";
  }

  bool write(const std::string& name, const std::string& text) {
    RunLogFile log(dir, name);
    log.stream() << text;
    return log.commit();
  }

  PersonalTmpDir home;
  fs::path dir;
  fs::path outside;
};

// A link at the target is replaced, not followed; so is an older log, whole.
TEST_F(RunLogFileTest, TheLogAppearsOnlyWhenCommittedAndReplacesLinkAndOldLogWhole) {
  fs::create_symlink(outside, dir / "zemtra.log");
  const std::string text = largeText();
  RunLogFile log(dir, "zemtra.log");
  log.stream() << text;
  EXPECT_TRUE(fs::is_symlink(dir / "zemtra.log"));
  ASSERT_TRUE(log.commit());
  EXPECT_EQ(readFile(outside), "keep me");
  EXPECT_FALSE(fs::is_symlink(dir / "zemtra.log"));
  EXPECT_EQ(readFile(dir / "zemtra.log"), text);
  EXPECT_EQ(readBack(log), text);
  ASSERT_TRUE(write("zemtra.log", "second"));
  EXPECT_EQ(readFile(dir / "zemtra.log"), "second");
  EXPECT_EQ(entriesIn(dir), 1);
}

// Names leaving the folder, and subfolders missing or linked, are refused.
TEST_F(RunLogFileTest, RefusedNamesKeepTheTextInMemory) {
  fs::create_directory_symlink(outside.parent_path(), dir / "linked");
  for (const char* name : {"../outside.txt", "sub/../../outside.txt", "/tmp/zemtra.log", "", ".", "missing/zemtra.log",
                           "linked/outside.txt"}) {
    RunLogFile log(dir, name);
    log.stream() << "log";
    EXPECT_FALSE(log.commit()) << name;
    EXPECT_EQ(readBack(log), "log") << name;
  }
  EXPECT_EQ(readFile(outside), "keep me");
  EXPECT_EQ(entriesIn(dir), 1);
  fs::create_directory(dir / "runs");
  EXPECT_TRUE(write("runs/zemtra.log", "log"));
}

TEST_F(RunLogFileTest, FailedWriteKeepsTheOldLogAndTheWholeText) {
  ASSERT_TRUE(write("zemtra.log", "old"));
  const std::string text = largeText();
  // A file size limit stands for a full disk: writes past it fail.
  struct rlimit saved;
  getrlimit(RLIMIT_FSIZE, &saved);
  struct sigaction ignore {
  }, previous{};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGXFSZ, &ignore, &previous);
  struct rlimit small = saved;
  small.rlim_cur = 100 * 1024;
  setrlimit(RLIMIT_FSIZE, &small);
  RunLogFile log(dir, "zemtra.log");
  log.stream() << text;
  const bool written = log.commit();
  setrlimit(RLIMIT_FSIZE, &saved);
  sigaction(SIGXFSZ, &previous, nullptr);
  EXPECT_FALSE(written);
  EXPECT_EQ(readBack(log), text);
  EXPECT_EQ(readFile(dir / "zemtra.log"), "old");
  EXPECT_EQ(entriesIn(dir), 1);
}

TEST_F(RunLogFileTest, AnUncommittedLogLeavesNothingBehind) {
  {
    RunLogFile log(dir, "zemtra.log");
    log.stream() << largeText();
  }
  EXPECT_EQ(entriesIn(dir), 0);
  // The engine ends the process itself in a few cases; exit handlers run.
  EXPECT_EXIT(
      {
        RunLogFile log(dir, "zemtra.log");
        log.stream() << largeText();
        std::exit(3);
      },
      testing::ExitedWithCode(3), "");
  EXPECT_EQ(entriesIn(dir), 0);
}

}  // namespace
