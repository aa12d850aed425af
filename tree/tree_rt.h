// A drawable binary tree built from a clustering's join list and branching order.
#pragma once

#include <cstdint>

struct TreeNode {
  std::int32_t id;      // 0 for a leaf, join number + 1 for an inner node
  std::int32_t size;    // leaves below
  std::uint64_t index;  // row number of a leaf's sequence; inner nodes: kInnerIndex
  float height;
  float x;
  TreeNode* left;
  TreeNode* right;
  TreeNode* parent;
};

// index of every inner node, so that no field is left undefined
constexpr std::uint64_t kInnerIndex = ~std::uint64_t{0};

void CreateTree2(TreeNode** root, unsigned long** joins, int nJoins, unsigned long** family);

// Reports an allocation that yielded nothing and ends the process with status 1.
[[noreturn]] void memerror(const char* where);

// Releases every node of a tree made by CreateTree2; null does nothing.
void freeTree(TreeNode* root);
