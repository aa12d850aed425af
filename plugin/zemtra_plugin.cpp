#include "plugin/zemtra_plugin.h"

#include <QDialog>
#include <QtGlobal>
#include <memory>

#include "host/alignment.h"
#include "plugin/zemtra_dialog.h"
#include "plugin/zemtra_exchange.h"
#include "run/qt_run_interaction.h"

namespace {

// The parameters as the user sets them in the dialog. The dialog lives as
// long as the source, so its values can be read after it has closed.
class DialogParameters : public ParameterSource {
 public:
  bool ask(unsigned int sequenceCount) override {
    dialog_ = std::make_unique<ZemtraDialog>(sequenceCount);
    return dialog_->exec() == QDialog::Accepted;
  }
  int fixedSubAli() const override { return dialog_->getFixedSubAli(); }
  int matNo() const override { return dialog_->getMatNo(); }
  int gapPenalty() const override { return dialog_->getGapPenalty(); }
  QString logName() const override { return dialog_->getLogfileName(); }

 private:
  std::unique_ptr<ZemtraDialog> dialog_;
};

// Parameters fixed in advance by a host without windows.
class GivenParameters : public ParameterSource {
 public:
  explicit GivenParameters(const ZemtraParameters& parameters) : parameters_(parameters) {}
  bool ask(unsigned int) override { return true; }
  int fixedSubAli() const override { return parameters_.prealigned; }
  int matNo() const override { return parameters_.matNo; }
  int gapPenalty() const override { return parameters_.gap; }
  QString logName() const override { return parameters_.logName; }

 private:
  const ZemtraParameters& parameters_;
};

}  // namespace

bool doZemtra(KARVO::Alignment& alignment) {
  DialogParameters parameters;
  QtRunInteraction interaction;
  return exchangeAlignment(alignment, parameters, interaction, nullptr);
}

extern "C" {

bool Execute1(KARVO::Alignment& alignment) {
  qDebug("Calculating Zemtra.");
  return doZemtra(alignment);
}

void Cleanup() {}

bool ExecuteWithParameters(KARVO::Alignment& alignment, const ZemtraParameters& parameters, RunInteraction& interaction,
                           ZemtraRunReport* report) {
  interaction.debugMessage(QStringLiteral("Calculating Zemtra."));
  GivenParameters source(parameters);
  return exchangeAlignment(alignment, source, interaction, report);
}
}
