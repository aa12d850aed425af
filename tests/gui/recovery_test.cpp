// Recovery files: writing, finding what an ended process left. Opening one
// at start is in main_window_test.cpp.
#include "app/gui/recovery.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>

#include "ended_process.h"
#include "host/alignment.h"
#include "tests/support/scratch_dir.h"

namespace karvo_gui {
namespace {

namespace fs = std::filesystem;
using testing::kEndedProcess;

std::unique_ptr<KARVO::Alignment> smallAlignment() {
  return KARVO::Alignment::fromRows({{"first", "one"}, {"second", ""}}, {"MK-LV", "M-KLV"});
}

// A running process keeps its files to itself; of what ended processes left,
// the oldest is offered first, a copy without its marker too; removing leaves
// nothing behind, and may be repeated.
TEST(Recovery, EndedProcessesCopiesAreOfferedOldestFirstUntilRemoved) {
  const ztest::ScratchDir tmp;
  const std::string& dir = tmp.path();
  writeRecovery(recoveryFilesFor(dir, "/data/mine.fa"), *smallAlignment(), {"/data/mine.fa", getpid()});
  EXPECT_TRUE(findRecoveries(dir).empty());
  const RecoveryFiles older = recoveryFilesFor(dir, "/a/older.fa");
  const RecoveryFiles newer = recoveryFilesFor(dir, "/a/newer.fa");
  writeRecovery(newer, *smallAlignment(), {"/a/newer.fa", kEndedProcess});
  writeRecovery(older, *smallAlignment(), {"/a/older.fa", kEndedProcess});
  fs::last_write_time(older.alignmentPath, fs::last_write_time(newer.alignmentPath) - std::chrono::hours(1));
  auto found = findRecoveries(dir);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].origin.originalPath, "/a/older.fa");
  EXPECT_EQ(found[1].origin.originalPath, "/a/newer.fa");

  fs::remove(older.markerPath);
  found = findRecoveries(dir);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].origin.originalPath, "");

  for (const RecoveryFiles& files : {older, newer}) {
    removeRecovery(files);
    EXPECT_FALSE(fs::exists(files.alignmentPath));
    EXPECT_FALSE(fs::exists(files.markerPath));
  }
  EXPECT_TRUE(findRecoveries(dir).empty());
  removeRecovery(newer);
}

TEST(Recovery, AMissingDirectoryHasNoneAndCannotBeWrittenInto) {
  EXPECT_TRUE(findRecoveries("/nonexistent/recovery").empty());
  EXPECT_THROW(writeRecovery(recoveryFilesFor("/nonexistent/recovery", "x.fa"), *smallAlignment(), {"x.fa", 1}),
               std::runtime_error);
}

}  // namespace
}  // namespace karvo_gui
