// A stand-in for libZemtraBatch.so.0 that passes every call on to the real
// plug-in and, for the command line's tests, cancels the run once progress
// reaches SHIM_CANCEL_AT_STEP or fails the call with std::bad_alloc when
// SHIM_OUT_OF_MEMORY is set.
#include <dlfcn.h>

#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>

#include "plugin/zemtra_plugin.h"

namespace {

void* real(const char* name) {
  static void* handle = dlopen(REAL_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  void* symbol = handle != nullptr ? dlsym(handle, name) : nullptr;
  if (symbol == nullptr) throw std::runtime_error(std::string("plug-in shim: no ") + name);
  return symbol;
}

class CancelAtStep : public RunInteraction {
 public:
  CancelAtStep(RunInteraction& inner, int step) : inner_(inner), step_(step) {}
  bool confirmOverwrite(const std::string& logPath) override { return inner_.confirmOverwrite(logPath); }
  void progressStart(int totalSteps) override { inner_.progressStart(totalSteps); }
  void progressSet(int value) override {
    if (step_ >= 0 && value >= step_) cancelled_ = true;
    inner_.progressSet(value);
  }
  bool progressCanceled() override { return cancelled_ || inner_.progressCanceled(); }
  void progressEnd() override { inner_.progressEnd(); }
  void processEvents() override { inner_.processEvents(); }
  void debugMessage(const std::string& text) override { inner_.debugMessage(text); }

 private:
  RunInteraction& inner_;
  int step_;
  bool cancelled_ = false;
};

}  // namespace

extern "C" {

int ZemtraContractVersion() { return reinterpret_cast<ZemtraContractVersionFn>(real("ZemtraContractVersion"))(); }

bool ExecuteWithParameters(KARVO::Alignment& alignment, const ZemtraParameters& parameters, RunInteraction& interaction,
                           ZemtraRunReport* report) {
  if (std::getenv("SHIM_OUT_OF_MEMORY") != nullptr) throw std::bad_alloc();
  const char* step = std::getenv("SHIM_CANCEL_AT_STEP");
  CancelAtStep cancelling(interaction, step != nullptr ? std::atoi(step) : -1);
  return reinterpret_cast<ExecuteWithParametersFn>(real("ExecuteWithParameters"))(alignment, parameters, cancelling,
                                                                                  report);
}

DebugOutputFn SetDebugOutput(DebugOutputFn output) {
  return reinterpret_cast<SetDebugOutputFn>(real("SetDebugOutput"))(output);
}

ExitHandlerFn SetExitHandler(ExitHandlerFn handler) {
  return reinterpret_cast<SetExitHandlerFn>(real("SetExitHandler"))(handler);
}
}
