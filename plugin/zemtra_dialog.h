// The modal dialog that asks for the four run parameters before every run.
#pragma once

#include <QString>

#include "host/base_dialog.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QSpinBox;

// The child widgets carry the object names "scoreMatrix", "gapPenalty",
// "prealigned" and "logFilename", so that tests and the desktop host can
// find them with findChild.
class ZemtraDialog : public BaseDialog {
  Q_OBJECT

 public:
  // sequenceCount, the number of sequences of the host alignment, is the
  // largest prealigned count the dialog accepts.
  explicit ZemtraDialog(unsigned int sequenceCount);
  ~ZemtraDialog() override;

  int getMatNo() const;
  int getGapPenalty() const;
  int getFixedSubAli() const;
  QString getLogfileName() const;

 private:
  QComboBox* matrixBox;
  QLabel* label1;
  QLabel* label2;
  QLabel* label3;
  QSpinBox* gapBox;
  QSpinBox* fixedBox;
  QLineEdit* logEdit;
};
