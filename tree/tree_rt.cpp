#include "tree/tree_rt.h"

#include <new>
#include <string>
#include <vector>

#include "core/diagnostics.h"
#include "plugin/zemtra_types.h"

void CreateTree2(TreeNode** root, unsigned long** joins, int nJoins, unsigned long** family) {
  // Without a leaf there is nothing to hang a tree on.
  if (nJoins < 0) {
    *root = nullptr;
    return;
  }

  const unsigned long lastIndex = static_cast<unsigned long>(nJoins) + 1;
  // Slot r holds the subtree built so far for the group whose first member is
  // row r; joins name their groups by those rows.
  std::vector<TreeNode*> slots(lastIndex, nullptr);
  // The subtrees built so far are released before the process ends, so
  // that a host whose exit handler throws gets everything back.
  const auto outOfMemory = [&slots](const char* where) {
    for (TreeNode* node : slots)
      if (node != nullptr && node->parent == nullptr) freeTree(node);
    memerror(where);
  };

  for (unsigned long i = 0; i < lastIndex; ++i) {
    TreeNode* leaf = new (std::nothrow) TreeNode;
    if (leaf == nullptr) outOfMemory("CreateTree2() at pos 0");
    ZEMTRA_ASSERT(0 < family[0][i]);
    ZEMTRA_ASSERT(family[0][i] <= lastIndex);
    const unsigned long m = family[0][i];
    leaf->id = 0;
    leaf->size = 1;
    leaf->index = m - 1;
    leaf->height = 0.0f;
    leaf->x = static_cast<float>(i + 1);
    leaf->left = nullptr;
    leaf->right = nullptr;
    leaf->parent = nullptr;
    slots[m - 1] = leaf;
  }

  unsigned long rootSlot = 0;
  for (int t = 0; t < nJoins; ++t) {
    TreeNode* node = new (std::nothrow) TreeNode;
    if (node == nullptr) outOfMemory("CreateTree2() at pos 3");
    const unsigned long a = joins[t][0];
    const unsigned long b = joins[t][1];
    ZEMTRA_ASSERT(a < lastIndex);
    ZEMTRA_ASSERT(b < lastIndex);
    node->left = slots[a];
    node->right = slots[b];
    node->left->parent = node;
    node->right->parent = node;
    node->parent = nullptr;
    node->id = t + 1;
    node->size = node->left->size + node->right->size;
    node->index = kInnerIndex;
    node->height = static_cast<float>(t + 1);
    node->x = (node->left->x + node->right->x) * 0.5f;
    slots[a] = node;
    rootSlot = a;
  }

  TreeNode* top = slots[rootSlot];
  top->parent = nullptr;
  *root = top;
}

void memerror(const char* where) {
  const std::string text = std::string("\n\nOut of memory ") + where + ".\n\n";
  zemtra::fatalExit(text.c_str(), ZemtraExit::kTreeOutOfMemory, "out of memory in the tree builder");
}

void freeTree(TreeNode* root) {
  // Iterative, so that the long chains of a prealigned block cannot exhaust
  // the stack.
  std::vector<TreeNode*> pending;
  if (root != nullptr) pending.push_back(root);
  while (!pending.empty()) {
    TreeNode* node = pending.back();
    pending.pop_back();
    if (node->left != nullptr) pending.push_back(node->left);
    if (node->right != nullptr) pending.push_back(node->right);
    delete node;
  }
}
