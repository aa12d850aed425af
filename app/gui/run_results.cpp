#include "app/gui/run_results.h"

#include <algorithm>
#include <cmath>

namespace karvo_gui {

ZemtraParameters consistencyParameters(const ConsistencySettings& settings) {
  ZemtraParameters parameters;
  parameters.method = ZemtraMethod::Consistency;
  parameters.consistencyRounds = std::clamp(settings.rounds, 0, kMaxConsistencyRounds);
  parameters.refineIterations = std::clamp(settings.refineIterations, 0, kMaxRefineIterations);
  parameters.writeLogFile = false;
  // The window draws the run's guide tree.
  parameters.wantTables = true;
  return parameters;
}

std::vector<float> confidenceByColumn(const std::vector<float>& rangeConfidence, unsigned long first,
                                      unsigned long width) {
  std::vector<float> columns(width, -1.0f);
  for (std::size_t i = 0; i < rangeConfidence.size() && first + i < width; ++i) {
    const float value = rangeConfidence[i];
    if (std::isfinite(value)) columns[first + i] = std::clamp(value, 0.0f, 1.0f);
  }
  return columns;
}

int confidenceStep(float confidence, int steps) {
  if (!(confidence >= 0.0f) || steps <= 0) return -1;
  return std::min(steps - 1, static_cast<int>(std::min(confidence, 1.0f) * static_cast<float>(steps)));
}

}  // namespace karvo_gui
