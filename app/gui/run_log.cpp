#include "app/gui/run_log.h"

#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QLineEdit>

namespace karvo_gui {

namespace fs = std::filesystem;

DirectorySnapshot snapshotDirectory(const std::string& directory) {
  DirectorySnapshot snapshot;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(directory, error)) {
    if (!entry.is_regular_file(error)) continue;
    const auto time = entry.last_write_time(error);
    if (!error) snapshot[entry.path().filename().string()] = time;
  }
  return snapshot;
}

std::optional<std::string> findRunLog(const std::string& directory, const DirectorySnapshot& before,
                                      const std::string& namedLog) {
  const DirectorySnapshot after = snapshotDirectory(directory);
  const auto written = [&before](const std::string& name, fs::file_time_type time) {
    const auto old = before.find(name);
    return old == before.end() || old->second != time;
  };
  if (!namedLog.empty() && namedLog.find('/') == std::string::npos) {
    const auto named = after.find(namedLog);
    if (named != after.end() && written(named->first, named->second)) return (fs::path(directory) / namedLog).string();
  }
  std::optional<std::pair<std::string, fs::file_time_type>> newest;
  for (const auto& [name, time] : after) {
    if (!name.ends_with(".log") || name == "karvo.log" || !written(name, time)) continue;
    if (!newest || time > newest->second) newest = {name, time};
  }
  if (!newest) return std::nullopt;
  return (fs::path(directory) / newest->first).string();
}

LogNameWatcher::LogNameWatcher() { qApp->installEventFilter(this); }

LogNameWatcher::~LogNameWatcher() { qApp->removeEventFilter(this); }

bool LogNameWatcher::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Hide) {
    if (auto* dialog = qobject_cast<QDialog*>(watched); dialog != nullptr && dialog->result() == QDialog::Accepted) {
      if (auto* edit = dialog->findChild<QLineEdit*>(QStringLiteral("logFilename"))) name_ = edit->text();
    }
  }
  return false;
}

}  // namespace karvo_gui
