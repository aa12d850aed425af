#include "host/base_dialog.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QBoxLayout>
#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <cstdlib>

namespace {

// Counts the calls of the overridable operations.
class CountingDialog : public BaseDialog {
 public:
  CountingDialog(bool modeless, bool okCancel)
      : BaseDialog("Caption", QSize(300, 200), 3, 3, "Some help", modeless, okCancel, nullptr, "counting") {
    auto* row = new QHBoxLayout();
    GetTopLevelLayout()->addLayout(row);
    row->addWidget(GetWidgetFactory()->CreateQLabel(this, "Name"));
    edit = GetWidgetFactory()->CreateQLineEdit(this);
    row->addWidget(edit);
    StartWidget();
  }
  void setupTooltips() override {
    BaseDialog::setupTooltips();
    ++tooltips;
  }
  void Ok() override {
    ++oks;
    BaseDialog::Ok();
  }
  void Cancel() override {
    ++cancels;
    BaseDialog::Cancel();
  }
  QPushButton* button(QDialogButtonBox::StandardButton which) { return findChild<QDialogButtonBox*>()->button(which); }
  QLineEdit* edit = nullptr;
  int tooltips = 0;
  int oks = 0;
  int cancels = 0;
};

TEST(BaseDialog, OkButtonAcceptsThroughOkAndClosingTheWindowCancels) {
  CountingDialog dialog(false, true);
  QTimer::singleShot(0, [&dialog] { dialog.button(QDialogButtonBox::Ok)->click(); });
  EXPECT_EQ(dialog.exec(), QDialog::Accepted);
  EXPECT_EQ(dialog.oks, 1);
  EXPECT_EQ(dialog.cancels, 0);
  QTimer::singleShot(0, [&dialog] { dialog.close(); });
  EXPECT_EQ(dialog.exec(), QDialog::Rejected);
  EXPECT_EQ(dialog.cancels, 1);
}

TEST(BaseDialog, SetsUpTooltipsOnceOverTwoShows) {
  CountingDialog dialog(false, true);
  for (int i = 0; i < 2; ++i) {
    QTimer::singleShot(0, [&dialog] { dialog.button(QDialogButtonBox::Cancel)->click(); });
    dialog.exec();
  }
  EXPECT_EQ(dialog.tooltips, 1);
  EXPECT_FALSE(dialog.button(QDialogButtonBox::Ok)->toolTip().isEmpty());
}

TEST(BaseDialog, TakesCaptionNameAndAtLeastTheGivenSize) {
  CountingDialog dialog(false, true);
  EXPECT_EQ(dialog.windowTitle(), "Caption");
  EXPECT_EQ(dialog.objectName(), "counting");
  EXPECT_GE(dialog.width(), 300);
  EXPECT_GE(dialog.height(), 200);
  EXPECT_TRUE(dialog.isModal());
  EXPECT_EQ(dialog.button(QDialogButtonBox::Apply), nullptr);
  EXPECT_NE(dialog.button(QDialogButtonBox::Help), nullptr);
}

TEST(BaseDialog, ModelessDialogAppliesWithoutClosing) {
  CountingDialog dialog(true, false);
  int applied = 0;
  QObject::connect(&dialog, &BaseDialog::applied, [&applied] { ++applied; });
  dialog.show();
  dialog.button(QDialogButtonBox::Apply)->click();
  EXPECT_EQ(applied, 1);
  EXPECT_TRUE(dialog.isVisible());
  EXPECT_FALSE(dialog.isModal());
  dialog.button(QDialogButtonBox::Close)->click();
  EXPECT_EQ(dialog.cancels, 1);
  EXPECT_FALSE(dialog.isVisible());
}

}  // namespace
