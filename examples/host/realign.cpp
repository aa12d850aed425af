// A minimal host of the Zemtra plug-in: reads an alignment, loads the
// window-less plug-in by name from the installed plug-in folder, re-aligns
// every column with the dialog's default parameters and writes the result
// to standard output as FASTA. No run log is written.
//
//   realign ALIGNMENT [PLUGIN_FOLDER]
#include <dlfcn.h>
#include <formats/alignment_io.h>
#include <host/alignment.h>
#include <zemtra/zemtra_plugin.h>

#include <iostream>
#include <memory>
#include <string>

namespace {

// The run's questions without a user: nothing is asked (no log file is
// written), neither progress nor the engine's notes are shown, and the run
// is never cancelled.
class SilentInteraction : public RunInteraction {
 public:
  bool confirmOverwrite(const std::string&) override { return false; }
  void progressStart(int) override {}
  void progressSet(int) override {}
  bool progressCanceled() override { return false; }
  void progressEnd() override {}
  void processEvents() override {}
  void debugMessage(const std::string&) override {}
};

int realign(const std::string& file, const std::string& pluginFolder) {
  const std::unique_ptr<KARVO::Alignment> alignment = KARVO::readAlignmentFile(file);
  const std::string path = pluginFolder + "/libZemtraBatch.so.0";
  void* plugin = dlopen(path.c_str(), RTLD_NOW);
  if (plugin == nullptr) {
    std::cerr << "realign: cannot load the plug-in: " << dlerror() << '\n';
    return 1;
  }
  auto execute = reinterpret_cast<ExecuteWithParametersFn>(dlsym(plugin, "ExecuteWithParameters"));
  if (execute == nullptr) {
    std::cerr << "realign: " << path << " does not export ExecuteWithParameters\n";
    return 1;
  }
  alignment->selection = {0, alignment->columnCount()};
  ZemtraParameters parameters;  // STRMAT110, gap penalty 40, as the dialog
  parameters.writeLogFile = false;
  SilentInteraction interaction;
  ZemtraRunReport report;
  execute(*alignment, parameters, interaction, &report);
  if (report.exchange != ExchangeOutcome::Rewritten) {
    std::cerr << "realign: " << file << ": nothing to re-align\n";
    return 2;
  }
  KARVO::writeAlignment(std::cout, *alignment, KARVO::AlignmentFormat::Fasta);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::cerr << "usage: realign ALIGNMENT [PLUGIN_FOLDER]\n";
    return 1;
  }
  try {
    return realign(argv[1], argc == 3 ? argv[2] : ZEMTRA_PLUGIN_DIR);
  } catch (const std::exception& error) {
    std::cerr << "realign: " << error.what() << '\n';
    return 1;
  }
}
