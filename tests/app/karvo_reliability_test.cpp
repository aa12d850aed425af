// karvo end to end where the machine, not the input, is the problem: an
// allocation failure inside the run, and a personal temporary directory
// that must not be used.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "karvo_process.h"
#include "scratch_dir.h"

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

std::string twoRows(unsigned long columns) {
  std::string text;
  for (const char* name : {">a\n", ">b\n"}) {
    text += name;
    for (unsigned long c = 0; c < columns; ++c) text += "ACDEFGHIKLMNPQRSTVWY"[(c * 7 + (name[1] - 'a')) % 20];
    text += '\n';
  }
  return text;
}

class KarvoReliability : public ::testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directory(personal()); }
  std::string personal() const { return dir / "personal"; }

  ProcessResult karvo(std::vector<std::string> args, KarvoLaunch launch = {}) {
    launch.args = std::move(args);
    launch.environment.emplace("KARVO_TMPDIR", personal());
    return runKarvo(launch);
  }

  ScratchDir dir;
};

TEST_F(KarvoReliability, AllocationFailureInTheRunIsReportedAndNothingIsWritten) {
  if (kSanitized) GTEST_SKIP() << "the sanitizers reserve more address space than the limit allows";
  // 8000 columns need a comparison matrix of over a GiB; the limit lets
  // karvo start but not run.
  const std::string input = dir.write("wide.fa", twoRows(8000));
  KarvoLaunch launch;
  launch.environment["KARVO_TEST_SKIP_MEMORY_CHECK"] = "1";
  launch.addressSpaceLimit = 1ul << 30;
  const ProcessResult result = karvo({"align", input, "-o", dir / "out.fa", "-q"}, launch);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "karvo: out of memory; the input is unchanged and nothing was written\n");
  EXPECT_FALSE(fileExists(dir / "out.fa"));
  EXPECT_EQ(readFile(input), twoRows(8000));
}

TEST_F(KarvoReliability, RangeTooWideForTheAddressSpaceIsRefusedBeforeTheRun) {
  if (kSanitized) GTEST_SKIP() << "the sanitizers reserve more address space than the limit allows";
  const std::string input = dir.write("wide.fa", twoRows(8000));
  KarvoLaunch launch;
  launch.addressSpaceLimit = 1ul << 30;
  const ProcessResult result = karvo({"align", input, "-o", dir / "out.fa", "-q"}, launch);
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.err.starts_with("karvo: re-aligning 8000 columns needs about ")) << result.err;
  EXPECT_TRUE(result.err.ends_with(" GiB of memory; this machine has 1.0 GiB available; choose a smaller --range\n"))
      << result.err;
  EXPECT_FALSE(fileExists(dir / "log"));
}

TEST_F(KarvoReliability, PersonalDirectoryThatIsASymbolicLinkIsNotUsed) {
  const std::string real = dir / "real";
  std::filesystem::create_directory(real);
  std::filesystem::remove(personal());
  std::filesystem::create_directory_symlink(real, personal());
  const std::string input = dir.write("in.fa", twoRows(30));
  const ProcessResult result = karvo({"align", input, "-o", dir / "out.fa", "-q"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "karvo: refusing temporary directory " + personal() + ": it is a symbolic link; nothing was aligned\n");
  EXPECT_TRUE(std::filesystem::is_empty(real));
  EXPECT_FALSE(fileExists(dir / "out.fa"));
}

TEST_F(KarvoReliability, PersonalDirectoryOwnedByAnotherUserIsNotUsed) {
  if (::geteuid() != 0) GTEST_SKIP() << "giving a folder away needs root";
  ASSERT_EQ(::chown(personal().c_str(), 65534, 65534), 0);
  const std::string input = dir.write("in.fa", twoRows(30));
  const ProcessResult result = karvo({"align", input, "-o", dir / "out.fa", "-q"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "karvo: refusing temporary directory " + personal() +
                            ": it is owned by another user; nothing was aligned\n");
  EXPECT_TRUE(std::filesystem::is_empty(personal()));
}

TEST_F(KarvoReliability, NewPersonalDirectoryIsPrivate) {
  std::filesystem::remove(personal());
  const std::string input = dir.write("in.fa", twoRows(30));
  ASSERT_EQ(karvo({"align", input, "-o", dir / "out.fa", "-q"}).status, 0);
  struct stat info {};
  ASSERT_EQ(::stat(personal().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700u);
}

}  // namespace
