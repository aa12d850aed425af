// The drawings as bytes: a tree and an alignment figure against their golden
// SVG files (names that need escaping, a missing branch length, bars of
// every annotation row), and the layout arithmetic behind the tree's.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "draw/figure.h"
#include "draw/phylogram.h"
#include "tests/support/golden.h"

namespace KARVO {
namespace {

std::size_t at(int node) { return static_cast<std::size_t>(node); }

TEST(Phylogram, LayoutPutsNodesAtTheirDistanceAndMidwayBetweenTheirChildren) {
  const PhyloTree tree = parseNewick("(('it''s a (name)':0.5, B_c:1.5e-1)inner:2 ,\n 'C;D':2.5)root;");
  const PhyloLayout layout = layoutTree(tree);
  EXPECT_EQ(layout.leaves, leafOrder(tree));
  EXPECT_DOUBLE_EQ(layout.width, 2.5);
  EXPECT_DOUBLE_EQ(layout.x[at(layout.leaves[0])], 2.5);
  EXPECT_DOUBLE_EQ(layout.y[at(layout.leaves[2])], 2.0);
  EXPECT_DOUBLE_EQ(layout.y[at(tree.root)], 1.25);  // midway between its children at 0.5 and 2
  // Without any lengths every branch counts one.
  EXPECT_DOUBLE_EQ(layoutTree(parseNewick("((a,b),c);")).width, 2.0);
  EXPECT_TRUE(layoutTree(PhyloTree{}).leaves.empty());
}

TEST(Phylogram, ScaleBarsAreRoundLengthsNearAFifthOfTheWidth) {
  const struct {
    double width, bar;
  } cases[] = {{1.0, 0.2}, {0.37, 0.1}, {0.3, 0.05}, {260.0, 50.0}, {4.0, 1.0}, {0.0, 0.0}, {-3.0, 0.0}};
  for (const auto& c : cases) EXPECT_DOUBLE_EQ(scaleBarLength(c.width), c.bar) << c.width;
}

TEST(Phylogram, TreeSvgMatchesItsGoldenFileAndNeedsATree) {
  const PhyloTree tree = parseNewick("((a&b:0.31,'<c>':0.12)x:0.4,(\"d\":0.25,e)y:0.05,f:0.9);");
  ztest::expectGolden("draw/tree.svg", toSvg(tree));
  EXPECT_THROW(toSvg(PhyloTree{}), std::invalid_argument);
}

TEST(Figure, RulerNumbersEveryStepthColumnCountingFromOne) {
  EXPECT_FALSE(figure::rulerNumberAt(0));
  EXPECT_TRUE(figure::rulerNumberAt(9));
  EXPECT_FALSE(figure::rulerNumberAt(10));
  EXPECT_TRUE(figure::rulerNumberAt(99));
  EXPECT_TRUE(figure::rulerNumberAt(4, 5));
}

TEST(Figure, SvgMatchesItsGoldenFile) {
  figure::Figure drawing;
  drawing.metrics = {.namesWidth = 60,
                     .namePadding = 4,
                     .rulerHeight = 16,
                     .cellWidth = 10,
                     .cellHeight = 14,
                     .annotationRow = 12,
                     .textPixels = 9,
                     .cellPixels = 11,
                     .namePixels = 10};
  drawing.firstColumn = 7;
  drawing.rulerStep = 5;
  drawing.confidence = true;
  const std::uint32_t red = 0xd04040, blue = 0x4040d0;
  drawing.rows = {{"a&b", "MK-LV", {red, red, figure::kNoFill, blue, blue}},
                  {"<seq>", "MKQ-V", {red, figure::kNoFill, figure::kPlainResidue, figure::kNoFill, blue}}};
  drawing.columns = {{'M', 1.0, 0.0, 0.9f},
                     {'K', 1.0, 0.0, 0.5f},
                     {'-', 0.0, 0.5, -1.0f},
                     {'L', 0.5, 0.5, 0.0f},
                     {'V', 1.0, 0.0, 1.0f}};
  drawing.width = 60 + 5 * 10;
  drawing.height = 16 + 2 * 14 + figure::annotationBandHeight(12, true);
  ztest::expectGolden("draw/figure.svg", figure::figureSvg(drawing));
  drawing.letters = false;
  drawing.names = false;
  // Left: one ruler number (column 10), four row labels, four consensus residues.
  const std::string plain = figure::figureSvg(drawing);
  std::size_t texts = 0;
  for (std::size_t found = plain.find("</text>"); found != std::string::npos; found = plain.find("</text>", found + 1))
    ++texts;
  EXPECT_EQ(texts, 9u);
  EXPECT_EQ(plain.find("a&amp;b"), std::string::npos);
}

}  // namespace
}  // namespace KARVO
