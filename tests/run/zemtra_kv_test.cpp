#include "run/zemtra_kv.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "host/logger.h"
#include "run/headless_run_interaction.h"
#include "run_fixtures.h"
#include "tests/support/golden.h"

using run_test::PersonalTmpDir;
using run_test::readFile;
using run_test::RunInputs;
using run_test::writeFile;

namespace {

constexpr int kGap = 40;
constexpr int kStrmat = 0;

// Banner and penalty block of every run with gap 40.
const std::string kOpening = ztest::readFile(ztest::goldenPath("run/opening_gap40.log"));

class RunTest : public ::testing::Test {
 protected:
  RunTest() {
    interaction.onProgress = [this](int value, int total) {
      progressValues.push_back(value);
      progressTotal = total;
    };
    Logger::SetSink([this](std::string_view piece) { loggerText.append(piece); });
  }
  ~RunTest() override { Logger::SetSink({}); }

  void run(RunInputs& in, const std::string& logName = "zemtra.log", unsigned int fixed = 0) {
    zemtra_kv(interaction, &ok, logName, in.len.data(), in.nres.data(), in.names, in.seqs, fixed, kStrmat, kGap,
              &details, zemtra::EngineOptions{});
  }

  // Cancels the run from inside the event processing before the given pair
  // (0-based in pair order).
  void cancelAtPair(int pair) {
    interaction.onProcessEvents = [this, pair, calls = 0]() mutable {
      if (calls++ == pair) interaction.cancel();
    };
  }

  PersonalTmpDir tmp;
  std::string loggerText;  // what the host's logger received
  HeadlessRunInteraction interaction;
  bool ok = false;
  RunDetails details;
  std::vector<int> progressValues;
  int progressTotal = -1;
};

// "WAC" against "WC": the pair aligns W-W and C-C with A against a gap,
// score 91 - 40 + 100 = 151, NAS 151 * 200 / (256 + 191) = 67.6, and the
// two C's are identical positions of the shorter sequence: 100 % identity.
RunInputs twoSequences() { return RunInputs({"seqA", "seqB"}, {"WAC", "WC-"}); }

RunInputs threeSequences() { return RunInputs({"first", "second", "third"}, {"WACDE", "WACE-", "ACDE-"}); }

// --- two sequences -----------------------------------------------------------

// Percent signs in a name reach the file unchanged.
TEST_F(RunTest, TwoSequenceRunWritesItsLogAndThePairwiseAlignmentBack) {
  RunInputs in({"50%s%d", "seqB"}, {"WAC", "WC-"});
  run(in);
  ztest::expectGolden("run/two_sequences.log", readFile(tmp.file("zemtra.log")));
  EXPECT_TRUE(ok);
  EXPECT_EQ(details.outcome, RunOutcome::Completed);
  EXPECT_EQ(in.row(0), "WAC-");
  EXPECT_EQ(in.row(1), "W-C-");
  EXPECT_EQ(in.len[1], 4u);
  EXPECT_TRUE(details.history.joins.empty());
  EXPECT_EQ(progressValues, (std::vector<int>{0, 2}));
  EXPECT_EQ(progressTotal, 2);
  EXPECT_FALSE(interaction.progressActive());
}

// --- more sequences ----------------------------------------------------------

TEST_F(RunTest, ThreeSequenceRunLogsTreeAndStatisticsAndAlignsAllRowsToOneLength) {
  RunInputs in = threeSequences();
  run(in);
  const std::string log = readFile(tmp.file("zemtra.log"));
  ztest::expectGolden("run/three_sequences.log", log);
  EXPECT_TRUE(ok);
  EXPECT_EQ(details.history.joins.size(), 2u);
  EXPECT_EQ(in.len[1], in.len[0]);
  EXPECT_EQ(in.len[2], in.len[0]);
  EXPECT_EQ(loggerText, log);
  EXPECT_EQ(progressValues, (std::vector<int>{0, 1, 2, 3, 4}));
  EXPECT_EQ(progressTotal, 4);
  EXPECT_FALSE(interaction.progressActive());
}

TEST_F(RunTest, UnscorableSequencesStillComplete) {
  // Residues without a score of their own make every NAS not-a-number.
  RunInputs in({"a", "b", "c"}, {"XXX", "XX-", "XXX"});
  run(in);
  EXPECT_TRUE(ok);
  EXPECT_NE(readFile(tmp.file("zemtra.log")).find("Branching order: "), std::string::npos);
}

TEST_F(RunTest, AllPrealignedRowsAreMeasuredAsTheyStand) {
  RunInputs in({"a", "b", "c"}, {"WAC-D", "WAC-D", "WAC-D"});
  run(in, "zemtra.log", 3);
  EXPECT_TRUE(ok);
  EXPECT_EQ(in.row(0), "WAC-D");
  ztest::expectGolden("run/all_prealigned.log", readFile(tmp.file("zemtra.log")));
}

// --- cancellation (when it is noticed is the pairwise phase's test) -------------

TEST_F(RunTest, CancelIsNoticedAtTheNextRowStart) {
  RunInputs in = threeSequences();
  cancelAtPair(0);
  run(in);
  EXPECT_FALSE(ok);
  EXPECT_EQ(details.outcome, RunOutcome::Cancelled);
  EXPECT_EQ(progressValues, (std::vector<int>{0, 1}));
  EXPECT_FALSE(interaction.progressActive());
  EXPECT_EQ(readFile(tmp.file("zemtra.log")), kOpening + "\nzemtra:: Process was cancelled ");
  EXPECT_EQ(loggerText, kOpening + "\nzemtra:: Process was cancelled \n");
  EXPECT_EQ(in.row(1), "WACE-");
}

// --- the log's place ---------------------------------------------------------

// Refused, the old log stays and the run stops; accepted, it is replaced. A
// log name with a slash names a file in a subdirectory.
TEST_F(RunTest, OverwriteQuestionKeepsOrReplacesTheOldLog) {
  writeFile(tmp.file("zemtra.log"), "old log");
  std::string asked;
  bool answer = false;
  interaction.answerOverwrite = [&](const std::string& path) {
    asked = path;
    return answer;
  };
  RunInputs in = twoSequences();
  ok = true;
  run(in);
  EXPECT_FALSE(ok);
  EXPECT_EQ(details.outcome, RunOutcome::OverwriteRefused);
  EXPECT_EQ(asked, tmp.file("zemtra.log"));
  EXPECT_EQ(interaction.debugMessages(), std::vector<std::string>{"Cancel"});
  EXPECT_EQ(readFile(tmp.file("zemtra.log")), "old log");
  EXPECT_FALSE(std::filesystem::exists(tmp.file("karvo.log")));
  EXPECT_EQ(in.row(0), "WAC");
  ASSERT_TRUE(std::filesystem::create_directory(tmp.file("runs")));
  writeFile(tmp.file("runs/pair.log"), "old log");
  answer = true;
  run(in, "runs/pair.log");
  EXPECT_TRUE(ok);
  EXPECT_EQ(asked, tmp.file("runs/pair.log"));
  EXPECT_EQ(readFile(tmp.file("runs/pair.log")).substr(0, kOpening.size()), kOpening);
}

TEST_F(RunTest, UnopenableLogStillReachesTheLogger) {
  RunInputs in = twoSequences();
  run(in, "missing/zemtra.log");
  EXPECT_TRUE(ok);
  EXPECT_FALSE(details.logWritten);
  EXPECT_EQ(details.logPath, tmp.file("missing/zemtra.log"));
  const std::string message = "\nCould not open " + tmp.file("missing/zemtra.log") + "! ZEMTRA::PROCESS no log file\n";
  const std::string logged = loggerText;
  ASSERT_GE(logged.size(), message.size());
  EXPECT_EQ(logged.substr(logged.size() - message.size()), message);
  EXPECT_EQ(logged.substr(0, kOpening.size()), kOpening);
}

TEST_F(RunTest, DirectoryThatCannotBeMadeStopsTheRun) {
  writeFile(tmp.file("plain"), "a file, not a directory");
  const std::string dir = tmp.file("plain/sub");
  PersonalTmpDir::use(dir);
  RunInputs in = twoSequences();
  ok = true;
  run(in);
  EXPECT_FALSE(ok);
  EXPECT_EQ(details.outcome, RunOutcome::DirectoryFailed);
  EXPECT_EQ(interaction.debugMessages(),
            (std::vector<std::string>{"zemtra::Can not create dir : " + dir,
                                      "        multiple alignment process interrupted. "}));
  EXPECT_EQ(in.row(0), "WAC");
  EXPECT_TRUE(progressValues.empty());
}

// --- too few sequences -------------------------------------------------------

TEST_F(RunTest, SingleSequenceRunsNothing) {
  RunInputs in({"alone"}, {"WAC"});
  ok = true;
  run(in);
  EXPECT_FALSE(ok);
  EXPECT_EQ(details.outcome, RunOutcome::FewerThanTwoSequences);
  EXPECT_EQ(interaction.debugMessages(), std::vector<std::string>{"Fewer than two sequences: nothing to align"});
  EXPECT_EQ(in.row(0), "WAC");
  EXPECT_FALSE(std::filesystem::exists(tmp.file("zemtra.log")));
  EXPECT_FALSE(std::filesystem::exists(tmp.file("karvo.log")));
}

}  // namespace
