#include "draw/phylogram.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>

#include "draw/svg_text.h"

namespace KARVO {

PhyloLayout layoutTree(const PhyloTree& tree) {
  PhyloLayout layout;
  layout.x.assign(tree.nodes.size(), 0.0);
  layout.y.assign(tree.nodes.size(), 0.0);
  const std::vector<int> order = preorder(tree);
  const bool lengths = tree.hasLengths();
  for (const int n : order) {
    const PhyloNode& node = tree.nodes[static_cast<std::size_t>(n)];
    if (node.parent < 0) continue;
    const double length = !lengths ? 1.0 : std::isnan(node.length) ? 0.0 : node.length;
    layout.x[static_cast<std::size_t>(n)] = layout.x[static_cast<std::size_t>(node.parent)] + length;
  }
  for (const int n : order) {
    if (tree.nodes[static_cast<std::size_t>(n)].children.empty()) {
      layout.y[static_cast<std::size_t>(n)] = static_cast<double>(layout.leaves.size());
      layout.leaves.push_back(n);
    }
  }
  for (auto it = order.rbegin(); it != order.rend(); ++it) {
    const auto& children = tree.nodes[static_cast<std::size_t>(*it)].children;
    if (children.empty()) continue;
    layout.y[static_cast<std::size_t>(*it)] =
        (layout.y[static_cast<std::size_t>(children.front())] + layout.y[static_cast<std::size_t>(children.back())]) /
        2.0;
  }
  for (const int n : order) layout.width = std::max(layout.width, layout.x[static_cast<std::size_t>(n)]);
  return layout;
}

double scaleBarLength(double width) {
  if (!(width > 0.0) || !std::isfinite(width)) return 0.0;
  const double target = width / 5.0;
  const double power = std::pow(10.0, std::floor(std::log10(target)));
  double best = power;
  for (const double step : {2.0, 5.0, 10.0}) {
    if (std::fabs(std::log(step * power / target)) < std::fabs(std::log(best / target))) best = step * power;
  }
  return best;
}

std::string toSvg(const PhyloTree& tree) {
  if (tree.empty()) throw std::invalid_argument("no tree to draw");
  const PhyloLayout layout = layoutTree(tree);
  // Names in a monospaced face, whose advance is 0.6 em, so that their width
  // is known without measuring them.
  constexpr double kFont = 13.0;
  constexpr double kCharWidth = 0.6 * kFont;
  constexpr double kLine = 18.0;
  constexpr double kMargin = 16.0;
  constexpr double kNameGap = 6.0;
  constexpr double kMaxWidth = 1000.0;
  constexpr double kMinTreeWidth = 300.0;

  std::size_t longest = 0;
  for (const int leaf : layout.leaves)
    longest = std::max(longest, tree.nodes[static_cast<std::size_t>(leaf)].name.size());
  const double namesWidth = static_cast<double>(longest) * kCharWidth;
  const double treeWidth = std::max(kMinTreeWidth, kMaxWidth - 2 * kMargin - kNameGap - namesWidth);
  double minX = 0.0;
  for (const double x : layout.x) minX = std::min(minX, x);
  const double span = layout.width - minX;
  const double scale = span > 0.0 ? treeWidth / span : 0.0;
  const auto px = [&](int n) { return kMargin + (layout.x[static_cast<std::size_t>(n)] - minX) * scale; };
  const double top = kMargin + kLine / 2.0;
  const auto py = [&](int n) { return top + layout.y[static_cast<std::size_t>(n)] * kLine; };

  std::string lines;
  std::string labels;
  for (const int n : preorder(tree)) {
    const PhyloNode& node = tree.nodes[static_cast<std::size_t>(n)];
    if (node.parent >= 0) {
      lines += "M" + fixedNumber(px(node.parent), 1) + "," + fixedNumber(py(n), 1) + "H" + fixedNumber(px(n), 1);
    }
    if (!node.children.empty()) {
      lines += "M" + fixedNumber(px(n), 1) + "," + fixedNumber(py(node.children.front()), 1) + "V" +
               fixedNumber(py(node.children.back()), 1);
    } else {
      labels += "    <text x=\"" + fixedNumber(px(n) + kNameGap, 1) + "\" y=\"" + fixedNumber(py(n) + kFont * 0.35, 1) +
                "\">" + xmlText(node.name) + "</text>\n";
    }
    lines += '\n';
  }

  const double leavesBottom = top + static_cast<double>(layout.leaves.size() - 1) * kLine;
  const double barY = leavesBottom + kLine + 4.0;
  const double bar = scaleBarLength(span);
  std::string scaleBar;
  if (bar > 0.0) {
    const std::string left = fixedNumber(kMargin, 1);
    const std::string right = fixedNumber(kMargin + bar * scale, 1);
    const std::string y = fixedNumber(barY, 1);
    scaleBar = "  <path fill=\"none\" stroke=\"black\" stroke-width=\"1.5\" d=\"M" + left + "," + y + "H" + right +
               "M" + left + "," + fixedNumber(barY - 4.0, 1) + "V" + fixedNumber(barY + 4.0, 1) + "M" + right + "," +
               fixedNumber(barY - 4.0, 1) + "V" + fixedNumber(barY + 4.0, 1) + "\"/>\n" + "  <text x=\"" +
               fixedNumber(kMargin + bar * scale / 2.0, 1) + "\" y=\"" + fixedNumber(barY + 18.0, 1) +
               "\" text-anchor=\"middle\" font-family=\"DejaVu Sans Mono, monospace\" font-size=\"12\">" +
               decimalText(bar) + "</text>\n";
  }
  const double height = barY + 18.0 + kMargin;
  const double width = 2 * kMargin + treeWidth + kNameGap + namesWidth;
  const std::string w = fixedNumber(std::ceil(width), 0);
  const std::string h = fixedNumber(std::ceil(height), 0);
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" +
         w + "\" height=\"" + h + "\" viewBox=\"0 0 " + w + " " + h +
         "\">\n"
         "  <title>Guide tree</title>\n"
         "  <rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
         "  <path fill=\"none\" stroke=\"black\" stroke-width=\"1.5\" stroke-linecap=\"square\" d=\"\n" +
         lines + "\"/>\n" + "  <g font-family=\"DejaVu Sans Mono, monospace\" font-size=\"" + decimalText(kFont) +
         "\" fill=\"black\">\n" + labels + "  </g>\n" + scaleBar + "</svg>\n";
}

}  // namespace KARVO
