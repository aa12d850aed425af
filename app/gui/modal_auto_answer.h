// Answers the modal windows that open while it exists, for runs without a
// person at the screen (screenshots of a finished run).
#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <functional>

class QWidget;

namespace karvo_gui {

// Accepts a dialog as it stands; a message box gets its Yes (else its
// default) button, so an overwrite question is answered with Yes.
void acceptAsShown(QWidget& modal);

class ModalAutoAnswer : public QObject {
  Q_OBJECT

 public:
  using Answer = std::function<void(QWidget& modal)>;
  explicit ModalAutoAnswer(Answer answer = acceptAsShown);

 private:
  void poll();

  Answer answer_;
  QTimer timer_;
  QPointer<QWidget> answered_;
};

}  // namespace karvo_gui
