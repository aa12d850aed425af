// Recovery files: writing, finding what an ended process left. Opening one
// at start is in main_window_test.cpp.
#include "app/gui/recovery.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QTemporaryDir>
#include <chrono>
#include <filesystem>

#include "host/alignment.h"

namespace karvo_gui {
namespace {

namespace fs = std::filesystem;

// Far above any process id the kernel hands out, so never running.
constexpr long kEndedProcess = 2'000'000'000L;

std::unique_ptr<KARVO::Alignment> smallAlignment() {
  return KARVO::Alignment::fromRows({{"first", "one"}, {"second", ""}}, {"MK-LV", "M-KLV"});
}

class RecoveryTest : public ::testing::Test {
 protected:
  std::string dir() const { return tmp.path().toStdString(); }
  QTemporaryDir tmp;
};

TEST_F(RecoveryTest, ARunningProcessKeepsItsFilesToItself) {
  writeRecovery(recoveryFilesFor(dir(), "/data/mine.fa"), *smallAlignment(), {"/data/mine.fa", getpid()});
  EXPECT_TRUE(findRecoveries(dir()).empty());
}

TEST_F(RecoveryTest, OldestIsOfferedFirst) {
  const RecoveryFiles older = recoveryFilesFor(dir(), "/a/older.fa");
  const RecoveryFiles newer = recoveryFilesFor(dir(), "/a/newer.fa");
  writeRecovery(newer, *smallAlignment(), {"/a/newer.fa", kEndedProcess});
  writeRecovery(older, *smallAlignment(), {"/a/older.fa", kEndedProcess});
  fs::last_write_time(older.alignmentPath, fs::last_write_time(newer.alignmentPath) - std::chrono::hours(1));

  const auto found = findRecoveries(dir());
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].origin.originalPath, "/a/older.fa");
  EXPECT_EQ(found[1].origin.originalPath, "/a/newer.fa");
}

TEST_F(RecoveryTest, ACopyWithoutMarkerIsStillOffered) {
  const RecoveryFiles files = recoveryFilesFor(dir(), "/a/lost.fa");
  writeRecovery(files, *smallAlignment(), {"/a/lost.fa", kEndedProcess});
  fs::remove(files.markerPath);
  const auto found = findRecoveries(dir());
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].origin.originalPath, "");
}

TEST_F(RecoveryTest, RemovingLeavesNothingBehind) {
  const RecoveryFiles files = recoveryFilesFor(dir(), "/a/x.fa");
  writeRecovery(files, *smallAlignment(), {"/a/x.fa", kEndedProcess});
  removeRecovery(files);
  EXPECT_FALSE(fs::exists(files.alignmentPath));
  EXPECT_FALSE(fs::exists(files.markerPath));
  EXPECT_TRUE(findRecoveries(dir()).empty());
  removeRecovery(files);
}

TEST_F(RecoveryTest, AMissingDirectoryHasNoRecoveries) { EXPECT_TRUE(findRecoveries(dir() + "/absent").empty()); }

TEST_F(RecoveryTest, WritingIntoAMissingDirectoryFails) {
  EXPECT_THROW(writeRecovery(recoveryFilesFor(dir() + "/absent", "x.fa"), *smallAlignment(), {"x.fa", 1}),
               std::runtime_error);
}

}  // namespace
}  // namespace karvo_gui
