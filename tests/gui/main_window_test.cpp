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
#include "gui_fixture.h"
#include "host/alignment_io.h"

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

TEST_F(FileTest, OpeningAFileShowsItsSequences) {
  MainWindow& window = windowWith("globins.fa");
  ASSERT_NE(window.alignment(), nullptr);
  EXPECT_EQ(window.alignment()->sequenceCount(), 7u);
  EXPECT_EQ(window.view()->alignment(), window.alignment());
  EXPECT_TRUE(window.windowTitle().startsWith(QStringLiteral("globins.fa")));
  EXPECT_FALSE(window.isWindowModified());
  EXPECT_EQ(statusText(window), QStringLiteral("no columns selected"));
}

TEST_F(FileTest, AFileThatCannotBeReadIsReportedAndTheOpenAlignmentStays) {
  MainWindow& window = windowWith("globins.fa");
  const std::string bad = tmpDir() + "/bad.fa";
  std::ofstream(bad) << "not an alignment\n";
  EXPECT_FALSE(window.openFile(QString::fromStdString(bad)));
  EXPECT_FALSE(window.openFile(QString::fromStdString(tmpDir() + "/absent.fa")));
  ASSERT_EQ(reports_.size(), 2);
  EXPECT_TRUE(reports_[0].contains(QStringLiteral("bad.fa"))) << reports_[0].toStdString();
  EXPECT_EQ(window.alignment()->sequenceCount(), 7u);
  EXPECT_TRUE(window.filePath().endsWith(QStringLiteral("globins.fa")));
}

TEST_F(FileTest, TheRulerSelectionIsShownInTheStatusBar) {
  MainWindow& window = windowWith("globins.fa");
  dragOnRuler(*window.view(), 11, 39);
  EXPECT_EQ(statusText(window), QStringLiteral("columns 12\u201340 selected"));
  EXPECT_EQ(window.alignment()->selection, (KARVO::ColumnRange{11, 40}));
}

TEST_F(FileTest, ACommandLineSpanMustLieWithinTheAlignment) {
  MainWindow& window = windowWith("globins.fa");
  const unsigned long columns = window.alignment()->columnCount();
  EXPECT_TRUE(window.selectColumns({12, columns}));
  EXPECT_EQ(window.alignment()->selection, (KARVO::ColumnRange{11, columns}));
  EXPECT_FALSE(window.selectColumns({12, columns + 1}));
  EXPECT_EQ(window.alignment()->selection, (KARVO::ColumnRange{11, columns}));
}

TEST_F(FileTest, SavingAsClustalWritesWhatIsShown) {
  MainWindow& window = windowWith("kinases.fa");
  const QString target = QString::fromStdString(tmpDir() + "/kinases.aln");
  ASSERT_TRUE(window.saveFile(target));
  EXPECT_EQ(window.filePath(), target);
  EXPECT_TRUE(window.windowTitle().startsWith(QStringLiteral("kinases.aln")));
  const auto reread = KARVO::readAlignmentFile(target.toStdString());
  EXPECT_EQ(rowsOf(*reread), rowsOf(*window.alignment()));
}

TEST_F(FileTest, SavingUnderANameWithoutAWritableFormatIsRefused) {
  MainWindow& window = windowWith("kinases.fa");
  EXPECT_FALSE(window.saveFile(QString::fromStdString(tmpDir() + "/kinases.txt")));
  EXPECT_EQ(reports_.size(), 1);
  EXPECT_FALSE(fs::exists(tmpDir() + "/kinases.txt"));
}

TEST_F(FileTest, RecentFilesListTheNewestFirst) {
  MainWindow& window = makeWindow();
  const QString globins = QString::fromStdString(examplePath("globins.fa"));
  const QString kinases = QString::fromStdString(examplePath("kinases.fa"));
  ASSERT_TRUE(window.openFile(kinases));
  ASSERT_TRUE(window.openFile(globins));
  const QStringList recent = window.recentFiles();
  ASSERT_GE(recent.size(), 2);
  EXPECT_EQ(recent[0], QFileInfo(globins).absoluteFilePath());
  EXPECT_EQ(recent[1], QFileInfo(kinases).absoluteFilePath());
  auto* menu = window.findChild<QMenu*>(QStringLiteral("recentMenu"));
  ASSERT_NE(menu, nullptr);
  EXPECT_EQ(menu->actions().front()->text(), QStringLiteral("globins.fa"));
}

TEST_F(FileTest, WithoutAnAlignmentOnlyOpeningIsOffered) {
  MainWindow& window = makeWindow();
  EXPECT_TRUE(action(window, "openAction")->isEnabled());
  EXPECT_FALSE(action(window, "saveAction")->isEnabled());
  EXPECT_FALSE(action(window, "undoAction")->isEnabled());
  EXPECT_FALSE(action(window, "runLogAction")->isEnabled());
}

TEST_F(FileTest, WithoutPluginsTheMenuSaysSo) {
  MainWindow& window = makeWindow({tmpDir()});
  EXPECT_TRUE(window.pluginNames().isEmpty());
  auto* menu = window.findChild<QMenu*>(QStringLiteral("pluginMenu"));
  ASSERT_EQ(menu->actions().size(), 1);
  EXPECT_FALSE(menu->actions().front()->isEnabled());
  EXPECT_EQ(window.runPlugin(0), MainWindow::RunOutcome::Refused);
}

TEST_F(FileTest, ThePluginFolderOffersZemtra) {
  MainWindow& window = makeWindow({testing::zemtraPluginDir()});
  const auto zemtra = static_cast<int>(window.pluginNames().indexOf(QStringLiteral("Zemtra")));
  ASSERT_GE(zemtra, 0);
  auto* menu = window.findChild<QMenu*>(QStringLiteral("pluginMenu"));
  EXPECT_EQ(menu->actions().at(zemtra)->text(), QStringLiteral("Zemtra"));
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

TEST_F(RecoveryAtStartTest, AcceptedRecoveryOpensUnderTheOriginalNameUnsaved) {
  const RecoveryFiles files = leaveRecovery("/data/kinases.aln");
  MainWindow& window = makeWindow();
  ModalAutoAnswer yes;
  window.offerRecovery();
  ASSERT_NE(window.alignment(), nullptr);
  EXPECT_EQ(rowsOf(*window.alignment()), rowsOf(*KARVO::readAlignmentFile(examplePath("kinases.fa"))));
  EXPECT_EQ(window.filePath(), QStringLiteral("/data/kinases.aln"));
  EXPECT_TRUE(window.isWindowModified());
  EXPECT_FALSE(fs::exists(files.alignmentPath));
  EXPECT_FALSE(fs::exists(files.markerPath));
}

TEST_F(RecoveryAtStartTest, DeclinedRecoveryIsDiscarded) {
  const RecoveryFiles files = leaveRecovery("/data/kinases.aln");
  MainWindow& window = makeWindow();
  ModalAutoAnswer no([](QWidget& modal) { qobject_cast<QMessageBox*>(&modal)->button(QMessageBox::No)->click(); });
  window.offerRecovery();
  EXPECT_EQ(window.alignment(), nullptr);
  EXPECT_FALSE(fs::exists(files.alignmentPath));
}

TEST_F(RecoveryAtStartTest, NothingIsAskedWithoutRecoveryFiles) {
  MainWindow& window = makeWindow();
  bool asked = false;
  ModalAutoAnswer watch([&asked](QWidget& modal) {
    asked = true;
    acceptAsShown(modal);
  });
  window.offerRecovery();
  EXPECT_FALSE(asked);
}

}  // namespace
}  // namespace karvo_gui
