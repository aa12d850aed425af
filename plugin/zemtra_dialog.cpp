#include "plugin/zemtra_dialog.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QSize>
#include <QSpinBox>
#include <QtGlobal>
#include <climits>

#include "host/widget_factory.h"

namespace {

// A missing layout is reported and construction goes on: the dialog is still
// usable without its rows, only less tidy.
void reportNullPointer(const void* pointer, int line) {
  if (pointer == nullptr) qWarning("In file %s, line %d: Out of memory", "ZemtraDialog", line);
}

// A row in the top-level layout; without a top-level layout the row belongs
// to the dialog so that it is still released with it.
QHBoxLayout* addRow(QBoxLayout* top, QObject* owner) {
  auto* row = new QHBoxLayout();
  if (top != nullptr) {
    top->addLayout(row);
  } else {
    row->setParent(owner);
  }
  return row;
}

}  // namespace

ZemtraDialog::ZemtraDialog(unsigned int sequenceCount)
    : BaseDialog(QStringLiteral("Zemtra"), QSize(300, 200), 3, 3, QStringLiteral("No help"), false, true, nullptr,
                 nullptr) {
  // The list position is the matrix number of the scoring tables.
  static const char* items[] = {"STRMAT110", "DAYHOFF", "DOOLITTLE",   "FITCH",  "GRANTHAM", "LEVIN",
                                "MCLACHLAN", "MIYATA",  "RAO",         "RISLER", "GONNET",   "HENIKOFF",
                                "JONES",     "PAM120",  "TEST MATRIX", nullptr};

  QBoxLayout* top = GetTopLevelLayout();
  reportNullPointer(top, __LINE__);
  QHBoxLayout* matrixRow = addRow(top, this);
  reportNullPointer(matrixRow, __LINE__);
  QHBoxLayout* parameterRow = addRow(top, this);
  reportNullPointer(parameterRow, __LINE__);
  QHBoxLayout* logRow = addRow(top, this);
  reportNullPointer(logRow, __LINE__);

  WidgetFactory* factory = GetWidgetFactory();

  label1 = factory->CreateQLabel(this, QStringLiteral("Score Matrix"));
  matrixBox = factory->CreateComboBox(this, false);
  matrixBox->setObjectName(QStringLiteral("scoreMatrix"));
  for (const char** item = items; *item != nullptr; ++item) matrixBox->addItem(QString::fromLatin1(*item));
  matrixRow->addSpacing(20);
  matrixRow->addWidget(label1);
  matrixRow->addSpacing(20);
  matrixRow->addWidget(matrixBox);
  matrixRow->addSpacing(20);

  label2 = factory->CreateQLabel(this, QStringLiteral("Gap Penalty"));
  gapBox = factory->CreateQSpinBox(this, 0, 100, 40, 1, nullptr, nullptr, QString());
  gapBox->setObjectName(QStringLiteral("gapPenalty"));
  label3 = factory->CreateQLabel(this, QStringLiteral("Prealigned sequences"));
  const int fixedMaximum = sequenceCount > static_cast<unsigned int>(INT_MAX) ? INT_MAX : int(sequenceCount);
  fixedBox = factory->CreateQSpinBox(this, 0, fixedMaximum, 0, 1, nullptr, nullptr, QString());
  fixedBox->setObjectName(QStringLiteral("prealigned"));
  parameterRow->addSpacing(20);
  parameterRow->addWidget(label2);
  parameterRow->addSpacing(10);
  parameterRow->addWidget(gapBox);
  parameterRow->addSpacing(30);
  parameterRow->addWidget(label3);
  parameterRow->addSpacing(10);
  parameterRow->addWidget(fixedBox);
  parameterRow->addSpacing(20);

  // The fourth label reuses the first pointer: the dialog never reads its
  // labels again.
  label1 = factory->CreateQLabel(this, QStringLiteral("Log Filename"));
  logEdit = factory->CreateQLineEdit(this);
  logEdit->setObjectName(QStringLiteral("logFilename"));
  logEdit->setFrame(true);
  logEdit->setMaxLength(20);
  logEdit->setText(QStringLiteral("zemtra.log"));
  logEdit->setFixedHeight(logEdit->sizeHint().height());
  logRow->addSpacing(20);
  logRow->addWidget(label1);
  logRow->addSpacing(20);
  logRow->addWidget(logEdit);
  logRow->addSpacing(20);

  StartWidget();
}

ZemtraDialog::~ZemtraDialog() = default;

int ZemtraDialog::getMatNo() const { return matrixBox->currentIndex(); }

int ZemtraDialog::getGapPenalty() const { return gapBox->value(); }

int ZemtraDialog::getFixedSubAli() const { return fixedBox->value(); }

QString ZemtraDialog::getLogfileName() const { return logEdit->text(); }
