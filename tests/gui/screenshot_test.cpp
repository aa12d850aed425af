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
#include <QStatusBar>
#include <QTest>
#include <filesystem>
#include <functional>

#include "app/gui/alignment_view.h"
#include "app/gui/gui_main.h"
#include "app/gui/modal_auto_answer.h"
#include "app/gui/tree_view.h"
#include "gui_fixture.h"

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

// The main window with a ruler selection, then the plug-in's dialog over it.
TEST_F(ScreenshotTest, TheMainWindowWithASelectionAndTheParameterDialogArePictured) {
  MainWindow& window = windowWith("globins.fa", {testing::zemtraPluginDir()});
  window.resize(1000, 560);
  dragOnRuler(*window.view(), 11, 39);
  QCoreApplication::processEvents();
  const QString path = screenshotPath("main_window.png");
  ASSERT_TRUE(window.grab().save(path, "PNG"));
  const QImage picture(path);
  ASSERT_FALSE(picture.isNull());
  EXPECT_EQ(picture.size(), window.size());
  EXPECT_GE(residueColoursIn(picture), 3);

  const QString dialogPath = screenshotPath("parameter_dialog.png");
  QString title;
  ModalAutoAnswer grab([&](QWidget& modal) {
    title = modal.windowTitle();
    modal.grab().save(dialogPath, "PNG");
    qobject_cast<QDialog*>(&modal)->reject();
  });
  window.runPlugin(static_cast<int>(window.pluginNames().indexOf(QStringLiteral("Zemtra"))));
  EXPECT_EQ(title, QStringLiteral("Zemtra"));
  const QImage dialog(dialogPath);
  ASSERT_FALSE(dialog.isNull());
  EXPECT_GE(dialog.width(), 300);
}

// The names of the alignment's rows, top to bottom.
std::vector<std::string> rowNames(const KARVO::Alignment& alignment) {
  std::vector<std::string> names;
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) names.push_back(alignment.GetSeqName(r));
  return names;
}

// The guide tree of a run over all the globins' columns: shown, it puts the
// rows in its leaf order.
TEST_F(ScreenshotTest, TheRunsGuideTreeOrdersTheRowsWhenShown) {
  MainWindow& window = windowWith("globins.fa", {testing::zemtraPluginDir()});
  ASSERT_TRUE(window.selectColumns({1, window.alignment()->columnCount()}));
  ModalAutoAnswer accept;
  ASSERT_EQ(window.runPlugin(static_cast<int>(window.pluginNames().indexOf(QStringLiteral("Zemtra")))),
            MainWindow::RunOutcome::Changed);
  EXPECT_EQ(rowNames(*window.alignment())[3], "HBD_HUMAN") << "a hidden tree leaves the rows alone";
  testing::action(window, "guideTreeAction")->trigger();
  const KARVO::PhyloTree& tree = window.treeView()->tree();
  std::vector<std::string> leaves;
  for (const int leaf : KARVO::leafOrder(tree)) leaves.push_back(tree.nodes[static_cast<std::size_t>(leaf)].name);
  ASSERT_EQ(leaves.size(), 7u);
  EXPECT_EQ(leaves[1], "HBD_HUMAN");  // HBB and HBD join first, so they lead the leaf order
  EXPECT_EQ(rowNames(*window.alignment()), leaves);
}

// A Newick file for the globins with a leaf of no sequence and a sequence of
// no leaf: the panel's leaves stand beside their rows, at any zoom, and a
// click on a node selects its sequences.
TEST_F(ScreenshotTest, ANewickTreeDocksBesideTheNamesAndItsNodesSelectTheirRows) {
  MainWindow& window = windowWith("globins.fa");
  window.resize(1000, 560);
  ASSERT_TRUE(window.openTree(QStringLiteral(ZEMTRA_SOURCE_DIR "/tests/data/gui/globins_extra_leaf.nwk")));
  QCoreApplication::processEvents();
  const std::vector<std::string> order{"HBA_HUMAN", "HBA_HORSE", "HBB_HUMAN", "HBB_HORSE",
                                       "MYG_HUMAN", "HBD_HUMAN", "MYG_PHYMC"};
  EXPECT_EQ(rowNames(*window.alignment()), order);
  EXPECT_TRUE(window.statusBar()->currentMessage().contains(QStringLiteral("without a sequence, left out: 1;")));
  TreeView& panel = *window.treeView();
  const KARVO::PhyloTree& tree = panel.tree();
  const std::vector<int> leaves = KARVO::leafOrder(tree);
  ASSERT_EQ(leaves.size(), 6u);
  AlignmentView& view = *window.view();
  for (const int zoom : {AlignmentView::defaultZoom(), AlignmentView::defaultZoom() + 2}) {
    view.setZoom(zoom);
    QCoreApplication::processEvents();
    for (unsigned long row : {0ul, 5ul})
      EXPECT_EQ(panel.viewport()->mapToGlobal(panel.leafPoint(leaves[row])).y(),
                view.viewport()->mapToGlobal(view.pointOfName(row)).y())
          << "zoom " << zoom << ", row " << row;
  }
  view.setZoom(AlignmentView::defaultZoom());
  QCoreApplication::processEvents();
  ASSERT_TRUE(window.grab().save(screenshotPath("guide_tree_panel.png"), "PNG"));

  QTest::mouseClick(panel.viewport(), Qt::LeftButton, {}, panel.leafPoint(leaves[4]));
  EXPECT_EQ(view.selectedRows(), (RowRange{4, 5}));
  EXPECT_EQ(view.currentRow(), 4);
  const int hbb = tree.nodes[static_cast<std::size_t>(leaves[3])].parent;  // HBB_HUMAN, HBB_HORSE once EXTRA is gone
  QTest::mouseClick(panel.viewport(), Qt::LeftButton, {}, panel.nodePoint(hbb));
  EXPECT_EQ(view.selectedRows(), (RowRange{2, 4}));
  // In the file's order HBD_HUMAN lies between the two: the covering block is selected.
  window.undo();
  QTest::mouseClick(panel.viewport(), Qt::LeftButton, {}, panel.nodePoint(hbb));
  EXPECT_EQ(view.selectedRows(), (RowRange{2, 5}));
  testing::action(window, "sortByGuideTreeAction")->trigger();
  EXPECT_EQ(rowNames(*window.alignment()), order);

  const QString path = QStringLiteral(ZEMTRA_SOURCE_DIR "/tests/data/gui/unclosed.nwk");
  EXPECT_FALSE(window.openTree(path));
  ASSERT_EQ(reports_.size(), 1);
  EXPECT_TRUE(reports_[0].contains(path + QStringLiteral(":2:"))) << reports_[0].toStdString();
  EXPECT_EQ(rowNames(*window.alignment()), order);

  // A file of several trees shows the first and says how many follow.
  reports_.clear();
  ASSERT_TRUE(window.openTree(QStringLiteral(ZEMTRA_SOURCE_DIR "/tests/data/gui/globins_three_trees.nwk")));
  EXPECT_TRUE(window.statusBar()->currentMessage().contains(QStringLiteral("2 more trees after the first")))
      << window.statusBar()->currentMessage().toStdString();
}

// A span within the alignment is pictured; one beyond it, or a file that
// cannot be read, fails without a picture.
TEST_F(ScreenshotTest, UnattendedModePicturesTheSelectionOrFailsWithoutAPicture) {
  const QString path = screenshotPath("unattended_selection.png");
  const std::string kinases = examplePath("kinases.fa");
  for (const auto& [file, select] : {std::pair{kinases, std::optional(ColumnSpan{1, 100000})},
                                     std::pair{tmpDir() + "/absent.fa", std::optional<ColumnSpan>()},
                                     std::pair{kinases, std::optional(ColumnSpan{12, 40})}}) {
    QFile::remove(path);
    GuiOptions options;
    options.file = file;
    options.select = select;
    options.screenshot = path.toStdString();
    options.pluginDir = tmpDir();
    const bool fits = select && select->last == 40;
    EXPECT_EQ(runGui(options), fits ? 0 : 1) << file;
    EXPECT_EQ(QFile::exists(path), fits) << file;
  }
  const QImage image(path);
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

// One picture per look of the view, each checked against the plain view of
// the same alignment; the edit's "before" is that plain view.
struct ViewLook {
  const char* name;
  std::function<void(MainWindow&)> apply;
  std::function<void(MainWindow&, const QImage&)> check;
};

class ViewLookTest : public WindowTest, public ::testing::WithParamInterface<ViewLook> {};

TEST_P(ViewLookTest, IsPicturedAndDiffersFromThePlainView) {
  MainWindow& window = windowWith("kinases.fa");
  window.resize(980, 520);
  QCoreApplication::processEvents();
  const QImage plain = window.view()->viewport()->grab().toImage();
  const std::string name = GetParam().name;
  if (name.starts_with("edit")) {
    ASSERT_TRUE(window.grab().save(screenshotPath((name + "_before.png").c_str()), "PNG"));
  }
  GetParam().apply(window);
  QCoreApplication::processEvents();
  const QImage picture = window.grab().toImage();
  ASSERT_TRUE(picture.save(screenshotPath((name + ".png").c_str()), "PNG"));
  EXPECT_NE(window.view()->viewport()->grab().toImage(), plain);
  if (GetParam().check) GetParam().check(window, picture);
}

const auto scheme = [](ColourScheme chosen) {
  return [chosen](MainWindow& window) { window.setColourScheme(chosen); };
};

const ViewLook kLooks[] = {
    ViewLook{"colour_conservation", scheme(ColourScheme::Conservation), nullptr},
    ViewLook{"colour_identity", scheme(ColourScheme::Identity), nullptr},
    ViewLook{"colour_hydrophobicity", scheme(ColourScheme::Hydrophobicity), nullptr},
    ViewLook{"colour_none", scheme(ColourScheme::None),
             [](MainWindow& window, const QImage&) {
               const QImage cells = window.view()->viewport()->grab().toImage();
               const AlignmentView& view = *window.view();
               const QPoint corner =
                   view.pointOfCell(0, 0) - QPoint(view.cellWidth() / 2 - 1, view.cellHeight() / 2 - 1);
               EXPECT_EQ(cells.pixelColor(corner), view.palette().color(QPalette::Base));
             }},
    ViewLook{"annotations_scrolled", [](MainWindow& window) { window.view()->scrollToCell(0, 280); },
             [](MainWindow& window, const QImage&) { EXPECT_GT(window.view()->annotationHeight(), 0); }},
    ViewLook{"find_motif", [](MainWindow& window) { EXPECT_GT(window.find(QStringLiteral("GxGxxG")), 0); },
             [](MainWindow& window, const QImage&) {
               const int before = window.view()->currentMatch();
               QTest::keyClick(window.view(), Qt::Key_F3);
               EXPECT_NE(window.view()->currentMatch(), before);
               EXPECT_EQ(window.find(QStringLiteral("G-G")), -1);
             }},
    ViewLook{"edit_after",
             [](MainWindow& window) {
               window.view()->setBlock({2, 5}, {20, 30});
               for (int i = 0; i < 3; ++i) ASSERT_TRUE(window.insertGaps());
               ASSERT_TRUE(window.slideBlock(-1));
             },
             [](MainWindow& window, const QImage&) {
               EXPECT_EQ(window.view()->selection(), (KARVO::ColumnRange{22, 32}));
               // Dragging inside the block slides it over the gaps left of it, as one undo step.
               const auto before = testing::rowsOf(*window.alignment());
               AlignmentView& view = *window.view();
               QTest::mousePress(view.viewport(), Qt::LeftButton, Qt::NoModifier, view.pointOfCell(3, 25));
               QTest::mouseMove(view.viewport(), view.pointOfCell(3, 24));
               QTest::mouseRelease(view.viewport(), Qt::LeftButton, Qt::NoModifier, view.pointOfCell(3, 20));
               EXPECT_EQ(view.selection(), (KARVO::ColumnRange{20, 30}));
               window.undo();
               EXPECT_EQ(testing::rowsOf(*window.alignment()), before);
               window.redo();
             }},
    ViewLook{"zoom_out", [](MainWindow& window) { window.view()->setZoom(0); },
             [](MainWindow& window, const QImage&) { EXPECT_EQ(window.view()->cellWidth(), 1); }},
    ViewLook{
        "zoom_in",
        [](MainWindow& window) {
          QTest::keyClick(window.view(), Qt::Key_Plus, Qt::ControlModifier);
          QTest::keyClick(window.view(), Qt::Key_Plus, Qt::ControlModifier);
        },
        [](MainWindow& window, const QImage&) { EXPECT_EQ(window.view()->zoom(), AlignmentView::defaultZoom() + 2); }}};

INSTANTIATE_TEST_SUITE_P(Window, ViewLookTest, ::testing::ValuesIn(kLooks),
                         [](const ::testing::TestParamInfo<ViewLook>& look) { return std::string(look.param.name); });

TEST_F(ScreenshotTest, UnattendedExportDrawsTheSelectedColumnsAsSvgOrPngWithTheChosenColours) {
  for (const char* name : {"export.svg", "export.png"}) {
    const QString path = screenshotPath(name);
    QFile::remove(path);
    GuiOptions options;
    options.file = examplePath("globins.fa");
    options.select = ColumnSpan{1, 60};
    options.exportImage = path.toStdString();
    options.colour = "conservation";
    options.pluginDir = tmpDir();
    ASSERT_EQ(runGui(options), 0) << name;
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    const QByteArray bytes = file.readAll();
    if (path.endsWith(QStringLiteral(".svg"))) {
      EXPECT_TRUE(bytes.startsWith("<?xml")) << name;
      EXPECT_TRUE(bytes.contains(">HBA_HUMAN<"));
      EXPECT_TRUE(bytes.contains("fill=\"#80a0f0\""));  // conserved hydrophobic columns
      EXPECT_TRUE(bytes.trimmed().endsWith("</svg>"));
    } else {
      EXPECT_FALSE(QImage::fromData(bytes).isNull());
    }
  }
  GuiOptions wrong;
  wrong.file = examplePath("globins.fa");
  wrong.exportImage = tmpDir() + "/x.gif";
  wrong.pluginDir = tmpDir();
  EXPECT_EQ(runGui(wrong), 1);
  EXPECT_FALSE(fs::exists(tmpDir() + "/x.gif"));
}

}  // namespace
}  // namespace karvo_gui
