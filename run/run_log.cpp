#include "run/run_log.h"

#include <sys/stat.h>

#include "host/config.h"
#include "host/logger.h"

namespace {

bool isDirectory(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool exists(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0;
}

}  // namespace

bool placeRunLog(RunInteraction& interaction, const RunLogOptions& options, RunDetails& result, RunLogPlace& place) {
  // Without a file the personal directory is not even looked for.
  const bool personal = options.folder.empty();
  place.dir = !options.writeFile ? std::string() : personal ? Config::GetPersonalTmpDir() : options.folder;
  place.path = options.writeFile ? place.dir + "/" + options.name : std::string();
  result.logPath = place.path;
  if (options.writeFile && !isDirectory(place.dir) && (!personal || ::mkdir(place.dir.c_str(), 0700) != 0)) {
    interaction.debugMessage("zemtra::Can not create dir : " + place.dir);
    interaction.debugMessage("        multiple alignment process interrupted. ");
    result.outcome = RunOutcome::DirectoryFailed;
    result.logProblem = (personal ? "cannot create the log folder " : "the log folder is not a folder: ") + place.dir;
    return false;
  }
  if (options.writeFile && exists(place.path) && !interaction.confirmOverwrite(place.path)) {
    interaction.debugMessage("Cancel");
    result.outcome = RunOutcome::OverwriteRefused;
    result.logProblem = "the existing log " + place.path + " was kept";
    return false;
  }
  return true;
}

void finishRunLog(RunLogFile& log, const RunLogPlace& place, const RunLogOptions& options, RunDetails& result) {
  const bool written = log.commit();
  if (options.text != nullptr) {
    std::string* text = options.text;
    text->clear();
    log.readBack([text](std::string_view piece) { text->append(piece); });
  }
  Logger::Entry entry;
  log.readBack([&entry](std::string_view piece) { entry.append(piece); });
  if (!written && options.writeFile) {
    entry.append("\nCould not open ");
    entry.append(place.path);
    entry.append("! ZEMTRA::PROCESS no log file");
  }
  result.logWritten = written;
  if (!written) result.logProblem = log.problem();
}
