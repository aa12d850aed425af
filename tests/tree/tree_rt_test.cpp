#include "tree/tree_rt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tree_fixture.h"

namespace {

// The join list and branching order of a history, as CreateTree2 reads them.
struct JoinTables {
  explicit JoinTables(const JoinHistory& h) : joins(h.joins.size(), 2), order(1, h.families.at(0).size()) {
    for (std::size_t t = 0; t < h.joins.size(); ++t) {
      joins[t][0] = h.joins[t].first;
      joins[t][1] = h.joins[t].second;
    }
    std::copy(h.families[0].begin(), h.families[0].end(), order[0]);
  }
  TreeNode* build() {
    TreeNode* root = nullptr;
    CreateTree2(&root, joins.rowTable(), static_cast<int>(joins.rows()), order.rowTable());
    return root;
  }
  KARVO::Matrix<unsigned long> joins;
  KARVO::Matrix<unsigned long> order;
};

// Checks the node and everything below it; returns the x positions of its leaves.
std::vector<float> checkSubtree(const TreeNode* node, const unsigned long* order) {
  if (node->left == nullptr) {
    EXPECT_EQ(node->right, nullptr);
    EXPECT_EQ(node->id, 0);
    EXPECT_EQ(node->size, 1);
    EXPECT_EQ(node->height, 0.0f);
    EXPECT_EQ(order[static_cast<unsigned long>(node->x) - 1], node->index + 1) << "leaf sits at its branching position";
    return {node->x};
  }
  EXPECT_EQ(node->left->parent, node);
  EXPECT_EQ(node->right->parent, node);
  EXPECT_EQ(node->index, kInnerIndex);
  EXPECT_EQ(node->height, static_cast<float>(node->id));
  EXPECT_EQ(node->x, (node->left->x + node->right->x) * 0.5f);
  std::vector<float> xs = checkSubtree(node->left, order);
  const std::vector<float> right = checkSubtree(node->right, order);
  xs.insert(xs.end(), right.begin(), right.end());
  EXPECT_EQ(static_cast<int>(xs.size()), node->size);
  std::sort(xs.begin(), xs.end());
  for (std::size_t i = 1; i < xs.size(); ++i) EXPECT_EQ(xs[i], xs[i - 1] + 1.0f) << "leaves of a subtree are adjacent";
  return xs;
}

// The tree of a family that is one sequence, given by its number.
TreeNode* singleLeaf(unsigned long sequence) {
  KARVO::Matrix<unsigned long> order(1, 2);
  order[0][0] = sequence;
  order[0][1] = 0;
  TreeNode* root = nullptr;
  CreateTree2(&root, nullptr, 0, order.rowTable());
  return root;
}

TEST(CreateTree2, NoJoinGivesTheLeafOfSequenceOne) {
  TreeNode* root = singleLeaf(1);
  ASSERT_NE(root, nullptr);
  const unsigned long order[] = {1};
  EXPECT_EQ(checkSubtree(root, order), std::vector<float>{1.0f});
  EXPECT_EQ(root->parent, nullptr);
  freeTree(root);
  freeTree(nullptr);  // ignored
}

// A full clustering with a sub-cluster, and a prealigned block, which is a
// chain.
TEST(CreateTree2, FullClusteringAndPrealignedChainDrawWithoutCrossings) {
  SixSequences in;
  JoinHistory full, block;
  in.run(0, &full);
  ASSERT_GE(full.families.size(), 2UL) << "the example is meant to have a sub-cluster";
  block.joins = {{0, 1}, {0, 2}, {0, 3}};
  block.families = {{1, 2, 3, 4}};
  for (const JoinHistory* history : {&full, &block}) {
    JoinTables tables(*history);
    TreeNode* root = tables.build();
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->parent, nullptr);
    EXPECT_EQ(root->size, static_cast<int>(history->families[0].size()));
    EXPECT_EQ(root->id, static_cast<int>(history->joins.size()));
    checkSubtree(root, tables.order[0]);
    if (history == &block) {
      EXPECT_EQ(root->right->index, 3UL);
      EXPECT_EQ(root->left->right->index, 2UL);
      EXPECT_EQ(root->left->left->left->index, 0UL);
      EXPECT_EQ(root->left->left->right->index, 1UL);
      EXPECT_EQ(root->x, 3.125f);
    }
    freeTree(root);
  }
}

TEST(CreateTree2DeathTest, RefusesSequenceNumbersOutsideTheLeavesAndReportsMemoryErrors) {
  EXPECT_DEATH(singleLeaf(0), "tree_rt.*CreateTree2.*" + literal("0 < family[0][i]"));
  EXPECT_DEATH(singleLeaf(2), literal("family[0][i] <= lastIndex"));
  EXPECT_EXIT(memerror("CreateTree2() at pos 3"), ::testing::ExitedWithCode(1),
              literal("\n\nOut of memory CreateTree2() at pos 3.\n"));
}

}  // namespace
