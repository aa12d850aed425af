#include "app/gui/run_log.h"

#include <memory>

#include "host/logger.h"
#include "plugin/zemtra_plugin.h"

namespace karvo_gui {

const std::string& hostLogText() {
  static const std::shared_ptr<Logger::BoundedText> kept = [] {
    auto text = std::make_shared<Logger::BoundedText>(kHostLogLimit);
    Logger::SetSink([text](std::string_view piece) { text->append(piece); });
    return text;
  }();
  return kept->text();
}

std::string reportedRunLog(const karvo_app::LoadedPlugin& plugin) {
  const LastRunReportFn lastReport = plugin.lastRunReport();
  const ZemtraRunReport* report = lastReport != nullptr ? lastReport() : nullptr;
  if (report == nullptr || report->exchange != ExchangeOutcome::Rewritten || !report->run.logWritten) return {};
  return report->run.logPath;
}

}  // namespace karvo_gui
