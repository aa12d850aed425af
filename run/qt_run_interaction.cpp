#include "run/qt_run_interaction.h"

#include <QApplication>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QtGlobal>

QtRunInteraction::QtRunInteraction() = default;

QtRunInteraction::~QtRunInteraction() = default;

bool QtRunInteraction::confirmOverwrite(const std::string& logPath) {
  QMessageBox box(QMessageBox::Information, QStringLiteral("Multiple alignment editor"),
                  QStringLiteral("File   ") + QString::fromLocal8Bit(logPath) +
                      QStringLiteral("   allready exists.\nDo you wish to overwrite its content.\n"),
                  QMessageBox::Yes | QMessageBox::Cancel);
  box.setDefaultButton(QMessageBox::Yes);
  box.setEscapeButton(QMessageBox::Cancel);
  box.button(QMessageBox::Yes)->setText(QStringLiteral("Yes"));
  box.button(QMessageBox::Cancel)->setText(QStringLiteral("Cancel"));
  return box.exec() == QMessageBox::Yes;
}

void QtRunInteraction::progressStart(int totalSteps) {
  // Never shown here: the dialog appears by itself once the run has taken
  // longer than its minimum duration.
  progress_ = std::make_unique<QProgressDialog>(QStringLiteral("Multiple alignment ..."), QStringLiteral("Cancel"), 0,
                                                totalSteps);
  progress_->setModal(false);
}

void QtRunInteraction::progressSet(int value) {
  if (progress_) progress_->setValue(value);
}

bool QtRunInteraction::progressCanceled() { return progress_ && progress_->wasCanceled(); }

void QtRunInteraction::progressEnd() { progress_.reset(); }

void QtRunInteraction::processEvents() {
  // Qt 6 has no explicit flush of the window system's output; processing
  // the pending events is all a run needs to keep its dialog alive.
  QApplication::processEvents();
}

void QtRunInteraction::debugMessage(const std::string& text) { qDebug("%s", text.c_str()); }
