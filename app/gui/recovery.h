// Recovery files: a copy of the alignment written before a plug-in runs and
// removed after it, so that an alignment survives a plug-in that ends the
// process. A marker beside the copy names the file it came from and the
// process that wrote it.
#pragma once

#include <string>
#include <vector>

#include "host/alignment.h"

namespace karvo_gui {

struct RecoveryFiles {
  std::string alignmentPath;  // "<dir>/<base>.recovery.fa"
  std::string markerPath;     // "<dir>/<base>.recovery.path"
};

// The files for an alignment opened from openPath ("" for one that has no
// file yet: "untitled"); base is the file name without its last extension.
RecoveryFiles recoveryFilesFor(const std::string& directory, const std::string& openPath);

struct RecoveryOrigin {
  std::string originalPath;  // may be empty
  long processId = 0;
};

// Writes the alignment as FASTA and then the marker. Throws
// std::runtime_error with a one-line message when a file cannot be written.
void writeRecovery(const RecoveryFiles& files, const KARVO::Alignment& alignment, const RecoveryOrigin& origin);

// Removes both files; missing files are fine.
void removeRecovery(const RecoveryFiles& files);

struct PendingRecovery {
  RecoveryFiles files;
  RecoveryOrigin origin;
};

// Recovery files left in directory by processes that are no longer running
// (a process still running may be in the middle of its own run), oldest
// first.
std::vector<PendingRecovery> findRecoveries(const std::string& directory);

}  // namespace karvo_gui
