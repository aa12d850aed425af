// The window's own dialog for the consistency method: rounds of the
// consistency transformation and refinement attempts.
#pragma once

#include <QString>
#include <optional>

#include "app/gui/run_results.h"

class QWidget;

namespace karvo_gui {

// The settings as the person left them, or nothing when cancelled.
std::optional<ConsistencySettings> askConsistencySettings(QWidget* parent, const QString& title,
                                                          const ConsistencySettings& start);

}  // namespace karvo_gui
