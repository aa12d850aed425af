// What a host relies on when it runs the plug-in many times in one process:
// an allocation failure anywhere in a call reaches the host as
// std::bad_alloc with everything released, repeated runs do not grow the
// process, and a log name cannot make the run write outside the personal
// temporary directory.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <fstream>
#include <optional>

#include "host/alignment.h"
#include "host/logger.h"
#include "plugin/zemtra_plugin.h"
#include "run/headless_run_interaction.h"
#include "tests/support/alignment_rows.h"
#include "tests/support/host_settings.h"

#ifdef ZEMTRA_FAULT_INJECTION
#include "failing_new.h"
#endif

namespace {

std::unique_ptr<KARVO::Alignment> smallAlignment() {
  return ztest::alignmentOf({"MVLSPADKTNV", "MVHLTPEEKSA", "MVLSEGEWQLV", "MVHLTPEEKTA"});
}

class PluginReliability : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    execute_ = ztest::pluginEntry<ExecuteWithParametersFn>("ExecuteWithParameters");
    ASSERT_NE(execute_, nullptr) << dlerror();
  }

  void SetUp() override {
    ASSERT_TRUE(tmp_.isValid());
    personal_ = tmp_.filePath(QStringLiteral("personal"));
    ASSERT_TRUE(QDir().mkdir(personal_));
    settings_.emplace(ztest::withTmpDir(personal_.toStdString()));
  }

  // One whole call on a fresh small alignment; everything it made is gone
  // when this returns except the rows, when asked for.
  bool runOnce(const QString& logName = QStringLiteral("zemtra.log"), std::vector<std::string>* rows = nullptr) {
    auto alignment = smallAlignment();
    ZemtraParameters parameters;
    parameters.logName = logName.toStdString();
    ZemtraRunReport report;
    HeadlessRunInteraction interaction;
    interaction.answerOverwrite = [](const std::string&) { return true; };
    const bool rewritten = execute_(*alignment, parameters, interaction, &report);
    lastLogWritten_ = report.run.logWritten;
    lastLogProblem_ = report.run.logProblem;
    if (rows != nullptr) *rows = ztest::rowsOf(*alignment);
    return rewritten;
  }

  // A file of the personal directory; empty when there is none.
  QString personalFile(const char* name) const {
    QFile file(personal_ + QLatin1Char('/') + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString();
  }

  static inline ExecuteWithParametersFn execute_ = nullptr;
  QTemporaryDir tmp_;
  QString personal_;
  std::optional<ztest::ScopedHostSettings> settings_;
  bool lastLogWritten_ = false;
  std::string lastLogProblem_;
};

TEST_F(PluginReliability, LogNameLeavingThePersonalDirectoryIsNotOpened) {
  std::string hostLog;
  Logger::SetSink([&hostLog](std::string_view piece) { hostLog.append(piece); });
  ASSERT_TRUE(runOnce(QStringLiteral("../escaped.log")));
  Logger::SetSink({});
  EXPECT_FALSE(lastLogWritten_);
  EXPECT_NE(lastLogProblem_.find("'../escaped.log' is refused"), std::string::npos) << lastLogProblem_;
  EXPECT_FALSE(QFile::exists(tmp_.filePath(QStringLiteral("escaped.log"))));
  EXPECT_TRUE(hostLog.ends_with("\nCould not open " + personal_.toStdString() +
                                "/../escaped.log! ZEMTRA::PROCESS no log file\n"));
}

#ifdef ZEMTRA_FAULT_INJECTION

std::size_t heapInUse() { return mallinfo2().uordblks; }

long residentKiB() {
  std::ifstream statm("/proc/self/statm");
  long size = 0;
  long resident = 0;
  statm >> size >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

// Every allocation of a call is made to fail in turn. Each failure must
// either come out as std::bad_alloc or be absorbed by the run (a helper
// thread it could not start) with the same rows and the same log as an
// undisturbed run; either way the heap must be left as it was. No guide tree
// is asked for: its builder ends the process when out of memory.
TEST_F(PluginReliability, AllocationFailureAnywhereReachesTheHostWithEverythingReleased) {
  std::vector<std::string> expectedRows;
  ASSERT_TRUE(runOnce(QStringLiteral("zemtra.log"), &expectedRows));  // also fills first-use caches
  const QString expectedLog = personalFile("zemtra.log");
  long failures = 0;
  for (long failAt = 0; failAt < 20000; ++failAt) {
    // The same failure three times: the first ones may fill caches of the
    // libraries on a path not taken before, the last must leave the heap
    // exactly as it found it (a leak would grow it every time).
    long blocksBefore = 0;
    std::size_t bytesBefore = 0;
    for (int round = 0; round < 3; ++round) {
      blocksBefore = failing_new::liveBlocks();
      bytesBefore = heapInUse();
      bool threw = false;
      std::vector<std::string> rows;
      failing_new::arm(failAt);
      try {
        runOnce(QStringLiteral("zemtra.log"), &rows);
      } catch (const std::bad_alloc&) {
        threw = true;
      }
      failing_new::disarm();
      if (failing_new::fired() && !threw) {
        EXPECT_EQ(rows, expectedRows) << "allocation " << failAt << " failed, was absorbed and changed the result";
        EXPECT_EQ(personalFile("zemtra.log"), expectedLog)
            << "allocation " << failAt << " failed, was absorbed and changed the log";
      }
      EXPECT_FALSE(threw && !failing_new::fired()) << "allocation " << failAt << ": bad_alloc without a failure";
    }
    EXPECT_EQ(failing_new::liveBlocks(), blocksBefore) << "allocation " << failAt << " failed and left blocks behind";
    // Allowing for how malloc happens to split its chunks.
    EXPECT_LE(heapInUse(), bytesBefore + 1024) << "allocation " << failAt << " failed and left memory behind";
    if (!failing_new::fired()) break;
    ++failures;
    if (HasFailure()) break;
  }
  EXPECT_GT(failures, 10);
}

// The plug-in's estimate of a run bounds what the run really holds at its
// peak, for each of what a host can ask: a log file, the tables, neither.
TEST_F(PluginReliability, MemoryEstimateBoundsTheRunsPeak) {
  const auto estimate = ztest::pluginEntry<EstimateRunMemoryFn>("EstimateRunMemory");
  ASSERT_NE(estimate, nullptr);
  std::vector<std::string> rows;
  unsigned seed = 7;
  for (int r = 0; r < 24; ++r) {
    std::string row;
    for (int c = 0; c < 260 + r; ++c) row += "ACDEFGHIKLMNPQRSTVWY"[(seed = seed * 1103515245u + 12345u) >> 16 & 15];
    rows.push_back(row + std::string(300 - row.size(), '-'));
  }
  ASSERT_TRUE(runOnce());  // fills first-use caches
  struct Ask {
    bool logFile;
    bool tables;
  };
  std::vector<std::uint64_t> needs;
  std::vector<std::string> aligned;
  for (const Ask ask : {Ask{false, false}, Ask{false, true}, Ask{true, false}, Ask{true, true}}) {
    ZemtraParameters parameters;
    parameters.writeLogFile = ask.logFile;
    parameters.wantTables = ask.tables;
    auto alignment = ztest::alignmentOf(rows, "s");
    const std::uint64_t need = estimate(24, 300, parameters);
    const long before = failing_new::liveBytes();
    failing_new::resetPeak();
    HeadlessRunInteraction interaction;
    interaction.answerOverwrite = [](const std::string&) { return true; };
    ZemtraRunReport report;
    ASSERT_TRUE(execute_(*alignment, parameters, interaction, &report));
    const auto used = static_cast<std::uint64_t>(failing_new::peakBytes() - before);
    EXPECT_LE(used, need) << ask.logFile << ask.tables;
    EXPECT_GE(used, need / 4) << ask.logFile << ask.tables << ": the estimate is far above what the run holds";
    EXPECT_EQ(report.run.identity.size(), ask.tables ? 24u * 24u : 0u);
    // What is kept for the host never changes the alignment.
    if (!needs.empty()) {
      EXPECT_EQ(ztest::rowsOf(*alignment), aligned);
    }
    aligned = ztest::rowsOf(*alignment);
    needs.push_back(need);
  }
  EXPECT_LT(needs.front(), needs.back()) << "a run asked for nothing is estimated as one asked for everything";
}

TEST_F(PluginReliability, HundredRunsInOneProcessDoNotGrowIt) {
  for (int i = 0; i < 200; ++i) ASSERT_TRUE(runOnce());  // the allocator settles first
  const std::size_t heapBefore = heapInUse();
  const long residentBefore = residentKiB();
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(runOnce());
  EXPECT_LE(heapInUse(), heapBefore + 4096);
  EXPECT_LE(residentKiB(), residentBefore + 1024);
}

#endif

}  // namespace
