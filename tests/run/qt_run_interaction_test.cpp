#include "run/qt_run_interaction.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QKeyEvent>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QTimer>

#include "run/zemtra_kv.h"
#include "run_fixtures.h"

using run_test::PersonalTmpDir;
using run_test::RunInputs;

namespace {

template <typename T>
T* findTopLevel() {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    if (auto* found = qobject_cast<T*>(widget)) return found;
  }
  return nullptr;
}

QMessageBox* openMessageBox() {
  if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) return box;
  return findTopLevel<QMessageBox>();
}

// --- the overwrite question --------------------------------------------------

TEST(QtRunInteractionTest, OverwriteQuestionIsAnInformationBoxWithYesAsDefaultAndEscapeRefusing) {
  QtRunInteraction interaction;
  QString title, text, yesText, cancelText;
  QMessageBox::Icon icon = QMessageBox::NoIcon;
  bool yesIsDefault = false;
  bool cancelIsEscape = false;
  QTimer::singleShot(0, [&] {
    QMessageBox* box = openMessageBox();
    ASSERT_NE(box, nullptr);
    title = box->windowTitle();
    text = box->text();
    icon = box->icon();
    yesText = box->button(QMessageBox::Yes)->text();
    cancelText = box->button(QMessageBox::Cancel)->text();
    yesIsDefault = box->defaultButton() == box->button(QMessageBox::Yes);
    cancelIsEscape = box->escapeButton() == box->button(QMessageBox::Cancel);
    box->button(QMessageBox::Yes)->click();
  });

  EXPECT_TRUE(interaction.confirmOverwrite("/home/u/tmp/zemtra.log"));
  EXPECT_EQ(title, "Multiple alignment editor");
  EXPECT_EQ(text, "File   /home/u/tmp/zemtra.log   allready exists.\nDo you wish to overwrite its content.\n");
  EXPECT_EQ(icon, QMessageBox::Information);
  EXPECT_EQ(yesText, "Yes");
  EXPECT_EQ(cancelText, "Cancel");
  EXPECT_TRUE(yesIsDefault);
  EXPECT_TRUE(cancelIsEscape);
  // Escape refuses.
  QTimer::singleShot(0, [] {
    QMessageBox* box = openMessageBox();
    ASSERT_NE(box, nullptr);
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(box, &escape);
  });
  EXPECT_FALSE(interaction.confirmOverwrite("/home/u/tmp/zemtra.log"));
}

// --- progress ----------------------------------------------------------------

TEST(QtRunInteractionTest, ProgressDialogIsAParentlessNonModalWindow) {
  QtRunInteraction interaction;
  interaction.progressStart(7);
  interaction.progressSet(3);
  auto* dialog = findTopLevel<QProgressDialog>();
  ASSERT_NE(dialog, nullptr);
  EXPECT_EQ(dialog->labelText(), "Multiple alignment ...");
  EXPECT_EQ(dialog->maximum(), 7);
  EXPECT_EQ(dialog->value(), 3);
  EXPECT_EQ(dialog->parent(), nullptr);
  EXPECT_FALSE(dialog->isModal());
  auto* cancel = dialog->findChild<QPushButton*>();
  ASSERT_NE(cancel, nullptr);
  EXPECT_EQ(cancel->text(), "Cancel");
  EXPECT_FALSE(interaction.progressCanceled());
}

// --- debug output --------------------------------------------------------------

QString lastDebugText;

void captureDebug(QtMsgType, const QMessageLogContext&, const QString& text) { lastDebugText = text; }

TEST(QtRunInteractionTest, DebugMessageIsWrittenWithoutQuotes) {
  QtRunInteraction interaction;
  const QtMessageHandler previous = qInstallMessageHandler(captureDebug);
  interaction.debugMessage("        multiple alignment process interrupted. ");
  qInstallMessageHandler(previous);
  EXPECT_EQ(lastDebugText, "        multiple alignment process interrupted. ");
}

// --- a whole run with the dialogs ----------------------------------------------

TEST(QtRunTest, CancelButtonStopsTheRunAtTheNextRow) {
  PersonalTmpDir tmp;
  RunInputs in({"a", "b", "c"}, {"WACDE", "WACE-", "ACDE-"});
  bool pressed = false;
  QTimer::singleShot(0, [&pressed] {
    if (auto* dialog = findTopLevel<QProgressDialog>()) {
      dialog->cancel();
      pressed = true;
    }
  });

  bool ok = true;
  QtRunInteraction interaction;
  zemtra_kv(interaction, &ok, "zemtra.log", in.len.data(), in.nres.data(), in.names, in.seqs, 0, 0, 40, nullptr,
            zemtra::EngineOptions{});

  // What a cancelled run writes is the run driver's business; here only
  // that the button reaches it and the dialog goes.
  ASSERT_TRUE(pressed);
  EXPECT_FALSE(ok);
  EXPECT_EQ(findTopLevel<QProgressDialog>(), nullptr);
}

}  // namespace
