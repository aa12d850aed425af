#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <thread>
#include <vector>

#include "host/config.h"
#include "host/file_io.h"
#include "host/logger.h"
#include "tests/support/scratch_dir.h"

namespace {

namespace fs = std::filesystem;

unsigned modeOf(const std::string& path) {
  struct stat info {};
  ::lstat(path.c_str(), &info);
  return info.st_mode & 07777;
}

// Every test starts without any of the variables that choose the folder.
class PersonalTmpDir : public testing::Test {
 protected:
  ztest::ScratchDir base;
  ztest::ScopedEnv tmp{"KARVO_TMPDIR", std::nullopt};
  ztest::ScopedEnv runtime{"XDG_RUNTIME_DIR", std::nullopt};
  ztest::ScopedEnv home{"HOME", base.path()};
  ztest::ScopedEnv verbose{"KARVO_VERBOSE", std::nullopt};
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
    ztest::ScopedEnv homeHere("HOME", dir.path());
    ztest::ScopedEnv chosen("KARVO_TMPDIR", c.chosen && !c.chosen->empty() ? dir / *c.chosen : c.chosen);
    ztest::ScopedEnv runtimeHere("XDG_RUNTIME_DIR", c.runtime ? std::optional(dir / *c.runtime) : std::nullopt);
    EXPECT_EQ(Config::GetPersonalTmpDir(), dir / c.expected);
    for (const std::string& folder : c.private_) EXPECT_EQ(modeOf(dir / folder), 0700u) << folder;
  }
}

TEST_F(PersonalTmpDir, LocatingReportsWhetherTheDirectoryIsRefusedWithoutWriting) {
  ztest::ScopedEnv chosen("KARVO_TMPDIR", base / "mine");
  const Config::PersonalTmpDir usable = Config::LocatePersonalTmpDir();
  EXPECT_EQ(usable.path, base / "mine");
  EXPECT_EQ(usable.refusal, "");
  fs::create_directories(base / "elsewhere");
  ztest::ScopedEnv linked("KARVO_TMPDIR", base / "link");
  fs::create_directory_symlink(base / "elsewhere", base / "link");
  testing::internal::CaptureStderr();
  const Config::PersonalTmpDir found = Config::LocatePersonalTmpDir();
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
  ztest::ScopedEnv chosen("KARVO_TMPDIR", base / "theirs");
  testing::internal::CaptureStderr();
  EXPECT_EQ(Config::GetPersonalTmpDir(), "/dev/null" + (base / "theirs"));
  testing::internal::GetCapturedStderr();
}

class LoggerTest : public PersonalTmpDir {
 protected:
  ztest::ScopedEnv chosen{"KARVO_TMPDIR", base / "log"};
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
