// Plug-in runs from the window: the plug-in's own entry with its dialog, and
// the consistency method through the window-less entry with the window's
// dialog. Both keep a copy for undo and a recovery file while they run.
#include <unistd.h>

#include <QDialog>
#include <QStatusBar>
#include <exception>
#include <new>

#include "app/gui/alignment_view.h"
#include "app/gui/consistency_dialog.h"
#include "app/gui/main_window.h"
#include "app/gui/run_log.h"
#include "host/config.h"
#include "run/qt_run_interaction.h"

namespace karvo_gui {

struct MainWindow::RunCall {
  // Runs on the alignment; true when it rewrote it. Fills in what the run
  // left besides the rows.
  std::function<bool(KARVO::Alignment&, RunResults&, KARVO::PhyloTree&)> call;
};

QStringList MainWindow::pluginNames() const {
  QStringList names;
  for (const auto& plugin : plugins_) names << QString::fromStdString(pluginDisplayName(plugin.name));
  return names;
}

karvo_app::LoadedPlugin* MainWindow::loadPlugin(int index, const QString& name) {
  try {
    auto& plugin = loaded_[index];
    if (!plugin) plugin = karvo_app::LoadedPlugin::open(plugins_[static_cast<std::size_t>(index)].path);
    return plugin.get();
  } catch (const karvo_app::PluginError& error) {
    loaded_.erase(index);
    report(name, QString::fromStdString(error.what()));
    return nullptr;
  }
}

MainWindow::RunOutcome MainWindow::runPlugin(int index) {
  using Execute1Fn = bool (*)(KARVO::Alignment&);
  const QString name = index >= 0 && index < static_cast<int>(plugins_.size()) ? pluginNames()[index] : QString();
  return runWith(index, name, [this, name](karvo_app::LoadedPlugin& plugin) -> RunCall {
    const auto execute = reinterpret_cast<Execute1Fn>(plugin.symbol("Execute1"));
    if (execute == nullptr) {
      report(name, tr("%1 does not export Execute1.").arg(QString::fromStdString(plugin.path())));
      return {};
    }
    return {[execute, &plugin](KARVO::Alignment& alignment, RunResults& results, KARVO::PhyloTree& tree) {
      const bool changed = execute(alignment);
      results.logPath = reportedRunLog(plugin);
      // The report of the run, from plug-ins that keep one.
      if (const LastRunReportFn last = plugin.lastRunReport()) {
        if (const ZemtraRunReport* runReport = last(); runReport != nullptr && changed)
          tree = guideTreeOfRun(*runReport, alignment).tree;
      }
      return changed;
    }};
  });
}

MainWindow::RunOutcome MainWindow::runConsistencyWithDialog(int index) {
  if (running_ || index < 0 || index >= static_cast<int>(plugins_.size())) return RunOutcome::Refused;
  const QString title = tr("%1 consistency alignment").arg(pluginNames()[index]);
  // Nothing to ask about without an alignment or columns: the run says why.
  if (alignment() == nullptr || view_->selection().first >= view_->selection().second)
    return runConsistency(index, consistency_);
  const std::optional<ConsistencySettings> chosen = askConsistencySettings(this, title, consistency_);
  if (!chosen) return RunOutcome::Unchanged;
  consistency_ = *chosen;
  return runConsistency(index, consistency_);
}

MainWindow::RunOutcome MainWindow::runConsistency(int index, const ConsistencySettings& settings) {
  const QString name = index >= 0 && index < static_cast<int>(plugins_.size()) ? pluginNames()[index] : QString();
  const QString title = tr("%1 consistency alignment").arg(name);
  return runWith(index, title, [this, title, settings](karvo_app::LoadedPlugin& plugin) -> RunCall {
    const auto execute = reinterpret_cast<ExecuteWithParametersFn>(plugin.symbol("ExecuteWithParameters"));
    if (execute == nullptr) {
      report(title, tr("%1 does not export ExecuteWithParameters.").arg(QString::fromStdString(plugin.path())));
      return {};
    }
    return {[execute, settings](KARVO::Alignment& alignment, RunResults& results, KARVO::PhyloTree& tree) {
      QtRunInteraction interaction;
      ZemtraRunReport runReport;
      ZemtraParameters parameters = consistencyParameters(settings);
      parameters.wantLogText = true;
      const unsigned long first = alignment.selection.first;
      const bool changed = execute(alignment, parameters, interaction, &runReport);
      results.logText = runReport.logText;
      if (runReport.run.logWritten) results.logPath = runReport.run.logPath;
      if (!changed) return false;
      results.confidence = confidenceByColumn(runReport.columnConfidence, first, alignment.columnCount());
      tree = guideTreeOfRun(runReport, alignment).tree;
      return true;
    }};
  });
}

// The steps every run shares, in the order a failure anywhere must undo them.
MainWindow::RunOutcome MainWindow::runWith(int index, const QString& name,
                                           const std::function<RunCall(karvo_app::LoadedPlugin&)>& prepare) {
  if (running_ || index < 0 || index >= static_cast<int>(plugins_.size())) return RunOutcome::Refused;
  if (alignment() == nullptr) {
    report(name, tr("Open an alignment before running %1.").arg(name));
    return RunOutcome::Refused;
  }
  if (view_->selection().first >= view_->selection().second) {
    report(name, tr("Select the columns to re-align by dragging over the ruler, then run %1 again.").arg(name));
    return RunOutcome::Refused;
  }
  karvo_app::LoadedPlugin* plugin = loadPlugin(index, name);
  const RunCall run = plugin != nullptr ? prepare(*plugin) : RunCall{};
  if (!run.call) return RunOutcome::Failed;

  std::unique_ptr<KARVO::Alignment> before;
  try {
    before = alignment()->clone();
  } catch (const std::bad_alloc&) {
    report(name, tr("There is not enough memory to keep a copy of the alignment, so %1 was not started.").arg(name));
    return RunOutcome::Refused;
  }

  setRunning(true);
  const RecoveryFiles recovery = recoveryFilesFor(Config::GetPersonalTmpDir(), filePath().toStdString());
  try {
    writeRecovery(recovery, *alignment(), {filePath().toStdString(), static_cast<long>(getpid())});
  } catch (const std::exception& error) {
    // The copy in memory still protects the alignment against a failing run.
    qWarning("karvo: no recovery file: %s", error.what());
  }

  bool changed = false;
  QString failure;
  RunResults results;
  KARVO::PhyloTree runTree;
  try {
    changed = run.call(*alignment(), results, runTree);
  } catch (const std::bad_alloc&) {
    failure = tr("it ran out of memory");
  } catch (const std::exception& error) {
    failure = QString::fromLocal8Bit(error.what());
  } catch (...) {
    failure = tr("an unknown error");
  }
  removeRecovery(recovery);
  if (!results.logPath.empty() || !results.logText.empty()) document_->setRunLog(results);

  if (!failure.isEmpty()) {
    document_->restore(std::move(before));
    setRunning(false);
    report(tr("%1 failed").arg(name),
           tr("%1 stopped with an error: %2.\nThe alignment is as it was before the run.").arg(name, failure));
    return RunOutcome::Failed;
  }
  if (changed) document_->pushRun(std::move(before), std::move(results), tr("Run %1").arg(name));
  view_->reloadAlignment();
  setRunning(false);
  // The rows may follow the new tree, as an edit of their own after the run.
  if (!runTree.empty()) setGuideTree(std::move(runTree));
  updateStatus();
  if (logWindow_ != nullptr && logWindow_->isVisible()) showRunLog();
  return changed ? RunOutcome::Changed : RunOutcome::Unchanged;
}

}  // namespace karvo_gui
