#include "app/gui/modal_auto_answer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QPushButton>

namespace karvo_gui {

void acceptAsShown(QWidget& modal) {
  if (auto* box = qobject_cast<QMessageBox*>(&modal)) {
    QAbstractButton* yes = box->button(QMessageBox::Yes);
    QAbstractButton* button = yes != nullptr ? yes : box->defaultButton();
    if (button != nullptr) {
      button->click();
    } else {
      box->accept();
    }
    return;
  }
  if (auto* dialog = qobject_cast<QDialog*>(&modal)) dialog->accept();
}

ModalAutoAnswer::ModalAutoAnswer(Answer answer) : answer_(std::move(answer)) {
  connect(&timer_, &QTimer::timeout, this, &ModalAutoAnswer::poll);
  timer_.start(20);
}

void ModalAutoAnswer::poll() {
  QWidget* modal = QApplication::activeModalWidget();
  // A window is answered once, even if it takes a moment to close.
  if (modal == nullptr || modal == answered_) return;
  answered_ = modal;
  answer_(*modal);
}

}  // namespace karvo_gui
