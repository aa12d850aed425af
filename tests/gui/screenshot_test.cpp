// Pictures of the window and of the plug-in's dialog, written into the build
// folder's screenshots/ for a person to look at, and the unattended
// screenshot mode of runGui.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPixmap>
#include <QTest>
#include <filesystem>

#include "app/gui/alignment_view.h"
#include "app/gui/gui_main.h"
#include "app/gui/modal_auto_answer.h"
#include "app/gui/tree_view.h"
#include "app/plugin_loader.h"
#include "gui_fixture.h"
#include "run/headless_run_interaction.h"

namespace karvo_gui {
namespace {

using testing::dragOnRuler;
using testing::examplePath;
using testing::residueColoursIn;
using testing::WindowTest;

namespace fs = std::filesystem;

QString screenshotPath(const char* name) {
  QDir().mkpath(QStringLiteral(SCREENSHOT_DIR));
  return QStringLiteral(SCREENSHOT_DIR "/") + QLatin1String(name);
}

class ScreenshotTest : public WindowTest {};

TEST_F(ScreenshotTest, TheMainWindowWithASelectionShowsTheColouredGrid) {
  MainWindow& window = windowWith("globins.fa", {testing::zemtraPluginDir()});
  window.resize(1000, 560);
  dragOnRuler(*window.view(), 11, 39);
  QCoreApplication::processEvents();
  const QString path = screenshotPath("main_window.png");
  ASSERT_TRUE(window.grab().save(path, "PNG"));

  QImage picture(path);
  ASSERT_FALSE(picture.isNull());
  EXPECT_EQ(picture.size(), window.size());
  EXPECT_GE(residueColoursIn(picture), 3);
}

TEST_F(ScreenshotTest, TheParameterDialogIsPictured) {
  MainWindow& window = windowWith("globins.fa", {testing::zemtraPluginDir()});
  window.selectColumns({1, 100});
  const QString path = screenshotPath("parameter_dialog.png");
  QString title;
  ModalAutoAnswer picture([&](QWidget& modal) {
    title = modal.windowTitle();
    modal.grab().save(path, "PNG");
    qobject_cast<QDialog*>(&modal)->reject();
  });
  window.runPlugin(static_cast<int>(window.pluginNames().indexOf(QStringLiteral("Zemtra"))));
  EXPECT_EQ(title, QStringLiteral("Zemtra"));
  const QImage image(path);
  ASSERT_FALSE(image.isNull());
  EXPECT_GE(image.width(), 300);
}

// The window's guide tree of a real run of the globins; a click on a leaf's
// name makes its alignment row the current one.
TEST_F(ScreenshotTest, GuideTreeShowsTheRunsPhylogramAndALeafClickPicksItsRow) {
  MainWindow& window = windowWith("globins.fa", {testing::zemtraPluginDir()});
  QAction* show = testing::action(window, "guideTreeAction");
  EXPECT_FALSE(show->isEnabled());
  const auto run = window.alignment()->clone();
  run->selection = {0, run->columnCount()};
  const auto plugin = karvo_app::LoadedPlugin::open(ZEMTRA_PLUGIN_PATH);
  HeadlessRunInteraction quiet;
  ZemtraRunReport report;
  ZemtraParameters parameters;
  parameters.writeLogFile = false;
  ASSERT_TRUE(plugin->executeWithParameters()(*run, parameters, quiet, &report));
  window.setGuideTree(guideTreeOfRun(report, *run));
  ASSERT_TRUE(show->isEnabled());
  show->trigger();

  TreeView& view = *window.treeView();
  view.window()->resize(640, 260);
  QCoreApplication::processEvents();
  const std::vector<int> leaves = KARVO::leafOrder(view.tree());
  ASSERT_EQ(leaves.size(), 7u);
  const int hbd = leaves[1];  // HBB and HBD join first, so they lead the leaf order
  ASSERT_EQ(view.tree().nodes[static_cast<std::size_t>(hbd)].name, "HBD_HUMAN");
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, view.leafPoint(hbd));
  EXPECT_EQ(view.currentLeaf(), hbd);
  EXPECT_EQ(window.view()->currentRow(), 3);
  ASSERT_TRUE(view.window()->grab().save(screenshotPath("guide_tree.png"), "PNG"));
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, QPoint(2, 2));
  EXPECT_EQ(window.view()->currentRow(), 3) << "a click beside the tree picks nothing";
}

TEST_F(ScreenshotTest, UnattendedModePicturesTheSelectionAndExits) {
  const std::string path = screenshotPath("unattended_selection.png").toStdString();
  GuiOptions options;
  options.file = examplePath("kinases.fa");
  options.select = ColumnSpan{12, 40};
  options.screenshot = path;
  options.pluginDir = tmpDir();
  EXPECT_EQ(runGui(options), 0);
  const QImage image(QString::fromStdString(path));
  ASSERT_FALSE(image.isNull());
  EXPECT_GE(residueColoursIn(image), 3);
}

QStringList debugLines;
void keepDebugLine(QtMsgType type, const QMessageLogContext&, const QString& text) {
  if (type == QtDebugMsg) debugLines << text;
}

// Without --select the run takes every column, as align does; the
// plug-in's diagnostic texts only show with --verbose.
TEST_F(ScreenshotTest, UnattendedModeRunsThePluginOnAllColumnsWithItsDefaultsFirst) {
  const QString path = screenshotPath("after_run.png");
  for (const bool verbose : {false, true}) {
    QFile::remove(path);
    GuiOptions options;
    options.file = examplePath("globins.fa");
    options.screenshot = path.toStdString();
    options.run = true;
    options.verbose = verbose;
    options.pluginDir = testing::zemtraPluginDir();
    debugLines.clear();
    const QtMessageHandler previous = qInstallMessageHandler(keepDebugLine);
    EXPECT_EQ(runGui(options), 0);
    qInstallMessageHandler(previous);
    EXPECT_FALSE(QImage(path).isNull());
    EXPECT_EQ(debugLines.contains(QStringLiteral("Prepare data for ZEMTRA.")), verbose);
    EXPECT_TRUE(fs::remove(tmpDir() + "/zemtra.log"));
  }
}

TEST_F(ScreenshotTest, UnattendedModeFailsOnASpanBeyondTheAlignmentOrAFileThatCannotBeRead) {
  const std::string path = tmpDir() + "/none.png";
  for (const auto& [file, select] : {std::pair{examplePath("kinases.fa"), std::optional(ColumnSpan{1, 100000})},
                                     std::pair{tmpDir() + "/absent.fa", std::optional<ColumnSpan>()}}) {
    GuiOptions options;
    options.file = file;
    options.select = select;
    options.screenshot = path;
    options.pluginDir = tmpDir();
    EXPECT_EQ(runGui(options), 1) << file;
    EXPECT_FALSE(fs::exists(path));
  }
}

}  // namespace
}  // namespace karvo_gui
