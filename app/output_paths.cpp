#include "app/output_paths.h"

#include <unistd.h>

#include <filesystem>

namespace karvo_app {

namespace fs = std::filesystem;

bool isStandardStream(const std::string& path) { return path == "-"; }

OutputFormat outputFormatFor(const std::string& output, const std::string& formatOption) {
  if (!formatOption.empty()) {
    if (const auto format = KARVO::formatFromName(formatOption)) return {format, ""};
    return {std::nullopt, "unknown format '" + formatOption + "' (choose " + KARVO::formatChoices() + ")"};
  }
  if (output.empty() || isStandardStream(output)) return {KARVO::AlignmentFormat::Fasta, ""};
  if (const auto format = KARVO::formatFromName(output)) return {format, ""};
  std::error_code error;
  const fs::file_status status = fs::status(output, error);
  if (!error && fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status)) {
    return {KARVO::AlignmentFormat::Fasta, ""};
  }
  return {std::nullopt, "cannot tell the format of -o " + output +
                            " from its name; use --format or one of the extensions: " + KARVO::formatChoices() +
                            ", each also with .gz"};
}

std::string outputPathProblem(const std::string& option, const std::string& path) {
  if (path.empty() || isStandardStream(path)) return "";
  const std::string prefix = option + " " + path + ": ";
  std::error_code error;
  if (fs::is_directory(path, error)) return prefix + "is a folder; name a file";
  const fs::path parent = fs::path(path).parent_path();
  const fs::path folder = parent.empty() ? fs::path(".") : parent;
  if (!fs::exists(folder, error)) return prefix + "the folder " + folder.string() + " does not exist";
  if (!fs::is_directory(folder, error)) return prefix + folder.string() + " is not a folder";
  // A file that exists and can be written in place (a device) needs no
  // write access to its folder.
  const bool writableInPlace =
      fs::exists(path, error) && !fs::is_regular_file(path, error) && ::access(path.c_str(), W_OK) == 0;
  if (!writableInPlace && ::access(folder.c_str(), W_OK | X_OK) != 0) {
    return prefix + "the folder " + folder.string() + " is not writable";
  }
  return "";
}

}  // namespace karvo_app
