// The windowed entry point: the parameter dialog and the run's Qt dialogs.
#include "plugin/zemtra_plugin.h"

#include <QDialog>
#include <QFile>
#include <QtGlobal>
#include <cstdlib>
#include <memory>

#include "core/diagnostics.h"
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
  std::string logName() const override { return QFile::encodeName(dialog_->getLogfileName()).toStdString(); }
  // A windowed host passes no parameters, so the settings come from the
  // environment, read once per call.
  ZemtraEngineSettings engine() const override { return engine_; }

 private:
  std::unique_ptr<ZemtraDialog> dialog_;
  const ZemtraEngineSettings engine_ =
      zemtraEngineSettingsFrom(std::getenv("ZEMTRA_REFERENCE_ENGINE"), std::getenv("ZEMTRA_THREADS"));
};

void toQtDebug(const char* text) { qDebug("%s", text); }

// A windowed host sees the engine's texts where it sees its own.
const bool qtDebugInstalled = (zemtra::setDebugOutput(toQtDebug), true);

}  // namespace

namespace {

// The report of each thread's last Execute1 call.
thread_local std::unique_ptr<ZemtraRunReport> lastReport;

}  // namespace

bool doZemtra(KARVO::Alignment& alignment) {
  DialogParameters parameters;
  QtRunInteraction interaction;
  // A fresh report for every call; the previous one stays valid until here.
  lastReport = std::make_unique<ZemtraRunReport>();
  return exchangeAlignment(alignment, parameters, interaction, lastReport.get());
}

extern "C" {

const ZemtraRunReport* LastRunReport() { return lastReport.get(); }

bool Execute1(KARVO::Alignment& alignment) {
  qDebug("Calculating Zemtra.");
  return doZemtra(alignment);
}
}
