// Finding the run log that a plug-in wrote into the personal temporary
// directory. The log's name comes from the parameter dialog, which belongs to
// the plug-in, so the window compares the directory before and after the run
// and, where it can, reads the name from the dialog as it closes.
#pragma once

#include <QObject>
#include <QString>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace karvo_gui {

// Modification times of the regular files of a directory.
using DirectorySnapshot = std::map<std::string, std::filesystem::file_time_type>;

DirectorySnapshot snapshotDirectory(const std::string& directory);

// The log a run wrote: the file called namedLog when it was written during
// the run, else the newest "*.log" written during the run other than the
// host's own karvo.log; nullopt when the run wrote none.
std::optional<std::string> findRunLog(const std::string& directory, const DirectorySnapshot& before,
                                      const std::string& namedLog);

// While it exists, remembers the text of the "logFilename" line edit of any
// dialog that closes.
class LogNameWatcher : public QObject {
  Q_OBJECT

 public:
  LogNameWatcher();
  ~LogNameWatcher() override;
  const QString& name() const { return name_; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QString name_;
};

}  // namespace karvo_gui
