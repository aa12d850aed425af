// Runs every case of the bad-input catalogue against the built karvo: the
// exit status, the single line on standard error, the input left exactly as
// it was, and the case's own extra checks.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "catalogue.h"
#include "karvo_process.h"
#include "tests/support/scratch_dir.h"

using ztest::readFile;
using ztest::ScratchDir;

namespace {

namespace fs = std::filesystem;

constexpr unsigned kNobody = 65534;

const std::vector<CatalogueCase>& catalogue() {
  static const std::vector<CatalogueCase> cases = readCatalogue(BADINPUT_DIR "/cases.txt");
  return cases;
}

std::string replaceAll(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// A FASTA file of rows x columns residues, rows differing so that they align.
std::string generatedFasta(const std::string& shape) {
  const std::size_t x = shape.find('x');
  const unsigned long rows = std::stoul(shape.substr(0, x));
  const unsigned long columns = std::stoul(shape.substr(x + 1));
  static const std::string kResidues = "ACDEFGHIKLMNPQRSTVWY";
  std::string text;
  for (unsigned long r = 0; r < rows; ++r) {
    text += ">s" + std::to_string(r + 1) + "\n";
    for (unsigned long c = 0; c < columns; ++c) {
      text += kResidues[(c * 7 + r * 3 + c / 11) % kResidues.size()];
      if (c % 60 == 59) text += '\n';
    }
    text += '\n';
  }
  return text;
}

struct FileState {
  std::string bytes;
  timespec modified{};
};

FileState stateOf(const std::string& path) {
  struct stat info {};
  ::stat(path.c_str(), &info);
  return {readFile(path), info.st_mtim};
}

// text matches pattern, where each '*' stands for any run of characters.
bool wildcardMatch(std::string_view text, std::string_view pattern) {
  const std::size_t star = pattern.find('*');
  if (star == std::string_view::npos) return text == pattern;
  if (text.substr(0, star) != pattern.substr(0, star)) return false;
  for (std::size_t skip = star; skip <= text.size(); ++skip) {
    if (wildcardMatch(text.substr(skip), pattern.substr(star + 1))) return true;
  }
  return false;
}

// Whether an ordinary user can reach path (run it, or enter it): it and
// every folder on the way must let others through.
bool runnableByOthers(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || (info.st_mode & S_IXOTH) == 0) return false;
  for (fs::path dir = fs::path(path).parent_path(); !dir.empty() && dir != dir.root_path(); dir = dir.parent_path()) {
    if (::stat(dir.c_str(), &info) != 0 || (info.st_mode & S_IXOTH) == 0) return false;
  }
  return true;
}

bool has(const std::vector<std::string>& list, const std::string& item) {
  return std::find(list.begin(), list.end(), item) != list.end();
}

class BadInput : public testing::TestWithParam<CatalogueCase> {
 protected:
  std::string expand(const std::string& text) const {
    const std::string paths = replaceAll(replaceAll(text, "{input}", input_), "{dir}", dir_.path());
    return replaceAll(replaceAll(paths, "{personal}", personal_), "{shim}", SHIM_DIR);
  }

  // Makes the case's files and returns whether karvo must run as an
  // ordinary user for permissions to matter.
  bool prepare(const CatalogueCase& c) {
    ::chmod(dir_.path().c_str(), 0755);
    fs::create_directory(personal_);
    ::chmod(personal_.c_str(), 0700);
    if (!c.file.empty()) {
      input_ = dir_ / c.file;
      fs::copy_file(std::string(BADINPUT_DIR) + "/data/" + c.file, input_);
    } else if (!c.generate.empty()) {
      input_ = dir_.write("generated.fa", generatedFasta(c.generate));
    }
    bool asUser = false;
    for (const std::string& step : c.setup) {
      if (step == "unreadable-input") {
        ::chmod(input_.c_str(), 0);
        asUser = true;
      } else if (step.starts_with("readonly-folder ")) {
        const std::string folder = dir_ / step.substr(16);
        fs::create_directory(folder);
        ::chmod(folder.c_str(), 0555);
        asUser = true;
      } else if (step.starts_with("folder ")) {
        fs::create_directory(dir_ / step.substr(7));
      } else if (step == "existing-log") {
        dir_.write("personal/zemtra.log", "an older run log\n");
      } else if (step == "log-symlink") {
        dir_.write("target.txt", "not a log\n");
        fs::create_symlink(dir_ / "target.txt", personal_ + "/zemtra.log");
      } else if (step == "personal-symlink") {
        fs::remove(personal_);
        fs::create_directory(dir_ / "real");
        fs::create_directory_symlink(dir_ / "real", personal_);
      } else if (step == "stdout-dev-full") {
        stdoutPath_ = "/dev/full";
      } else if (step.starts_with("env ")) {
        const std::size_t equals = step.find('=');
        environment_.emplace(step.substr(4, equals - 4), expand(step.substr(equals + 1)));
      } else if (step == "no-display") {
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
          environment_.emplace(name, std::nullopt);
      } else {
        ADD_FAILURE() << "unknown setup '" << step << "'";
      }
    }
    if (asUser && ::geteuid() == 0) {
      // Permissions do not stop root: the case runs as nobody, who must
      // still own the personal directory and read the scratch folder.
      ::chown(personal_.c_str(), kNobody, kNobody);
      return true;
    }
    return false;
  }

  ScratchDir dir_;
  std::string personal_ = dir_ / "personal";
  std::string input_;
  std::string stdoutPath_;
  std::map<std::string, std::optional<std::string>> environment_;
};

TEST_P(BadInput, EndsWithItsMessageAndStatus) {
  const CatalogueCase& c = GetParam();
  const bool asUser = prepare(c);
  if (asUser && (!runnableByOthers(KARVO_BINARY) || !runnableByOthers(dir_.path()))) {
    GTEST_SKIP() << "permissions do not stop root, and an ordinary user cannot reach " << KARVO_BINARY << " or "
                 << dir_.path();
  }
  const FileState inputBefore = input_.empty() ? FileState{} : stateOf(input_);

  KarvoLaunch launch;
  for (const std::string& arg : c.args) launch.args.push_back(expand(arg));
  launch.environment = environment_;
  launch.environment.emplace("KARVO_TMPDIR", personal_);
  if (!c.cwd.empty()) launch.workingDir = dir_ / c.cwd;
  launch.stdoutPath = stdoutPath_;
  if (asUser) launch.runAsUser = kNobody;
  const ProcessResult result = runKarvo(launch);

  EXPECT_EQ(result.status, c.status) << result.err;
  const std::string message = expand(c.message);
  if (c.messageIsPattern) {
    EXPECT_TRUE(wildcardMatch(result.err, message + "\n")) << result.err;
  } else {
    EXPECT_EQ(result.err, message.empty() ? "" : message + "\n");
  }

  if (!input_.empty() && !has(c.setup, "unreadable-input")) {
    const FileState inputAfter = stateOf(input_);
    EXPECT_EQ(inputAfter.bytes, inputBefore.bytes) << "the input was modified";
    EXPECT_EQ(inputAfter.modified.tv_sec, inputBefore.modified.tv_sec);
    EXPECT_EQ(inputAfter.modified.tv_nsec, inputBefore.modified.tv_nsec);
  }
  for (const std::string& part : c.stdoutHas) EXPECT_NE(result.out.find(part), std::string::npos) << part;
  for (const std::string& part : c.stdoutLacks) EXPECT_EQ(result.out.find(part), std::string::npos) << part;
  const std::string log = readFile(personal_ + "/zemtra.log");
  for (const std::string& part : c.logHas) EXPECT_NE(log.find(part), std::string::npos) << part;
  for (const std::string& part : c.logLacks) EXPECT_EQ(log.find(part), std::string::npos) << part;
  for (const std::string& file : c.filesExist) EXPECT_TRUE(std::filesystem::exists(expand(file))) << expand(file);
  for (const std::string& file : c.filesAbsent) EXPECT_FALSE(std::filesystem::exists(expand(file))) << expand(file);
  if (has(c.setup, "log-symlink")) {
    EXPECT_EQ(readFile(dir_ / "target.txt"), "not a log\n") << "the log was written through a symbolic link";
  }
}

std::string caseName(const testing::TestParamInfo<CatalogueCase>& info) {
  std::string name = info.param.name;
  for (char& ch : name) {
    if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
  }
  return name;
}

}  // namespace

// Names the case in test listings instead of dumping its bytes.
void PrintTo(const CatalogueCase& c, std::ostream* out) { *out << c.name; }

INSTANTIATE_TEST_SUITE_P(Catalogue, BadInput, testing::ValuesIn(catalogue()), caseName);
