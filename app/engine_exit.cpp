#include "app/engine_exit.h"

namespace karvo_app {

std::string engineExitMessage(int status, const std::string& reason) {
  const std::string tail = "; nothing was written";
  if (reason == "rows do not fit") {
    return "the run ended the process (status " + std::to_string(status) +
           "): the re-aligned rows would not fit in twice the range width; try a higher --gap (fewer, shorter "
           "gaps)" +
           tail;
  }
  if (reason == "gap0 B" || reason == "gap A" || reason == "gap B") {
    return "the run ended the process (status " + std::to_string(status) + ", \"" + reason +
           "\"): an alignment of two sequences or groups paired no position" + tail;
  }
  if (reason == "out of memory in the tree builder") {
    return "the run ended the process (status " + std::to_string(status) +
           "): out of memory while building the guide tree" + tail;
  }
  return "the run ended the process with status " + std::to_string(status) + " (" + reason + ")" + tail;
}

}  // namespace karvo_app
