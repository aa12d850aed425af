// What the window knows about a plug-in run's log: the path the plug-in
// reports, and the host log kept in memory for the Run Log view.
#pragma once

#include <cstddef>
#include <string>

#include "app/plugin_loader.h"

namespace karvo_gui {

// The window keeps the host log's last kHostLogLimit bytes in memory and
// writes none of it to disk.
inline constexpr std::size_t kHostLogLimit = 8u << 20;

// Installs the window's host-log sink (once) and returns the kept text.
const std::string& hostLogText();

// The run log the plug-in's last Execute1 call on this thread wrote, from
// its LastRunReport; empty when it wrote none or does not report.
std::string reportedRunLog(const karvo_app::LoadedPlugin& plugin);

}  // namespace karvo_gui
