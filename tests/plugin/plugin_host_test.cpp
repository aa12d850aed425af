// A host that loads the built plug-in with dlopen, as the application does,
// and drives both entry points on alignments built here.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QLineEdit>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QSpinBox>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <algorithm>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

#include "app/gui/modal_auto_answer.h"
#include "host/alignment.h"
#include "plugin/zemtra_plugin.h"
#include "run/headless_run_interaction.h"
#include "tests/support/alignment_rows.h"
#include "tests/support/host_settings.h"

namespace {

using Execute1Fn = bool (*)(KARVO::Alignment&);
using Answer = std::function<void(QWidget&)>;

QStringList& debugLines() {
  static QStringList lines;
  return lines;
}

void captureMessage(QtMsgType type, const QMessageLogContext&, const QString& text) {
  if (type == QtDebugMsg) debugLines() << text;
}

void clickButton(QWidget& dialog, QDialogButtonBox::StandardButton which) {
  auto* buttons = dialog.findChild<QDialogButtonBox*>();
  ASSERT_NE(buttons, nullptr);
  ASSERT_NE(buttons->button(which), nullptr);
  buttons->button(which)->click();
}

Answer acceptDialog(std::function<void(QWidget&)> set = {}) {
  return [set](QWidget& dialog) {
    if (set) set(dialog);
    clickButton(dialog, QDialogButtonBox::Ok);
  };
}

Answer setPrealigned(int count) {
  return acceptDialog([count](QWidget& dialog) { dialog.findChild<QSpinBox*>("prealigned")->setValue(count); });
}

Answer refuseOverwrite() {
  return [](QWidget& box) { qobject_cast<QMessageBox*>(&box)->button(QMessageBox::Cancel)->click(); };
}

using ztest::alignmentOf;
using ztest::rowsOf;

std::string withoutGaps(std::string row) {
  std::erase(row, '-');
  return row;
}

const std::vector<std::string> kExample{"AC-D", "--E-", "----", "K-LM"};

class PluginHost : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    execute1_ = ztest::pluginEntry<Execute1Fn>("Execute1");
    withParameters_ = ztest::pluginEntry<ExecuteWithParametersFn>("ExecuteWithParameters");
    ASSERT_NE(execute1_, nullptr) << dlerror();
    ASSERT_NE(withParameters_, nullptr);
  }

  void SetUp() override {
    ASSERT_TRUE(tmp_.isValid());
    personal_.emplace(ztest::withTmpDir(tmp_.path().toStdString()));
    debugLines().clear();
    previousHandler_ = qInstallMessageHandler(captureMessage);
  }

  void TearDown() override {
    qInstallMessageHandler(previousHandler_);
    personal_.reset();
  }

  // Each modal window that opens gets the next answer, in order.
  bool execute1(KARVO::Alignment& alignment, std::deque<Answer> answers) {
    karvo_gui::ModalAutoAnswer modal([&answers](QWidget& window) {
      if (answers.empty()) {
        // An unexpected window would otherwise wait forever.
        ADD_FAILURE() << "unexpected modal window " << window.metaObject()->className();
        if (auto* dialog = qobject_cast<QDialog*>(&window)) dialog->reject();
        return;
      }
      const Answer answer = std::move(answers.front());
      answers.pop_front();
      answer(window);
    });
    return execute1_(alignment);
  }

  bool withParameters(KARVO::Alignment& alignment, const ZemtraParameters& parameters) {
    return withParameters_(alignment, parameters, interaction_, &report_);
  }

  QString logPath(const char* name = "zemtra.log") const { return tmp_.filePath(QString::fromLatin1(name)); }

  QString logText(const char* name = "zemtra.log") const {
    QFile file(logPath(name));
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString();
  }

  void createLog() const {
    QFile file(logPath());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  }

  static inline Execute1Fn execute1_ = nullptr;
  static inline ExecuteWithParametersFn withParameters_ = nullptr;
  QTemporaryDir tmp_;
  std::optional<ztest::ScopedHostSettings> personal_;
  QtMessageHandler previousHandler_ = nullptr;
  HeadlessRunInteraction interaction_;  // refuses to overwrite
  ZemtraRunReport report_;
};

// ---- Execute1: the dialog, then the exchange -------------------------------

TEST_F(PluginHost, ExampleRunRealignsTheRangeAndWritesTheLog) {
  auto alignment = alignmentOf(kExample);
  ASSERT_TRUE(execute1(*alignment, {acceptDialog()}));

  const auto rows = rowsOf(*alignment);
  ASSERT_EQ(rows.size(), 4u);
  EXPECT_EQ(withoutGaps(rows[0]), "ACD");
  EXPECT_EQ(withoutGaps(rows[1]), "E");
  EXPECT_EQ(withoutGaps(rows[2]), "");
  EXPECT_EQ(withoutGaps(rows[3]), "KLM");
  for (std::size_t c = 0; c < rows[0].size(); ++c)
    EXPECT_FALSE(rows[0][c] == '-' && rows[1][c] == '-' && rows[3][c] == '-') << "all-gap column " << c;
  EXPECT_TRUE(logText().contains(QStringLiteral("\n    Penalty: 40\n")));
  EXPECT_EQ(debugLines().mid(0, 3),
            (QStringList{"Calculating Zemtra.", "Prepare data for ZEMTRA.", "Do the real thing"}));
  EXPECT_EQ(debugLines().mid(debugLines().size() - 2),
            (QStringList{"Re-alignment by Zemtra done, returning results", "DECRYPT ready"}));
}

TEST_F(PluginHost, DialogValuesReachTheRun) {
  auto alignment = alignmentOf({"ACDEF", "ACDEF"});
  ASSERT_TRUE(execute1(*alignment, {acceptDialog([](QWidget& dialog) {
    dialog.findChild<QSpinBox*>("gapPenalty")->setValue(17);
    dialog.findChild<QLineEdit*>("logFilename")->setText("mine.log");
  })}));
  EXPECT_TRUE(logText("mine.log").contains(QStringLiteral("\n    Penalty: 17\n")));
  EXPECT_FALSE(QFile::exists(logPath()));
}

TEST_F(PluginHost, CancelledDialogLeavesTheAlignmentAlone) {
  auto alignment = alignmentOf(kExample);
  EXPECT_FALSE(execute1(*alignment, {[](QWidget& dialog) { clickButton(dialog, QDialogButtonBox::Cancel); }}));
  EXPECT_EQ(rowsOf(*alignment), kExample);
  EXPECT_EQ(debugLines(), (QStringList{"Calculating Zemtra.", " ZemtraClass::doZemtra() ... CANCELLED "}));
  EXPECT_FALSE(QFile::exists(logPath()));
}

// With the existing log kept, the rows go back as they were sent: the
// prealigned ones unchanged, the others packed; one prealigned row is no block.
TEST_F(PluginHost, PrealignedRowsKeepTheirGapsAndGapOnlyRowsAreNotSent) {
  createLog();
  auto alignment = alignmentOf({"A-C-D", "-----", "AC--D", "K-L-M", "--E--"});
  EXPECT_TRUE(execute1(*alignment, {setPrealigned(3), refuseOverwrite()}));
  EXPECT_EQ(rowsOf(*alignment), (std::vector<std::string>{"A-CD", "----", "AC-D", "KLM-", "E---"}));
  alignment = alignmentOf({"A-C-D", "K-L-M"});
  EXPECT_TRUE(execute1(*alignment, {setPrealigned(1), refuseOverwrite()}));
  EXPECT_EQ(rowsOf(*alignment), (std::vector<std::string>{"ACD", "KLM"}));
}

// Each refusal comes before anything changes or a log is written.
TEST_F(PluginHost, RunsWithoutAnythingToAlignAreRefused) {
  const struct {
    std::vector<std::string> rows;
    KARVO::ColumnRange selection;
    int prealigned;
    QString message;
  } cases[] = {
      {kExample, {2, 2}, 0, "No range set for alignment"},
      {{"AC-D", "-KLM", "----"}, {0, 4}, 2, "No additional sequences to align"},
      {{"A-C", "---"}, {0, 3}, 0, "Fewer than two sequences to align"},
  };
  for (const auto& c : cases) {
    auto alignment = alignmentOf(c.rows);
    alignment->selection = c.selection;
    EXPECT_FALSE(execute1(*alignment, {setPrealigned(c.prealigned)}));
    EXPECT_EQ(rowsOf(*alignment), c.rows);
    EXPECT_EQ(debugLines().last(), c.message);
    EXPECT_FALSE(QFile::exists(logPath()));
  }
}

TEST_F(PluginHost, AlignmentWithoutColumnsAllowsNoPrealignedRowsAndChangesNothing) {
  auto alignment = alignmentOf({"", ""});
  int prealignedMaximum = -1;
  EXPECT_FALSE(execute1(*alignment, {acceptDialog([&](QWidget& dialog) {
    prealignedMaximum = dialog.findChild<QSpinBox*>("prealigned")->maximum();
  })}));
  EXPECT_EQ(prealignedMaximum, 0);
  EXPECT_EQ(alignment->columnCount(), 0u);
  EXPECT_EQ(debugLines().last(), "No range set for alignment");

  alignment->selection = {0, 3};
  EXPECT_FALSE(execute1(*alignment, {acceptDialog()}));
  EXPECT_EQ(debugLines().last(), "No additional sequences to align");
}

// ---- ExecuteWithParameters: no dialog, everything through the interaction --

TEST_F(PluginHost, KeptLogWritesBackThePackedRowsAndStripsAllGapColumns) {
  createLog();
  auto alignment = alignmentOf(kExample);
  ASSERT_TRUE(withParameters(*alignment, {}));
  EXPECT_EQ(rowsOf(*alignment), (std::vector<std::string>{"ACD", "E--", "---", "KLM"}));
  EXPECT_EQ(report_.exchange, ExchangeOutcome::Rewritten);
  EXPECT_EQ(report_.run.outcome, RunOutcome::OverwriteRefused);
  EXPECT_EQ(report_.sentRows, (std::vector<unsigned long>{0, 1, 3}));
  EXPECT_EQ(report_.fixed, 0u);
  EXPECT_EQ(interaction_.debugMessages(),
            (std::vector<std::string>{"Calculating Zemtra.", "Prepare data for ZEMTRA.", "Do the real thing", "Cancel",
                                      "Re-alignment by Zemtra done, returning results", "DECRYPT ready"}));
  EXPECT_TRUE(debugLines().isEmpty());
}

TEST_F(PluginHost, TreePhaseJoinsEverySentRow) {
  auto alignment = alignmentOf({"ACDEFG", "------", "ACDFG-", "AKDEFG"});
  ZemtraParameters parameters;
  parameters.logName = "three.log";
  ASSERT_TRUE(withParameters(*alignment, parameters));
  EXPECT_EQ(report_.run.outcome, RunOutcome::Completed);
  EXPECT_TRUE(QFile::exists(logPath("three.log")));
  // Two joins over the three run rows, the last one taking in every row.
  const JoinHistory& history = report_.run.history;
  ASSERT_EQ(history.joins.size(), 2u);
  ASSERT_EQ(history.families.size(), 1u);
  std::vector<unsigned long> order = history.families.front();
  std::sort(order.begin(), order.end());
  EXPECT_EQ(order, (std::vector<unsigned long>{1, 2, 3}));
}

TEST_F(PluginHost, PrealignedCountAboveTheSequenceCountTakesEveryRow) {
  auto alignment = alignmentOf(kExample);
  ZemtraParameters parameters;
  parameters.prealigned = 9;
  EXPECT_FALSE(withParameters(*alignment, parameters));
  EXPECT_EQ(report_.exchange, ExchangeOutcome::NoAdditionalSequences);
  EXPECT_EQ(report_.fixed, 3u);
  EXPECT_EQ(rowsOf(*alignment), kExample);
}

// ---- The library file --------------------------------------------------------

TEST(PluginLibrary, EntryPointsAreExportedUnmangled) {
  if (QStandardPaths::findExecutable("nm").isEmpty()) GTEST_SKIP() << "nm is not available";
  QProcess nm;
  nm.start("nm", {"-D", "--defined-only", ZEMTRA_PLUGIN_PATH});
  nm.waitForFinished();
  const QString symbols = QString::fromLocal8Bit(nm.readAllStandardOutput());
  for (const char* name : {" T Execute1\n", " T Cleanup\n", " T ExecuteWithParameters\n"})
    EXPECT_TRUE(symbols.contains(QLatin1String(name))) << name;
  EXPECT_TRUE(symbols.contains(QLatin1String("CreateTree2"))) << "engine routines are exported as well";
}

}  // namespace
