// The window's files: opening and saving alignments, the recent files,
// picture export, recovery after an interrupted run, and the run log.
#include <QBuffer>
#include <QCloseEvent>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontDatabase>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QSettings>
#include <QStatusBar>
#include <QUndoStack>
#include <QVBoxLayout>
#include <exception>

#include "app/gui/alignment_view.h"
#include "app/gui/main_window.h"
#include "app/gui/run_log.h"
#include "formats/alignment_io.h"
#include "host/config.h"
#include "host/file_io.h"

namespace karvo_gui {

namespace {

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

QStringList addRecentFile(QStringList list, const QString& path, int max) {
  list.removeAll(path);
  list.prepend(path);
  while (list.size() > max) list.removeLast();
  return list;
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
  document_->reset(std::move(loaded), absolute, true);
  treeView_->setTree({});
  alignTreeWithRows();
  setWindowModified(false);
  rememberRecent(absolute);
  return true;
}

bool MainWindow::saveFile(const QString& path) {
  if (alignment() == nullptr) return false;
  const QString absolute = QFileInfo(path).absoluteFilePath();
  const auto format = KARVO::formatFromName(absolute.toStdString());
  if (!format) {
    report(tr("Cannot save"), tr("%1: choose a name with one of the extensions of %2.")
                                  .arg(fileName(absolute), QString::fromStdString(KARVO::formatChoices())));
    return false;
  }
  try {
    KARVO::writeAlignmentFile(absolute.toStdString(), *alignment(), *format);
  } catch (const std::exception& error) {
    report(tr("Cannot save"), QString::fromStdString(error.what()));
    return false;
  }
  document_->setFilePath(absolute);
  undoStack()->setClean();
  setWindowModified(false);
  updateTitle();
  rememberRecent(absolute);
  statusBar()->showMessage(tr("Saved %1").arg(absolute), 4000);
  return true;
}

void MainWindow::openWithDialog() {
  if (running_ || !maybeSave()) return;
  const QString start = filePath().isEmpty() ? QDir::currentPath() : QFileInfo(filePath()).absolutePath();
  const QString path = QFileDialog::getOpenFileName(this, tr("Open alignment"), start, kOpenFilters);
  if (!path.isEmpty()) openFile(path);
}

bool MainWindow::save() {
  if (alignment() == nullptr || running_) return false;
  // Files whose name says no format that can be written go through Save As.
  if (filePath().isEmpty() || !KARVO::formatFromName(filePath().toStdString())) return saveAsWithDialog();
  return saveFile(filePath());
}

bool MainWindow::saveAsWithDialog() {
  if (alignment() == nullptr || running_) return false;
  QStringList filters;
  for (const SaveFilter& filter : kSaveFilters) filters << filter.filter;
  QString chosenFilter = filters.front();
  const QString start = filePath().isEmpty() ? QDir::currentPath() : filePath();
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
  if (!confirmClose_ || alignment() == nullptr || !isWindowModified()) return true;
  const auto answer =
      QMessageBox::question(this, tr("Unsaved changes"),
                            tr("%1 has changes that are not saved. Save them?")
                                .arg(filePath().isEmpty() ? tr("The alignment") : fileName(filePath())),
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

bool MainWindow::exportImage(const QString& path) {
  if (alignment() == nullptr) return false;
  const QString suffix = QFileInfo(path).suffix().toLower();
  const RowRange rows = view_->selectedRows();
  const RowRange figureRows = rows.second - rows.first == alignment()->sequenceCount() ? RowRange{0, 0} : rows;
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
  if (alignment() == nullptr || running_) return;
  QString chosen;
  const QString start = filePath().isEmpty() ? QDir::currentPath() : QFileInfo(filePath()).absolutePath();
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
  // Not yet saved where it belongs.
  document_->reset(std::move(restored), QString::fromStdString(pending.origin.originalPath), false);
  treeView_->setTree({});
  alignTreeWithRows();
  setWindowModified(true);
  removeRecovery(pending.files);
  statusBar()->showMessage(tr("Recovered the alignment from before the interrupted run"), 6000);
  return true;
}

void MainWindow::showRunLog() {
  const RunResults& results = document_->runResults();
  if (results.logPath.empty() && results.logText.empty()) return;
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
  // A run that wrote no file handed its log back as text.
  if (results.logPath.empty()) {
    logText_->setPlainText(QString::fromStdString(results.logText));
    logWindow_->setWindowTitle(tr("Run log"));
  } else {
    const QString path = QString::fromStdString(results.logPath);
    QFile file(path);
    logText_->setPlainText(file.open(QIODevice::ReadOnly)
                               ? QString::fromUtf8(file.readAll())
                               : tr("The run log %1 cannot be read; the latest text kept in memory:\n\n%2")
                                     .arg(path, QString::fromStdString(hostLogText())));
    logWindow_->setWindowTitle(tr("Run log \u2014 %1").arg(fileName(path)));
  }
  logWindow_->show();
  logWindow_->raise();
}

}  // namespace karvo_gui
