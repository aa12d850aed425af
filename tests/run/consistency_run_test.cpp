// The consistency method's run: its log (golden, timings masked), the same
// log placement and cancellation as the progressive run, the guide tree in
// the progressive run's join-history shape, and results that do not depend
// on the thread count.
#include "run/consistency_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <regex>
#include <string>
#include <vector>

#include "run/consistency_tables.h"
#include "run/headless_run_interaction.h"
#include "run_fixtures.h"
#include "tests/support/golden.h"

using run_test::PersonalTmpDir;
using run_test::readFile;
using run_test::writeFile;

namespace {

// Globin fragments, the first two already aligned to each other.
ConsistencyRunInput globinFragments(unsigned fixed = 0) {
  ConsistencyRunInput input;
  input.names = {"HBA_HUMAN", "HBB_HUMAN", "MYG_PHYCA", "GLB5_PETMA", "LGB2_LUPLU"};
  input.rows = {"VLSPADKTNVKAAWGKVGAHAGEYGAEALERMF", "VHLTPEEKSAVTALWGKV--NVDEVGGEALGRLL",
                "VLSEGEWQLVLHVWAKVEADVAGHGQDILIRLF", "PIVDTGSVAPLSAAEKTKIRSAWAPVYSTYETSG",
                "GALTESQAALVKSSWEEFNANIPKHTHRFFILVL"};
  for (std::string& row : input.rows) row.resize(34, '-');
  input.fixed = fixed;
  input.refineIterations = 20;
  return input;
}

// The log with the figures of its timings line, which vary, left out.
std::string timingsMasked(const std::string& log) {
  return std::regex_replace(log, std::regex("\\nTimings \\(seconds\\):[^\\n]*"), "\nTimings (seconds): ...");
}

class ConsistencyRunTest : public ::testing::Test {
 protected:
  ConsistencyRunOutput run(const ConsistencyRunInput& input, bool toFile = true) {
    RunLogOptions log;
    log.name = "zemtra.log";
    log.writeFile = toFile;
    log.text = &logText;
    return consistencyRun(interaction, log, input, details);
  }

  PersonalTmpDir tmp;
  HeadlessRunInteraction interaction;
  RunDetails details;
  std::string logText;
};

TEST_F(ConsistencyRunTest, LogNamesParametersSequencesTreeAndRefinement) {
  const ConsistencyRunOutput out = run(globinFragments(2));
  ASSERT_EQ(details.outcome, RunOutcome::Completed);
  EXPECT_TRUE(details.logWritten);
  EXPECT_EQ(readFile(tmp.file("zemtra.log")), logText);
  ztest::expectGolden("run/consistency_globins.log", timingsMasked(logText));
  ASSERT_EQ(out.rows.size(), 5u);
  EXPECT_EQ(out.columnConfidence.size(), out.rows.front().size());
  EXPECT_FALSE(interaction.progressActive());
}

TEST_F(ConsistencyRunTest, ThreadCountChangesNoByte) {
  ConsistencyRunInput input = globinFragments();
  input.threads = 1;
  const ConsistencyRunOutput one = run(input, false);
  const std::string oneLog = timingsMasked(logText);
  input.threads = 2;
  const ConsistencyRunOutput two = run(input, false);
  EXPECT_EQ(one.rows, two.rows);
  EXPECT_EQ(one.columnConfidence, two.columnConfidence);
  EXPECT_EQ(oneLog, timingsMasked(logText));
}

TEST_F(ConsistencyRunTest, ExistingLogIsReplacedOnlyAfterTheUserAgreed) {
  writeFile(tmp.file("zemtra.log"), "old");
  run(globinFragments());
  EXPECT_EQ(details.outcome, RunOutcome::OverwriteRefused);
  EXPECT_EQ(readFile(tmp.file("zemtra.log")), "old");
  interaction.answerOverwrite = [](const std::string&) { return true; };
  run(globinFragments());
  EXPECT_EQ(details.outcome, RunOutcome::Completed);
  EXPECT_EQ(readFile(tmp.file("zemtra.log")), logText);
}

TEST_F(ConsistencyRunTest, CancelFromTheProgressDisplayStopsTheRunAndKeepsItsLog) {
  interaction.onProgress = [this](int, int) { interaction.cancel(); };
  const ConsistencyRunOutput out = run(globinFragments(), false);
  EXPECT_EQ(details.outcome, RunOutcome::Cancelled);
  EXPECT_TRUE(out.rows.empty());
  EXPECT_NE(logText.find("Cancelled"), std::string::npos);
  EXPECT_FALSE(interaction.progressActive());
}

// Tree: leaves 0-3, join (0,1)=4 in a block, (2,3)=5, (5,4)=6.
TEST(ConsistencyTables, TreeBecomesJoinsOfLowestRowsWithTheBlockUncomparedAndPairTables) {
  const std::vector<zemtra::consistency::TreeJoin> tree{{0, 1, 0.0f}, {2, 3, 0.25f}, {5, 4, 0.5f}};
  const JoinHistory history = joinHistoryOf(tree, 4, 2);
  using Join = std::pair<unsigned long, unsigned long>;
  EXPECT_EQ(history.joins, (std::vector<Join>{{0, 1}, {2, 3}, {0, 2}}));
  ASSERT_EQ(history.distances.size(), 3u);
  EXPECT_TRUE(std::isnan(history.distances[0]));
  EXPECT_EQ(history.distances[2], 0.5f);
  EXPECT_EQ(history.families, (std::vector<std::vector<unsigned long>>{{3, 4, 1, 2}}));
  EXPECT_EQ(joinDistanceTable(tree, 4), (std::vector<float>{0, 0, .5f, .5f, 0, 0, .5f, .5f,  //
                                                            .5f, .5f, 0, .25f, .5f, .5f, .25f, 0}));
  EXPECT_EQ(alignedIdentity({"AC-DEF", "ACK-KK", "------"}), (std::vector<float>{100, 50, 0, 50, 100, 0, 0, 0, 100}));
  EXPECT_THROW(joinHistoryOf({{0, 0, 0.0f}}, 2, 0), std::invalid_argument);
}

}  // namespace
