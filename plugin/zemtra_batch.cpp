// The entry points that need no window, shared by both plug-in libraries.
#include "core/diagnostics.h"
#include "host/logger.h"
#include "plugin/zemtra_exchange.h"
#include "plugin/zemtra_plugin.h"
#include "run/run_memory.h"

namespace {

// Parameters fixed in advance by a host without windows.
class GivenParameters : public ParameterSource {
 public:
  explicit GivenParameters(const ZemtraParameters& parameters) : parameters_(parameters) {}
  bool ask(unsigned int) override { return true; }
  int fixedSubAli() const override { return parameters_.prealigned; }
  int matNo() const override { return parameters_.matNo; }
  int gapPenalty() const override { return parameters_.gap; }
  std::string logName() const override { return parameters_.logName; }
  std::string logFolder() const override { return parameters_.logFolder; }
  bool writeLogFile() const override { return parameters_.writeLogFile; }
  ZemtraMethod method() const override { return parameters_.method; }
  int consistencyRounds() const override { return parameters_.consistencyRounds; }
  int refineIterations() const override { return parameters_.refineIterations; }
  bool wantLogText() const override { return parameters_.wantLogText; }
  bool wantTables() const override { return parameters_.wantTables; }
  ZemtraEngineSettings engine() const override { return parameters_.engine; }

 private:
  const ZemtraParameters& parameters_;
};

}  // namespace

extern "C" {

int ZemtraContractVersion() { return kZemtraContractVersion; }

void Cleanup() {}

bool ExecuteWithParameters(KARVO::Alignment& alignment, const ZemtraParameters& parameters, RunInteraction& interaction,
                           ZemtraRunReport* report) {
  interaction.debugMessage("Calculating Zemtra.");
  GivenParameters source(parameters);
  return exchangeAlignment(alignment, source, interaction, report);
}

DebugOutputFn SetDebugOutput(DebugOutputFn output) { return zemtra::setDebugOutput(output); }

ExitHandlerFn SetExitHandler(ExitHandlerFn handler) { return zemtra::setExitHandler(handler); }

std::uint64_t EstimateRunMemory(unsigned long sequences, unsigned long width, const ZemtraParameters& parameters) {
  RunKeeps keeps;
  keeps.logText = parameters.writeLogFile || parameters.wantLogText || Logger::Wanted();
  keeps.tables = parameters.wantTables;
  const std::uint64_t run =
      runMemoryNeed(sequences, RunInputs::columnsFor(width), width, engineOptions(parameters.engine), keeps);
  return KARVO::bytesPlus(RunInputs::bytesFor(sequences, width), run);
}
}
