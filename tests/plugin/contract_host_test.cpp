// A host built against the contract alone: its include path holds the two
// contract headers and the host platform's alignment, nothing of the
// engine. It loads the window-less plug-in with dlopen, checks the contract
// version and runs it.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host/alignment.h"
#include "plugin/zemtra_plugin.h"

namespace {

// Says yes to everything and counts the progress steps.
class CountingInteraction : public RunInteraction {
 public:
  bool confirmOverwrite(const std::string&) override { return true; }
  void progressStart(int totalSteps) override { total = totalSteps; }
  void progressSet(int value) override { last = value; }
  bool progressCanceled() override { return false; }
  void progressEnd() override {}
  void processEvents() override {}
  void debugMessage(const std::string&) override {}
  int total = 0;
  int last = -1;
};

template <typename Fn>
Fn entry(const char* name) {
  static void* handle = dlopen(ZEMTRA_BATCH_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  EXPECT_NE(handle, nullptr) << dlerror();
  return handle == nullptr ? nullptr : reinterpret_cast<Fn>(dlsym(handle, name));
}

std::string residues(std::string row) {
  row.erase(std::remove(row.begin(), row.end(), '-'), row.end());
  return row;
}

TEST(ContractHost, LoadsChecksTheVersionAndRunsThePlugin) {
  const auto version = entry<ZemtraContractVersionFn>("ZemtraContractVersion");
  ASSERT_NE(version, nullptr);
  ASSERT_EQ(version(), kZemtraContractVersion);
  const auto execute = entry<ExecuteWithParametersFn>("ExecuteWithParameters");
  ASSERT_NE(execute, nullptr);

  const std::vector<std::string> rows{"MVLSPADKTNVKAAWGKVGAHAGEYGAEALERMF", "MVHLTPEEKSAVTALWGKVNVDEVGGEALGRLL",
                                      "MVLSEGEWQLVLHVWAKVEADVAGHGQDILIRLF"};
  auto alignment = KARVO::Alignment::fromRows({{"HBA", ""}, {"HBB", ""}, {"MYG", ""}}, rows);
  alignment->selection = {0, alignment->columnCount()};
  ZemtraParameters parameters;
  parameters.writeLogFile = false;
  parameters.wantLogText = true;
  parameters.wantTables = true;
  parameters.engine.threads = 2;
  CountingInteraction interaction;
  ZemtraRunReport report;
  ASSERT_TRUE(execute(*alignment, parameters, interaction, &report));

  EXPECT_EQ(report.exchange, ExchangeOutcome::Rewritten);
  EXPECT_EQ(report.run.outcome, RunOutcome::Completed);
  EXPECT_FALSE(report.run.logWritten);
  EXPECT_NE(report.logText.find("Branching order"), std::string::npos);
  EXPECT_EQ(report.run.history.joins.size(), 2u);
  EXPECT_EQ(report.run.identity.size(), 9u);
  EXPECT_GT(interaction.total, 0);
  for (unsigned long row = 0; row < rows.size(); ++row) {
    EXPECT_EQ(residues(alignment->rowText(row)), residues(rows[row]));
    EXPECT_EQ(alignment->rowText(row).size(), alignment->columnCount());
  }
}

}  // namespace
