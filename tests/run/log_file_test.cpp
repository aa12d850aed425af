#include "run/log_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QTemporaryDir>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;

std::string readFile(const fs::path& path) {
  std::ifstream in(path);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

class RunLogFileTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(home.isValid());
    dir = fs::path(home.path().toStdString()) / "personal";
    outside = fs::path(home.path().toStdString()) / "outside.txt";
    fs::create_directory(dir);
    std::ofstream(outside) << "keep me";
  }

  QTemporaryDir home;
  fs::path dir;
  fs::path outside;
};

TEST_F(RunLogFileTest, WritesAndReplacesWholeFileLeavingNoTemporary) {
  ASSERT_TRUE(writeRunLog(dir, "zemtra.log", "first run\n"));
  ASSERT_TRUE(writeRunLog(dir, "zemtra.log", "second"));
  EXPECT_EQ(readFile(dir / "zemtra.log"), "second");
  EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 1);
}

TEST_F(RunLogFileTest, LinkAtTheTargetIsReplacedNotFollowed) {
  fs::create_symlink(outside, dir / "zemtra.log");
  ASSERT_TRUE(writeRunLog(dir, "zemtra.log", "log"));
  EXPECT_EQ(readFile(outside), "keep me");
  EXPECT_FALSE(fs::is_symlink(dir / "zemtra.log"));
  EXPECT_EQ(readFile(dir / "zemtra.log"), "log");
}

TEST_F(RunLogFileTest, NamesLeavingTheDirectoryAreRefused) {
  for (const char* name : {"../outside.txt", "sub/../../outside.txt", "/tmp/zemtra.log", "", "."})
    EXPECT_FALSE(writeRunLog(dir, name, "log")) << name;
  EXPECT_EQ(readFile(outside), "keep me");
}

TEST_F(RunLogFileTest, SubfolderMustExistAndNotBeALink) {
  EXPECT_FALSE(writeRunLog(dir, "missing/zemtra.log", "log"));
  fs::create_directory_symlink(outside.parent_path(), dir / "linked");
  EXPECT_FALSE(writeRunLog(dir, "linked/outside.txt", "log"));
  EXPECT_EQ(readFile(outside), "keep me");
  fs::create_directory(dir / "runs");
  EXPECT_TRUE(writeRunLog(dir, "runs/zemtra.log", "log"));
}

TEST_F(RunLogFileTest, FailedWriteKeepsTheOldLogAndLeavesNoTemporary) {
  ASSERT_TRUE(writeRunLog(dir, "zemtra.log", "old"));
  // A file size limit stands for a full disk: writes past it fail.
  struct rlimit saved;
  getrlimit(RLIMIT_FSIZE, &saved);
  struct sigaction ignore {
  }, previous{};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGXFSZ, &ignore, &previous);
  struct rlimit tiny = saved;
  tiny.rlim_cur = 16;
  setrlimit(RLIMIT_FSIZE, &tiny);
  const bool written = writeRunLog(dir, "zemtra.log", std::string(4096, 'x'));
  setrlimit(RLIMIT_FSIZE, &saved);
  sigaction(SIGXFSZ, &previous, nullptr);
  EXPECT_FALSE(written);
  EXPECT_EQ(readFile(dir / "zemtra.log"), "old");
  EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 1);
}

}  // namespace
