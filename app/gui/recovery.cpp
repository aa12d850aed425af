#include "app/gui/recovery.h"

#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "formats/alignment_io.h"

namespace karvo_gui {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kAlignmentSuffix = ".recovery.fa";
constexpr std::string_view kMarkerSuffix = ".recovery.path";

bool processRunning(long processId) {
  if (processId <= 0) return false;
  // EPERM: the process exists but belongs to someone else.
  return kill(static_cast<pid_t>(processId), 0) == 0 || errno == EPERM;
}

RecoveryOrigin readMarker(const std::string& path) {
  RecoveryOrigin origin;
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line)) {
    if (line.starts_with("path=")) origin.originalPath = line.substr(5);
    if (line.starts_with("pid=")) {
      try {
        origin.processId = std::stol(line.substr(4));
      } catch (const std::exception&) {
        origin.processId = 0;
      }
    }
  }
  return origin;
}

}  // namespace

RecoveryFiles recoveryFilesFor(const std::string& directory, const std::string& openPath) {
  std::string base = openPath.empty() ? std::string("untitled") : fs::path(openPath).stem().string();
  if (base.empty()) base = "untitled";
  const fs::path dir(directory);
  return {(dir / (base + std::string(kAlignmentSuffix))).string(),
          (dir / (base + std::string(kMarkerSuffix))).string()};
}

void writeRecovery(const RecoveryFiles& files, const KARVO::Alignment& alignment, const RecoveryOrigin& origin) {
  KARVO::writeAlignmentFile(files.alignmentPath, alignment, KARVO::AlignmentFormat::Fasta);
  std::ofstream out(files.markerPath, std::ios::trunc);
  out << "path=" << origin.originalPath << "\npid=" << origin.processId << "\n";
  out.close();
  if (!out) throw std::runtime_error("cannot write " + files.markerPath);
}

void removeRecovery(const RecoveryFiles& files) {
  std::error_code ignored;
  fs::remove(files.alignmentPath, ignored);
  fs::remove(files.markerPath, ignored);
}

std::vector<PendingRecovery> findRecoveries(const std::string& directory) {
  std::vector<std::pair<fs::file_time_type, PendingRecovery>> found;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(directory, error)) {
    const std::string name = entry.path().filename().string();
    if (!name.ends_with(kAlignmentSuffix) || !entry.is_regular_file(error)) continue;
    const std::string base = name.substr(0, name.size() - kAlignmentSuffix.size());
    PendingRecovery pending;
    pending.files = {entry.path().string(),
                     (entry.path().parent_path() / (base + std::string(kMarkerSuffix))).string()};
    pending.origin = readMarker(pending.files.markerPath);
    if (processRunning(pending.origin.processId)) continue;
    found.emplace_back(entry.last_write_time(error), std::move(pending));
  }
  std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<PendingRecovery> result;
  for (auto& item : found) result.push_back(std::move(item.second));
  return result;
}

}  // namespace karvo_gui
