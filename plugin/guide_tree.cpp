#include "plugin/guide_tree.h"

#include <memory>

#include "core/matrix.h"
#include "tree/tree_rt.h"

namespace {

GuideTreeNode flatNode(const TreeNode& node) {
  GuideTreeNode flat;
  flat.id = node.id;
  flat.size = node.size;
  flat.index = node.left == nullptr ? static_cast<long>(node.index) : -1;
  flat.height = node.height;
  flat.x = node.x;
  return flat;
}

// CreateTree2 ends the process on an order it cannot place, so a malformed
// history is turned away here instead.
bool placeable(std::size_t joinCount, const std::vector<unsigned long>& order) {
  if (order.size() != joinCount + 1) return false;
  for (unsigned long number : order) {
    if (number == 0 || number > order.size()) return false;
  }
  return true;
}

}  // namespace

GuideTree buildGuideTree(const std::vector<std::pair<unsigned long, unsigned long>>& joins,
                         const std::vector<unsigned long>& order) {
  GuideTree tree;
  if (!placeable(joins.size(), order)) return tree;
  for (const auto& [a, b] : joins) {
    if (a >= order.size() || b >= order.size()) return tree;
  }

  KARVO::Matrix<unsigned long> joinList(joins.size(), 2);
  for (std::size_t t = 0; t < joins.size(); ++t) {
    joinList[t][0] = joins[t].first;
    joinList[t][1] = joins[t].second;
  }
  KARVO::Matrix<unsigned long> family(1, order.size());
  for (std::size_t i = 0; i < order.size(); ++i) family[0][i] = order[i];

  TreeNode* rawRoot = nullptr;
  CreateTree2(&rawRoot, joinList.rowTable(), static_cast<int>(joins.size()), family.rowTable());
  std::unique_ptr<TreeNode, void (*)(TreeNode*)> root(rawRoot, freeTree);

  // Children are numbered when their parent is visited, so the root is 0.
  tree.nodes.push_back(flatNode(*root));
  tree.root = 0;
  std::vector<std::pair<const TreeNode*, int>> pending{{root.get(), 0}};
  while (!pending.empty()) {
    const auto [node, position] = pending.back();
    pending.pop_back();
    if (node->left != nullptr) {
      const int child = static_cast<int>(tree.nodes.size());
      tree.nodes.push_back(flatNode(*node->left));
      tree.nodes[static_cast<std::size_t>(position)].left = child;
      pending.emplace_back(node->left, child);
    }
    if (node->right != nullptr) {
      const int child = static_cast<int>(tree.nodes.size());
      tree.nodes.push_back(flatNode(*node->right));
      tree.nodes[static_cast<std::size_t>(position)].right = child;
      pending.emplace_back(node->right, child);
    }
  }
  return tree;
}
