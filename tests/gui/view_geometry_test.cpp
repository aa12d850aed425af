// Visible cells, ruler drags, command-line spans and the window's texts, and
// what a consistency run leaves per column.
#include "app/gui/view_geometry.h"

#include <gtest/gtest.h>

#include <cmath>

#include "app/gui/run_results.h"

namespace karvo_gui {
namespace {

// A visible span counts a cell cut off by the edge and stops at the last
// cell. Ruler drags outside the columns are clamped.
TEST(ViewGeometry, VisibleSpansAndTheRuler) {
  const VisibleSpan span = visibleSpan({.offset = 10, .extentPixels = 95, .cellPixels = 10, .total = 1000});
  EXPECT_EQ(span.first, 10u);
  EXPECT_EQ(span.count, 10u);
  EXPECT_EQ(visibleSpan({.offset = 95, .extentPixels = 200, .cellPixels = 10, .total = 100}).count, 5u);
  // Empty without room or cells.
  EXPECT_EQ(visibleSpan({.offset = 0, .extentPixels = 0, .cellPixels = 10, .total = 100}).count, 0u);
  EXPECT_EQ(visibleSpan({.offset = 0, .extentPixels = 300, .cellPixels = 10, .total = 0}).count, 0u);
  EXPECT_EQ(visibleSpan({.offset = 100, .extentPixels = 300, .cellPixels = 10, .total = 100}).count, 0u);
  EXPECT_EQ(columnAtPixel(25, 100, 10, 1000), 102u);
  EXPECT_EQ(columnAtPixel(-40, 100, 10, 1000), 100u);
  EXPECT_EQ(columnAtPixel(5000, 100, 10, 120), 119u);
}

TEST(WindowTexts, SelectionOneBasedWithAnEnDashAndPluginsAfterTheirLibrary) {
  EXPECT_EQ(selectionText({11, 140}),
            "columns 12\xE2\x80\x93"
            "140 selected");
  EXPECT_EQ(selectionText({6, 7}), "column 7 selected");
  EXPECT_EQ(selectionText({0, 0}), "no columns selected");
  // A plug-in is named after its library.
  EXPECT_EQ(pluginDisplayName("libZemtra.so.0"), "Zemtra");
  EXPECT_EQ(pluginDisplayName("libZemtra.so"), "Zemtra");
  EXPECT_EQ(pluginDisplayName("faulty.so.2.1"), "faulty");
}

// A run's confidence lands on the columns of its range, clamped to [0, 1],
// with none outside the range, for values that are not numbers, or past the
// alignment's end; shades split [0, 1] evenly; settings stay in their ranges.
TEST(RunResults, ConfidenceLandsOnTheRunsColumnsAndSettingsStayInRange) {
  EXPECT_EQ(confidenceByColumn({0.5f, 1.5f, -0.25f, std::nanf(""), 0.75f}, 2, 6),
            (std::vector<float>{-1.0f, -1.0f, 0.5f, 1.0f, 0.0f, -1.0f}));
  for (const auto& [confidence, step] : {std::pair{-1.0f, -1}, std::pair{std::nanf(""), -1}, std::pair{0.0f, 0},
                                         std::pair{0.5f, 5}, std::pair{0.999f, 9}, std::pair{1.0f, 9}})
    EXPECT_EQ(confidenceStep(confidence, 10), step) << confidence;
  const ZemtraParameters clamped = consistencyParameters({9, -3});
  EXPECT_EQ(clamped.method, ZemtraMethod::Consistency);
  EXPECT_EQ(clamped.consistencyRounds, kMaxConsistencyRounds);
  EXPECT_EQ(clamped.refineIterations, 0);
  EXPECT_FALSE(clamped.writeLogFile);
  EXPECT_EQ(consistencyParameters({}).refineIterations, ZemtraParameters{}.refineIterations);
}

}  // namespace
}  // namespace karvo_gui
