#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

#include "host/config.h"
#include "host/file_io.h"
#include "host/logger.h"
#include "tests/support/host_settings.h"
#include "tests/support/scratch_dir.h"

namespace {

namespace fs = std::filesystem;

unsigned modeOf(const std::string& path) {
  struct stat info {};
  ::lstat(path.c_str(), &info);
  return info.st_mode & 07777;
}

Config::HostSettings homeOnly(const std::string& home) { return {"", "", home, false}; }

// The variables are taken as they are when read, and the settings in force
// stay as first read until a host replaces them.
TEST(HostSettings, AreReadFromTheEnvironmentAndKeptUntilReplaced) {
  ztest::ScopedEnv tmp("KARVO_TMPDIR", "/t");
  ztest::ScopedEnv runtime("XDG_RUNTIME_DIR", std::nullopt);
  ztest::ScopedEnv home("HOME", "/h");
  for (const auto& [value, verbose] : {std::pair<const char*, bool>{"1", true}, {"yes", false}, {"", false}}) {
    ztest::ScopedEnv loud("KARVO_VERBOSE", std::string(value));
    const Config::HostSettings read = Config::SettingsFromEnvironment();
    EXPECT_EQ(read.tmpDir, "/t");
    EXPECT_EQ(read.runtimeDir, "");
    EXPECT_EQ(read.home, "/h");
    EXPECT_EQ(read.verbose, verbose) << value;
  }
  const ztest::ScopedHostSettings kept(Config::SettingsFromEnvironment());
  ztest::ScopedEnv moved("KARVO_TMPDIR", "/elsewhere");
  EXPECT_EQ(Config::Settings().tmpDir, "/t");
}

// Readers on several threads (the Python module's) while a host replaces
// the settings: each read is one whole set of them.
TEST(HostSettingsThreads, ReadsWhileAnotherThreadReplacesThem) {
  const Config::HostSettings first{"/first/tmp", "", "/first", false}, second{"/second/tmp", "/run", "/second", true};
  const ztest::ScopedHostSettings kept(first);
  std::thread writer([&] {
    for (int i = 0; i < 2000; ++i) Config::UseSettings(i % 2 ? first : second);
  });
  for (int i = 0; i < 2000; ++i) {
    const Config::HostSettings read = Config::Settings();
    const Config::HostSettings& expected = read.verbose ? second : first;
    ASSERT_TRUE(read.tmpDir == expected.tmpDir && read.runtimeDir == expected.runtimeDir && read.home == expected.home);
  }
  writer.join();
}

// Every test starts with none of the settings that choose the folder but
// the home directory.
class PersonalTmpDir : public testing::Test {
 protected:
  ztest::ScratchDir base;
  ztest::ScopedHostSettings homeSettings{homeOnly(base.path())};
};

// KARVO_TMPDIR when not empty, else the runtime directory, else the home
// cache; every folder made on the way is private.
TEST_F(PersonalTmpDir, ChoosesTheFirstGivenPlaceAndMakesItPrivate) {
  const struct {
    std::optional<std::string> chosen, runtime;
    std::string expected;
    std::vector<std::string> private_;
  } cases[] = {
      {"mine", "run", "mine", {"mine"}},
      {"", "run", "run/karvo", {"run/karvo"}},
      {std::nullopt, "run", "run/karvo", {"run/karvo"}},
      {std::nullopt, std::nullopt, ".cache/karvo", {".cache", ".cache/karvo"}},
  };
  for (const auto& c : cases) {
    ztest::ScratchDir dir;
    Config::HostSettings settings = homeOnly(dir.path());
    if (c.chosen && !c.chosen->empty()) settings.tmpDir = dir / *c.chosen;
    if (c.runtime) settings.runtimeDir = dir / *c.runtime;
    const ztest::ScopedHostSettings here(settings);
    EXPECT_EQ(Config::GetPersonalTmpDir(), dir / c.expected);
    for (const std::string& folder : c.private_) EXPECT_EQ(modeOf(dir / folder), 0700u) << folder;
  }
}

TEST_F(PersonalTmpDir, LocatingReportsWhetherTheDirectoryIsRefusedWithoutWriting) {
  Config::HostSettings settings = homeOnly(base.path());
  settings.tmpDir = base / "mine";
  const Config::PersonalTmpDir usable = Config::LocatePersonalTmpDir(settings);
  EXPECT_EQ(usable.path, base / "mine");
  EXPECT_EQ(usable.refusal, "");
  fs::create_directories(base / "elsewhere");
  settings.tmpDir = base / "link";
  fs::create_directory_symlink(base / "elsewhere", base / "link");
  testing::internal::CaptureStderr();
  const Config::PersonalTmpDir found = Config::LocatePersonalTmpDir(settings);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(found.path, base / "link");
  EXPECT_EQ(found.refusal, "it is a symbolic link");
}

TEST_F(PersonalTmpDir, RefusesASymbolicLinkWithOneWarningLine) {
  fs::create_directories(base / "elsewhere");
  fs::create_directories(base / ".cache");
  fs::create_directory_symlink(base / "elsewhere", base / ".cache/karvo");
  testing::internal::CaptureStderr();
  const std::string dir = Config::GetPersonalTmpDir();
  const std::string warning = testing::internal::GetCapturedStderr();
  EXPECT_EQ(dir, "/dev/null" + (base / ".cache/karvo"));
  std::error_code error;
  EXPECT_FALSE(fs::create_directories(dir + "/x", error));
  EXPECT_EQ(warning, "karvo: refusing temporary directory " + (base / ".cache/karvo") + ": it is a symbolic link\n");
}

TEST_F(PersonalTmpDir, RefusesADirectoryOfAnotherUser) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a directory away";
  fs::create_directory(base / "theirs");
  ASSERT_EQ(::chown((base / "theirs").c_str(), 12345, 12345), 0);
  const ztest::ScopedHostSettings chosen(ztest::withTmpDir(base / "theirs"));
  testing::internal::CaptureStderr();
  EXPECT_EQ(Config::GetPersonalTmpDir(), "/dev/null" + (base / "theirs"));
  testing::internal::GetCapturedStderr();
}

class LoggerTest : public PersonalTmpDir {
 protected:
  ztest::ScopedHostSettings chosen{ztest::withTmpDir(base / "log")};
  std::string kept;
  void SetUp() override {
    Logger::SetSink([this](std::string_view piece) { kept.append(piece); });
  }
  void TearDown() override {
    Logger::SetVerbose(false);
    Logger::SetSink({});
  }
};

TEST_F(LoggerTest, EntriesInPiecesReachTheSinkOneLineEachAndWithoutASinkNothingIsKept) {
  Logger::Write("first");
  {
    Logger::Entry entry;
    entry.append("one ");
    entry.append("");
    entry.append("entry \xc3\xa9");
  }
  { Logger::Entry empty; }
  Logger::Write("next\n");
  EXPECT_EQ(kept, "first\none entry \xc3\xa9\n\nnext\n");
  Logger::SetSink({});
  Logger::Write("text");
  EXPECT_EQ(kept, "first\none entry \xc3\xa9\n\nnext\n");
  EXPECT_FALSE(fs::exists(base / "log"));
}

TEST_F(LoggerTest, CopiesToStandardErrorOnlyWhenVerboseAndReadsTheEnvironmentOnce) {
  testing::internal::CaptureStderr();
  Logger::Write("quiet");
  Logger::SetVerbose(true);
  Logger::Write("loud");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "loud\n");
  Logger::SetVerbose(false);
  ztest::ScopedEnv on("KARVO_VERBOSE", "1");
  testing::internal::CaptureStderr();
  Logger::Write("quiet");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(BoundedText, KeepsTheLastBytesUpToTheLimit) {
  Logger::BoundedText text(5);
  text.append("abc");
  text.append("de");
  EXPECT_EQ(text.text(), "abcde");
  text.append("fg");
  EXPECT_EQ(text.text(), "cdefg");
  text.append("0123456");
  EXPECT_EQ(text.text(), "23456");
}

// Two threads replacing files in one folder at once: each file ends with
// the text last written to it and no temporary file stays behind.
TEST(WriteFileAtomically, TwoThreadsWritingAtOnceKeepEveryFileWhole) {
  ztest::ScratchDir dir;
  const auto writer = [&dir](char tag) {
    for (int i = 0; i < 200; ++i)
      KARVO::writeFileAtomically(dir / (tag + std::to_string(i % 20)), tag + std::to_string(i));
  };
  std::thread first(writer, 'a');
  std::thread second(writer, 'b');
  first.join();
  second.join();
  std::size_t files = 0;
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    const std::string name = entry.path().filename().string();
    std::ifstream in(entry.path());
    std::stringstream text;
    text << in.rdbuf();
    // File tagN was last written in round 180 + N.
    EXPECT_EQ(text.str(), name.substr(0, 1) + std::to_string(180 + std::stoi(name.substr(1)))) << name;
    ++files;
  }
  EXPECT_EQ(files, 40u);
}

}  // namespace
