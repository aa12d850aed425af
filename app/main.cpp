// karvo: the command-line host of the Zemtra plug-in. Each subcommand lives
// in its own file; main only dispatches.
#include <CLI/CLI.hpp>
#include <iostream>

#include "app/align_command.h"
#include "app/exit_status.h"
#include "app/matrices_command.h"

int main(int argc, char** argv) {
  using namespace karvo_app;
  CLI::App app("Re-aligns protein sequences with the Zemtra plug-in.", "karvo");
  app.set_version_flag("--version", "karvo " KARVO_VERSION);
  app.require_subcommand(1);
  app.footer(kExitStatusHelp);

  AlignOptions alignOptions;
  const CLI::App* align = addAlignCommand(app, alignOptions);
  MatricesOptions matricesOptions;
  const CLI::App* matrices = addMatricesCommand(app, matricesOptions);

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& request) {
    return app.exit(request);
  } catch (const CLI::CallForAllHelp& request) {
    return app.exit(request);
  } catch (const CLI::CallForVersion& request) {
    return app.exit(request);
  } catch (const CLI::ParseError& error) {
    std::cerr << "karvo: " << error.what() << " (see karvo --help)\n";
    return kExitUsage;
  }

  if (align->parsed()) return runAlign(alignOptions);
  if (matrices->parsed()) return runMatrices(matricesOptions);
  return kExitUsage;
}
