#include "app/gui/tree_view.h"

#include <QFontDatabase>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>
#include <cmath>
#include <functional>

namespace karvo_gui {
namespace {

constexpr int kMargin = 12;
constexpr int kNameGap = 6;
constexpr int kMinTreeWidth = 120;
constexpr int kScaleBarRoom = 40;
constexpr int kHitDistance = 4;
const QColor kCurrent(0x3d, 0x6f, 0xd8);

// The scale bar's label: its length without trailing zeros.
QString lengthText(double length) { return QString::number(length, 'g', 6); }

}  // namespace

RunGuideTree guideTreeOfRun(const ZemtraRunReport& report, const KARVO::Alignment& alignment) {
  try {
    return {KARVO::runTree(report, alignment), report.sentRows};
  } catch (const std::invalid_argument&) {
    return {};
  }
}

namespace {

double addLengths(double a, double b) { return std::isnan(a) ? b : std::isnan(b) ? a : a + b; }

// Copies the kept part of in's subtree at node into out; its new index, -1
// when nothing of it stays.
int copyKept(const KARVO::PhyloTree& in, int node, KARVO::PhyloTree& out,
             const std::function<bool(const KARVO::PhyloNode&)>& keep) {
  const KARVO::PhyloNode& from = in.nodes[static_cast<std::size_t>(node)];
  std::vector<int> kept;
  for (const int child : from.children) {
    if (const int copied = copyKept(in, child, out, keep); copied >= 0) kept.push_back(copied);
  }
  if (from.children.empty() ? !keep(from) : kept.empty()) return -1;
  if (kept.size() == 1) {
    auto& only = out.nodes[static_cast<std::size_t>(kept.front())];
    only.length = addLengths(from.length, only.length);
    return kept.front();
  }
  const int at = static_cast<int>(out.nodes.size());
  out.nodes.push_back(from);
  out.nodes.back().children = kept;
  for (const int child : kept) out.nodes[static_cast<std::size_t>(child)].parent = at;
  return at;
}

}  // namespace

KARVO::PhyloTree keepLeaves(const KARVO::PhyloTree& tree, const std::function<bool(const KARVO::PhyloNode&)>& keep) {
  KARVO::PhyloTree kept;
  if (tree.empty()) return kept;
  kept.root = copyKept(tree, tree.root, kept, keep);
  if (kept.empty()) return {};
  kept.nodes[static_cast<std::size_t>(kept.root)].parent = -1;
  return kept;
}

std::vector<std::string> leafNamesUnder(const KARVO::PhyloTree& tree, int node) {
  std::vector<std::string> names;
  std::vector<int> pending{node};
  while (!pending.empty()) {
    const auto& at = tree.nodes[static_cast<std::size_t>(pending.back())];
    pending.pop_back();
    if (at.children.empty()) names.push_back(at.name);
    pending.insert(pending.end(), at.children.rbegin(), at.children.rend());
  }
  return names;
}

TreeView::TreeView(QWidget* parent) : QAbstractScrollArea(parent) {
  setObjectName(QStringLiteral("guideTreeView"));
  setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  horizontalScrollBar()->setEnabled(false);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  viewport()->setBackgroundRole(QPalette::Base);
  viewport()->setAutoFillBackground(true);
}

void TreeView::setTree(KARVO::PhyloTree tree) {
  tree_ = std::move(tree);
  layout_ = tree_.empty() ? KARVO::PhyloLayout{} : KARVO::layoutTree(tree_);
  minX_ = 0.0;
  for (const double x : layout_.x) minX_ = std::min(minX_, x);
  namesWidth_ = 0;
  const QFontMetrics metrics(font());
  for (const int leaf : layout_.leaves) {
    const auto& name = tree_.nodes[static_cast<std::size_t>(leaf)].name;
    namesWidth_ = std::max(namesWidth_, metrics.horizontalAdvance(QString::fromStdString(name)));
  }
  currentLeaf_ = -1;
  verticalScrollBar()->setValue(0);
  updateScrollBar();
  viewport()->update();
}

void TreeView::setCurrentLeaf(int node) {
  const bool leaf = node >= 0 && static_cast<std::size_t>(node) < tree_.nodes.size() &&
                    tree_.nodes[static_cast<std::size_t>(node)].children.empty();
  currentLeaf_ = leaf ? node : -1;
  viewport()->update();
}

void TreeView::followRows(int firstLeafY, int lineHeight, int clipTop) {
  if (firstLeafY == followTop_ && lineHeight == followHeight_ && clipTop == followClip_) return;
  followTop_ = firstLeafY;
  followClip_ = clipTop;
  followHeight_ = std::max(0, lineHeight);
  setVerticalScrollBarPolicy(followHeight_ > 0 ? Qt::ScrollBarAlwaysOff : Qt::ScrollBarAsNeeded);
  updateScrollBar();
  viewport()->update();
}

int TreeView::lineHeight() const { return followHeight_ > 0 ? followHeight_ : QFontMetrics(font()).height() + 4; }

int TreeView::top() const {
  return followHeight_ > 0 ? followTop_ : kMargin + lineHeight() / 2 - verticalScrollBar()->value();
}

double TreeView::scale() const {
  const double span = layout_.width - minX_;
  const int room = std::max(kMinTreeWidth, viewport()->width() - 2 * kMargin - kNameGap - namesWidth_);
  return span > 0.0 ? room / span : 0.0;
}

double TreeView::nodeX(int node) const {
  return kMargin + (layout_.x[static_cast<std::size_t>(node)] - minX_) * scale();
}

double TreeView::nodeY(int node) const { return top() + layout_.y[static_cast<std::size_t>(node)] * lineHeight(); }

void TreeView::updateScrollBar() {
  if (followHeight_ > 0) {
    verticalScrollBar()->setRange(0, 0);
    return;
  }
  const int content = 2 * kMargin + static_cast<int>(layout_.leaves.size()) * lineHeight() + kScaleBarRoom;
  verticalScrollBar()->setRange(0, std::max(0, content - viewport()->height()));
  verticalScrollBar()->setPageStep(viewport()->height());
  verticalScrollBar()->setSingleStep(lineHeight());
}

void TreeView::resizeEvent(QResizeEvent* event) {
  QAbstractScrollArea::resizeEvent(event);
  updateScrollBar();
}

int TreeView::leafAt(const QPoint& point) const {
  if (layout_.leaves.empty()) return -1;
  const double line = std::floor((point.y() - top()) / static_cast<double>(lineHeight()) + 0.5);
  if (line < 0 || line >= static_cast<double>(layout_.leaves.size())) return -1;
  const int leaf = layout_.leaves[static_cast<std::size_t>(line)];
  const int parent = tree_.nodes[static_cast<std::size_t>(leaf)].parent;
  const double from = parent >= 0 ? nodeX(parent) : 0.0;
  return point.x() > from + kHitDistance ? leaf : -1;
}

int TreeView::innerNodeAt(const QPoint& point) const {
  for (std::size_t n = 0; n < tree_.nodes.size(); ++n) {
    const auto& children = tree_.nodes[n].children;
    if (children.empty()) continue;
    const int node = static_cast<int>(n);
    if (std::abs(point.x() - nodeX(node)) > kHitDistance) continue;
    if (point.y() >= nodeY(children.front()) - kHitDistance && point.y() <= nodeY(children.back()) + kHitDistance)
      return node;
  }
  return -1;
}

QPoint TreeView::leafPoint(int node) const {
  const auto& name = QString::fromStdString(tree_.nodes[static_cast<std::size_t>(node)].name);
  const int x = static_cast<int>(nodeX(node)) + kNameGap + QFontMetrics(font()).horizontalAdvance(name) / 2;
  return QPoint(x, static_cast<int>(std::lround(nodeY(node))));
}

QPoint TreeView::nodePoint(int node) const {
  return QPoint(static_cast<int>(std::lround(nodeX(node))), static_cast<int>(std::lround(nodeY(node))));
}

void TreeView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QAbstractScrollArea::mousePressEvent(event);
  const QPoint point = event->position().toPoint();
  if (const int node = innerNodeAt(point); node >= 0) {
    emit nodeClicked(node);
  } else if (const int leaf = leafAt(point); leaf >= 0) {
    setCurrentLeaf(leaf);
    emit leafClicked(leaf);
  }
}

void TreeView::paintEvent(QPaintEvent*) {
  QPainter painter(viewport());
  painter.setRenderHint(QPainter::Antialiasing, false);
  if (tree_.empty()) {
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(viewport()->rect(), Qt::AlignCenter,
                     tr("No guide tree: run a re-alignment or open a tree (File \u2192 Open Tree)"));
    return;
  }
  if (followHeight_ > 0) painter.setClipRect(viewport()->rect().adjusted(0, followClip_, 0, 0));
  // Names shrink with lines lower than the font; below a few pixels they go.
  QFont namesFont = font();
  const int height = lineHeight();
  if (height < QFontMetrics(namesFont).height()) namesFont.setPixelSize(std::max(1, height - 1));
  painter.setFont(namesFont);
  const QFontMetrics metrics(namesFont);
  const bool namesShown = height >= 6;
  const QRect visible = viewport()->rect().adjusted(0, -height, 0, height);
  QPen pen(palette().color(QPalette::Text), height < 8 ? 1 : 2);  // thin beside rows zoomed out
  pen.setCapStyle(Qt::SquareCap);
  for (std::size_t n = 0; n < tree_.nodes.size(); ++n) {
    const auto& node = tree_.nodes[n];
    const int at = static_cast<int>(n);
    const double x = nodeX(at);
    const double y = nodeY(at);
    painter.setPen(pen);
    if (node.parent >= 0 && y >= visible.top() && y <= visible.bottom())
      painter.drawLine(QPointF(nodeX(node.parent), y), QPointF(x, y));
    if (!node.children.empty()) {
      const double first = nodeY(node.children.front());
      const double last = nodeY(node.children.back());
      if (last >= visible.top() && first <= visible.bottom()) painter.drawLine(QPointF(x, first), QPointF(x, last));
      continue;
    }
    if (!namesShown || y < visible.top() || y > visible.bottom()) continue;
    const QString name = QString::fromStdString(node.name);
    const QRect box(static_cast<int>(x) + kNameGap - 2, static_cast<int>(y) - height / 2,
                    metrics.horizontalAdvance(name) + 4, height);
    if (at == currentLeaf_) {
      painter.fillRect(box, kCurrent);
      painter.setPen(Qt::white);
    } else {
      painter.setPen(palette().color(QPalette::Text));
    }
    painter.drawText(box, Qt::AlignCenter, name);
  }

  const double bar = KARVO::scaleBarLength(layout_.width - minX_);
  if (bar <= 0.0) return;
  const double y = top() + static_cast<double>(layout_.leaves.size()) * height + 4.0;
  const double right = kMargin + bar * scale();
  painter.setPen(pen);
  painter.drawLine(QPointF(kMargin, y), QPointF(right, y));
  painter.drawLine(QPointF(kMargin, y - 4), QPointF(kMargin, y + 4));
  painter.drawLine(QPointF(right, y - 4), QPointF(right, y + 4));
  painter.drawText(QRectF(kMargin, y + 4, right - kMargin, height), Qt::AlignHCenter | Qt::AlignTop, lengthText(bar));
}

}  // namespace karvo_gui
