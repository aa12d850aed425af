#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "formats/alignment_formats.h"
#include "formats/alignment_io.h"
#include "formats/gzip.h"
#include "tests/support/golden.h"
#include "tests/support/scratch_dir.h"

namespace {

using KARVO::Alignment;
using KARVO::AlignmentFormat;
using testing::ElementsAre;
namespace fs = std::filesystem;

std::string written(const Alignment& a, AlignmentFormat format) {
  std::ostringstream out;
  KARVO::writeAlignment(out, a, format);
  return out.str();
}

void spit(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

std::vector<std::string> entries(const std::string& dir) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(dir)) names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

std::unique_ptr<Alignment> small() { return Alignment::fromRows({{"one", "first seq"}, {"two", ""}}, {"AC-", "A-D"}); }

TEST(WriteFasta, WritesHeadersWithDescriptionsAndSixtyColumnLines) {
  auto a = Alignment::fromRows({{"s", "a b"}}, {std::string(59, 'A') + "--"});
  EXPECT_EQ(written(*a, AlignmentFormat::Fasta), ">s a b\n" + std::string(59, 'A') + "-\n-\n");
}

// Clustal with its conservation line, Stockholm with the descriptions,
// MSF with its checksums, relaxed sequential PHYLIP with full names.
TEST(WriteFormats, MatchTheirGoldenFiles) {
  auto a =
      Alignment::fromRows({{"alpha", "first chain"}, {"beta", ""}, {"gamma_long", ""}}, {"MSAIW-", "MTGLF-", "MAGVYD"});
  const std::pair<AlignmentFormat, const char*> goldens[] = {{AlignmentFormat::Clustal, "small.aln"},
                                                             {AlignmentFormat::Stockholm, "small.sto"},
                                                             {AlignmentFormat::Msf, "small.msf"},
                                                             {AlignmentFormat::Phylip, "small.phy"},
                                                             {AlignmentFormat::A3m, "small.a3m"}};
  for (const auto& [format, file] : goldens) {
    ztest::expectGolden("formats/" + std::string(file), written(*a, format));
  }
}

TEST(ConservationMark, FollowsTheClustalResidueGroups) {
  using KARVO::formats::conservationMark;
  for (const char* same : {"WWW", "a"}) EXPECT_EQ(conservationMark(same), '*') << same;
  for (const char* strong : {"STA", "ST", "NEQK", "HY", "FWY", "MILF"})
    EXPECT_EQ(conservationMark(strong), ':') << strong;
  for (const char* weak : {"SAG", "CSA", "STNK", "NDEQHK", "FH"}) EXPECT_EQ(conservationMark(weak), '.') << weak;
  for (const char* none : {"AW", "A-A", "---", "CW"}) EXPECT_EQ(conservationMark(none), ' ') << none;
}

TEST(GcgChecksum, WeightsRestartEveryFiftySevenCharacters) {
  // 65 * (1 + ... + 57) + 65 * 1 = 107510
  EXPECT_EQ(KARVO::formats::gcgChecksum(std::string(58, 'A')), 7510);
  EXPECT_EQ(KARVO::formats::gcgChecksum("ac"), KARVO::formats::gcgChecksum("AC"));
}

TEST(RoundTrip, FastaClustalMsfStockholmKeepNamesAndRows) {
  std::vector<std::string> texts = {std::string(70, 'A') + "-C" + std::string(60, 'K'), "-" + std::string(131, 'W'),
                                    std::string(40, 'D')};
  auto original = Alignment::fromRows({{"alpha", "d1"}, {"beta", ""}, {"gamma_long_name", "x y"}}, texts);
  std::istringstream fasta(written(*original, AlignmentFormat::Fasta));
  auto a = KARVO::readAlignment(fasta, "a.fa");
  std::istringstream clustal(written(*a, AlignmentFormat::Clustal));
  auto b = KARVO::readAlignment(clustal, "b.aln");
  std::istringstream msf(written(*b, AlignmentFormat::Msf));
  auto c = KARVO::readAlignment(msf, "c.msf");
  std::istringstream stockholm(written(*a, AlignmentFormat::Stockholm));
  auto d = KARVO::readAlignment(stockholm, "d.sto");
  for (unsigned long r = 0; r < 3; ++r) {
    for (const Alignment* copy : {c.get(), d.get()}) {
      EXPECT_EQ(copy->GetSeqName(r), original->GetSeqName(r));
      EXPECT_EQ(copy->rowText(r), original->rowText(r));
    }
    EXPECT_EQ(a->sequence(r).description, original->sequence(r).description);
    EXPECT_EQ(d->sequence(r).description, original->sequence(r).description);
  }
}

// Insertions relative to the query in every arrangement: left-aligned, with
// gaps before a residue, at both ends, columns without any residue, and an
// empty query; each must come back column for column, and --a3m-query's row
// first.
TEST(RoundTrip, A3mKeepsEveryColumnOfTheExpandedAlignment) {
  const std::vector<std::vector<std::string>> alignments = {
      {"AC--DE", "ACKLDE", "A-K-D-"}, {"-AC--", "KAC-L", "-A-ML"}, {"A---C", "A---C", "AK--C"},
      {"----", "KL-M", "-L--"},       {"MKV", "M-V", "-K-"},
  };
  for (const auto& texts : alignments) {
    std::vector<KARVO::SequenceInfo> names;
    for (std::size_t r = 0; r < texts.size(); ++r) names.push_back({"s" + std::to_string(r), r == 0 ? "query d" : ""});
    const auto original = Alignment::fromRows(names, texts);
    std::istringstream a3m(written(*original, AlignmentFormat::A3m));
    const auto copy = KARVO::readAlignment(a3m, "x.a3m");
    for (unsigned long r = 0; r < texts.size(); ++r) {
      EXPECT_EQ(copy->rowText(r), texts[r]) << texts[0];
      EXPECT_EQ(copy->sequence(r).description, names[r].description);
    }
  }
  const auto a = Alignment::fromRows({{"q", ""}, {"h", ""}}, {"A-C", "AKC"});
  std::ostringstream out;
  KARVO::writeAlignment(out, *a, AlignmentFormat::A3m, {"h", {}});
  EXPECT_EQ(out.str(), ">h\nAKC\n>q\nA-C\n");
  EXPECT_THROW(KARVO::writeAlignment(out, *a, AlignmentFormat::A3m, {"x", {}}), std::invalid_argument);
}

TEST(FormatFromName, KnowsNamesAndExtensions) {
  EXPECT_EQ(KARVO::formatFromName("MSF"), AlignmentFormat::Msf);
  EXPECT_EQ(KARVO::formatFromName("dir.x/out.FASTA"), AlignmentFormat::Fasta);
  EXPECT_EQ(KARVO::formatFromName("out.aln"), AlignmentFormat::Clustal);
  EXPECT_EQ(KARVO::formatFromName("dir.aln/out"), std::nullopt);
  EXPECT_EQ(KARVO::formatFromName("out.sto.GZ"), AlignmentFormat::Stockholm);
  EXPECT_EQ(KARVO::formatFromName("out.clw"), AlignmentFormat::Clustal);
  EXPECT_EQ(KARVO::formatFromName("out.phylip"), AlignmentFormat::Phylip);
  EXPECT_EQ(KARVO::formatFromName("hits.A3M.gz"), AlignmentFormat::A3m);
  EXPECT_EQ(KARVO::inputFormatFromName("PHYLIP-relaxed"), KARVO::InputFormat::PhylipRelaxed);
  EXPECT_EQ(KARVO::inputFormatFromName("nexus"), std::nullopt);
  EXPECT_EQ(KARVO::formatFromName("out.gz"), std::nullopt);
  EXPECT_EQ(KARVO::formatFromName("out.txt"), std::nullopt);
}

class AtomicWrite : public testing::Test {
 protected:
  std::string messageOf(const std::string& path) {
    try {
      KARVO::writeAlignmentFile(path, *a, AlignmentFormat::Fasta);
    } catch (const std::runtime_error& e) {
      return e.what();
    }
    return "no error";
  }
  ztest::ScratchDir dir;
  std::unique_ptr<Alignment> a = small();
};

// A plain target keeps its mode, a name ending in .gz is compressed, a
// symbolic link stays and its file is replaced; nothing else is left.
TEST_F(AtomicWrite, ReplacesTheTargetCompressingGzAndFollowingSymbolicLinks) {
  const std::string target = dir / "out.fa";
  spit(target, "old");
  ::chmod(target.c_str(), 0640);
  KARVO::writeAlignmentFile(target, *a, AlignmentFormat::Fasta);
  EXPECT_EQ(ztest::readFile(target), written(*a, AlignmentFormat::Fasta));
  EXPECT_EQ(fs::status(target).permissions(), fs::perms(0640));
  EXPECT_THAT(entries(dir.path()), ElementsAre("out.fa"));

  KARVO::writeAlignmentFile(dir / "out.sto.gz", *a, AlignmentFormat::Stockholm);
  EXPECT_EQ(KARVO::gunzip(ztest::readFile(dir / "out.sto.gz")), written(*a, AlignmentFormat::Stockholm));
  EXPECT_THAT(entries(dir.path()), ElementsAre("out.fa", "out.sto.gz"));

  fs::create_symlink("out.fa", dir / "link.fa");
  a = Alignment::fromRows({{"other", ""}}, {"KLM"});
  KARVO::writeAlignmentFile(dir / "link.fa", *a, AlignmentFormat::Fasta);
  EXPECT_TRUE(fs::is_symlink(dir / "link.fa"));
  EXPECT_EQ(ztest::readFile(target), written(*a, AlignmentFormat::Fasta));
}

// A missing folder, a directory in the way (its temporary file removed) and a
// full device each give the system's reason.
TEST_F(AtomicWrite, FailsWithTheSystemsReasonAndLeavesNothingBehind) {
  const std::string missing = dir / "missing/out.fa";
  EXPECT_EQ(messageOf(missing), "cannot write " + missing + ": No such file or directory");
  EXPECT_THAT(entries(dir.path()), testing::IsEmpty());
  fs::create_directory(dir / "out.fa");
  spit(dir / "out.fa/kept", "x");
  EXPECT_EQ(messageOf(dir / "out.fa"), "cannot write " + (dir / "out.fa") + ": Is a directory");
  EXPECT_THAT(entries(dir.path()), ElementsAre("out.fa"));
  EXPECT_EQ(ztest::readFile(dir / "out.fa/kept"), "x");
  EXPECT_EQ(messageOf("/dev/full"), "cannot write /dev/full: No space left on device");
}

// A file compressed a buffer at a time: several buffers' worth comes back
// byte for byte, an unreadable source names itself and leaves nothing.
TEST_F(AtomicWrite, CompressesAFileIntoItsTarget) {
  std::string text;
  for (int i = 0; i < 40000; ++i) text += "line " + std::to_string(i * 7919 % 10007) + "\n";
  spit(dir / "log", text);
  KARVO::gzipFile(dir / "log", dir / "log.gz");
  EXPECT_EQ(KARVO::gunzip(ztest::readFile(dir / "log.gz")), text);
  EXPECT_THAT(entries(dir.path()), ElementsAre("log", "log.gz"));
  try {
    KARVO::gzipFile(dir / "none", dir / "none.gz");
    ADD_FAILURE() << "accepted";
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(std::string(error.what()), "cannot read " + (dir / "none") + ": No such file or directory");
  }
  EXPECT_THAT(entries(dir.path()), ElementsAre("log", "log.gz"));
}

TEST_F(AtomicWrite, KeepsTheTargetWhenWritingStopsHalfway) {
  const std::string target = dir / "out.fa";
  spit(target, "old content");
  a = Alignment::fromRows({{"big", ""}}, {std::string(5000, 'A')});
  // A file size limit makes the write fail after the first bytes.
  rlimit old{};
  ::getrlimit(RLIMIT_FSIZE, &old);
  const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit = old;
  limit.rlim_cur = 1024;
  ::setrlimit(RLIMIT_FSIZE, &limit);
  const std::string message = messageOf(target);
  ::setrlimit(RLIMIT_FSIZE, &old);
  std::signal(SIGXFSZ, oldHandler);
  EXPECT_EQ(message, "cannot write " + target + ": File too large");
  EXPECT_EQ(ztest::readFile(target), "old content");
  EXPECT_THAT(entries(dir.path()), ElementsAre("out.fa"));
}

TEST_F(AtomicWrite, FailsInAFolderWithoutWritePermission) {
  if (::geteuid() == 0) GTEST_SKIP() << "permissions do not bind root";
  spit(dir / "out.fa", "old");
  ::chmod(dir.path().c_str(), 0500);
  EXPECT_EQ(messageOf(dir / "out.fa"), "cannot write " + (dir / "out.fa") + ": Permission denied");
  EXPECT_EQ(ztest::readFile(dir / "out.fa"), "old");
}

}  // namespace
