#pragma once

#include <string>

namespace Config {

// The user's personal temporary directory: $KARVO_TMPDIR when set, else
// karvo-<uid> under $XDG_RUNTIME_DIR, else ~/.cache/karvo. Created with
// mode 0700 when missing; never a predictable name in a shared /tmp.
std::string GetPersonalTmpDir();

}  // namespace Config
