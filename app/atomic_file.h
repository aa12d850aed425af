// Writing a whole file so that readers see either the old file or the new
// one, never a half-written one.
#pragma once

#include <string>
#include <string_view>

namespace karvo_app {

// Writes text to a temporary file in path's folder and renames it over path.
// Throws std::runtime_error with a one-line message naming path on failure;
// the temporary file is removed then.
void writeFileAtomically(const std::string& path, std::string_view text);

// The folder part of a path ("." for a bare name), for placing temporary
// files next to their final name.
std::string folderOf(const std::string& path);

}  // namespace karvo_app
