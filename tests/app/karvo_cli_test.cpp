// The karvo binary end to end: options, outputs, refusals, cancellation,
// exit statuses and the machine's limits, each run in its own scratch folder
// and personal directory. Messages of bad input, and what --version, --help
// and --verbose print, are in tests/badinput.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "app/run_log_output.h"
#include "karvo_process.h"
#include "tests/support/golden.h"
#include "tests/support/scratch_dir.h"

using ztest::readFile;
using ztest::ScratchDir;

namespace {

const std::string kThree =
    ">alpha first chain\nMVLSPADKTNVKAAWGKVGAHAGEYGAEALERMFLSFPTTKTYFPHF\n"
    ">beta\nMVHLTPEEKSAVTALWGKVNVDEVGGEALGRLLVVYPWTQRFFESF\n"
    ">myoglobin_sperm_whale\nMVLSEGEWQLVLHVWAKVEADVAGHGQDILIRLFKSHPETLEKFDRF\n";

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
    for (unsigned long c = 0; c < columns; ++c)
      text += "ACDEFGHIKLMNPQRSTVWY"[(c * 7 + static_cast<unsigned long>(name[1] - 'a')) % 20];
    text += '\n';
  }
  return text;
}

std::map<std::string, std::string> fastaRows(const std::string& text) {
  std::map<std::string, std::string> rows;
  std::istringstream in(text);
  std::string line;
  std::string name;
  while (std::getline(in, line)) {
    if (line.starts_with(">")) {
      name = line.substr(1, line.find(' ') == std::string::npos ? std::string::npos : line.find(' ') - 1);
    } else {
      rows[name] += line;
    }
  }
  return rows;
}

class KarvoCli : public ::testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directory(personal()); }

  std::string personal() const { return dir / "personal"; }
  std::string input(const std::string& text = kThree) { return dir.write("in.fa", text); }

  ProcessResult karvo(std::vector<std::string> args, KarvoLaunch launch = {}) {
    launch.args = std::move(args);
    launch.environment.emplace("KARVO_TMPDIR", personal());
    return runKarvo(launch);
  }

  ScratchDir dir;
};

using AlignRun = KarvoCli;

// The personal directory does not exist yet: the run makes it, private.
TEST_F(AlignRun, WritesFastaWithEveryResidueKeptToStandardOutputAndLeavesTheInputUntouched) {
  std::filesystem::remove(personal());
  const std::string path = input();
  const ProcessResult result = karvo({"align", path, "--quiet"});
  ASSERT_EQ(result.status, 0) << result.err;
  const auto before = fastaRows(kThree);
  const auto after = fastaRows(result.out);
  ASSERT_EQ(after.size(), 3u);
  for (auto [name, row] : after) EXPECT_EQ((std::erase(row, '-'), row), before.at(name)) << name;
  EXPECT_EQ(after.at("alpha").size(), after.at("beta").size());
  EXPECT_EQ(readFile(path), kThree);
  struct stat info {};
  ASSERT_EQ(::stat(personal().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700u);
}

TEST_F(AlignRun, OutputFormatFollowsTheOutputNameUnlessFormatIsGiven) {
  ASSERT_EQ(karvo({"align", input(), "-o", dir / "out.aln"}).status, 0);
  EXPECT_TRUE(readFile(dir / "out.aln").starts_with("CLUSTAL"));
  ASSERT_EQ(karvo({"align", input(), "-o", dir / "out.txt", "--format", "MSF", "--force"}).status, 0);
  EXPECT_NE(readFile(dir / "out.txt").find(" MSF: "), std::string::npos);
}

TEST_F(AlignRun, ColumnsOutsideTheRangeStayAsTheyWere) {
  // Columns 1 to 6 hold a deliberately odd block that a full run would change.
  const std::string aligned = ">a\nMV--LSPADKTNVKAAWGKVG\n>b\n--MVHLTPEEKSAVTALWGKV\n>c\nM-V-LSEGEWQLVLHVWAKVE\n";
  const ProcessResult result = karvo({"align", input(aligned), "--range", "7:21", "-q"});
  ASSERT_EQ(result.status, 0) << result.err;
  const auto rows = fastaRows(result.out);
  EXPECT_EQ(rows.at("a").substr(0, 6), "MV--LS");
  EXPECT_EQ(rows.at("b").substr(0, 6), "--MVHL");
  EXPECT_EQ(rows.at("c").substr(0, 6), "M-V-LS");
}

TEST_F(AlignRun, PrealignedRowsKeepTheirAlignmentToEachOther) {
  const std::string aligned = ">a\nMVLS--PADKTNVKAAW\n>b\nMV--HLTPEEKSAVTAL\n>c\nMVLSEGEWQLVLHVWAK\n";
  const ProcessResult result = karvo({"align", input(aligned), "--prealigned", "2", "-q"});
  ASSERT_EQ(result.status, 0) << result.err;
  const auto rows = fastaRows(result.out);
  std::string a, b;  // the two rows without the columns where both are gaps
  for (std::size_t c = 0; c < rows.at("a").size(); ++c) {
    if (rows.at("a")[c] == '-' && rows.at("b")[c] == '-') continue;
    a += rows.at("a")[c];
    b += rows.at("b")[c];
  }
  EXPECT_EQ(a, "MVLS--PADKTNVKAAW");
  EXPECT_EQ(b, "MV--HLTPEEKSAVTAL");
}

// Also shows that --gap reaches the run.
TEST_F(AlignRun, SecondRunReplacesTheDefaultLogWithoutAsking) {
  for (const char* gap : {"30", "20"}) {
    const ProcessResult result = karvo({"align", input(), "--gap", gap, "-q"}, {.terminal = true});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err.find("Overwrite"), std::string::npos);
  }
  EXPECT_NE(readFile(personal() + "/zemtra.log").find("Penalty: 20"), std::string::npos);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(personal()), {}), 1);
}

using Consistency = KarvoCli;

// The Stockholm file carries the confidences as a #=GC line; the TSV gives
// one per re-aligned column, numbered in the written alignment.
TEST_F(Consistency, GlobinsGiveTheGoldenFileOnOneThreadAndOnTwo) {
  const std::string globins = std::string(ZEMTRA_SOURCE_DIR) + "/examples/globins.fa";
  std::string tsv;
  for (const char* threads : {"1", "2"}) {
    KarvoLaunch launch;
    launch.environment.emplace("ZEMTRA_THREADS", threads);
    const ProcessResult result = karvo({"align", globins, "--method", "consistency", "--refine", "20", "-q", "--force",
                                        "-o", dir / "out.sto", "--confidence", dir / "conf.tsv"},
                                       launch);
    ASSERT_EQ(result.status, 0) << result.err;
    ztest::expectGolden("app/globins_consistency.sto", readFile(dir / "out.sto"));
    if (tsv.empty()) tsv = readFile(dir / "conf.tsv");
    EXPECT_EQ(readFile(dir / "conf.tsv"), tsv) << threads;
  }
  EXPECT_TRUE(tsv.starts_with("column\tconfidence\n1\t"));
}

TEST_F(Consistency, ItsSettingsAreRefusedWithTheProgressiveMethod) {
  for (const char* option : {"--refine", "--consistency-rounds"}) {
    const ProcessResult result = karvo({"align", input(), option, "3"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "karvo: " + std::string(option) +
                              " belongs to the consistency method; add --method consistency or leave " + option +
                              " out\n");
  }
}

// The size karvo foresees for a run log (to warn of one that would fill
// the scratch folder) against the log a run of 60 sequences writes; and a
// run without any log file.
TEST_F(AlignRun, RunLogSizeIsForeseenAndNoLogWritesNone) {
  std::vector<std::string> names;
  std::string text;
  for (unsigned long s = 0; s < 60; ++s) {
    names.push_back("family_member_" + std::to_string(100 + s));
    text += ">" + names.back() + "\n";
    for (unsigned long c = 0; c < 40; ++c) text += "ACDEFGHIKLMNPQRSTVWY"[(c * 7 + (c % 5 == 0 ? s : 0)) % 20];
    text += "\n";
  }
  const ProcessResult run = karvo({"align", input(text), "-q", "-o", dir / "out.fa"});
  ASSERT_EQ(run.status, 0) << run.err;
  const auto actual = static_cast<double>(std::filesystem::file_size(personal() + "/zemtra.log"));
  EXPECT_NEAR(static_cast<double>(karvo_app::runLogBytes(names)) / actual, 1.0, 0.03);

  std::filesystem::remove(personal() + "/zemtra.log");
  const ProcessResult none = karvo({"align", input(text), "--no-log", "-o", dir / "out.fa"});
  EXPECT_EQ(none.status, 0) << none.err;
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(personal()), {}), 0);
  EXPECT_EQ(karvo_app::largeLogWarning(60, karvo_app::kLargeLogBytes, "d/zemtra.log"), std::nullopt);
  EXPECT_EQ(karvo_app::largeLogWarning(4500, karvo_app::kLargeLogBytes * 3 / 2, "d/zemtra.log"),
            "the run log of 4500 sequences will take about 1.5 GiB in d/zemtra.log; --no-log runs without it, "
            "--log FILE.gz keeps it compressed");
}

using Progress = KarvoCli;

// Without a terminal the catalogue's summaries show no bar.
TEST_F(Progress, BarShownAtATerminalUnlessQuiet) {
  const ProcessResult result = karvo({"align", input(), "-o", dir / "out.fa"}, {.terminal = true});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.err.find("\raligning pairs ["), std::string::npos);
  EXPECT_NE(result.err.find("] 3/3"), std::string::npos);
  const ProcessResult quiet = karvo({"align", input(), "-o", dir / "out.fa", "-q", "--force"}, {.terminal = true});
  ASSERT_EQ(quiet.status, 0);
  EXPECT_EQ(quiet.err, "");
}

// Without a terminal it is refused before the run, and --force replaces it:
// both are in the bad-input catalogue.
TEST_F(KarvoCli, ExistingLogIsReplacedOnlyWhenTheAnswerAtTheTerminalIsYes) {
  const std::string log = dir.write("mine.log", "old log\n");
  const std::vector<std::string> args{"align", input(), "--log", log, "-o", dir / "out.fa", "-q"};
  const ProcessResult no = karvo(args, {.terminal = true, .typed = "n\n"});
  EXPECT_EQ(no.status, 2);
  EXPECT_NE(no.err.find("karvo: kept " + log + "; nothing was aligned"), std::string::npos);
  EXPECT_EQ(readFile(log), "old log\n");
  EXPECT_FALSE(std::filesystem::exists(dir / "out.fa"));
  const ProcessResult yes = karvo(args, {.terminal = true, .typed = "y\n"});
  EXPECT_EQ(yes.status, 0) << yes.err;
  EXPECT_NE(yes.err.find("Overwrite " + log + "? [y/N] "), std::string::npos);
  EXPECT_NE(readFile(log).find("Penalty: 40"), std::string::npos);
}

// Cancelling through the stand-in plug-in, and refusals, are in the
// bad-input catalogue.
using Cancel = KarvoCli;

TEST_F(Cancel, InterruptSignalCancelsTheRun) {
  std::string many;
  for (int s = 0; s < 24; ++s) {
    many += ">s" + std::to_string(s) + "\n";
    for (int c = 0; c < 300; ++c) many += "ACDEFGHIKLMNPQRSTVWY"[(s * 7 + c * c * 13 + c / (s + 1)) % 20];
    many += "\n";
  }
  const std::string path = input(many);
  const ProcessResult result = karvo({"align", path, "-o", dir / "out.fa"}, {.interruptOnceHandled = true});
  // A run that ended before the signal arrived is let off; any other ending
  // must be the cancellation.
  ASSERT_TRUE(result.status == 130 || result.status == 0) << result.status << result.err;
  if (result.status == 130) {
    EXPECT_EQ(result.err, "karvo: cancelled; the alignment was not changed\n");
    EXPECT_FALSE(std::filesystem::exists(dir / "out.fa"));
  }
  EXPECT_EQ(readFile(path), many);
}

// The dynamic loader names every library it loads: align needs no toolkit.
TEST_F(KarvoCli, PluginIsFoundThroughThePathVariableWithoutAnyToolkitLibrary) {
  // A copy of the program in a folder without the plug-in.
  const std::string copy = dir / "karvo";
  std::filesystem::copy_file(KARVO_BINARY, copy);
  std::filesystem::permissions(copy, std::filesystem::perms::owner_all);
  const std::vector<std::string> args{"align", input(), "-q", "--force"};
  EXPECT_EQ(karvo(args, {.program = copy}).status, 1);
  const ProcessResult result =
      karvo(args, {.program = copy, .environment = {{"KARVO_PLUGIN_PATH", PLUGIN_DIR}, {"LD_DEBUG", "files"}}});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.err.find("libZemtraBatch.so.0"), std::string::npos);
  EXPECT_EQ(result.err.find("libQt6"), std::string::npos);
}

TEST_F(KarvoCli, GuiLoadsTheWindowLibraryOnDemand) {
  if (!ZEMTRA_WINDOWED) GTEST_SKIP() << "built without Qt 6";
  const std::string picture = dir / "window.png";
  EXPECT_EQ(
      karvo({"gui", input(), "--screenshot", picture}, {.environment = {{"QT_QPA_PLATFORM", "offscreen"}}}).status, 0);
  EXPECT_GT(std::filesystem::file_size(picture), 0u);
}

using Matrices = KarvoCli;

TEST_F(Matrices, ListsAllFifteenAndPrintsOneAsAResidueTable) {
  const ProcessResult list = karvo({"matrices"});
  ASSERT_EQ(list.status, 0) << list.err;
  ztest::expectGolden("app/matrices.txt", list.out);
  const ProcessResult dayhoff = karvo({"matrices", "Dayhoff"});
  ASSERT_EQ(dayhoff.status, 0) << dayhoff.err;
  ztest::expectGolden("app/matrix_dayhoff.txt", dayhoff.out);
}

// Where the machine, not the input, is the problem.
using Limits = KarvoCli;

TEST_F(Limits, RangeTooWideForTheAddressSpaceIsRefusedBeforeTheRun) {
  if (kSanitized) GTEST_SKIP() << "the sanitizers reserve more address space than the limit allows";
  const ProcessResult result =
      karvo({"align", input(twoRows(8000)), "-o", dir / "out.fa", "-q"}, {.addressSpaceLimit = 1ul << 30});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.err.starts_with("karvo: re-aligning 8000 columns needs about ")) << result.err;
  EXPECT_TRUE(result.err.ends_with(" GiB of memory; this machine has 1.0 GiB available; choose a smaller --range\n"))
      << result.err;
  EXPECT_FALSE(std::filesystem::exists(dir / "out.fa"));
}

// A personal directory that is a symbolic link is in the bad-input catalogue.
TEST_F(Limits, PersonalDirectoryOwnedByAnotherUserIsNotUsed) {
  if (::geteuid() != 0) GTEST_SKIP() << "giving a folder away needs root";
  ASSERT_EQ(::chown(personal().c_str(), 65534, 65534), 0);
  const ProcessResult result = karvo({"align", input(), "-o", dir / "out.fa", "-q"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "karvo: refusing temporary directory " + personal() +
                            ": it is owned by another user; nothing was aligned\n");
  EXPECT_TRUE(std::filesystem::is_empty(personal()));
}

}  // namespace
