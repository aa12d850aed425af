#include "app/gui/main_window.h"

#include <unistd.h>

#include <QAction>
#include <QCloseEvent>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontDatabase>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QSettings>
#include <QStatusBar>
#include <QVBoxLayout>
#include <QtGlobal>
#include <exception>
#include <new>

#include "app/gui/alignment_view.h"
#include "app/gui/run_log.h"
#include "host/alignment_io.h"
#include "host/config.h"

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

const SaveFilter kSaveFilters[] = {
    {QStringLiteral("FASTA (*.fa *.fasta *.fas *.faa)"), QStringLiteral(".fa")},
    {QStringLiteral("Clustal (*.aln *.clustal)"), QStringLiteral(".aln")},
    {QStringLiteral("MSF (*.msf)"), QStringLiteral(".msf")},
};

QString fileName(const QString& path) { return QFileInfo(path).fileName(); }

}  // namespace

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

  view_ = new AlignmentView(this);
  setCentralWidget(view_);
  selectionLabel_ = new QLabel(this);
  selectionLabel_->setObjectName(QStringLiteral("selectionStatus"));
  sizeLabel_ = new QLabel(this);
  statusBar()->addWidget(selectionLabel_, 1);
  statusBar()->addPermanentWidget(sizeLabel_);
  connect(view_, &AlignmentView::selectionChanged, this, [this] { updateStatus(); });

  createMenus();
  updateActions();
  updateTitle();
  updateStatus();
  resize(1000, 640);
}

MainWindow::~MainWindow() {
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
  file->addSeparator();
  quitAction_ = file->addAction(tr("&Quit"), this, &QWidget::close);
  quitAction_->setObjectName(QStringLiteral("quitAction"));
  quitAction_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));

  QMenu* edit = menuBar()->addMenu(tr("&Edit"));
  undoAction_ = edit->addAction(tr("&Undo"), this, &MainWindow::undo);
  undoAction_->setObjectName(QStringLiteral("undoAction"));
  undoAction_->setShortcut(QKeySequence::Undo);

  QMenu* viewMenu = menuBar()->addMenu(tr("&View"));
  runLogAction_ = viewMenu->addAction(tr("Run &Log"), this, &MainWindow::showRunLog);
  runLogAction_->setObjectName(QStringLiteral("runLogAction"));
  guideTreeAction_ = viewMenu->addAction(tr("Guide &Tree"), this, &MainWindow::showGuideTree);
  guideTreeAction_->setObjectName(QStringLiteral("guideTreeAction"));
  guideTreeAction_->setEnabled(false);

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
    const QString name = QString::fromStdString(pluginDisplayName(plugins_[index].name));
    QAction* action = pluginMenu_->addAction(name, this, [this, index] { runPlugin(index); });
    action->setToolTip(QString::fromStdString(plugins_[index].path));
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
  selectionLabel_->setText(QString::fromStdString(selectionText(view_->selection())));
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
  undo_ = {};
  showAlignment(std::move(loaded), false);
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
  if (treeWindow_ != nullptr) treeWindow_->close();
  event->accept();
}

QStringList MainWindow::pluginNames() const {
  QStringList names;
  for (const auto& plugin : plugins_) names << QString::fromStdString(pluginDisplayName(plugin.name));
  return names;
}

MainWindow::RunOutcome MainWindow::runPlugin(int index) {
  if (running_ || index < 0 || index >= static_cast<int>(plugins_.size())) return RunOutcome::Refused;
  const QString name = QString::fromStdString(pluginDisplayName(plugins_[index].name));
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
    if (!plugin) plugin = karvo_app::LoadedPlugin::open(plugins_[index].path);
    execute = reinterpret_cast<Execute1Fn>(plugin->symbol("Execute1"));
  } catch (const karvo_app::PluginError& error) {
    loaded_.erase(index);
    report(name, QString::fromStdString(error.what()));
    return RunOutcome::Failed;
  }
  if (execute == nullptr) {
    report(name, tr("%1 does not export Execute1.").arg(QString::fromStdString(plugins_[index].path)));
    return RunOutcome::Failed;
  }

  std::unique_ptr<KARVO::Alignment> before;
  try {
    before = alignment_->clone();
  } catch (const std::bad_alloc&) {
    report(name, tr("There is not enough memory to keep a copy of the alignment, so %1 was not started.").arg(name));
    return RunOutcome::Refused;
  }
  const bool modifiedBefore = isWindowModified();

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
  using LastRunReportFn = const ZemtraRunReport* (*)();
  if (const auto last = reinterpret_cast<LastRunReportFn>(loaded_[index]->symbol("LastRunReport"))) {
    if (const ZemtraRunReport* runReport = last(); runReport != nullptr && changed)
      setGuideTree(guideTreeOfRun(*runReport, *alignment_));
  }
  if (changed) {
    undo_ = {std::move(before), modifiedBefore};
    setWindowModified(true);
  }
  view_->reloadAlignment();
  setRunning(false);
  updateStatus();
  if (logWindow_ != nullptr && logWindow_->isVisible()) showRunLog();
  return changed ? RunOutcome::Changed : RunOutcome::Unchanged;
}

void MainWindow::setGuideTree(RunGuideTree tree) {
  guideTree_ = std::move(tree);
  guideTreeAction_->setEnabled(!guideTree_.tree.empty());
  if (treeView_ != nullptr) treeView_->setTree(guideTree_.tree);
}

void MainWindow::showGuideTree() {
  if (treeWindow_ == nullptr) {
    treeWindow_ = new QDialog(this);
    treeWindow_->setWindowTitle(tr("Guide Tree"));
    treeWindow_->resize(720, 520);
    auto* layout = new QVBoxLayout(treeWindow_);
    layout->setContentsMargins(0, 0, 0, 0);
    treeView_ = new TreeView(treeWindow_);
    layout->addWidget(treeView_);
    connect(treeView_, &TreeView::leafClicked, this, [this](int node) {
      const long row = treeView_->tree().nodes[static_cast<std::size_t>(node)].row;
      if (row >= 0 && static_cast<std::size_t>(row) < guideTree_.alignmentRows.size())
        view_->setCurrentRow(static_cast<long>(guideTree_.alignmentRows[static_cast<std::size_t>(row)]));
    });
    treeView_->setTree(guideTree_.tree);
  }
  treeWindow_->show();
  treeWindow_->raise();
}

void MainWindow::undo() {
  if (running_ || !canUndo()) return;
  UndoState state = std::move(undo_);
  undo_ = {};
  showAlignment(std::move(state.alignment), true);
  setWindowModified(state.modified);
  statusBar()->showMessage(tr("The alignment is as it was before the last plug-in run"), 4000);
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
  undo_ = {};
  showAlignment(std::move(restored), false);
  // Not yet saved where it belongs.
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
