// Writing files without leaving them half-written.
#pragma once

#include <string>
#include <string_view>

namespace KARVO {

// The folder a path names a file in: everything before its last '/', "/"
// for a file at the root and "." for a bare name.
std::string folderOf(const std::string& path);

// Writes all of bytes to fd, going on after interrupted writes. False, with
// errno set, when a write fails.
bool writeAll(int fd, std::string_view bytes);

// Writes data to a temporary file in path's folder and renames it over path,
// so that path is never half-written; an existing file keeps its
// permissions, a symbolic link stays a link (the file it points to is
// replaced), and devices or pipes are written in place. Throws
// std::runtime_error with a one-line message naming path on failure
// (nothing is left behind).
void writeFileAtomically(const std::string& path, std::string_view data);

}  // namespace KARVO
