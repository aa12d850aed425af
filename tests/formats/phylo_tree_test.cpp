// The parts of the tree module that the command-line tests cannot reach:
// Newick reading (the window opens files from other programs), quoting and
// malformed join histories.
#include "formats/phylo_tree.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/golden.h"
#include "tests/support/scratch_dir.h"

namespace KARVO {
namespace {

const float kNaN = std::nanf("");

TEST(PhyloTree, NewickFromOtherProgramsReadsAndWritesBack) {
  const PhyloTree tree = parseNewick(" [a comment]\n(('it''s a (name)':0.5, B_c:1.5e-1)inner:2 ,\n 'C;D':2.5)root;\n");
  ASSERT_EQ(leafOrder(tree).size(), 3u);
  std::vector<std::string> names;
  for (const int leaf : leafOrder(tree)) names.push_back(tree.nodes[static_cast<std::size_t>(leaf)].name);
  EXPECT_EQ(names, (std::vector<std::string>{"it's a (name)", "B_c", "C;D"}));
  EXPECT_EQ(toNewick(tree), "(('it''s a (name)':0.5,B_c:0.15)inner:2,'C;D':2.5)root;\n");
  const PhyloTree bare = parseNewick("((a,b),c);");
  EXPECT_FALSE(bare.hasLengths());
  EXPECT_EQ(toNewick(bare), "((a,b),c);\n");
}

// Files from other programs: a byte-order mark, one tree per line (the
// first taken, the others counted), and files that are not Newick at all.
TEST(PhyloTree, NewickFilesWithAMarkOrSeveralTrees) {
  const auto first = [](const char* file) {
    return readNewickTrees(ztest::readFile(ztest::goldenPath(std::string("formats/inputs/") + file)));
  };
  EXPECT_EQ(toNewick(first("bom.nwk").tree), "((kin_a:0.12,kin_b:0.08):0.3,kin_c:0.41);\n");
  const NewickTrees several = first("several_trees.nwk");
  EXPECT_EQ(toNewick(several.tree), "((kin_a:0.12,kin_b:0.08):0.3,kin_c:0.41);\n");
  EXPECT_EQ(several.otherTrees, 2u);
  EXPECT_EQ(otherTreesNote(several.otherTrees), "the file holds 2 more trees after the first; only the first is used");
  EXPECT_EQ(otherTreesNote(0), "");
  for (const auto& [text, problem] : std::vector<std::pair<std::string, std::string>>{
           {"\xEF\xBB\xBF (a,b);\n(c,", "line 2, column 4: the text ends inside parentheses"},
           {" \n", "column 1: no tree: the text is empty"},
           {"#NEXUS\nbegin trees;", "column 1: a NEXUS file, not Newick"},
           {">a\nMKV\n", "column 1: this looks like an alignment file, not a Newick tree"}}) {
    try {
      readNewickTrees(text);
      ADD_FAILURE() << text;
    } catch (const NewickError& error) {
      EXPECT_NE(std::string(error.what()).find(problem), std::string::npos) << error.what();
    }
  }
}

TEST(PhyloTree, MalformedNewickIsRefusedWithItsPlace) {
  for (const auto& [text, place] : std::vector<std::pair<std::string, std::string>>{
           {"(a,b)", "column 6: the tree does not end with ';'"},
           {"(a,(b,c);", "column 9: ';' before every '(' was closed"},
           {"(a,b));", "column 6: ')' without a matching '('"},
           {"(a:x,b);", "column 4: a branch length that is not a number"},
           {"(a,\n'b);", "line 2, column 5: a quoted label that is never closed"},
           {"(a,b);c", "column 8: the tree does not end with ';'"},
           {"a,b;", "column 2: ',' outside any parentheses"}}) {
    try {
      parseNewick(text);
      ADD_FAILURE() << text;
    } catch (const NewickError& error) {
      EXPECT_NE(std::string(error.what()).find(place), std::string::npos) << error.what();
    }
  }
}

TEST(PhyloTree, RunTreeJoinsABlockIntoOneCladeAndChecksTheHistory) {
  const std::vector<std::string> names{"p1", "p2", "p3", "s4", "s5"};
  // p1-p3 prealigned, then s5 joins s4 at 3.0 and that pair the block at 8.0.
  const PhyloTree tree = runTree({{0, 1}, {0, 2}, {3, 4}, {0, 3}}, {kNaN, kNaN, 3.0f, 8.0f}, {}, names);
  EXPECT_EQ(toNewick(tree), "((p1:0,p2:0,p3:0):4,(s4:1.5,s5:1.5):2.5);\n");

  EXPECT_EQ(toNewick(runTree({}, {}, {0.0f, 0.25f, 0.25f, 0.0f}, {"x y", "z"})), "('x y':0.125,z:0.125);\n");

  for (const auto& joins : std::vector<std::vector<std::pair<unsigned long, unsigned long>>>{
           {{0, 1}, {1, 2}}, {{0, 1}, {0, 1}}, {{0, 3}, {0, 2}}, {{0, 1}}}) {
    EXPECT_THROW(runTree(joins, std::vector<float>(joins.size(), 1.0f), {}, {"a", "b", "c"}), std::invalid_argument);
  }
}

TEST(PhyloTree, TablesFollowTheRequestedOrder) {
  const std::vector<std::string> names{"long name one", "b"};
  const std::vector<float> identity{100.0f, 37.5f, 37.5f, 100.0f};
  const std::vector<float> distance{0.0f, 98.08289f, 98.08289f, 0.0f};
  EXPECT_EQ(distancePhylip({names, identity, distance, {1, 0}}),
            "    2\nb           0  98.08289\nlong_name_one  98.08289  0\n");
  EXPECT_EQ(distanceTsv({names, identity, distance, {}}),
            "percent_identity\tlong name one\tb\nlong name one\t100\t37.5\nb\t37.5\t100\n\n"
            "distance\tlong name one\tb\nlong name one\t0\t98.08289\nb\t98.08289\t0\n");
  EXPECT_THROW(distanceTsv({names, identity, distance, {0, 0}}), std::invalid_argument);
  EXPECT_TRUE(wantsPhylip("x.PHY") && wantsPhylip("a.dist") && !wantsPhylip("a.tsv"));
}

}  // namespace
}  // namespace KARVO
