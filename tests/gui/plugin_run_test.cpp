// Running plug-ins from the window: the real Zemtra plug-in with its dialog,
// and a test plug-in that fails after changing the alignment.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <QAction>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QTest>
#include <filesystem>

#include "app/gui/alignment_view.h"
#include "app/gui/modal_auto_answer.h"
#include "formats/alignment_io.h"
#include "golden.h"
#include "gui_fixture.h"

namespace karvo_gui {
namespace {

using testing::action;
using testing::dragOnRuler;
using testing::rowsOf;
using testing::WindowTest;

namespace fs = std::filesystem;

struct Snapshot {
  std::vector<std::string> rows;
  std::vector<std::string> names;
  KARVO::ColumnRange selection;
  bool operator==(const Snapshot&) const = default;
};

Snapshot snapshotOf(const KARVO::Alignment& alignment) {
  Snapshot snapshot{rowsOf(alignment), {}, alignment.selection};
  for (unsigned long row = 0; row < alignment.sequenceCount(); ++row)
    snapshot.names.push_back(alignment.GetSeqName(row));
  return snapshot;
}

class ZemtraRunTest : public WindowTest {
 protected:
  void SetUp() override {
    WindowTest::SetUp();
    zemtra = static_cast<int>(
        windowWith("globins.fa", {testing::zemtraPluginDir()}).pluginNames().indexOf(QStringLiteral("Zemtra")));
    ASSERT_GE(zemtra, 0);
    EXPECT_EQ(window_->findChild<QMenu*>(QStringLiteral("pluginMenu"))->actions().at(zemtra)->text(),
              QStringLiteral("Zemtra"));
  }

  MainWindow& window() { return *window_; }
  int zemtra = -1;
};

// While the dialog is open the window refuses another run and keeps a
// recovery copy; edits and the run share one undo stack and Ctrl+Z undoes the
// run exactly; the log named in the dialog can be read afterwards.
TEST_F(ZemtraRunTest, ARunLocksTheWindowIsOneUndoStepAndLeavesItsLog) {
  const auto before = rowsOf(*window().alignment());
  window().view()->setBlock({1, 3}, {10, 20});
  ASSERT_TRUE(window().insertGaps());
  EXPECT_EQ(window().view()->selection(), (KARVO::ColumnRange{11, 21}));  // the block moved with its cells
  const auto edited = rowsOf(*window().alignment());
  ASSERT_TRUE(window().renameSequence(0, QStringLiteral("renamed")));
  EXPECT_FALSE(window().renameSequence(0, QStringLiteral("two words")));
  dragOnRuler(*window().view(), 0, 30);
  dragOnRuler(*window().view(), 60, 60, Qt::ShiftModifier);
  const Snapshot renamed = snapshotOf(*window().alignment());
  ASSERT_EQ(renamed.selection, (KARVO::ColumnRange{0, 61}));
  const RecoveryFiles recovery = recoveryFilesFor(tmpDir(), window().filePath().toStdString());
  bool checked = false;
  ModalAutoAnswer answer([&](QWidget& modal) {
    checked = true;
    EXPECT_TRUE(window().isRunning());
    EXPECT_FALSE(window().findChild<QMenu*>(QStringLiteral("pluginMenu"))->isEnabled());
    for (const char* name : {"openAction", "saveAction", "saveAsAction", "undoAction", "quitAction"}) {
      EXPECT_FALSE(action(window(), name)->isEnabled()) << name;
    }
    EXPECT_EQ(window().runPlugin(zemtra), MainWindow::RunOutcome::Refused);
    EXPECT_FALSE(window().close());
    ASSERT_TRUE(fs::exists(recovery.alignmentPath));
    EXPECT_EQ(rowsOf(*KARVO::readAlignmentFile(recovery.alignmentPath)), renamed.rows);
    modal.findChild<QLineEdit*>(QStringLiteral("logFilename"))->setText(QStringLiteral("run.txt"));
    acceptAsShown(modal);
  });
  ASSERT_EQ(window().runPlugin(zemtra), MainWindow::RunOutcome::Changed);
  EXPECT_TRUE(checked);
  EXPECT_FALSE(fs::exists(recovery.alignmentPath));
  EXPECT_FALSE(fs::exists(recovery.markerPath));
  EXPECT_TRUE(window().findChild<QMenu*>(QStringLiteral("pluginMenu"))->isEnabled());
  EXPECT_TRUE(action(window(), "openAction")->isEnabled());
  const auto run = rowsOf(*window().alignment());
  ASSERT_NE(run, renamed.rows);
  EXPECT_TRUE(window().isWindowModified());

  window().activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
  QTest::keyClick(window().view(), Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(snapshotOf(*window().alignment()), renamed);
  EXPECT_EQ(window().view()->alignment(), window().alignment());
  window().undo();
  EXPECT_EQ(window().alignment()->GetSeqName(0), "HBA_HUMAN");
  EXPECT_EQ(rowsOf(*window().alignment()), edited);
  window().undo();
  EXPECT_EQ(rowsOf(*window().alignment()), before);
  EXPECT_FALSE(window().isWindowModified());
  EXPECT_FALSE(window().canUndo());
  for (int i = 0; i < 3; ++i) window().redo();
  EXPECT_EQ(window().alignment()->GetSeqName(0), "renamed");
  EXPECT_EQ(rowsOf(*window().alignment()), run);
  EXPECT_EQ(window().view()->alignment(), window().alignment());

  EXPECT_EQ(window().lastLogPath(), QString::fromStdString(tmpDir() + "/run.txt"));
  ASSERT_TRUE(action(window(), "runLogAction")->isEnabled());
  action(window(), "runLogAction")->trigger();
  auto* text = window().findChild<QPlainTextEdit*>(QStringLiteral("runLogText"));
  ASSERT_NE(text, nullptr);
  EXPECT_TRUE(text->isReadOnly());
  QFile log(window().lastLogPath());
  ASSERT_TRUE(log.open(QIODevice::ReadOnly));
  EXPECT_EQ(text->toPlainText(), QString::fromUtf8(log.readAll()));
  EXPECT_FALSE(text->toPlainText().isEmpty());
}

// Cancelled in the dialog, or refused for want of a selection before it shows.
TEST_F(ZemtraRunTest, CancellingOrNoSelectionChangesNothing) {
  for (const bool selected : {true, false}) {
    if (selected)
      ASSERT_TRUE(window().selectColumns({1, 120}));
    else
      window().view()->setSelection({});
    const Snapshot before = snapshotOf(*window().alignment());
    bool asked = false;
    ModalAutoAnswer cancel([&asked](QWidget& modal) {
      asked = true;
      qobject_cast<QDialog*>(&modal)->reject();
    });
    EXPECT_EQ(window().runPlugin(zemtra),
              selected ? MainWindow::RunOutcome::Unchanged : MainWindow::RunOutcome::Refused);
    EXPECT_EQ(asked, selected);
    EXPECT_EQ(reports_.size(), selected ? 0 : 1);
    EXPECT_EQ(snapshotOf(*window().alignment()), before);
    EXPECT_FALSE(window().canUndo());
    EXPECT_FALSE(window().isWindowModified());
    EXPECT_TRUE(window().lastLogPath().isEmpty());
  }
}

// The consistency entry: the window's dialog sets the rounds and the
// refinement, the run rewrites the selected columns as one undo step, its log
// text shows in the Run Log view, and the Confidence colours and annotation
// row follow the run through undo and redo.
TEST_F(ZemtraRunTest, TheConsistencyEntryIsOneUndoStepWithItsLogAndConfidence) {
  ASSERT_NE(action(window(), "consistencyAction_Zemtra"), nullptr);
  ASSERT_TRUE(window().selectColumns({1, 40}));
  const Snapshot before = snapshotOf(*window().alignment());
  AlignmentView& view = *window().view();
  const int plainRows = view.annotationHeight();
  ModalAutoAnswer answer([](QWidget& modal) {
    auto* refine = modal.findChild<QSpinBox*>(QStringLiteral("refineIterations"));
    EXPECT_EQ(refine->value(), ZemtraParameters{}.refineIterations);
    EXPECT_EQ(refine->maximum(), 1000);
    refine->setValue(20);
    modal.findChild<QSpinBox*>(QStringLiteral("consistencyRounds"))->setValue(1);
    QDir().mkpath(QStringLiteral(SCREENSHOT_DIR));
    modal.grab().save(QStringLiteral(SCREENSHOT_DIR "/consistency_dialog.png"), "PNG");
    acceptAsShown(modal);
  });
  ASSERT_EQ(window().runConsistencyWithDialog(zemtra), MainWindow::RunOutcome::Changed);
  const Snapshot after = snapshotOf(*window().alignment());
  std::string rows;
  for (std::size_t r = 0; r < after.rows.size(); ++r) rows += after.names[r] + '\t' + after.rows[r] + '\n';
  ztest::expectGolden("gui/consistency_globins.txt", rows);
  EXPECT_TRUE(view.hasConfidence());
  EXPECT_GT(view.annotationHeight(), plainRows);
  const std::string figure = view.figureSvg({}, {0, 40});  // the exported figure has the row too
  EXPECT_NE(figure.find(">Confidence<"), std::string::npos);
  EXPECT_NE(figure.find("fill=\"#2e9960\""), std::string::npos);

  window().setColourScheme(ColourScheme::Confidence);
  view.setSelection({});
  QCoreApplication::processEvents();
  ASSERT_TRUE(window().grab().save(QStringLiteral(SCREENSHOT_DIR "/colour_confidence.png"), "PNG"));
  const QImage cells = view.viewport()->grab().toImage();
  const QPoint corner(view.cellWidth() / 2 - 1, view.cellHeight() / 2 - 1);
  const QColor background = view.palette().color(QPalette::Base);
  const unsigned long inside = after.rows[0].find_first_not_of('-');  // the first residue, re-aligned
  EXPECT_NE(cells.pixelColor(view.pointOfCell(0, inside) - corner), background);
  const unsigned long outside = after.rows[0].find_last_not_of('-');  // far right of the range
  view.scrollToCell(0, outside);
  QCoreApplication::processEvents();
  EXPECT_EQ(view.viewport()->grab().toImage().pixelColor(view.pointOfCell(0, outside) - corner), background);

  action(window(), "runLogAction")->trigger();
  EXPECT_TRUE(window()
                  .findChild<QPlainTextEdit*>(QStringLiteral("runLogText"))
                  ->toPlainText()
                  .contains(QStringLiteral("consistency rounds    1")));
  window().undo();
  EXPECT_EQ(snapshotOf(*window().alignment()), before);
  EXPECT_FALSE(view.hasConfidence());
  EXPECT_EQ(view.annotationHeight(), plainRows);
  window().redo();
  EXPECT_EQ(rowsOf(*window().alignment()), after.rows);
  EXPECT_TRUE(view.hasConfidence());
}

// The test plug-in, loaded a second time to reach its switches; both loads
// share one copy of the library.
class FaultyRunTest : public WindowTest {
 protected:
  void SetUp() override {
    WindowTest::SetUp();
    handle = dlopen(FAULTY_PLUGIN_PATH, RTLD_NOW);
    ASSERT_NE(handle, nullptr) << dlerror();
    setFailure = reinterpret_cast<void (*)(int)>(dlsym(handle, "faultySetFailure"));
    setProbe = reinterpret_cast<void (*)(void (*)())>(dlsym(handle, "faultySetProbe"));
    ASSERT_TRUE(setFailure && setProbe);
    MainWindow& window = windowWith("globins.fa", {testing::faultyPluginDir()});
    ASSERT_EQ(window.pluginNames(), QStringList{QStringLiteral("faulty")});
    EXPECT_EQ(window.findChild<QAction*>(QStringLiteral("consistencyAction_faulty")), nullptr);
    window.selectColumns({1, 100});
  }

  void TearDown() override {
    setFailure(0);
    setProbe(nullptr);
    WindowTest::TearDown();
    dlclose(handle);
  }

  void* handle = nullptr;
  void (*setFailure)(int) = nullptr;
  void (*setProbe)(void (*)()) = nullptr;
};

// An invalid argument and running out of memory alike; the recovery copy
// exists while the plug-in runs and is gone afterwards.
TEST_F(FaultyRunTest, AFailureIsReportedAndTheAlignmentRestored) {
  static std::string recoveryPath;
  static bool existedDuringRun;
  recoveryPath = recoveryFilesFor(tmpDir(), window_->filePath().toStdString()).alignmentPath;
  setProbe([] { existedDuringRun = fs::exists(recoveryPath); });
  const Snapshot before = snapshotOf(*window_->alignment());
  for (const auto& [failure, report] : {std::pair{1, "rows do not fit"}, std::pair{2, "out of memory"}}) {
    reports_.clear();
    existedDuringRun = false;
    setFailure(failure);
    EXPECT_EQ(window_->runPlugin(0), MainWindow::RunOutcome::Failed);
    EXPECT_TRUE(existedDuringRun);
    EXPECT_FALSE(fs::exists(recoveryPath));
    EXPECT_EQ(snapshotOf(*window_->alignment()), before);
    EXPECT_EQ(window_->view()->alignment(), window_->alignment());
    ASSERT_EQ(reports_.size(), 1);
    EXPECT_TRUE(reports_[0].contains(QLatin1String(report))) << reports_[0].toStdString();
    EXPECT_FALSE(window_->canUndo());
    EXPECT_FALSE(window_->isWindowModified());
    EXPECT_FALSE(window_->isRunning());
    EXPECT_TRUE(action(*window_, "openAction")->isEnabled());
  }
}

}  // namespace
}  // namespace karvo_gui
