// The parameter dialog and the guide tree, linked directly into the test.
#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QSpinBox>

#include "plugin/zemtra_dialog.h"
#include "scoring/scomat.h"

namespace {

template <typename Widget>
Widget& child(ZemtraDialog& dialog, const char* name) {
  auto* widget = dialog.findChild<Widget*>(QString::fromLatin1(name));
  if (widget == nullptr) throw std::runtime_error(name);
  return *widget;
}

// The gap penalty lies in 0..100, the prealigned count within the sequence count.
TEST(ZemtraDialog, GapPenaltyAndPrealignedCountAreBounded) {
  ZemtraDialog dialog(5);
  auto& gap = child<QSpinBox>(dialog, "gapPenalty");
  gap.setValue(101);
  EXPECT_EQ(dialog.getGapPenalty(), 100);
  gap.setValue(-1);
  EXPECT_EQ(dialog.getGapPenalty(), 0);
  child<QSpinBox>(dialog, "prealigned").setValue(6);
  EXPECT_EQ(dialog.getFixedSubAli(), 5);

  ZemtraDialog none(0);
  child<QSpinBox>(none, "prealigned").setValue(1);
  EXPECT_EQ(none.getFixedSubAli(), 0);
}

TEST(ZemtraDialog, LogNameRefusesTheTwentyFirstCharacter) {
  ZemtraDialog dialog(2);
  auto& edit = child<QLineEdit>(dialog, "logFilename");
  edit.setText(QString(20, QLatin1Char('a')));
  QKeyEvent press(QEvent::KeyPress, Qt::Key_B, Qt::NoModifier, QStringLiteral("b"));
  QApplication::sendEvent(&edit, &press);
  EXPECT_EQ(dialog.getLogfileName(), QString(20, QLatin1Char('a')));

  edit.setText(QStringLiteral("run.log"));
  QApplication::sendEvent(&edit, &press);
  EXPECT_EQ(dialog.getLogfileName(), QStringLiteral("run.logb"));
}

TEST(ZemtraDialog, MatrixListFollowsTheScoringTables) {
  ZemtraDialog dialog(2);
  auto& matrices = child<QComboBox>(dialog, "scoreMatrix");
  ASSERT_EQ(matrices.count(), 15);
  for (int i = 0; i < matrices.count(); ++i) EXPECT_EQ(matrices.itemText(i), QString::fromLatin1(ScoMat::m_names[i]));
  matrices.setCurrentIndex(matrices.findText(QStringLiteral("TEST MATRIX")));
  EXPECT_EQ(dialog.getMatNo(), 14);
}

}  // namespace
