// Where the run log goes and in what form: as the plug-in writes it, not at
// all (--no-log), or gzip-compressed (--log FILE.gz); and how large it will
// be, known before the run: its tables are square in the sequence count, so
// a large family's log can outgrow the scratch folder it is written to.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/align_options.h"

namespace karvo_app {

// What the plug-in is asked to do with the log, and what karvo does after.
// A compressed log is first written plain by the run under a hidden name in
// the target's folder (runName), then compressed into the target a buffer
// at a time and removed, so that neither the run nor karvo holds the whole
// text in memory.
struct LogPlan {
  bool write = true;     // false: --no-log, no file anywhere
  std::string folder;    // for the plug-in (empty: personal directory)
  std::string runName;   // the name the run writes, in folder
  std::string gzipInto;  // the --log FILE.gz to compress into; empty: none
};

LogPlan planLog(const LogTarget& target, bool noLog);

// Compresses the run's plain log into plan.gzipInto and removes it; throws
// std::runtime_error with a one-line message (the plain log is removed
// then too).
void compressRunLog(const LogPlan& plan);

// Removes the plain log of a compressed plan, as far as the run made one.
void discardRunLog(const LogPlan& plan);

// The bytes of the run log of a run over sequences with these names: the
// nine sequence-by-sequence tables (six characters a cell, ten cells a
// line, the name cut to seven characters), the joins with the names of
// their groups (taken as a balanced tree) and the fixed text around them.
// An estimate: cells wider than six characters and lopsided trees make
// the log somewhat larger.
std::uint64_t runLogBytes(const std::vector<std::string>& names);

// Logs larger than this get a warning before the run.
inline constexpr std::uint64_t kLargeLogBytes = std::uint64_t{1} << 30;

// "the run log of 4000 sequences will take about 1.1 GiB in PATH; --no-log
// runs without it, --log FILE.gz keeps it compressed"; nullopt for logs up
// to kLargeLogBytes.
std::optional<std::string> largeLogWarning(std::size_t sequences, std::uint64_t bytes, const std::string& path);

}  // namespace karvo_app
