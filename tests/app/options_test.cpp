// The pure option helpers: column ranges, matrix names and log targets.
#include <gtest/gtest.h>

#include "app/align_options.h"
#include "app/terminal_interaction.h"

using namespace karvo_app;

TEST(ColumnRange, ReadsBothEndsInclusive) {
  const auto span = parseColumnRange("3:17");
  ASSERT_TRUE(span);
  EXPECT_EQ(span->first, 3u);
  EXPECT_EQ(span->last, 17u);
}

TEST(ColumnRange, AcceptsASingleColumn) { EXPECT_TRUE(parseColumnRange("5:5")); }

TEST(ColumnRange, RejectsMalformedOrEmptyRanges) {
  for (const char* text : {"", "5", "0:4", "7:3", "a:b", "3:", ":4", "3:4x", "-1:4", "3:4:5", " 3:4"}) {
    EXPECT_FALSE(parseColumnRange(text)) << text;
  }
}

TEST(MatrixLookup, FindsNamesInAnyCase) {
  EXPECT_EQ(lookupMatrix("STRMAT110"), 0);
  EXPECT_EQ(lookupMatrix("dayhoff"), 1);
  EXPECT_EQ(lookupMatrix("Pam120"), 13);
}

TEST(MatrixLookup, UnderscoreStandsForTheBlankInTestMatrix) {
  EXPECT_EQ(lookupMatrix("test matrix"), 14);
  EXPECT_EQ(lookupMatrix("TEST_MATRIX"), 14);
}

TEST(MatrixLookup, AcceptsNumbersZeroToFourteen) {
  EXPECT_EQ(lookupMatrix("0"), 0);
  EXPECT_EQ(lookupMatrix("14"), 14);
  EXPECT_FALSE(lookupMatrix("15"));
  EXPECT_FALSE(lookupMatrix("-1"));
}

TEST(MatrixLookup, RejectsPartialAndUnknownNames) {
  EXPECT_FALSE(lookupMatrix("DAY"));
  EXPECT_FALSE(lookupMatrix("BLOSUM62"));
  EXPECT_FALSE(lookupMatrix(""));
}

TEST(LogTarget, DefaultIsThePluginNameInThePersonalDirectory) {
  const auto target = logTargetFor("");
  ASSERT_TRUE(target);
  EXPECT_EQ(target->kind, LogKind::InPersonalDir);
  EXPECT_EQ(target->value, "zemtra.log");
}

TEST(LogTarget, PlainNameStaysInThePersonalDirectory) {
  const auto target = logTargetFor("run7.log");
  ASSERT_TRUE(target);
  EXPECT_EQ(target->kind, LogKind::InPersonalDir);
  EXPECT_EQ(target->value, "run7.log");
}

TEST(LogTarget, AnythingWithASlashIsAPath) {
  for (const char* text : {"./run.log", "/tmp/x/run.log", "logs/run.log"}) {
    const auto target = logTargetFor(text);
    ASSERT_TRUE(target) << text;
    EXPECT_EQ(target->kind, LogKind::Path) << text;
  }
}

TEST(LogTarget, RejectsPathsThatNameNoFile) {
  for (const char* text : {"logs/", "/", "a/.", "a/.."}) EXPECT_FALSE(logTargetFor(text)) << text;
}

TEST(ProgressLine, ShowsPairsDoneAsBarAndCount) {
  EXPECT_EQ(progressLine(0, 4, 8), "aligning pairs [        ] 0/4");
  EXPECT_EQ(progressLine(2, 4, 8), "aligning pairs [####    ] 2/4");
  EXPECT_EQ(progressLine(4, 4, 8), "aligning pairs [########] 4/4");
}

TEST(ProgressLine, ClampsValuesOutsideTheTotal) {
  EXPECT_EQ(progressLine(9, 4, 8), progressLine(4, 4, 8));
  EXPECT_EQ(progressLine(-1, 4, 8), progressLine(0, 4, 8));
}

TEST(OverwriteAnswer, OnlyAnswersStartingWithYAreYes) {
  EXPECT_TRUE(isYes("y"));
  EXPECT_TRUE(isYes("  Yes"));
  EXPECT_FALSE(isYes(""));
  EXPECT_FALSE(isYes("n"));
  EXPECT_FALSE(isYes("ok y"));
}

TEST(TerminalInteraction, ForceOverwritesWithoutAsking) {
  TerminalInteraction interaction(TerminalSettings{.force = true});
  EXPECT_TRUE(interaction.confirmOverwrite("/x/zemtra.log"));
  EXPECT_EQ(interaction.overwriteDecision(), OverwriteDecision::Forced);
}

TEST(TerminalInteraction, RefusesOverwriteWhenItCannotAsk) {
  TerminalInteraction interaction(TerminalSettings{});
  EXPECT_FALSE(interaction.confirmOverwrite("/x/zemtra.log"));
  EXPECT_EQ(interaction.overwriteDecision(), OverwriteDecision::Refused);
}

TEST(TerminalInteraction, TestCancelStepRaisesCancelFromThatStepOn) {
  TerminalInteraction interaction(TerminalSettings{.cancelAtStep = 2});
  interaction.progressStart(7);
  interaction.progressSet(1);
  EXPECT_FALSE(interaction.progressCanceled());
  interaction.progressSet(2);
  EXPECT_TRUE(interaction.progressCanceled());
}
