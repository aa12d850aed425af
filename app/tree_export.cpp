#include "app/tree_export.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace karvo_app {
namespace {

// Formats a coordinate or length without depending on the C locale.
std::string number(double value, int decimals) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
  return std::string(buffer, result.ptr);
}

std::string shortestNumber(float value) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

std::string xmlEscaped(const std::string& text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&apos;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

// Checks the links once so that the writers can follow them freely: every
// node is reached once from the root, inner nodes have two children, leaves
// have a name.
void checkTree(const NamedTree& tree) {
  const auto count = static_cast<int>(tree.nodes.size());
  if (tree.root < 0 || tree.root >= count) throw std::invalid_argument("guide tree has no root");
  std::vector<bool> seen(tree.nodes.size(), false);
  std::vector<int> pending{tree.root};
  while (!pending.empty()) {
    const int at = pending.back();
    pending.pop_back();
    if (at < 0 || at >= count || seen[at]) throw std::invalid_argument("guide tree links are broken");
    seen[at] = true;
    const GuideTreeNode& node = tree.nodes[at];
    if (node.left < 0 && node.right < 0) {
      if (node.index < 0 || static_cast<std::size_t>(node.index) >= tree.leafNames.size()) {
        throw std::invalid_argument("guide tree leaf without a sequence");
      }
    } else {
      pending.push_back(node.left);
      pending.push_back(node.right);
    }
  }
}

bool isLeaf(const GuideTreeNode& node) { return node.left < 0 && node.right < 0; }

void appendNewick(const NamedTree& tree, int at, std::string& out) {
  const GuideTreeNode& node = tree.nodes[at];
  if (isLeaf(node)) {
    out += newickLabel(tree.leafNames[node.index]);
    return;
  }
  out += '(';
  appendNewick(tree, node.left, out);
  out += ':' + shortestNumber(node.height - tree.nodes[node.left].height);
  out += ',';
  appendNewick(tree, node.right, out);
  out += ':' + shortestNumber(node.height - tree.nodes[node.right].height);
  out += ')';
}

// Page geometry of the drawing, in pixels.
struct Layout {
  double margin = 20.0;
  double xStep = 28.0;
  double heightStep = 36.0;
  double charWidth = 7.5;
  float maxHeight = 0.0f;
  float maxX = 0.0f;
  std::size_t longestName = 0;

  double px(float x) const { return margin + x * xStep; }
  double py(float height) const { return margin + (maxHeight - height) * heightStep; }
  double width() const { return px(maxX + 1.0f) + margin; }
  double height() const { return py(0.0f) + 12.0 + longestName * charWidth + margin; }
};

}  // namespace

std::string newickLabel(const std::string& name) {
  const bool plain = !name.empty() && name.find_first_of(" \t\n\r()[]':;,") == std::string::npos;
  if (plain) return name;
  std::string quoted = "'";
  for (const char c : name) {
    quoted += c;
    if (c == '\'') quoted += '\'';
  }
  return quoted + "'";
}

std::string newickText(const NamedTree& tree) {
  checkTree(tree);
  std::string out;
  appendNewick(tree, tree.root, out);
  return out + ";\n";
}

std::string svgText(const NamedTree& tree) {
  checkTree(tree);
  Layout layout;
  for (const GuideTreeNode& node : tree.nodes) {
    layout.maxHeight = std::max(layout.maxHeight, node.height);
    layout.maxX = std::max(layout.maxX, node.x);
    if (isLeaf(node)) layout.longestName = std::max(layout.longestName, tree.leafNames[node.index].size());
  }

  std::string lines;
  std::string labels;
  std::vector<int> pending{tree.root};
  while (!pending.empty()) {
    const GuideTreeNode& node = tree.nodes[pending.back()];
    pending.pop_back();
    if (isLeaf(node)) {
      labels += "    <text transform=\"translate(" + number(layout.px(node.x) - 4.0, 1) + "," +
                number(layout.py(0.0f) + 8.0, 1) + ") rotate(90)\">" + xmlEscaped(tree.leafNames[node.index]) +
                "</text>\n";
      continue;
    }
    const GuideTreeNode& left = tree.nodes[node.left];
    const GuideTreeNode& right = tree.nodes[node.right];
    const std::string top = number(layout.py(node.height), 1);
    lines += "    <path d=\"M" + number(layout.px(left.x), 1) + "," + number(layout.py(left.height), 1) + " V" + top +
             " H" + number(layout.px(right.x), 1) + " V" + number(layout.py(right.height), 1) + "\"/>\n";
    pending.push_back(node.right);
    pending.push_back(node.left);
  }

  const std::string width = number(layout.width(), 0);
  const std::string height = number(layout.height(), 0);
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" +
         width + "\" height=\"" + height + "\" viewBox=\"0 0 " + width + " " + height +
         "\">\n"
         "  <title>Guide tree</title>\n"
         "  <rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
         "  <g fill=\"none\" stroke=\"black\" stroke-width=\"1.5\">\n" +
         lines +
         "  </g>\n"
         "  <g font-family=\"monospace\" font-size=\"12\" fill=\"black\">\n" +
         labels + "  </g>\n</svg>\n";
}

}  // namespace karvo_app
