// The guide tree panel: the tree of the last run or of a Newick file, its
// leaves beside their rows.
#include <QDir>
#include <QDockWidget>
#include <QEvent>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStatusBar>
#include <map>
#include <set>

#include "app/gui/alignment_view.h"
#include "app/gui/main_window.h"

namespace karvo_gui {

namespace {

// A Newick file's first tree, and how many trees follow it there.
struct TreeFile {
  KARVO::PhyloTree tree;
  std::size_t furtherTrees = 0;
};

// The one place that reads a tree file: the first tree of the file and the
// count of the trees after it.
TreeFile readTreeFile(std::string_view text) {
  KARVO::NewickTrees trees = KARVO::readNewickTrees(text);
  return {std::move(trees.tree), trees.otherTrees};
}

}  // namespace

void MainWindow::setGuideTree(KARVO::PhyloTree tree) {
  std::set<std::string> names;
  if (alignment() != nullptr) {
    for (unsigned long r = 0; r < alignment()->sequenceCount(); ++r) names.insert(alignment()->GetSeqName(r));
  }
  // Each sequence name once: a second leaf of the same name has no row left.
  std::set<std::string> placed;
  unsigned long leftOut = 0;
  document_->setGuideTree(keepLeaves(tree, [&](const KARVO::PhyloNode& leaf) {
    const bool kept = names.count(leaf.name) != 0 && placed.insert(leaf.name).second;
    if (!kept) ++leftOut;
    return kept;
  }));
  treeView_->setTree(guideTree());
  if (guideTree().empty()) return alignTreeWithRows();
  const unsigned long outside = alignment()->sequenceCount() - placed.size();
  if (treeDock_->isVisible()) sortRowsByGuideTree();
  alignTreeWithRows();
  if (leftOut > 0 || outside > 0) {
    statusBar()->showMessage(tr("Guide tree: leaves without a sequence, left out: %1; sequences not in the tree, "
                                "kept below its rows: %2")
                                 .arg(leftOut)
                                 .arg(outside),
                             8000);
  }
}

bool MainWindow::openTree(const QString& path) {
  const QString title = tr("Cannot open tree");
  if (alignment() == nullptr) {
    report(title, tr("Open the alignment whose sequences the tree names first."));
    return false;
  }
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) {
    report(title, tr("%1: %2").arg(path, file.errorString()));
    return false;
  }
  const QByteArray text = file.readAll();
  TreeFile read;
  try {
    read = readTreeFile(std::string_view(text.constData(), static_cast<std::size_t>(text.size())));
  } catch (const KARVO::NewickError& error) {
    // "Newick line L, column C: problem" as "file:L:C: problem".
    QString where = QString::fromStdString(error.what());
    static const QRegularExpression place(QStringLiteral("^Newick line (\\d+), column (\\d+): "));
    if (const auto match = place.match(where); match.hasMatch())
      where = match.captured(1) + ':' + match.captured(2) + QStringLiteral(": ") + where.mid(match.capturedLength());
    report(title, tr("%1:%2\nThe file is not a Newick tree; the alignment is unchanged.").arg(path, where));
    return false;
  }
  const auto leaves = KARVO::leafOrder(read.tree).size();
  setGuideTree(std::move(read.tree));
  if (guideTree().empty()) {
    report(title,
           tr("%1: none of its %n leaves names a sequence of the alignment.", "", static_cast<int>(leaves)).arg(path));
    return false;
  }
  showGuideTree(true);
  if (read.furtherTrees > 0) {
    const QString shown = QFileInfo(path).fileName() + QStringLiteral(": ") +
                          QString::fromStdString(KARVO::otherTreesNote(read.furtherTrees));
    const QString before = statusBar()->currentMessage();
    statusBar()->showMessage(before.isEmpty() ? shown : before + QStringLiteral("; ") + shown, 8000);
  }
  return true;
}

void MainWindow::openTreeWithDialog() {
  const QString start = filePath().isEmpty() ? QDir::homePath() : QFileInfo(filePath()).absolutePath();
  const QString path = QFileDialog::getOpenFileName(
      this, tr("Open tree"), start, tr("Newick trees (*.nwk *.newick *.tre *.tree *.dnd *.ph);;All files (*)"));
  if (!path.isEmpty()) openTree(path);
}

void MainWindow::showGuideTree(bool shown) {
  guideTreeAction_->setChecked(shown);
  treeDock_->setVisible(shown);
  if (shown && !guideTree().empty()) sortRowsByGuideTree();
  alignTreeWithRows();
}

void MainWindow::alignTreeWithRows() {
  if (treeView_ == nullptr || view_ == nullptr || !treeDock_->isVisible() || alignment() == nullptr) {
    if (treeView_ != nullptr) treeView_->followRows(0, 0);
    return;
  }
  // The tree's leaf lines at the height of the rows: row 0's middle, in the
  // tree's viewport.
  const int offset =
      view_->viewport()->mapTo(this, QPoint(0, 0)).y() - treeView_->viewport()->mapTo(this, QPoint(0, 0)).y();
  const int height = view_->cellHeight();
  const long above = static_cast<long>(view_->firstVisibleRow());
  const int rowsTop = offset + view_->rulerHeight();
  treeView_->followRows(rowsTop - static_cast<int>(above) * height + height / 2, height, rowsTop);
}

std::array<QObject*, 3> MainWindow::treeFollowedObjects() const {
  return {treeDock_, treeView_->viewport(), view_->viewport()};
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Resize || event->type() == QEvent::Move || event->type() == QEvent::Show)
    alignTreeWithRows();
  return QMainWindow::eventFilter(watched, event);
}

void MainWindow::selectTreeNode(int node) {
  if (alignment() == nullptr || node < 0 || static_cast<std::size_t>(node) >= guideTree().nodes.size()) return;
  std::map<std::string, unsigned long> rowOf;
  for (unsigned long r = 0; r < alignment()->sequenceCount(); ++r) rowOf.emplace(alignment()->GetSeqName(r), r);
  unsigned long first = alignment()->sequenceCount();
  unsigned long last = 0;
  unsigned long count = 0;
  for (const std::string& name : leafNamesUnder(guideTree(), node)) {
    const auto found = rowOf.find(name);
    if (found == rowOf.end()) continue;  // renamed or deleted since
    first = std::min(first, found->second);
    last = std::max(last, found->second);
    ++count;
  }
  if (count == 0) {
    statusBar()->showMessage(tr("No sequence of the alignment is named by these leaves any more"), 5000);
    return;
  }
  selectRows({first, last + 1});
  view_->setCurrentRow(count == 1 ? static_cast<long>(first) : -1);
  if (last + 1 - first != count) {
    statusBar()->showMessage(tr("The %1 sequences of this node are not next to each other: rows %2 to %3 are "
                                "selected, which hold them all (Sort Rows \u2192 By Guide Tree brings them together)")
                                 .arg(count)
                                 .arg(first + 1)
                                 .arg(last + 1),
                             8000);
  }
}

bool MainWindow::sortRowsByGuideTree() {
  if (alignment() == nullptr) return false;
  if (guideTree().empty()) {
    statusBar()->showMessage(tr("Open a tree or run a re-alignment first"), 5000);
    return false;
  }
  std::vector<std::string> names;
  for (const int leaf : KARVO::leafOrder(guideTree()))
    names.push_back(guideTree().nodes[static_cast<std::size_t>(leaf)].name);
  PermuteRows order = orderByNames(*alignment(), names);
  bool unchanged = true;
  for (std::size_t r = 0; r < order.order.size(); ++r) unchanged = unchanged && order.order[r] == r;
  return unchanged || edit(order);
}

}  // namespace karvo_gui
