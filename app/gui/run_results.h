// What the window keeps of a plug-in run besides the rewritten alignment:
// the run log (its file, or its text when the run wrote none) and, after a
// consistency run, each column's confidence. No toolkit here.
#pragma once

#include <string>
#include <vector>

#include "host/alignment.h"
#include "plugin/zemtra_plugin.h"

namespace karvo_gui {

struct RunResults {
  std::string logPath;  // empty: the run wrote no log file
  std::string logText;  // the log as the run handed it back; empty when only the file has it
  // Per column of the alignment as the run left it; below 0 outside the
  // re-aligned range. Empty: no consistency run.
  std::vector<float> confidence;
};

// The consistency method's own settings, asked for by the window.
struct ConsistencySettings {
  int rounds = 2;
  int refineIterations = 400;
};
inline constexpr int kMaxConsistencyRounds = 5;
inline constexpr int kMaxRefineIterations = 1000;

// The parameters of a window-less consistency run: the settings clamped to
// their ranges, the plug-in's defaults otherwise, the log text handed back
// instead of written to a file.
ZemtraParameters consistencyParameters(const ConsistencySettings& settings);

// The confidence of a run's re-aligned columns spread over an alignment of
// width columns, the range starting at column first; columns outside it
// (and values the run did not give) get -1, values are clamped to [0, 1].
std::vector<float> confidenceByColumn(const std::vector<float>& rangeConfidence, unsigned long first,
                                      unsigned long width);

// Confidence as one of steps shades, 0 the least confident; -1 for none.
int confidenceStep(float confidence, int steps);

}  // namespace karvo_gui
