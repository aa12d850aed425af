// A host that must not end: with a throwing exit handler every condition
// that ends the process by default reaches the host as an exception, with
// everything released, and the process carries on with normal runs.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <sstream>
#include <string>
#include <thread>
#include <variant>

#include "formats/alignment_io.h"
#include "host/alignment.h"
#include "pairwise/dpa.h"
#include "plugin/zemtra_plugin.h"
#include "run/headless_run_interaction.h"
#include "tests/support/alignment_rows.h"
#include "tree/tree_rt.h"

namespace {

// The tree builder allocates with nothrow new; a test can make the one after
// the next nothrowLeft of them fail (-1: none fails).
std::atomic<int> nothrowLeft{-1};

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (nothrowLeft.load() >= 0 && nothrowLeft.fetch_sub(1) == 0) return nullptr;
  try {
    return ::operator new(size);
  } catch (...) {
    return nullptr;
  }
}

namespace {

namespace fs = std::filesystem;

struct EngineExit {
  int status;
  std::string reason;
};

[[noreturn]] void throwEngineExit(int status, const char* reason) { throw EngineExit{status, reason}; }

std::unique_ptr<KARVO::Alignment> alignmentOf(const std::vector<std::string>& rows) {
  return ztest::alignmentOf(rows, "s");
}

// The reason the engine's exit names when the routine is called directly;
// empty when it returns.
std::string fredmanExit(KARVO::Matrix<int>& matrix, Alignment& room) {
  try {
    DPA::fredman<int>(10, matrix, room);
  } catch (const EngineExit& exit) {
    return exit.reason;
  }
  return {};
}

// The same for the drawable tree builder over three sequences.
std::string treeBuilderExit() {
  unsigned long joinRows[2][2] = {{0, 1}, {0, 2}};
  unsigned long* joins[2] = {joinRows[0], joinRows[1]};
  unsigned long order[3] = {1, 2, 3};
  unsigned long* family[1] = {order};
  TreeNode* root = nullptr;
  try {
    CreateTree2(&root, joins, 2, family);
  } catch (const EngineExit& exit) {
    return exit.reason;
  }
  freeTree(root);
  return {};
}

class ExitHandlerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(folder_);
    previous_ = SetExitHandler(throwEngineExit);
  }
  void TearDown() override {
    SetExitHandler(previous_);
    fs::remove_all(folder_);
  }

  // One call; the rows afterwards, or the engine's exit it threw.
  // The pairwise phase runs on three worker threads.
  std::variant<std::vector<std::string>, EngineExit> run(KARVO::Alignment& alignment, int matNo, int gap) {
    ZemtraParameters parameters;
    parameters.matNo = matNo;
    parameters.gap = gap;
    parameters.logFolder = folder_.string();
    parameters.engine.threads = 3;
    ZemtraRunReport report;
    HeadlessRunInteraction interaction;
    interaction.answerOverwrite = [](const std::string&) { return true; };
    try {
      EXPECT_TRUE(ExecuteWithParameters(alignment, parameters, interaction, &report));
    } catch (const EngineExit& exit) {
      nothrowLeft = -1;
      return exit;
    }
    return ztest::rowsOf(alignment);
  }

  void expectExit(KARVO::Alignment& alignment, int matNo, int gap, int status, const char* reason) {
    const auto result = run(alignment, matNo, gap);
    ASSERT_TRUE(std::holds_alternative<EngineExit>(result)) << reason;
    EXPECT_EQ(std::get<EngineExit>(result).status, status);
    EXPECT_EQ(std::get<EngineExit>(result).reason, reason);
    // Only a finished log is ever left; no temporary file stays behind.
    for (const auto& entry : fs::directory_iterator(folder_)) EXPECT_EQ(entry.path().filename(), "zemtra.log");
  }

  fs::path folder_ = fs::temp_directory_path() / ("zemtra-exit-" + std::to_string(::getpid()));
  ExitHandlerFn previous_ = nullptr;
};

TEST_F(ExitHandlerTest, EveryExitReachesTheHostAndLaterRunsAreUnaffected) {
  const std::vector<std::string> globins{"MVLSPADKTNVKAAWGKVGAHAGEYGAEALERMFLSFPTTKTYFPHF",
                                         "MVHLTPEEKSAVTALWGKVNVDEVGGEALGRLLVVYPWTQRFFESFGDL",
                                         "MVLSEGEWQLVLHVWAKVEADVAGHGQDILIRLFKSHPETLEKFDRV"};
  const auto before = run(*alignmentOf(globins), 0, 40);
  ASSERT_TRUE(std::holds_alternative<std::vector<std::string>>(before));

  // 'A' against 'W' scores below zero under matrix 14: the pair aligns
  // nothing, on the calling thread with two sequences and on the pairwise
  // phase's worker threads with more.
  expectExit(*alignmentOf({"A", "W"}), 14, 40, ZemtraExit::kPairedNoPosition, "gap A");
  expectExit(*alignmentOf({"A", "A", "W", "A", "A", "A"}), 14, 40, ZemtraExit::kPairedNoPosition, "gap A");

  const auto tooWide = KARVO::readAlignmentFile(ZEMTRA_SOURCE_DIR "/tests/badinput/data/rows_do_not_fit.fa");
  tooWide->selection = {0, tooWide->columnCount()};
  expectExit(*tooWide, 14, 0, ZemtraExit::kRowsDoNotFit, "rows do not fit");

  // The drawable tree builder: three leaves are made, the first inner node
  // is not.
  nothrowLeft = 3;
  EXPECT_EQ(treeBuilderExit(), "out of memory in the tree builder");
  nothrowLeft = -1;

  // No run reaches these two: the alignments of a run have room for every
  // position and fill it only when nothing is paired, which ends in "gap A".
  // The routine that meets them is called with less room.
  Alignment noRoom(1);
  KARVO::Matrix<int> oneCell(1, 1);
  oneCell[0][0] = 5;
  EXPECT_EQ(fredmanExit(oneCell, noRoom), "gap0 B");
  Alignment lastRowLeft(2);
  KARVO::Matrix<int> twoRows(2, 1);
  twoRows[0][0] = -5;
  twoRows[1][0] = 5;
  EXPECT_EQ(fredmanExit(twoRows, lastRowLeft), "gap B");

  const auto after = run(*alignmentOf(globins), 0, 40);
  ASSERT_TRUE(std::holds_alternative<std::vector<std::string>>(after));
  EXPECT_EQ(std::get<std::vector<std::string>>(after), std::get<std::vector<std::string>>(before));
}

// Two runs at once, one writing its log and one only handing its text back,
// give the logs of the same runs one after the other.
TEST_F(ExitHandlerTest, RunsOnTwoThreadsAtOnceDoNotMeet) {
  const std::vector<std::string> rows{"MVLSPADKTNVKAAWGKV", "MVHLTPEEKSAVTALWGK", "MVLSEGEWQLVLHVWAKV",
                                      "MVHLTPEEKTAVNALWGK"};
  const auto runWith = [&](int gap, bool toFile, const fs::path& folder) {
    fs::create_directories(folder);
    auto alignment = alignmentOf(rows);
    ZemtraParameters parameters;
    parameters.gap = gap;
    parameters.logFolder = folder.string();
    parameters.writeLogFile = toFile;
    parameters.wantLogText = true;
    ZemtraRunReport report;
    HeadlessRunInteraction interaction;
    EXPECT_TRUE(ExecuteWithParameters(*alignment, parameters, interaction, &report));
    EXPECT_EQ(report.run.logWritten, toFile);
    EXPECT_EQ(report.run.logProblem.empty(), toFile);
    return report.logText;
  };
  const std::string alone10 = runWith(10, true, folder_ / "a");
  const std::string alone30 = runWith(30, false, folder_ / "b");
  std::string together10;
  std::string together30;
  std::thread other([&] { together30 = runWith(30, false, folder_ / "d"); });
  together10 = runWith(10, true, folder_ / "c");
  other.join();
  EXPECT_EQ(together10, alone10);
  EXPECT_EQ(together30, alone30);
  std::stringstream file;
  file << std::ifstream(folder_ / "c/zemtra.log").rdbuf();
  EXPECT_EQ(file.str(), alone10);
  EXPECT_TRUE(fs::is_empty(folder_ / "d"));
  EXPECT_NE(alone10, alone30);
}

}  // namespace
