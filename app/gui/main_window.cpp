#include "app/gui/main_window.h"

#include <QDockWidget>
#include <QFileInfo>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QStatusBar>
#include <QUndoStack>
#include <algorithm>

#include "app/gui/alignment_view.h"
#include "app/gui/run_log.h"

namespace karvo_gui {

MainWindow::MainWindow(const std::vector<std::string>& pluginDirs, QWidget* parent) : QMainWindow(parent) {
  reporter_ = [this](const QString& title, const QString& text) { QMessageBox::warning(this, title, text); };
  hostLogText();  // the host log stays in memory, bounded
  plugins_ = karvo_app::listPlugins(pluginDirs);

  document_ = new Document(this);
  connect(undoStack(), &QUndoStack::cleanChanged, this, [this](bool clean) { setWindowModified(!clean); });
  connect(undoStack(), &QUndoStack::indexChanged, this, [this] { updateActions(); });
  connect(document_, &Document::contentChanged, this, &MainWindow::afterChange);
  connect(document_, &Document::alignmentReplaced, this, &MainWindow::showAlignment);
  connect(document_, &Document::resultsChanged, this, &MainWindow::showResults);
  view_ = new AlignmentView(this);
  setCentralWidget(view_);
  connect(view_, &AlignmentView::slideRequested, this, &MainWindow::slideByDrag);
  connect(view_, &AlignmentView::renameRequested, this, &MainWindow::renameWithDialog);
  selectionLabel_ = new QLabel(this);
  selectionLabel_->setObjectName(QStringLiteral("selectionStatus"));
  sizeLabel_ = new QLabel(this);
  statusBar()->addWidget(selectionLabel_, 1);
  statusBar()->addPermanentWidget(sizeLabel_);
  connect(view_, &AlignmentView::selectionChanged, this, [this] { updateStatus(); });

  treeView_ = new TreeView(this);
  createMenus();
  treeDock_ = dockBesideNames(treeView_, tr("Guide Tree"));
  treeDock_->setObjectName(QStringLiteral("guideTreeDock"));
  treeDock_->hide();
  connect(treeDock_, &QDockWidget::visibilityChanged, this, [this](bool shown) {
    guideTreeAction_->setChecked(shown);
    alignTreeWithRows();
  });
  connect(view_, &AlignmentView::rowsMoved, this, &MainWindow::alignTreeWithRows);
  for (QObject* watched : treeFollowedObjects()) watched->installEventFilter(this);
  connect(treeView_, &TreeView::leafClicked, this, &MainWindow::selectTreeNode);
  connect(treeView_, &TreeView::nodeClicked, this, &MainWindow::selectTreeNode);
  updateActions();
  updateTitle();
  updateStatus();
  resize(1000, 640);
}

MainWindow::~MainWindow() {
  // Clearing the history and hiding the panels on the way out must not
  // reach this window once its own part is gone.
  undoStack()->disconnect(this);
  document_->disconnect(this);
  treeDock_->disconnect(this);
  for (QObject* watched : treeFollowedObjects()) watched->removeEventFilter(this);
  // The plug-ins are told they are no longer needed before they are unloaded.
  for (auto& [index, plugin] : loaded_) {
    if (auto cleanup = reinterpret_cast<void (*)()>(plugin->symbol("Cleanup"))) cleanup();
  }
}

void MainWindow::slideByDrag(long offset, int drag) {
  const RowRange rows = view_->selectedRows();
  const KARVO::ColumnRange columns = view_->selection();
  if (slideMergeKey_ == 0 || drag != lastSlideDrag_) {
    slideMergeKey_ = nextMergeKey_++;
    lastSlideDrag_ = drag;
  }
  // As far as the gaps allow.
  long step = offset;
  while (step != 0 && !edit(SlideBlock{rows, columns, step}, slideMergeKey_, true)) step += step > 0 ? -1 : 1;
  if (step != 0)
    view_->setBlock(
        rows, {columns.first + static_cast<unsigned long>(step), columns.second + static_cast<unsigned long>(step)});
}

void MainWindow::updateTitle() {
  if (alignment() == nullptr) {
    setWindowTitle(QStringLiteral("karvo"));
    return;
  }
  const QString name = filePath().isEmpty() ? tr("untitled") : QFileInfo(filePath()).fileName();
  setWindowTitle(name + QStringLiteral("[*] \u2014 karvo"));
}

void MainWindow::updateStatus() {
  if (alignment() == nullptr) {
    selectionLabel_->setText(tr("No alignment open"));
    sizeLabel_->clear();
    return;
  }
  QString selected = QString::fromStdString(selectionText(view_->selection()));
  const RowRange rows = view_->selectedRows();
  if (rows.first < rows.second && rows.second - rows.first < alignment()->sequenceCount()) {
    selected = tr("rows %1\u2013%2, ").arg(rows.first + 1).arg(rows.second) + selected;
  }
  selectionLabel_->setText(selected);
  sizeLabel_->setText(
      tr("%1 sequences \u00d7 %2 columns").arg(alignment()->sequenceCount()).arg(alignment()->columnCount()));
}

void MainWindow::setRunning(bool running) {
  running_ = running;
  updateActions();
}

void MainWindow::showAlignment(bool keepScroll) {
  const unsigned long row = view_->firstVisibleRow();
  const unsigned long column = view_->firstVisibleColumn();
  view_->setAlignment(alignment());
  if (keepScroll) view_->scrollToCell(row, column);
  updateTitle();
  updateStatus();
  updateActions();
}

void MainWindow::showResults() {
  view_->setColumnConfidence(document_->runResults().confidence);
  updateActions();
}

void MainWindow::report(const QString& title, const QString& text) {
  if (reporter_) reporter_(title, text);
}

bool MainWindow::canUndo() const { return undoStack()->canUndo(); }

void MainWindow::undo() {
  if (running_ || !canUndo()) return;
  const QString what = undoStack()->undoText();
  undoStack()->undo();
  statusBar()->showMessage(tr("Undone: %1").arg(what), 4000);
}

void MainWindow::redo() {
  if (running_ || !undoStack()->canRedo()) return;
  undoStack()->redo();
}

void MainWindow::afterChange() {
  view_->reloadAlignment();
  updateStatus();
  updateActions();
}

bool MainWindow::edit(const Edit& change, int mergeKey, bool quiet) {
  if (running_ || alignment() == nullptr) return false;
  try {
    document_->edit(change, mergeKey);
  } catch (const EditRefused& refused) {
    if (!quiet) statusBar()->showMessage(tr("Not changed: %1").arg(QString::fromStdString(refused.what())), 5000);
    return false;
  }
  return true;
}

namespace {
bool refuseWithout(QStatusBar* bar, bool condition, const QString& text) {
  if (!condition) bar->showMessage(text, 5000);
  return !condition;
}
}  // namespace

bool MainWindow::insertGaps() {
  const RowRange rows = view_->selectedRows();
  const KARVO::ColumnRange columns = view_->selection();
  if (refuseWithout(statusBar(), rows.first < rows.second, tr("Select the cells to move right first"))) return false;
  if (!edit(InsertGaps{rows, columns.first, 1})) return false;
  view_->setBlock(rows, {columns.first + 1, columns.second + 1});
  return true;
}

bool MainWindow::deleteGaps() {
  const RowRange rows = view_->selectedRows();
  if (refuseWithout(statusBar(), rows.first < rows.second, tr("Select the cells whose gaps go first"))) return false;
  return edit(DeleteGaps{rows, view_->selection()});
}

bool MainWindow::slideBlock(long offset) {
  const RowRange rows = view_->selectedRows();
  const KARVO::ColumnRange columns = view_->selection();
  if (refuseWithout(statusBar(), rows.first < rows.second, tr("Select the block to slide first"))) return false;
  if (!edit(SlideBlock{rows, columns, offset})) return false;
  view_->setBlock(
      rows, {columns.first + static_cast<unsigned long>(offset), columns.second + static_cast<unsigned long>(offset)});
  return true;
}

bool MainWindow::moveSelectedRows(long offset) {
  const RowRange rows = view_->selectedRows();
  const unsigned long count = alignment() == nullptr ? 0 : alignment()->sequenceCount();
  if (refuseWithout(statusBar(), rows.first < rows.second && rows.second - rows.first < count,
                    tr("Select the rows to move by their names first"))) {
    return false;
  }
  const long shift = std::clamp(offset, -static_cast<long>(rows.first), static_cast<long>(count - rows.second));
  if (shift == 0 || !edit(moveRows(count, rows, shift))) return false;
  const KARVO::ColumnRange columns = view_->selection();
  view_->setBlock({rows.first + static_cast<unsigned long>(shift), rows.second + static_cast<unsigned long>(shift)},
                  columns);
  return true;
}

bool MainWindow::deleteSelectedSequences() {
  const RowRange rows = view_->selectedRows();
  if (refuseWithout(statusBar(), rows.first < rows.second, tr("Select the sequences by their names first"))) {
    return false;
  }
  if (!edit(RemoveSequences{rows})) return false;
  view_->setSelection({0, 0});
  return true;
}

bool MainWindow::renameSequence(unsigned long row, const QString& name) {
  return edit(RenameSequence{row, name.toStdString()});
}

void MainWindow::renameWithDialog(unsigned long row) {
  if (alignment() == nullptr || running_ || row >= alignment()->sequenceCount()) return;
  bool accepted = false;
  const QString name = QInputDialog::getText(this, tr("Rename sequence"), tr("New name:"), QLineEdit::Normal,
                                             QString::fromStdString(alignment()->GetSeqName(row)), &accepted);
  if (accepted) renameSequence(row, name.trimmed());
}

bool MainWindow::sortRowsByName() { return alignment() != nullptr && edit(sortByName(*alignment())); }

bool MainWindow::sortRowsByIdentity() {
  const RowRange rows = view_->selectedRows();
  if (alignment() == nullptr ||
      refuseWithout(statusBar(), rows.first < rows.second, tr("Select the row to compare with by its name first"))) {
    return false;
  }
  return edit(sortByIdentity(*alignment(), rows.first));
}

bool MainWindow::selectColumns(const ColumnSpan& span) {
  if (alignment() == nullptr) return false;
  const auto range = spanToRange(span, alignment()->columnCount());
  if (!range) return false;
  view_->setSelection(*range);
  return true;
}

bool MainWindow::orderRowsByNames(const std::vector<std::string>& names) {
  return alignment() != nullptr && edit(orderByNames(*alignment(), names));
}

void MainWindow::selectRows(const RowRange& rows) {
  if (alignment() != nullptr) view_->setBlock(rows, {0, alignment()->columnCount()});
}

QDockWidget* MainWindow::dockBesideNames(QWidget* panel, const QString& title) {
  auto* dock = new QDockWidget(title, this);
  dock->setObjectName(title);
  dock->setWidget(panel);
  dock->setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea);
  addDockWidget(Qt::LeftDockWidgetArea, dock);
  return dock;
}

void MainWindow::setColourScheme(ColourScheme scheme) {
  view_->setColourScheme(scheme);
  for (QAction* action : colourActions_) {
    action->setChecked(action->objectName() ==
                       QStringLiteral("colour_") + QString::fromStdString(colourSchemeName(scheme)));
  }
}

int MainWindow::find(const QString& motif) {
  if (findText_->text() != motif) findText_->setText(motif);
  const std::string problem = motifProblem(motif.toStdString());
  if (!motif.isEmpty() && !problem.empty()) {
    view_->setFindMotif({});
    statusBar()->showMessage(tr("Cannot find: %1").arg(QString::fromStdString(problem)), 5000);
    return -1;
  }
  const int count = view_->setFindMotif(motif.toStdString());
  if (!motif.isEmpty()) {
    statusBar()->showMessage(count == 0 ? tr("%1 not found").arg(motif) : tr("%1: %n match(es)", "", count).arg(motif),
                             5000);
  }
  return count;
}

void MainWindow::findFromBar(bool backwards) {
  if (view_->matches().empty() && !findText_->text().isEmpty()) {
    find(findText_->text());
    if (!backwards) return;
  }
  const int current = view_->findNext(backwards);
  if (current >= 0) {
    statusBar()->showMessage(
        tr("Match %1 of %2").arg(current + 1).arg(static_cast<qulonglong>(view_->matches().size())), 4000);
  }
}

}  // namespace karvo_gui
