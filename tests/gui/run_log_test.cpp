// Telling which log a plug-in run wrote into the temporary directory.
#include "app/gui/run_log.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <chrono>
#include <filesystem>
#include <fstream>

namespace karvo_gui {
namespace {

namespace fs = std::filesystem;

class RunLogTest : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return (fs::path(tmp.path().toStdString()) / name).string(); }
  std::string dir() const { return tmp.path().toStdString(); }

  // Writes a file and dates it minutesAgo minutes back, so that files
  // written one after the other differ in time whatever the file system's
  // clock granularity.
  void write(const std::string& name, int minutesAgo) {
    std::ofstream(path(name)) << name << "\n";
    fs::last_write_time(path(name), fs::file_time_type::clock::now() - std::chrono::minutes(minutesAgo));
  }

  QTemporaryDir tmp;
};

TEST_F(RunLogTest, TheNamedLogWinsWhenItWasWritten) {
  write("zemtra.log", 60);
  const DirectorySnapshot before = snapshotDirectory(dir());
  write("run.txt", 2);
  write("other.log", 1);
  EXPECT_EQ(findRunLog(dir(), before, "run.txt"), path("run.txt"));
}

TEST_F(RunLogTest, OtherwiseTheNewestWrittenLogOtherThanTheHostsOwn) {
  write("zemtra.log", 60);
  write("old.log", 60);
  const DirectorySnapshot before = snapshotDirectory(dir());
  write("zemtra.log", 3);
  write("second.log", 2);
  write("karvo.log", 1);
  write("notes.txt", 1);
  EXPECT_EQ(findRunLog(dir(), before, "unwritten.log"), path("second.log"));
}

TEST_F(RunLogTest, AnOverwrittenLogCountsAsWritten) {
  write("zemtra.log", 60);
  const DirectorySnapshot before = snapshotDirectory(dir());
  write("zemtra.log", 1);
  EXPECT_EQ(findRunLog(dir(), before, ""), path("zemtra.log"));
}

TEST_F(RunLogTest, NothingWhenTheRunWroteNoLog) {
  write("zemtra.log", 60);
  const DirectorySnapshot before = snapshotDirectory(dir());
  write("karvo.log", 1);
  EXPECT_EQ(findRunLog(dir(), before, "zemtra.log"), std::nullopt);
}

TEST_F(RunLogTest, ANamedLogOutsideTheDirectoryIsNotFollowed) {
  const DirectorySnapshot before = snapshotDirectory(dir());
  fs::create_directory(path("sub"));
  write("sub/x.log", 1);
  EXPECT_EQ(findRunLog(dir(), before, "sub/x.log"), std::nullopt);
}

}  // namespace
}  // namespace karvo_gui
