#include "app/gui/consistency_dialog.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QSpinBox>

namespace karvo_gui {

std::optional<ConsistencySettings> askConsistencySettings(QWidget* parent, const QString& title,
                                                          const ConsistencySettings& start) {
  QDialog dialog(parent);
  dialog.setWindowTitle(title);
  dialog.setMinimumWidth(380);
  auto* layout = new QFormLayout(&dialog);
  auto* note = new QLabel(QDialog::tr("Re-aligns the selected columns with pair posteriors made consistent over "
                                      "third sequences, then refines the result."),
                          &dialog);
  note->setWordWrap(true);
  layout->addRow(note);
  auto* rounds = new QSpinBox(&dialog);
  rounds->setObjectName(QStringLiteral("consistencyRounds"));
  rounds->setRange(0, kMaxConsistencyRounds);
  rounds->setValue(start.rounds);
  layout->addRow(QDialog::tr("Consistency &rounds:"), rounds);
  auto* refine = new QSpinBox(&dialog);
  refine->setObjectName(QStringLiteral("refineIterations"));
  refine->setRange(0, kMaxRefineIterations);
  refine->setValue(start.refineIterations);
  layout->addRow(QDialog::tr("Re&finement attempts:"), refine);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
  QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
  QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
  layout->addRow(buttons);
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  return ConsistencySettings{rounds->value(), refine->value()};
}

}  // namespace karvo_gui
