#include "app/gui/main_window.h"

#include <unistd.h>

#include <QAction>
#include <QActionGroup>
#include <QBuffer>
#include <QCloseEvent>
#include <QDialog>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontDatabase>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QSettings>
#include <QStatusBar>
#include <QToolBar>
#include <QUndoCommand>
#include <QUndoStack>
#include <QVBoxLayout>
#include <QtGlobal>
#include <exception>
#include <new>
#include <set>

#include "app/gui/alignment_view.h"
#include "app/gui/run_log.h"
#include "formats/alignment_io.h"
#include "host/config.h"
#include "host/file_io.h"

namespace karvo_gui {

namespace {

using Execute1Fn = bool (*)(KARVO::Alignment&);

const QString kRecentKey = QStringLiteral("recentFiles");

QSettings userSettings() { return QSettings(QStringLiteral("karvo"), QStringLiteral("karvo")); }

const QString kOpenFilters = QStringLiteral(
    "Alignments (*.fa *.fasta *.fas *.faa *.aln *.clustal *.msf *.sto *.stk *.sth);;"
    "FASTA (*.fa *.fasta *.fas *.faa);;Clustal (*.aln *.clustal);;MSF (*.msf);;Stockholm (*.sto *.stk *.sth);;"
    "All files (*)");

struct SaveFilter {
  QString filter;
  QString extension;
};

// The formats the host library writes, by the extensions it recognises.
const SaveFilter kSaveFilters[] = {
    {QStringLiteral("FASTA (*.fa *.fasta *.fas *.afa)"), QStringLiteral(".fa")},
    {QStringLiteral("Clustal (*.aln *.clw)"), QStringLiteral(".aln")},
    {QStringLiteral("MSF (*.msf)"), QStringLiteral(".msf")},
    {QStringLiteral("Stockholm (*.sto *.stk)"), QStringLiteral(".sto")},
    {QStringLiteral("PHYLIP (*.phy *.phylip)"), QStringLiteral(".phy")},
};

QString fileName(const QString& path) { return QFileInfo(path).fileName(); }

}  // namespace

// A manual edit (or several merged, as the steps of one drag): undone by
// applying the undo edits in reverse order.
class EditCommand : public QUndoCommand {
 public:
  EditCommand(MainWindow& window, Edit forward, Edit inverse, int mergeKey)
      : QUndoCommand(QString::fromStdString(editName(forward))), window_(window), mergeKey_(mergeKey) {
    forwards_.push_back(std::move(forward));
    inverses_.push_back(std::move(inverse));
  }
  int id() const override { return mergeKey_ == 0 ? -1 : 1; }
  bool mergeWith(const QUndoCommand* other) override {
    const auto* next = dynamic_cast<const EditCommand*>(other);
    if (next == nullptr || next->mergeKey_ != mergeKey_) return false;
    forwards_.insert(forwards_.end(), next->forwards_.begin(), next->forwards_.end());
    inverses_.insert(inverses_.end(), next->inverses_.begin(), next->inverses_.end());
    return true;
  }
  void undo() override {
    for (auto inverse = inverses_.rbegin(); inverse != inverses_.rend(); ++inverse) {
      applyEdit(*window_.alignment_, *inverse);
    }
    window_.afterChange();
  }
  void redo() override {
    // Pushed after the edit was made.
    if (fresh_) {
      fresh_ = false;
      return;
    }
    for (std::size_t i = 0; i < forwards_.size(); ++i) inverses_[i] = applyEdit(*window_.alignment_, forwards_[i]);
    window_.afterChange();
  }

 private:
  MainWindow& window_;
  int mergeKey_;
  bool fresh_ = true;
  std::vector<Edit> forwards_;
  std::vector<Edit> inverses_;
};

// A plug-in run: the alignment before it is kept whole and swapped back.
class RunCommand : public QUndoCommand {
 public:
  RunCommand(MainWindow& window, std::unique_ptr<KARVO::Alignment> before, const QString& text)
      : QUndoCommand(text), window_(window), other_(std::move(before)) {}
  void undo() override { swap(); }
  void redo() override {
    if (fresh_) {
      fresh_ = false;
      return;
    }
    swap();
  }

 private:
  void swap() {
    std::unique_ptr<KARVO::Alignment> current = std::move(window_.alignment_);
    window_.showAlignment(std::move(other_), true);
    other_ = std::move(current);
  }
  MainWindow& window_;
  bool fresh_ = true;
  std::unique_ptr<KARVO::Alignment> other_;
};

QStringList addRecentFile(QStringList list, const QString& path, int max) {
  list.removeAll(path);
  list.prepend(path);
  while (list.size() > max) list.removeLast();
  return list;
}

MainWindow::MainWindow(const std::vector<std::string>& pluginDirs, QWidget* parent) : QMainWindow(parent) {
  reporter_ = [this](const QString& title, const QString& text) { QMessageBox::warning(this, title, text); };
  hostLogText();  // the host log stays in memory, bounded
  plugins_ = karvo_app::listPlugins(pluginDirs);

  undoStack_ = new QUndoStack(this);
  connect(undoStack_, &QUndoStack::cleanChanged, this, [this](bool clean) { setWindowModified(!clean); });
  connect(undoStack_, &QUndoStack::indexChanged, this, [this] { updateActions(); });
  view_ = new AlignmentView(this);
  setCentralWidget(view_);
  connect(view_, &AlignmentView::slideRequested, this, [this](long offset, int drag) {
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
  });
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
  // Clearing the stack and hiding the panels on the way out must not reach
  // this window once its own part is gone.
  undoStack_->disconnect(this);
  treeDock_->disconnect(this);
  for (QObject* watched : treeFollowedObjects()) watched->removeEventFilter(this);
  // The plug-ins are told they are no longer needed before they are unloaded.
  for (auto& [index, plugin] : loaded_) {
    if (auto cleanup = reinterpret_cast<void (*)()>(plugin->symbol("Cleanup"))) cleanup();
  }
}

void MainWindow::createMenus() {
  QMenu* file = menuBar()->addMenu(tr("&File"));
  openAction_ = file->addAction(tr("&Open\u2026"), this, &MainWindow::openWithDialog);
  openAction_->setObjectName(QStringLiteral("openAction"));
  openAction_->setShortcut(QKeySequence::Open);
  recentMenu_ = file->addMenu(tr("Open &Recent"));
  recentMenu_->setObjectName(QStringLiteral("recentMenu"));
  saveAction_ = file->addAction(tr("&Save"), this, &MainWindow::save);
  saveAction_->setObjectName(QStringLiteral("saveAction"));
  saveAction_->setShortcut(QKeySequence::Save);
  saveAsAction_ = file->addAction(tr("Save &As\u2026"), this, &MainWindow::saveAsWithDialog);
  saveAsAction_->setObjectName(QStringLiteral("saveAsAction"));
  saveAsAction_->setShortcut(QKeySequence::SaveAs);
  QAction* openTreeAction = file->addAction(tr("Open &Tree\u2026"), this, &MainWindow::openTreeWithDialog);
  openTreeAction->setObjectName(QStringLiteral("openTreeAction"));
  editActions_.push_back(openTreeAction);
  exportAction_ = file->addAction(tr("&Export Image\u2026"), this, &MainWindow::exportImageWithDialog);
  exportAction_->setObjectName(QStringLiteral("exportImageAction"));
  file->addSeparator();
  quitAction_ = file->addAction(tr("&Quit"), this, &QWidget::close);
  quitAction_->setObjectName(QStringLiteral("quitAction"));
  quitAction_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));

  QMenu* edit = menuBar()->addMenu(tr("&Edit"));
  undoAction_ = edit->addAction(tr("&Undo"), this, &MainWindow::undo);
  undoAction_->setObjectName(QStringLiteral("undoAction"));
  undoAction_->setShortcut(QKeySequence::Undo);
  redoAction_ = edit->addAction(tr("&Redo"), this, &MainWindow::redo);
  redoAction_->setObjectName(QStringLiteral("redoAction"));
  redoAction_->setShortcut(QKeySequence::Redo);
  edit->addSeparator();
  const auto addEdit = [this](QMenu* menu, const QString& text, const char* name, const QKeySequence& keys, auto slot) {
    QAction* action = menu->addAction(text, this, slot);
    action->setObjectName(QLatin1String(name));
    action->setShortcut(keys);
    editActions_.push_back(action);
    return action;
  };
  addEdit(edit, tr("&Insert Gap"), "insertGapAction", QKeySequence(Qt::Key_Space), [this] { insertGaps(); });
  addEdit(edit, tr("&Delete Gaps"), "deleteGapsAction", QKeySequence(Qt::Key_Backspace), [this] { deleteGaps(); });
  addEdit(edit, tr("Slide Block &Left"), "slideLeftAction", QKeySequence(Qt::ALT | Qt::Key_Left),
          [this] { slideBlock(-1); });
  addEdit(edit, tr("Slide Block &Right"), "slideRightAction", QKeySequence(Qt::ALT | Qt::Key_Right),
          [this] { slideBlock(1); });
  edit->addSeparator();
  addEdit(edit, tr("Move Rows &Up"), "moveUpAction", QKeySequence(Qt::ALT | Qt::Key_Up),
          [this] { moveSelectedRows(-1); });
  addEdit(edit, tr("Move Rows Do&wn"), "moveDownAction", QKeySequence(Qt::ALT | Qt::Key_Down),
          [this] { moveSelectedRows(1); });
  addEdit(edit, tr("Re&name Sequence\u2026"), "renameAction", QKeySequence(Qt::Key_F2),
          [this] { renameWithDialog(view_->selectedRows().first); });
  addEdit(edit, tr("Delete &Sequences"), "deleteSequencesAction", QKeySequence(Qt::CTRL | Qt::Key_Delete),
          [this] { deleteSelectedSequences(); });
  QMenu* sort = edit->addMenu(tr("S&ort Rows"));
  addEdit(sort, tr("By &Name"), "sortByNameAction", QKeySequence(), [this] { sortRowsByName(); });
  addEdit(sort, tr("By &Identity to Selected Row"), "sortByIdentityAction", QKeySequence(),
          [this] { sortRowsByIdentity(); });
  addEdit(sort, tr("By &Guide Tree"), "sortByGuideTreeAction", QKeySequence(), [this] { sortRowsByGuideTree(); });
  edit->addSeparator();
  QAction* findAction = edit->addAction(tr("&Find Motif\u2026"), this, [this] {
    findText_->setFocus();
    findText_->selectAll();
  });
  findAction->setShortcut(QKeySequence::Find);
  addEdit(edit, tr("Find &Next"), "findNextAction", QKeySequence(Qt::Key_F3), [this] { findFromBar(false); });
  addEdit(edit, tr("Find &Previous"), "findPreviousAction", QKeySequence(Qt::SHIFT | Qt::Key_F3),
          [this] { findFromBar(true); });

  QMenu* viewMenu = menuBar()->addMenu(tr("&View"));
  QMenu* colours = viewMenu->addMenu(tr("&Colours"));
  auto* colourGroup = new QActionGroup(this);
  const QString colourTitles[] = {tr("Residue &Class"), tr("C&onservation"), tr("&Identity to Consensus"),
                                  tr("&Hydrophobicity"), tr("&None")};
  for (const std::string& name : colourSchemeNames()) {
    const ColourScheme scheme = *colourSchemeFromName(name);
    QAction* action =
        colours->addAction(colourTitles[static_cast<int>(scheme)], this, [this, scheme] { setColourScheme(scheme); });
    action->setObjectName(QStringLiteral("colour_") + QString::fromStdString(name));
    action->setCheckable(true);
    action->setChecked(scheme == view_->colourScheme());
    colourGroup->addAction(action);
    colourActions_.push_back(action);
  }
  QAction* annotations =
      viewMenu->addAction(tr("&Annotation Rows"), this, [this](bool shown) { view_->setAnnotationsShown(shown); });
  annotations->setObjectName(QStringLiteral("annotationsAction"));
  annotations->setCheckable(true);
  annotations->setChecked(view_->annotationsShown());
  viewMenu->addSeparator();
  viewMenu->addAction(tr("Zoom &In"), this, [this] { view_->setZoom(view_->zoom() + 1); })
      ->setShortcuts({QKeySequence::ZoomIn, QKeySequence(Qt::CTRL | Qt::Key_Equal)});
  viewMenu->addAction(tr("Zoom &Out"), this, [this] { view_->setZoom(view_->zoom() - 1); })
      ->setShortcut(QKeySequence::ZoomOut);
  viewMenu->addAction(tr("&Actual Size"), this, [this] { view_->setZoom(AlignmentView::defaultZoom()); })
      ->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_0));
  viewMenu->addSeparator();
  runLogAction_ = viewMenu->addAction(tr("Run &Log"), this, &MainWindow::showRunLog);
  runLogAction_->setObjectName(QStringLiteral("runLogAction"));
  guideTreeAction_ = viewMenu->addAction(tr("Guide &Tree"), this, [this](bool shown) { showGuideTree(shown); });
  guideTreeAction_->setObjectName(QStringLiteral("guideTreeAction"));
  guideTreeAction_->setCheckable(true);

  QToolBar* findBar = addToolBar(tr("Find"));
  findBar->setObjectName(QStringLiteral("findBar"));
  findBar->setMovable(false);
  findText_ = new QLineEdit(findBar);
  findText_->setObjectName(QStringLiteral("findText"));
  findText_->setPlaceholderText(tr("Find motif (X = any residue)"));
  findText_->setClearButtonEnabled(true);
  findText_->setMaximumWidth(260);
  findBar->addWidget(findText_);
  connect(findText_, &QLineEdit::returnPressed, this, [this] { find(findText_->text()); });

  pluginMenu_ = menuBar()->addMenu(tr("&Plugins"));
  pluginMenu_->setObjectName(QStringLiteral("pluginMenu"));
  rebuildPluginMenu();

  QMenu* help = menuBar()->addMenu(tr("&Help"));
  QAction* aboutAction = help->addAction(tr("&About karvo"), this, &MainWindow::about);
  aboutAction->setObjectName(QStringLiteral("aboutAction"));

  rebuildRecentMenu();
}

void MainWindow::rebuildPluginMenu() {
  pluginMenu_->clear();
  if (plugins_.empty()) {
    pluginMenu_->addAction(tr("No plug-ins found"))->setEnabled(false);
    return;
  }
  for (int index = 0; index < static_cast<int>(plugins_.size()); ++index) {
    const QString name = QString::fromStdString(pluginDisplayName(plugins_[static_cast<std::size_t>(index)].name));
    QAction* action = pluginMenu_->addAction(name, this, [this, index] { runPlugin(index); });
    action->setToolTip(QString::fromStdString(plugins_[static_cast<std::size_t>(index)].path));
  }
}

void MainWindow::rebuildRecentMenu() {
  recentMenu_->clear();
  const QStringList recent = recentFiles();
  for (const QString& path : recent) {
    recentMenu_
        ->addAction(fileName(path), this,
                    [this, path] {
                      if (maybeSave()) openFile(path);
                    })
        ->setToolTip(path);
  }
  recentMenu_->setEnabled(!recent.isEmpty() && !running_);
}

QStringList MainWindow::recentFiles() const { return userSettings().value(kRecentKey).toStringList(); }

void MainWindow::rememberRecent(const QString& path) {
  QSettings settings = userSettings();
  settings.setValue(kRecentKey, addRecentFile(settings.value(kRecentKey).toStringList(), path));
  rebuildRecentMenu();
}

void MainWindow::updateActions() {
  const bool idle = !running_;
  openAction_->setEnabled(idle);
  saveAction_->setEnabled(idle && alignment_ != nullptr);
  saveAsAction_->setEnabled(idle && alignment_ != nullptr);
  quitAction_->setEnabled(idle);
  undoAction_->setEnabled(idle && canUndo());
  redoAction_->setEnabled(idle && undoStack_->canRedo());
  exportAction_->setEnabled(idle && alignment_ != nullptr);
  for (QAction* action : editActions_) action->setEnabled(idle && alignment_ != nullptr);
  runLogAction_->setEnabled(!lastLogPath_.isEmpty());
  recentMenu_->setEnabled(idle && !recentFiles().isEmpty());
  pluginMenu_->setEnabled(idle);
  view_->setInteractive(idle);
}

void MainWindow::updateTitle() {
  if (alignment_ == nullptr) {
    setWindowTitle(QStringLiteral("karvo"));
    return;
  }
  const QString name = filePath_.isEmpty() ? tr("untitled") : fileName(filePath_);
  setWindowTitle(name + QStringLiteral("[*] \u2014 karvo"));
}

void MainWindow::updateStatus() {
  if (alignment_ == nullptr) {
    selectionLabel_->setText(tr("No alignment open"));
    sizeLabel_->clear();
    return;
  }
  QString selected = QString::fromStdString(selectionText(view_->selection()));
  const RowRange rows = view_->selectedRows();
  if (rows.first < rows.second && rows.second - rows.first < alignment_->sequenceCount()) {
    selected = tr("rows %1\u2013%2, ").arg(rows.first + 1).arg(rows.second) + selected;
  }
  selectionLabel_->setText(selected);
  sizeLabel_->setText(
      tr("%1 sequences \u00d7 %2 columns").arg(alignment_->sequenceCount()).arg(alignment_->columnCount()));
}

void MainWindow::setRunning(bool running) {
  running_ = running;
  updateActions();
}

void MainWindow::showAlignment(std::unique_ptr<KARVO::Alignment> alignment, bool keepScroll) {
  const unsigned long row = view_->firstVisibleRow();
  const unsigned long column = view_->firstVisibleColumn();
  // The view lets go of the old alignment before it is released.
  view_->setAlignment(alignment.get());
  alignment_ = std::move(alignment);
  if (keepScroll) view_->scrollToCell(row, column);
  updateTitle();
  updateStatus();
  updateActions();
}

void MainWindow::report(const QString& title, const QString& text) {
  if (reporter_) reporter_(title, text);
}

bool MainWindow::openFile(const QString& path) {
  const QString absolute = QFileInfo(path).absoluteFilePath();
  std::unique_ptr<KARVO::Alignment> loaded;
  try {
    loaded = KARVO::readAlignmentFile(absolute.toStdString());
  } catch (const std::exception& error) {
    report(tr("Cannot open file"), QString::fromStdString(error.what()));
    if (!QFileInfo::exists(absolute) && recentFiles().contains(absolute)) {
      QSettings settings = userSettings();
      QStringList recent = settings.value(kRecentKey).toStringList();
      recent.removeAll(absolute);
      settings.setValue(kRecentKey, recent);
      rebuildRecentMenu();
    }
    return false;
  }
  setGuideTree({});
  filePath_ = absolute;
  showAlignment(std::move(loaded), false);
  undoStack_->clear();
  undoStack_->setClean();
  setWindowModified(false);
  rememberRecent(absolute);
  return true;
}

bool MainWindow::saveFile(const QString& path) {
  if (alignment_ == nullptr) return false;
  const QString absolute = QFileInfo(path).absoluteFilePath();
  const auto format = KARVO::formatFromName(absolute.toStdString());
  if (!format) {
    report(tr("Cannot save"), tr("%1: choose a name with one of the extensions of %2.")
                                  .arg(fileName(absolute), QString::fromStdString(KARVO::formatChoices())));
    return false;
  }
  try {
    KARVO::writeAlignmentFile(absolute.toStdString(), *alignment_, *format);
  } catch (const std::exception& error) {
    report(tr("Cannot save"), QString::fromStdString(error.what()));
    return false;
  }
  filePath_ = absolute;
  undoStack_->setClean();
  setWindowModified(false);
  updateTitle();
  rememberRecent(absolute);
  statusBar()->showMessage(tr("Saved %1").arg(absolute), 4000);
  return true;
}

bool MainWindow::selectColumns(const ColumnSpan& span) {
  if (alignment_ == nullptr) return false;
  const auto range = spanToRange(span, alignment_->columnCount());
  if (!range) return false;
  view_->setSelection(*range);
  return true;
}

void MainWindow::openWithDialog() {
  if (running_ || !maybeSave()) return;
  const QString start = filePath_.isEmpty() ? QDir::currentPath() : QFileInfo(filePath_).absolutePath();
  const QString path = QFileDialog::getOpenFileName(this, tr("Open alignment"), start, kOpenFilters);
  if (!path.isEmpty()) openFile(path);
}

bool MainWindow::save() {
  if (alignment_ == nullptr || running_) return false;
  // Files whose name says no format that can be written go through Save As.
  if (filePath_.isEmpty() || !KARVO::formatFromName(filePath_.toStdString())) return saveAsWithDialog();
  return saveFile(filePath_);
}

bool MainWindow::saveAsWithDialog() {
  if (alignment_ == nullptr || running_) return false;
  QStringList filters;
  for (const SaveFilter& filter : kSaveFilters) filters << filter.filter;
  QString chosenFilter = filters.front();
  const QString start = filePath_.isEmpty() ? QDir::currentPath() : filePath_;
  QString path = QFileDialog::getSaveFileName(this, tr("Save alignment as"), start, filters.join(QStringLiteral(";;")),
                                              &chosenFilter);
  if (path.isEmpty()) return false;
  if (!KARVO::formatFromName(path.toStdString())) {
    for (const SaveFilter& filter : kSaveFilters) {
      if (filter.filter == chosenFilter) path += filter.extension;
    }
  }
  return saveFile(path);
}

bool MainWindow::maybeSave() {
  if (!confirmClose_ || alignment_ == nullptr || !isWindowModified()) return true;
  const auto answer =
      QMessageBox::question(this, tr("Unsaved changes"),
                            tr("%1 has changes that are not saved. Save them?")
                                .arg(filePath_.isEmpty() ? tr("The alignment") : fileName(filePath_)),
                            QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Save);
  if (answer == QMessageBox::Save) return save();
  return answer == QMessageBox::Discard;
}

void MainWindow::closeEvent(QCloseEvent* event) {
  // A plug-in run holds the alignment until it returns.
  if (running_ || !maybeSave()) {
    event->ignore();
    return;
  }
  if (logWindow_ != nullptr) logWindow_->close();
  event->accept();
}

QStringList MainWindow::pluginNames() const {
  QStringList names;
  for (const auto& plugin : plugins_) names << QString::fromStdString(pluginDisplayName(plugin.name));
  return names;
}

MainWindow::RunOutcome MainWindow::runPlugin(int index) {
  if (running_ || index < 0 || index >= static_cast<int>(plugins_.size())) return RunOutcome::Refused;
  const QString name = QString::fromStdString(pluginDisplayName(plugins_[static_cast<std::size_t>(index)].name));
  if (alignment_ == nullptr) {
    report(name, tr("Open an alignment before running %1.").arg(name));
    return RunOutcome::Refused;
  }
  if (view_->selection().first >= view_->selection().second) {
    report(name, tr("Select the columns to re-align by dragging over the ruler, then run %1 again.").arg(name));
    return RunOutcome::Refused;
  }

  Execute1Fn execute = nullptr;
  try {
    auto& plugin = loaded_[index];
    if (!plugin) plugin = karvo_app::LoadedPlugin::open(plugins_[static_cast<std::size_t>(index)].path);
    execute = reinterpret_cast<Execute1Fn>(plugin->symbol("Execute1"));
  } catch (const karvo_app::PluginError& error) {
    loaded_.erase(index);
    report(name, QString::fromStdString(error.what()));
    return RunOutcome::Failed;
  }
  if (execute == nullptr) {
    report(
        name,
        tr("%1 does not export Execute1.").arg(QString::fromStdString(plugins_[static_cast<std::size_t>(index)].path)));
    return RunOutcome::Failed;
  }

  std::unique_ptr<KARVO::Alignment> before;
  try {
    before = alignment_->clone();
  } catch (const std::bad_alloc&) {
    report(name, tr("There is not enough memory to keep a copy of the alignment, so %1 was not started.").arg(name));
    return RunOutcome::Refused;
  }

  setRunning(true);
  const std::string tmpDir = Config::GetPersonalTmpDir();
  const RecoveryFiles recovery = recoveryFilesFor(tmpDir, filePath_.toStdString());
  try {
    writeRecovery(recovery, *alignment_, {filePath_.toStdString(), static_cast<long>(getpid())});
  } catch (const std::exception& error) {
    // The copy in memory still protects the alignment against a failing run.
    qWarning("karvo: no recovery file: %s", error.what());
  }

  bool changed = false;
  QString failure;
  try {
    changed = execute(*alignment_);
  } catch (const std::bad_alloc&) {
    failure = tr("it ran out of memory");
  } catch (const std::exception& error) {
    failure = QString::fromLocal8Bit(error.what());
  } catch (...) {
    failure = tr("an unknown error");
  }
  removeRecovery(recovery);
  if (const std::string log = reportedRunLog(*loaded_[index]); !log.empty()) lastLogPath_ = QString::fromStdString(log);

  if (!failure.isEmpty()) {
    showAlignment(std::move(before), true);
    setRunning(false);
    report(tr("%1 failed").arg(name),
           tr("%1 stopped with an error: %2.\nThe alignment is as it was before the run.").arg(name, failure));
    return RunOutcome::Failed;
  }
  // The report of the run, from plug-ins that keep one.
  KARVO::PhyloTree runTree;
  if (const LastRunReportFn last = loaded_[index]->lastRunReport()) {
    if (const ZemtraRunReport* runReport = last(); runReport != nullptr && changed)
      runTree = guideTreeOfRun(*runReport, *alignment_).tree;
  }
  if (changed) undoStack_->push(new RunCommand(*this, std::move(before), tr("Run %1").arg(name)));
  view_->reloadAlignment();
  setRunning(false);
  // The rows may follow the new tree, as an edit of their own after the run.
  if (!runTree.empty()) setGuideTree(std::move(runTree));
  updateStatus();
  if (logWindow_ != nullptr && logWindow_->isVisible()) showRunLog();
  return changed ? RunOutcome::Changed : RunOutcome::Unchanged;
}

void MainWindow::setGuideTree(KARVO::PhyloTree tree) {
  std::set<std::string> names;
  if (alignment_ != nullptr) {
    for (unsigned long r = 0; r < alignment_->sequenceCount(); ++r) names.insert(alignment_->GetSeqName(r));
  }
  // Each sequence name once: a second leaf of the same name has no row left.
  std::set<std::string> placed;
  unsigned long leftOut = 0;
  guideTree_ = keepLeaves(tree, [&](const KARVO::PhyloNode& leaf) {
    const bool kept = names.count(leaf.name) != 0 && placed.insert(leaf.name).second;
    if (!kept) ++leftOut;
    return kept;
  });
  treeView_->setTree(guideTree_);
  if (guideTree_.empty()) return alignTreeWithRows();
  const unsigned long outside = alignment_->sequenceCount() - placed.size();
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
  if (alignment_ == nullptr) {
    report(title, tr("Open the alignment whose sequences the tree names first."));
    return false;
  }
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) {
    report(title, tr("%1: %2").arg(path, file.errorString()));
    return false;
  }
  const QByteArray text = file.readAll();
  KARVO::PhyloTree tree;
  try {
    tree = KARVO::parseNewick(std::string_view(text.constData(), static_cast<std::size_t>(text.size())));
  } catch (const KARVO::NewickError& error) {
    // "Newick line L, column C: problem" as "file:L:C: problem".
    QString where = QString::fromStdString(error.what());
    static const QRegularExpression place(QStringLiteral("^Newick line (\\d+), column (\\d+): "));
    if (const auto match = place.match(where); match.hasMatch())
      where = match.captured(1) + ':' + match.captured(2) + QStringLiteral(": ") + where.mid(match.capturedLength());
    report(title, tr("%1:%2\nThe file is not a Newick tree; the alignment is unchanged.").arg(path, where));
    return false;
  }
  const auto leaves = KARVO::leafOrder(tree).size();
  setGuideTree(std::move(tree));
  if (guideTree_.empty()) {
    report(title,
           tr("%1: none of its %n leaves names a sequence of the alignment.", "", static_cast<int>(leaves)).arg(path));
    return false;
  }
  showGuideTree(true);
  return true;
}

void MainWindow::openTreeWithDialog() {
  const QString start = filePath_.isEmpty() ? QDir::homePath() : QFileInfo(filePath_).absolutePath();
  const QString path = QFileDialog::getOpenFileName(
      this, tr("Open tree"), start, tr("Newick trees (*.nwk *.newick *.tre *.tree *.dnd *.ph);;All files (*)"));
  if (!path.isEmpty()) openTree(path);
}

void MainWindow::showGuideTree(bool shown) {
  guideTreeAction_->setChecked(shown);
  treeDock_->setVisible(shown);
  if (shown && !guideTree_.empty()) sortRowsByGuideTree();
  alignTreeWithRows();
}

void MainWindow::alignTreeWithRows() {
  if (treeView_ == nullptr || view_ == nullptr || !treeDock_->isVisible() || alignment_ == nullptr) {
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
  if (alignment_ == nullptr || node < 0 || static_cast<std::size_t>(node) >= guideTree_.nodes.size()) return;
  std::map<std::string, unsigned long> rowOf;
  for (unsigned long r = 0; r < alignment_->sequenceCount(); ++r) rowOf.emplace(alignment_->GetSeqName(r), r);
  unsigned long first = alignment_->sequenceCount();
  unsigned long last = 0;
  unsigned long count = 0;
  for (const std::string& name : leafNamesUnder(guideTree_, node)) {
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

bool MainWindow::canUndo() const { return undoStack_->canUndo(); }

void MainWindow::undo() {
  if (running_ || !canUndo()) return;
  const QString what = undoStack_->undoText();
  undoStack_->undo();
  statusBar()->showMessage(tr("Undone: %1").arg(what), 4000);
}

void MainWindow::redo() {
  if (running_ || !undoStack_->canRedo()) return;
  undoStack_->redo();
}

void MainWindow::afterChange() {
  view_->reloadAlignment();
  updateStatus();
  updateActions();
}

bool MainWindow::edit(const Edit& change, int mergeKey, bool quiet) {
  if (running_ || alignment_ == nullptr) return false;
  Edit inverse;
  try {
    inverse = applyEdit(*alignment_, change);
  } catch (const EditRefused& refused) {
    if (!quiet) statusBar()->showMessage(tr("Not changed: %1").arg(QString::fromStdString(refused.what())), 5000);
    return false;
  }
  undoStack_->push(new EditCommand(*this, change, std::move(inverse), mergeKey));
  afterChange();
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
  const unsigned long count = alignment_ == nullptr ? 0 : alignment_->sequenceCount();
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
  if (alignment_ == nullptr || running_ || row >= alignment_->sequenceCount()) return;
  bool accepted = false;
  const QString name = QInputDialog::getText(this, tr("Rename sequence"), tr("New name:"), QLineEdit::Normal,
                                             QString::fromStdString(alignment_->GetSeqName(row)), &accepted);
  if (accepted) renameSequence(row, name.trimmed());
}

bool MainWindow::sortRowsByName() { return alignment_ != nullptr && edit(sortByName(*alignment_)); }

bool MainWindow::sortRowsByIdentity() {
  const RowRange rows = view_->selectedRows();
  if (alignment_ == nullptr ||
      refuseWithout(statusBar(), rows.first < rows.second, tr("Select the row to compare with by its name first"))) {
    return false;
  }
  return edit(sortByIdentity(*alignment_, rows.first));
}

bool MainWindow::sortRowsByGuideTree() {
  if (alignment_ == nullptr ||
      refuseWithout(statusBar(), !guideTree_.empty(), tr("Open a tree or run a re-alignment first"))) {
    return false;
  }
  std::vector<std::string> names;
  for (const int leaf : KARVO::leafOrder(guideTree_))
    names.push_back(guideTree_.nodes[static_cast<std::size_t>(leaf)].name);
  PermuteRows order = orderByNames(*alignment_, names);
  bool unchanged = true;
  for (std::size_t r = 0; r < order.order.size(); ++r) unchanged = unchanged && order.order[r] == r;
  return unchanged || edit(order);
}

bool MainWindow::orderRowsByNames(const std::vector<std::string>& names) {
  return alignment_ != nullptr && edit(orderByNames(*alignment_, names));
}

void MainWindow::selectRows(const RowRange& rows) {
  if (alignment_ != nullptr) view_->setBlock(rows, {0, alignment_->columnCount()});
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

bool MainWindow::exportImage(const QString& path) {
  if (alignment_ == nullptr) return false;
  const QString suffix = QFileInfo(path).suffix().toLower();
  const RowRange rows = view_->selectedRows();
  const RowRange figureRows = rows.second - rows.first == alignment_->sequenceCount() ? RowRange{0, 0} : rows;
  const KARVO::ColumnRange columns = view_->selection();
  std::string bytes;
  if (suffix == QStringLiteral("svg")) {
    bytes = view_->figureSvg(figureRows, columns);
  } else if (suffix == QStringLiteral("png")) {
    const QSize size = view_->figureSize(figureRows, columns);
    // The image formats' own limit.
    constexpr int kLargest = 32767;
    if (size.width() > kLargest || size.height() > kLargest) {
      report(tr("Cannot export"), tr("A picture of %1 \u00d7 %2 pixels is too large; select fewer columns or rows, "
                                     "zoom out, or export SVG.")
                                      .arg(size.width())
                                      .arg(size.height()));
      return false;
    }
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (!view_->figureImage(figureRows, columns).save(&buffer, "PNG")) {
      report(tr("Cannot export"), tr("%1: the picture could not be made.").arg(fileName(path)));
      return false;
    }
    bytes.assign(png.constData(), static_cast<std::size_t>(png.size()));
  } else {
    report(tr("Cannot export"), tr("%1: choose a name ending in .png or .svg.").arg(fileName(path)));
    return false;
  }
  try {
    KARVO::writeFileAtomically(QFileInfo(path).absoluteFilePath().toStdString(), bytes);
  } catch (const std::exception& error) {
    report(tr("Cannot export"), QString::fromStdString(error.what()));
    return false;
  }
  statusBar()->showMessage(tr("Exported %1").arg(path), 4000);
  return true;
}

void MainWindow::exportImageWithDialog() {
  if (alignment_ == nullptr || running_) return;
  QString chosen;
  const QString start = filePath_.isEmpty() ? QDir::currentPath() : QFileInfo(filePath_).absolutePath();
  QString path = QFileDialog::getSaveFileName(this, tr("Export image"), start,
                                              tr("PNG image (*.png);;SVG drawing (*.svg)"), &chosen);
  if (path.isEmpty()) return;
  const QString suffix = QFileInfo(path).suffix().toLower();
  if (suffix != QStringLiteral("png") && suffix != QStringLiteral("svg")) {
    path += chosen.contains(QStringLiteral("svg")) ? QStringLiteral(".svg") : QStringLiteral(".png");
  }
  exportImage(path);
}

bool MainWindow::offerRecovery() {
  for (const PendingRecovery& pending : findRecoveries(Config::GetPersonalTmpDir())) {
    const QString original = pending.origin.originalPath.empty() ? tr("an unsaved alignment")
                                                                 : QString::fromStdString(pending.origin.originalPath);
    const auto answer = QMessageBox::question(
        this, tr("Recover alignment"),
        tr("karvo ended while a plug-in was running on %1.\nRestore the alignment as it was before that run?")
            .arg(original),
        QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
    if (answer != QMessageBox::Yes) {
      removeRecovery(pending.files);
      continue;
    }
    // One window holds one alignment: further copies wait for the next start.
    if (restoreRecovery(pending)) return true;
  }
  return false;
}

bool MainWindow::restoreRecovery(const PendingRecovery& pending) {
  std::unique_ptr<KARVO::Alignment> restored;
  try {
    restored = KARVO::readAlignmentFile(pending.files.alignmentPath);
  } catch (const std::exception& error) {
    report(tr("Cannot recover the alignment"), QString::fromStdString(error.what()));
    return false;
  }
  filePath_ = QString::fromStdString(pending.origin.originalPath);
  showAlignment(std::move(restored), false);
  undoStack_->clear();
  // Not yet saved where it belongs.
  undoStack_->resetClean();
  setWindowModified(true);
  removeRecovery(pending.files);
  statusBar()->showMessage(tr("Recovered the alignment from before the interrupted run"), 6000);
  return true;
}

void MainWindow::showRunLog() {
  if (lastLogPath_.isEmpty()) return;
  if (logWindow_ == nullptr) {
    logWindow_ = new QDialog(this);
    logWindow_->setObjectName(QStringLiteral("runLogWindow"));
    logWindow_->resize(760, 560);
    logText_ = new QPlainTextEdit(logWindow_);
    logText_->setObjectName(QStringLiteral("runLogText"));
    logText_->setReadOnly(true);
    logText_->setLineWrapMode(QPlainTextEdit::NoWrap);
    logText_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    auto* layout = new QVBoxLayout(logWindow_);
    layout->addWidget(logText_);
  }
  QFile file(lastLogPath_);
  const QString text = file.open(QIODevice::ReadOnly)
                           ? QString::fromUtf8(file.readAll())
                           : tr("The run log %1 cannot be read; the latest text kept in memory:\n\n%2")
                                 .arg(lastLogPath_, QString::fromStdString(hostLogText()));
  logText_->setPlainText(text);
  logWindow_->setWindowTitle(tr("Run log \u2014 %1").arg(fileName(lastLogPath_)));
  logWindow_->show();
  logWindow_->raise();
}

void MainWindow::about() {
  QMessageBox::about(this, tr("About karvo"),
                     QStringLiteral("<p><b>karvo " KARVO_VERSION "</b></p>") +
                         tr("<p>Views protein multiple alignments and re-aligns column ranges with plug-ins.</p>"));
}

}  // namespace karvo_gui
