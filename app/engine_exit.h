// The engine ends a run it cannot continue in a few documented cases. karvo
// installs an exit handler that names the ending in its usual one-line form
// instead of leaving a bare exit status.
#pragma once

#include <string>

namespace karvo_app {

// The one-line message (without "karvo: ") for the engine's exit with status
// and reason, as handed to the plug-in's exit handler.
std::string engineExitMessage(int status, const std::string& reason);

}  // namespace karvo_app
