// The alignment view: selecting columns on the ruler with the mouse,
// scrolling with the keyboard, and painting the visible cells.
#include "app/gui/alignment_view.h"

#include <gtest/gtest.h>

#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include "app/gui/residue_colors.h"
#include "gui_fixture.h"

namespace karvo_gui {
namespace {

using testing::dragOnRuler;

constexpr unsigned long kRows = 300;
constexpr unsigned long kColumns = 1500;

std::unique_ptr<KARVO::Alignment> patternedAlignment() {
  static const char letters[] = "ACDEFGHIKLMNPQRSTVWY";
  std::vector<KARVO::SequenceInfo> infos;
  std::vector<std::string> rows;
  for (unsigned long r = 0; r < kRows; ++r) {
    infos.push_back({"seq" + std::to_string(r), ""});
    std::string row(kColumns, '-');
    for (unsigned long c = 0; c < kColumns; ++c) {
      if ((r + c) % 11 != 0) row[c] = letters[(r * 7 + c * 3) % 20];
    }
    rows.push_back(row);
  }
  return KARVO::Alignment::fromRows(infos, rows);
}

class ViewTest : public ::testing::Test {
 protected:
  void SetUp() override {
    alignment = patternedAlignment();
    view.resize(640, 420);
    view.setAlignment(alignment.get());
    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
  }

  QImage picture() { return view.viewport()->grab().toImage(); }

  // The colour at the top-left corner of a visible cell, clear of its letter.
  QColor cellCorner(const QImage& image, unsigned long row, unsigned long column) {
    const int x = view.namesWidth() + static_cast<int>(column - view.firstVisibleColumn()) * view.cellWidth() + 1;
    const int y = view.rulerHeight() + static_cast<int>(row - view.firstVisibleRow()) * view.cellHeight() + 1;
    return image.pixelColor(x, y);
  }

  void expectCellsAsInAlignment(const QImage& image, unsigned long row, unsigned long column) {
    const char code = alignment->rowText(row)[column];
    const QColor expected = residueClass(code) == ResidueClass::Gap ? view.palette().color(QPalette::Base)
                                                                    : residueClassColor(residueClass(code));
    EXPECT_EQ(cellCorner(image, row, column).rgb(), expected.rgb()) << "row " << row << " column " << column;
  }

  std::unique_ptr<KARVO::Alignment> alignment;
  AlignmentView view;
};

// A click selects one column, a drag from press to release in either
// direction, shift extends from the first click or a selection made
// elsewhere, and Escape clears.
TEST_F(ViewTest, TheRulerSelectsColumnsInTheAlignment) {
  QSignalSpy changes(&view, &AlignmentView::selectionChanged);
  dragOnRuler(view, 4, 4);
  EXPECT_EQ(view.selection(), (KARVO::ColumnRange{4, 5}));
  EXPECT_EQ(alignment->selection, (KARVO::ColumnRange{4, 5}));
  EXPECT_EQ(changes.count(), 1);
  dragOnRuler(view, 3, 20);
  EXPECT_EQ(alignment->selection, (KARVO::ColumnRange{3, 21}));
  dragOnRuler(view, 30, 12);
  EXPECT_EQ(alignment->selection, (KARVO::ColumnRange{12, 31}));
  dragOnRuler(view, 10, 10);
  dragOnRuler(view, 25, 25, Qt::ShiftModifier);
  EXPECT_EQ(alignment->selection, (KARVO::ColumnRange{10, 26}));
  dragOnRuler(view, 2, 2, Qt::ShiftModifier);
  EXPECT_EQ(alignment->selection, (KARVO::ColumnRange{2, 11}));
  view.setSelection({5, 9});
  dragOnRuler(view, 15, 15, Qt::ShiftModifier);
  EXPECT_EQ(alignment->selection, (KARVO::ColumnRange{5, 16}));
  QTest::keyClick(&view, Qt::Key_Escape);
  EXPECT_EQ(alignment->selection, (KARVO::ColumnRange{0, 0}));
}

TEST_F(ViewTest, CellsAndNamesSelectBlocksAndOnlyAnInteractiveViewChangesTheSelection) {
  view.setSelection({5, 9});
  const QPoint corner(view.namesWidth() / 2, view.rulerHeight() / 2);
  QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, corner);
  EXPECT_EQ(alignment->selection, (KARVO::ColumnRange{5, 9}));
  EXPECT_EQ(view.selectedRows(), (RowRange{0, kRows}));
  QTest::mousePress(view.viewport(), Qt::LeftButton, Qt::NoModifier, view.pointOfCell(2, 20));
  QTest::mouseRelease(view.viewport(), Qt::LeftButton, Qt::NoModifier, view.pointOfCell(4, 23));
  EXPECT_EQ(alignment->selection, (KARVO::ColumnRange{20, 24}));
  EXPECT_EQ(view.selectedRows(), (RowRange{2, 5}));
  QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, view.pointOfName(6));
  EXPECT_EQ(view.selectedRows(), (RowRange{6, 7}));
  EXPECT_EQ(alignment->selection, (KARVO::ColumnRange{0, kColumns}));
  view.setInteractive(false);
  dragOnRuler(view, 20, 30);
  EXPECT_EQ(alignment->selection, (KARVO::ColumnRange{0, kColumns}));
}

TEST_F(ViewTest, DraggingPastTheRightEdgeScrollsAndKeepsSelecting) {
  QWidget* surface = view.viewport();
  QTest::mousePress(surface, Qt::LeftButton, Qt::NoModifier, view.rulerPointOfColumn(2));
  const QPoint outside(surface->width() + 5, view.rulerHeight() / 2);
  for (int i = 0; i < 5; ++i) QTest::mouseMove(surface, outside);
  QTest::mouseRelease(surface, Qt::LeftButton, Qt::NoModifier, outside);
  EXPECT_GT(view.firstVisibleColumn(), 0u);
  const unsigned long lastVisible =
      view.firstVisibleColumn() + static_cast<unsigned long>((surface->width() - view.namesWidth()) / view.cellWidth());
  EXPECT_EQ(alignment->selection.first, 2u);
  EXPECT_GE(alignment->selection.second, lastVisible);
}

// Scrolling stops when the last column and row are wholly visible; keys
// scroll; a selection off screen is scrolled into view.
TEST_F(ViewTest, KeysAndOffScreenSelectionsScroll) {
  const int gridWidth = view.viewport()->width() - view.namesWidth();
  const int gridHeight = view.viewport()->height() - view.rulerHeight() - view.annotationHeight();
  EXPECT_EQ(view.horizontalScrollBar()->maximum(), static_cast<int>(kColumns) - gridWidth / view.cellWidth());
  EXPECT_EQ(view.verticalScrollBar()->maximum(), static_cast<int>(kRows) - gridHeight / view.cellHeight());
  QTest::keyClick(&view, Qt::Key_Right);
  EXPECT_EQ(view.firstVisibleColumn(), 1u);
  QTest::keyClick(&view, Qt::Key_Down);
  EXPECT_EQ(view.firstVisibleRow(), 1u);
  QTest::keyClick(&view, Qt::Key_PageDown);
  EXPECT_EQ(view.firstVisibleRow(), 1u + static_cast<unsigned long>(view.verticalScrollBar()->pageStep()));
  QTest::keyClick(&view, Qt::Key_End, Qt::ControlModifier);
  EXPECT_EQ(view.firstVisibleRow(), static_cast<unsigned long>(view.verticalScrollBar()->maximum()));
  EXPECT_EQ(view.firstVisibleColumn(), static_cast<unsigned long>(view.horizontalScrollBar()->maximum()));
  QTest::keyClick(&view, Qt::Key_Home, Qt::ControlModifier);
  EXPECT_EQ(view.firstVisibleRow(), 0u);
  EXPECT_EQ(view.firstVisibleColumn(), 0u);
  view.setSelection({1200, 1210});
  EXPECT_EQ(view.firstVisibleColumn(), 1200u);
}

TEST_F(ViewTest, VisibleCellsArePaintedInTheirResidueColoursWhereverScrolled) {
  for (const unsigned long top : {0ul, 250ul}) {
    const unsigned long left = top == 0 ? 0 : 1400;
    view.scrollToCell(top, left);
    const QImage image = picture();
    for (unsigned long row : {0ul, 1ul, 5ul, 10ul}) {
      for (unsigned long column : {0ul, 1ul, 9ul, 10ul, 22ul, 30ul})
        expectCellsAsInAlignment(image, top + row, left + column);
    }
  }
}

// Selected columns are shaded: row 0, column 0 is a gap, blank unless
// selected. Reloading shows the alignment as it is now.
TEST_F(ViewTest, SelectedColumnsAreShadedAndAReloadShowsTheAlignmentAsItIsNow) {
  view.setSelection({0, 3});
  QImage image = picture();
  ASSERT_EQ(alignment->rowText(0)[0], '-');
  EXPECT_NE(cellCorner(image, 0, 0).rgb(), view.palette().color(QPalette::Base).rgb());
  expectCellsAsInAlignment(image, 1, 5);

  alignment->packRow(0, {0, 22});
  alignment->selection = {0, 22};
  view.reloadAlignment();
  EXPECT_EQ(view.selection(), (KARVO::ColumnRange{0, 22}));
  view.setSelection({});
  image = picture();
  for (unsigned long column : {0ul, 10ul, 20ul, 21ul}) expectCellsAsInAlignment(image, 0, column);
  EXPECT_EQ(alignment->rowText(0)[21], '-');
}

// An empty view paints with or without an alignment; long names are elided
// in the middle so that their ends stay apart.
TEST(ViewWithoutAGrid, PaintsEmptyAndElidesLongNamesInTheMiddle) {
  AlignmentView view;
  view.resize(300, 200);
  EXPECT_FALSE(view.viewport()->grab().isNull());
  auto empty = KARVO::Alignment::fromRows({}, {});
  view.setAlignment(empty.get());
  EXPECT_FALSE(view.viewport()->grab().isNull());
  dragOnRuler(view, 0, 3);
  EXPECT_EQ(view.selection(), (KARVO::ColumnRange{0, 0}));

  const std::string stem(40, 'A');
  auto alignment = KARVO::Alignment::fromRows({{stem + "_end1", ""}, {stem + "_end2", ""}}, {"MK", "MK"});
  view.setAlignment(alignment.get());
  const std::string svg = view.figureSvg({}, {});
  EXPECT_NE(svg.find("_end1</text>"), std::string::npos);
  EXPECT_NE(svg.find("_end2</text>"), std::string::npos);
  EXPECT_EQ(svg.find(stem), std::string::npos);
}

}  // namespace
}  // namespace karvo_gui
