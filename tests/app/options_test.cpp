// The pure option helpers: column ranges, matrix names, gap penalties,
// output formats, log targets, the progress line and the
// overwrite answer. The refusals they lead to are
// checked end to end in tests/badinput.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <sstream>

#include "app/align_options.h"
#include "app/output_paths.h"
#include "app/terminal_interaction.h"
#include "scoring/matrix_names.h"
#include "scoring/scomat.h"

using namespace karvo_app;

TEST(ColumnRange, ReadsBothEndsInclusiveAndRejectsMalformedOrEmptyRanges) {
  const auto span = parseColumnRange("3:17");
  ASSERT_TRUE(span);
  EXPECT_EQ(span->first, 3u);
  EXPECT_EQ(span->last, 17u);
  EXPECT_TRUE(parseColumnRange("5:5"));
  for (const char* text : {"", "5", "0:4", "7:3", "a:b", "3:", ":4", "3:4x", "-1:4", "3:4:5", " 3:4"}) {
    EXPECT_FALSE(parseColumnRange(text)) << text;
  }
}

TEST(MatrixLookup, TakesWholeNamesAndPublishedNamesInAnyCaseOrTheNumbersZeroToFourteen) {
  const std::pair<const char*, std::optional<int>> cases[] = {{"STRMAT110", 0},     {"dayhoff", 1},
                                                              {"Pam120", 13},       {"test matrix", 14},
                                                              {"TEST_MATRIX", 14},  {"0", 0},
                                                              {"14", 14},           {"15", std::nullopt},
                                                              {"-1", std::nullopt}, {"DAY", std::nullopt},
                                                              {"blosum62", 11},     {"PAM250", 1},
                                                              {"Gonnet1992", 10},   {"PET91", 12},
                                                              {"EMPAR", 8},         {"BLOSUM50", std::nullopt},
                                                              {"", std::nullopt}};
  for (const auto& [text, number] : cases) EXPECT_EQ(ScoMat::findMatrix(text), number) << text;
}

TEST(MatrixLookup, EveryMatrixIsDescribedAndNoAliasIsAlsoAName) {
  for (int k = 0; k < ScoMat::kMatrixCount; ++k) {
    EXPECT_FALSE(ScoMat::matrixDescription(k).empty()) << k;
    for (const std::string_view alias : ScoMat::matrixAliases(k)) {
      EXPECT_EQ(ScoMat::findMatrix(alias), k) << alias;
      for (int other = 0; other < ScoMat::kMatrixCount; ++other) EXPECT_NE(alias, ScoMat::m_names[other]);
    }
  }
}

TEST(GapPenalty, OnlyWholeNumbersFromZeroToHundred) {
  for (const char* good : {"0", "40", "100"}) EXPECT_EQ(gapPenaltyProblem(good), "") << good;
  for (const char* bad : {"20.5", "101", "-1", "", "4e1", " 40"}) EXPECT_NE(gapPenaltyProblem(bad), "") << bad;
}

TEST(OutputFormat, ComesFromTheOptionOrTheNameAndNeverSilentlyFromNothing) {
  using KARVO::AlignmentFormat;
  EXPECT_EQ(outputFormatFor("", "").format, AlignmentFormat::Fasta);
  EXPECT_EQ(outputFormatFor("-", "").format, AlignmentFormat::Fasta);
  EXPECT_EQ(outputFormatFor("/dev/null", "").format, AlignmentFormat::Fasta);
  EXPECT_EQ(outputFormatFor("out.STK.gz", "").format, AlignmentFormat::Stockholm);
  EXPECT_EQ(outputFormatFor("out.txt", "PHYLIP").format, AlignmentFormat::Phylip);
  EXPECT_EQ(outputFormatFor("-", "clustal").format, AlignmentFormat::Clustal);
  for (const char* name : {"out.txt", "out", "out.gz", "dir.fa/out"}) {
    EXPECT_FALSE(outputFormatFor(name, "").format) << name;
  }
}

TEST(LogTarget, SplitsAPathRelativeToTheCurrentFolderAndRejectsPathsNamingNoFile) {
  const std::pair<const char*, const char*> cases[] = {
      {"run.log", "."}, {"./run.log", "."}, {"/run.log", "/"}, {"/tmp/x/run.log", "/tmp/x"}, {"../run.log", ".."}};
  for (const auto& [text, folder] : cases) {
    const auto target = logTargetFor(text);
    ASSERT_TRUE(target) << text;
    EXPECT_EQ(target->folder, folder) << text;
    EXPECT_EQ(target->name, "run.log") << text;
  }
  EXPECT_EQ(logTargetFor("")->folder, "");  // the default log: personal directory
  for (const char* text : {"logs/", "/", "a/.", "a/.."}) EXPECT_FALSE(logTargetFor(text)) << text;
}

TEST(ProgressLine, ShowsPairsDoneAsBarAndCountClampedToTheTotal) {
  EXPECT_EQ(progressLine(0, 4, 8), "aligning pairs [        ] 0/4");
  EXPECT_EQ(progressLine(2, 4, 8), "aligning pairs [####    ] 2/4");
  EXPECT_EQ(progressLine(4, 4, 8), "aligning pairs [########] 4/4");
  EXPECT_EQ(progressLine(9, 4, 8), progressLine(4, 4, 8));
  EXPECT_EQ(progressLine(-1, 4, 8), progressLine(0, 4, 8));
}

TEST(ProgressBar, RedrawsAtMostTenTimesASecond) {
  std::ostringstream captured;
  std::streambuf* const old = std::cerr.rdbuf(captured.rdbuf());
  TerminalInteraction interaction(TerminalSettings{.showProgress = true});
  const auto start = std::chrono::steady_clock::now();
  interaction.progressStart(100001);
  for (int step = 1; step <= 100000; ++step) interaction.progressSet(step);
  const auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  interaction.progressEnd();
  std::cerr.rdbuf(old);
  EXPECT_LE(interaction.drawCount(), 3 + static_cast<unsigned long>(seconds * 10));  // first, last, timed
  const std::string text = captured.str();
  // Each draw starts with a carriage return, and so does the final clearing.
  EXPECT_EQ(static_cast<unsigned long>(std::count(text.begin(), text.end(), '\r')), interaction.drawCount() + 1);
}

TEST(OverwriteAnswer, OnlyAnswersStartingWithYAreYes) {
  for (const char* yes : {"y", "  Yes"}) EXPECT_TRUE(isYes(yes)) << yes;
  for (const char* no : {"", "n", "ok y"}) EXPECT_FALSE(isYes(no)) << no;
}
