// The pure option helpers: column ranges, matrix names, log targets, the
// progress line and the overwrite answer. The refusals they lead to are
// checked end to end in tests/badinput.
#include <gtest/gtest.h>

#include "app/align_options.h"
#include "app/terminal_interaction.h"
#include "scoring/matrix_names.h"

using namespace karvo_app;

TEST(ColumnRange, ReadsBothEndsInclusive) {
  const auto span = parseColumnRange("3:17");
  ASSERT_TRUE(span);
  EXPECT_EQ(span->first, 3u);
  EXPECT_EQ(span->last, 17u);
  EXPECT_TRUE(parseColumnRange("5:5"));
}

TEST(ColumnRange, RejectsMalformedOrEmptyRanges) {
  for (const char* text : {"", "5", "0:4", "7:3", "a:b", "3:", ":4", "3:4x", "-1:4", "3:4:5", " 3:4"}) {
    EXPECT_FALSE(parseColumnRange(text)) << text;
  }
}

TEST(MatrixLookup, TakesWholeNamesInAnyCaseOrTheNumbersZeroToFourteen) {
  const std::pair<const char*, std::optional<int>> cases[] = {{"STRMAT110", 0},
                                                              {"dayhoff", 1},
                                                              {"Pam120", 13},
                                                              {"test matrix", 14},
                                                              {"TEST_MATRIX", 14},
                                                              {"0", 0},
                                                              {"14", 14},
                                                              {"15", std::nullopt},
                                                              {"-1", std::nullopt},
                                                              {"DAY", std::nullopt},
                                                              {"BLOSUM62", std::nullopt},
                                                              {"", std::nullopt}};
  for (const auto& [text, number] : cases) EXPECT_EQ(ScoMat::findMatrix(text), number) << text;
}

TEST(LogTarget, SplitsAPathRelativeToTheCurrentFolder) {
  const std::pair<const char*, const char*> cases[] = {
      {"run.log", "."}, {"./run.log", "."}, {"/run.log", "/"}, {"/tmp/x/run.log", "/tmp/x"}, {"../run.log", ".."}};
  for (const auto& [text, folder] : cases) {
    const auto target = logTargetFor(text);
    ASSERT_TRUE(target) << text;
    EXPECT_EQ(target->folder, folder) << text;
    EXPECT_EQ(target->name, "run.log") << text;
  }
  EXPECT_EQ(logTargetFor("")->folder, "");  // the default log: personal directory
}

TEST(LogTarget, RejectsPathsThatNameNoFile) {
  for (const char* text : {"logs/", "/", "a/.", "a/.."}) EXPECT_FALSE(logTargetFor(text)) << text;
}

TEST(ProgressLine, ShowsPairsDoneAsBarAndCountClampedToTheTotal) {
  EXPECT_EQ(progressLine(0, 4, 8), "aligning pairs [        ] 0/4");
  EXPECT_EQ(progressLine(2, 4, 8), "aligning pairs [####    ] 2/4");
  EXPECT_EQ(progressLine(4, 4, 8), "aligning pairs [########] 4/4");
  EXPECT_EQ(progressLine(9, 4, 8), progressLine(4, 4, 8));
  EXPECT_EQ(progressLine(-1, 4, 8), progressLine(0, 4, 8));
}

TEST(OverwriteAnswer, OnlyAnswersStartingWithYAreYes) {
  for (const char* yes : {"y", "  Yes"}) EXPECT_TRUE(isYes(yes)) << yes;
  for (const char* no : {"", "n", "ok y"}) EXPECT_FALSE(isYes(no)) << no;
}
