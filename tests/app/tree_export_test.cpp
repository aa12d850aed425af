// Newick and SVG output of guide trees built by hand.
#include "app/tree_export.h"

#include <gtest/gtest.h>

using namespace karvo_app;

namespace {

GuideTreeNode leaf(long row, float x) { return GuideTreeNode{0, 1, row, 0.0f, x, -1, -1}; }
GuideTreeNode join(int id, float height, int left, int right, float x) {
  return GuideTreeNode{id, 2, -1, height, x, left, right};
}

// ((row1, row2) joined at 1, row0) joined at 3; branching order 2, 3, 1.
std::vector<GuideTreeNode> threeLeafTree() {
  return {leaf(0, 3.0f), leaf(1, 1.0f), leaf(2, 2.0f), join(1, 1.0f, 1, 2, 1.5f), join(2, 3.0f, 3, 0, 2.25f)};
}

}  // namespace

TEST(Newick, WritesTopologyWithHeightDifferencesAsLengths) {
  const auto nodes = threeLeafTree();
  const std::vector<std::string> names{"HBA_HUMAN", "HBB_HUMAN", "MYG_PHYMC"};
  EXPECT_EQ(newickText({nodes, 4, names}), "((HBB_HUMAN:1,MYG_PHYMC:1):2,HBA_HUMAN:3);\n");
}

TEST(Newick, KeepsFractionalLengths) {
  std::vector<GuideTreeNode> nodes{leaf(0, 1.0f), leaf(1, 2.0f), join(1, 0.5f, 0, 1, 1.5f)};
  nodes[1].height = 0.25f;
  const std::vector<std::string> names{"a", "b"};
  EXPECT_EQ(newickText({nodes, 2, names}), "(a:0.5,b:0.25);\n");
}

TEST(NewickLabel, QuotesBlanksAndPunctuationAndDoublesQuotes) {
  EXPECT_EQ(newickLabel("HBA_HUMAN"), "HBA_HUMAN");
  EXPECT_EQ(newickLabel("sp|P69905|HBA"), "sp|P69905|HBA");
  EXPECT_EQ(newickLabel("two words"), "'two words'");
  EXPECT_EQ(newickLabel("a,b"), "'a,b'");
  EXPECT_EQ(newickLabel("it's"), "'it''s'");
  EXPECT_EQ(newickLabel(""), "''");
}

TEST(Newick, RejectsLeavesWithoutNamesAndNodesReachedTwice) {
  auto nodes = threeLeafTree();
  EXPECT_THROW(newickText({nodes, 4, {"a", "b"}}), std::invalid_argument);
  nodes[4].right = 1;  // row 1 would hang under two parents
  EXPECT_THROW(newickText({nodes, 4, {"a", "b", "c"}}), std::invalid_argument);
}

TEST(Svg, LabelsEveryLeafWithItsEscapedName) {
  const auto nodes = threeLeafTree();
  const std::vector<std::string> names{"A&B", "<b>", "plain"};
  const std::string svg = svgText({nodes, 4, names});
  EXPECT_NE(svg.find(">A&amp;B</text>"), std::string::npos);
  EXPECT_NE(svg.find(">&lt;b&gt;</text>"), std::string::npos);
  EXPECT_NE(svg.find(">plain</text>"), std::string::npos);
  EXPECT_EQ(svg.find("<b>"), std::string::npos);
}

TEST(Svg, DrawsOneConnectorPerJoin) {
  const auto nodes = threeLeafTree();
  const std::vector<std::string> names{"a", "b", "c"};
  const std::string svg = svgText({nodes, 4, names});
  std::size_t paths = 0;
  for (std::size_t at = svg.find("<path"); at != std::string::npos; at = svg.find("<path", at + 1)) ++paths;
  EXPECT_EQ(paths, 2u);
}

TEST(Svg, PlacesLeavesLeftToRightInBranchingOrder) {
  const auto nodes = threeLeafTree();
  const std::vector<std::string> names{"third", "first", "second"};
  const std::string svg = svgText({nodes, 4, names});
  const auto xOf = [&](const std::string& name) {
    const std::size_t text = svg.rfind("translate(", svg.find(">" + name + "</text>"));
    return std::stod(svg.substr(text + 10));
  };
  EXPECT_LT(xOf("first"), xOf("second"));
  EXPECT_LT(xOf("second"), xOf("third"));
}
