// The window around the view: files, status bar, menus, recovery at start.
#include <gtest/gtest.h>
#include <unistd.h>

#include <QAbstractButton>
#include <QAction>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QTest>
#include <filesystem>
#include <fstream>

#include "app/gui/alignment_view.h"
#include "app/gui/modal_auto_answer.h"
#include "formats/alignment_io.h"
#include "gui_fixture.h"

namespace karvo_gui {
namespace {

using testing::action;
using testing::dragOnRuler;
using testing::examplePath;
using testing::kEndedProcess;
using testing::rowsOf;
using testing::WindowTest;

namespace fs = std::filesystem;

QString statusText(const MainWindow& window) {
  return window.findChild<QLabel*>(QStringLiteral("selectionStatus"))->text();
}

class FileTest : public WindowTest {};

// A file opens with no selection; a ruler drag shows in the status bar; a file
// that cannot be read is reported and the open alignment stays; the recent
// files list the newest first.
TEST_F(FileTest, OpeningSelectingAndABadFile) {
  MainWindow& window = windowWith("globins.fa");
  ASSERT_NE(window.alignment(), nullptr);
  EXPECT_EQ(window.alignment()->sequenceCount(), 7u);
  EXPECT_EQ(window.view()->alignment(), window.alignment());
  EXPECT_TRUE(window.windowTitle().startsWith(QStringLiteral("globins.fa")));
  EXPECT_FALSE(window.isWindowModified());
  EXPECT_EQ(statusText(window), QStringLiteral("no columns selected"));
  dragOnRuler(*window.view(), 11, 39);
  EXPECT_EQ(statusText(window), QStringLiteral("columns 12\u201340 selected"));
  EXPECT_EQ(window.alignment()->selection, (KARVO::ColumnRange{11, 40}));
  // A command-line span must lie within the alignment.
  const unsigned long columns = window.alignment()->columnCount();
  EXPECT_TRUE(window.selectColumns({12, columns}));
  EXPECT_EQ(window.alignment()->selection, (KARVO::ColumnRange{11, columns}));
  EXPECT_FALSE(window.selectColumns({12, columns + 1}));
  EXPECT_EQ(window.alignment()->selection, (KARVO::ColumnRange{11, columns}));

  const std::string bad = tmpDir() + "/bad.fa";
  std::ofstream(bad) << "not an alignment\n";
  EXPECT_FALSE(window.openFile(QString::fromStdString(bad)));
  EXPECT_FALSE(window.openFile(QString::fromStdString(tmpDir() + "/absent.fa")));
  ASSERT_EQ(reports_.size(), 2);
  EXPECT_TRUE(reports_[0].contains(QStringLiteral("bad.fa"))) << reports_[0].toStdString();
  EXPECT_EQ(window.alignment()->sequenceCount(), 7u);
  EXPECT_TRUE(window.filePath().endsWith(QStringLiteral("globins.fa")));

  // Recent files list the newest first.
  const QString kinases = QString::fromStdString(examplePath("kinases.fa"));
  ASSERT_TRUE(window.openFile(kinases));
  const QStringList recent = window.recentFiles();
  ASSERT_GE(recent.size(), 2);
  EXPECT_EQ(recent[0], QFileInfo(kinases).absoluteFilePath());
  EXPECT_EQ(recent[1], QFileInfo(QString::fromStdString(examplePath("globins.fa"))).absoluteFilePath());
  EXPECT_EQ(window.findChild<QMenu*>(QStringLiteral("recentMenu"))->actions().front()->text(),
            QStringLiteral("kinases.fa"));
}

TEST_F(FileTest, SavingAsClustalWritesWhatIsShownAndAnUnwritableFormatIsRefused) {
  MainWindow& window = windowWith("kinases.fa");
  EXPECT_FALSE(window.saveFile(QString::fromStdString(tmpDir() + "/kinases.txt")));
  EXPECT_EQ(reports_.size(), 1);
  EXPECT_FALSE(fs::exists(tmpDir() + "/kinases.txt"));
  const QString target = QString::fromStdString(tmpDir() + "/kinases.aln");
  ASSERT_TRUE(window.saveFile(target));
  EXPECT_EQ(window.filePath(), target);
  EXPECT_TRUE(window.windowTitle().startsWith(QStringLiteral("kinases.aln")));
  const auto reread = KARVO::readAlignmentFile(target.toStdString());
  EXPECT_EQ(rowsOf(*reread), rowsOf(*window.alignment()));
}

// Without an alignment only opening is offered; without plug-ins the menu says
// so (the menu entry of a plug-in is checked with the runs).
TEST_F(FileTest, ActionsAndThePluginMenuFollowWhatIsLoaded) {
  MainWindow& empty = makeWindow({tmpDir()});
  EXPECT_TRUE(action(empty, "openAction")->isEnabled());
  for (const char* name : {"saveAction", "undoAction", "runLogAction"})
    EXPECT_FALSE(action(empty, name)->isEnabled()) << name;
  EXPECT_TRUE(empty.pluginNames().isEmpty());
  auto* menu = empty.findChild<QMenu*>(QStringLiteral("pluginMenu"));
  ASSERT_EQ(menu->actions().size(), 1);
  EXPECT_FALSE(menu->actions().front()->isEnabled());
  EXPECT_EQ(empty.runPlugin(0), MainWindow::RunOutcome::Refused);
}

class RecoveryAtStartTest : public WindowTest {
 protected:
  // What a process that ended during a run leaves behind.
  RecoveryFiles leaveRecovery(const std::string& original) {
    const auto alignment = KARVO::readAlignmentFile(examplePath("kinases.fa"));
    const RecoveryFiles files = recoveryFilesFor(tmpDir(), original);
    writeRecovery(files, *alignment, {original, kEndedProcess});
    return files;
  }
};

// Accepted, the copy opens under the original name, unsaved; declined, it is
// discarded. Either way the files are gone, and nothing is asked again.
TEST_F(RecoveryAtStartTest, RecoveryIsOpenedWhenAcceptedAndDiscardedWhenDeclined) {
  for (const bool accept : {true, false}) {
    const RecoveryFiles files = leaveRecovery("/data/kinases.aln");
    MainWindow& window = makeWindow();
    ModalAutoAnswer answer([accept](QWidget& modal) {
      accept ? acceptAsShown(modal) : qobject_cast<QMessageBox*>(&modal)->button(QMessageBox::No)->click();
    });
    window.offerRecovery();
    EXPECT_FALSE(fs::exists(files.alignmentPath));
    EXPECT_FALSE(fs::exists(files.markerPath));
    if (!accept) {
      EXPECT_EQ(window.alignment(), nullptr);
      continue;
    }
    ASSERT_NE(window.alignment(), nullptr);
    EXPECT_EQ(rowsOf(*window.alignment()), rowsOf(*KARVO::readAlignmentFile(examplePath("kinases.fa"))));
    EXPECT_EQ(window.filePath(), QStringLiteral("/data/kinases.aln"));
    EXPECT_TRUE(window.isWindowModified());
  }
  // Without recovery files nothing is asked.
  bool asked = false;
  ModalAutoAnswer watch([&asked](QWidget& modal) {
    asked = true;
    acceptAsShown(modal);
  });
  makeWindow().offerRecovery();
  EXPECT_FALSE(asked);
}

}  // namespace
}  // namespace karvo_gui
