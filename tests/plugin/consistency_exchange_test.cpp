// The window-less entry with the consistency method: the same exchange as
// the progressive run (refusals, prealigned block, columns outside the range,
// all-gap columns) with the consistency engine's rows, confidences and tree.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "host/alignment.h"
#include "plugin/zemtra_plugin.h"
#include "run/headless_run_interaction.h"
#include "tests/support/alignment_rows.h"

namespace {

ZemtraRunReport run(KARVO::Alignment& alignment, ZemtraMethod method, int prealigned = 0) {
  ZemtraParameters parameters;
  parameters.method = method;
  parameters.prealigned = prealigned;
  parameters.refineIterations = 10;
  parameters.writeLogFile = false;
  ZemtraRunReport report;
  parameters.wantLogText = true;
  parameters.wantTables = true;
  HeadlessRunInteraction interaction;
  ExecuteWithParameters(alignment, parameters, interaction, &report);
  return report;
}

std::string withoutGaps(std::string row) {
  std::erase(row, '-');
  return row;
}

// Both methods refuse the same ranges in the same words.
TEST(ConsistencyExchange, RefusesWhatTheProgressiveRunRefuses) {
  struct Case {
    std::vector<std::string> rows;
    KARVO::ColumnRange range;
    int prealigned;
    ExchangeOutcome outcome;
  };
  const std::vector<Case> cases{
      {{"MKV", "MKV"}, {1, 1}, 0, ExchangeOutcome::NoRange},
      {{"MK-", "MKV", "--V"}, {0, 2}, 2, ExchangeOutcome::NoAdditionalSequences},
      {{"MKV", "---"}, {0, 3}, 0, ExchangeOutcome::FewerThanTwo},
  };
  for (const Case& c : cases) {
    for (const ZemtraMethod method : {ZemtraMethod::Progressive, ZemtraMethod::Consistency}) {
      auto alignment = ztest::alignmentOf(c.rows);
      alignment->selection = c.range;
      const ZemtraRunReport report = run(*alignment, method, c.prealigned);
      EXPECT_EQ(report.exchange, c.outcome) << c.rows.front() << " method " << static_cast<int>(method);
      EXPECT_EQ(ztest::rowsOf(*alignment), c.rows);
    }
  }
}

// Columns 1-3 and 14-16 lie outside the range; column 2 is a gap in every
// row and goes, like every such column. Rows 0 and 1 are a prealigned block.
TEST(ConsistencyExchange, RealignsTheRangeInPlaceKeepingTheBlockAndTheOutsideColumns) {
  const std::vector<std::string> input{"M-KVLSPADKTNV-GA", "M-RVHLTPE-EKSAGQ", "W-ELSEGEWQLVLHAK", "A-A----------ADD",
                                       "F-LTESQAALVKSSRR"};
  auto alignment = ztest::alignmentOf(input);
  alignment->selection = {3, 13};
  const ZemtraRunReport report = run(*alignment, ZemtraMethod::Consistency, 2);
  ASSERT_EQ(report.exchange, ExchangeOutcome::Rewritten);
  ASSERT_EQ(report.run.outcome, RunOutcome::Completed);
  EXPECT_EQ(report.sentRows, (std::vector<unsigned long>{0, 1, 2, 4}));
  EXPECT_EQ(report.fixed, 2u);

  const std::vector<std::string> rows = ztest::rowsOf(*alignment);
  const std::size_t width = rows.front().size() - 5;  // 3 + 3 outside, one of them removed
  EXPECT_EQ(report.columnConfidence.size(), width);
  for (std::size_t r = 0; r < rows.size(); ++r) {
    EXPECT_EQ(rows[r].substr(0, 2), input[r].substr(0, 1) + input[r].substr(2, 1)) << r;
    EXPECT_EQ(rows[r].substr(2 + width), input[r].substr(13)) << r;
    EXPECT_EQ(withoutGaps(rows[r]), withoutGaps(input[r])) << r;
  }
  EXPECT_EQ(rows[3].substr(2, width), std::string(width, '-'));
  // The block's columns stay together: dropping the columns where both are
  // gaps gives the block as it came.
  std::string a, b;
  for (std::size_t c = 2; c < 2 + width; ++c) {
    if (rows[0][c] == '-' && rows[1][c] == '-') continue;
    a += rows[0][c];
    b += rows[1][c];
  }
  EXPECT_EQ(a, "VLSPADKTNV");
  EXPECT_EQ(b, "VHLTPE-EKS");

  const JoinHistory& history = report.run.history;
  ASSERT_EQ(history.joins.size(), 3u);
  EXPECT_TRUE(std::isnan(history.distances[0]));
  for (std::size_t k = 1; k < 3; ++k) EXPECT_TRUE(history.distances[k] >= 0 && history.distances[k] <= 1) << k;
  EXPECT_EQ(report.run.identity.size(), 16u);
  EXPECT_EQ(report.run.distance.size(), 16u);
  EXPECT_TRUE(report.logText.starts_with("Zemtra re-alignment, consistency method"));
}

}  // namespace
