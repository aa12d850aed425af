#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "host/alignment_io.h"
#include "host/gzip.h"
#include "host/input_notes.h"
#include "tests/support/scratch_dir.h"

namespace {

using KARVO::Alignment;
using KARVO::AlignmentReadError;
using testing::ElementsAre;

std::unique_ptr<Alignment> read(const std::string& text, const std::string& name = "t.aln") {
  std::istringstream in(text);
  return KARVO::readAlignment(in, name);
}

std::vector<std::string> rows(const Alignment& a) {
  std::vector<std::string> out;
  for (unsigned long r = 0; r < a.sequenceCount(); ++r) out.push_back(a.GetSeqName(r) + " " + a.rowText(r));
  return out;
}

std::string errorOf(const std::string& text, const std::string& name = "t.aln") {
  try {
    read(text, name);
  } catch (const AlignmentReadError& e) {
    return e.what();
  }
  return "no error";
}

TEST(ReadAnyFormat, TakesGzipDataAndAByteOrderMarkTransparently) {
  const std::string clustal = "CLUSTAL\n\na  MKV\nb  MK-\n";
  EXPECT_THAT(rows(*read(KARVO::gzip(clustal), "x.txt")), ElementsAre("a MKV", "b MK-"));
  // Two members one after the other, as `cat a.gz b.gz` makes.
  EXPECT_THAT(rows(*read(KARVO::gzip(">a\nMKV\n") + KARVO::gzip(">b\nMK\n"))), ElementsAre("a MKV", "b MK-"));
  EXPECT_THAT(rows(*read("\xEF\xBB\xBF" + clustal)), ElementsAre("a MKV", "b MK-"));
  const std::string compressed = KARVO::gzip(clustal);
  EXPECT_EQ(errorOf(compressed.substr(0, compressed.size() - 6), "x.gz"),
            "x.gz: gzip data ends early (truncated file?)");
  std::string damaged = compressed;
  damaged[12] = static_cast<char>(damaged[12] ^ 0x55);
  EXPECT_THAT(errorOf(damaged, "x.gz"), testing::StartsWith("x.gz: damaged gzip data ("));
}

TEST(InputWarnings, NameSequencesWithoutResiduesAndNucleotideInput) {
  auto a = Alignment::fromRows({{"a", ""}, {"e1", ""}, {"b", ""}, {"e2", ""}}, {"MKV", "---", "MKL", ""});
  EXPECT_THAT(KARVO::inputWarnings(*a),
              ElementsAre("2 sequences have no residues (e1, e2); they are not aligned and stay rows of gaps"));
  // 9 of 10 residues are nucleotide letters: just enough for the warning.
  a = Alignment::fromRows({{"a", ""}, {"b", ""}}, {"ACGTU", "NacgW"});
  EXPECT_THAT(KARVO::inputWarnings(*a), ElementsAre("the input looks like nucleotides (90 % of the residues are A, C, "
                                                    "G, T, U or N); the substitution matrices are for proteins"));
  a = Alignment::fromRows({{"a", ""}, {"b", ""}}, {"ACGTU", "NacWW"});
  EXPECT_THAT(KARVO::inputWarnings(*a), testing::IsEmpty());
}

TEST(ReadFasta, TakesTheFirstWordAsNameAndKeepsTheDescription) {
  auto a = read(">HBA_HUMAN  Hemoglobin alpha \nMVL\n>HBB_HUMAN\nMV\n");
  EXPECT_THAT(rows(*a), ElementsAre("HBA_HUMAN MVL", "HBB_HUMAN MV-"));
  EXPECT_EQ(a->sequence(0).description, "Hemoglobin alpha");
  EXPECT_EQ(a->sequence(1).description, "");
}

TEST(ReadFasta, JoinsLinesUpperCasesAndReadsBothGapCharacters) {
  auto a = read(">s\nac-\n D.e \n\n>t\nKLMNP\n");
  EXPECT_THAT(rows(*a), ElementsAre("s AC-D-E", "t KLMNP-"));
}

TEST(ReadFasta, DropsAStarEndingASequence) {
  EXPECT_THAT(rows(*read(">s\nAC\nD*\n>t\nA\n")), ElementsAre("s ACD", "t A--"));
}

TEST(ReadFasta, AcceptsWindowsLineEnds) { EXPECT_THAT(rows(*read(">s x\r\nAC\r\nD\r\n")), ElementsAre("s ACD")); }

TEST(ReadClustal, JoinsBlocksAndIgnoresConservationAndCounts) {
  auto a = read(
      "CLUSTAL W (1.83) multiple sequence alignment\n\n\n"
      "alpha      AC-D 3\n"
      "beta       A-ED 3\n"
      "           *  *\n\n"
      "alpha      KL 5\n"
      "beta       -L 4\n");
  EXPECT_THAT(rows(*a), ElementsAre("alpha AC-DKL", "beta A-ED-L"));
}

TEST(ReadMsf, ReadsNamedRowsWithAllGapCharacters) {
  auto a = read(
      "!!AA_MULTIPLE_ALIGNMENT 1.0\n\n"
      " t.msf  MSF: 12  Type: P  Check: 1234 ..\n\n"
      " Name: one  Len: 12  Check: 1  Weight: 1.00\n"
      " Name: two  Len: 12  Check: 2  Weight: 1.00\n\n//\n\n"
      "           1                      12\n"
      "one   ACDEF.GHIK ~~\n"
      "two   AC-EFKGHIK LM\n");
  EXPECT_THAT(rows(*a), ElementsAre("one ACDEF-GHIK--", "two AC-EFKGHIKLM"));
}

TEST(ReadStockholm, SkipsMarkupAndKeepsDescriptions) {
  auto a = read(
      "# STOCKHOLM 1.0\n#=GF ID test\n#=GS s1 DE first one\n"
      "s1 AC..D\ns2 A-CE.\n#=GC SS_cons .....\n\n"
      "s1 K\ns2 L\n//\n");
  EXPECT_THAT(rows(*a), ElementsAre("s1 AC--DK", "s2 A-CE-L"));
  EXPECT_EQ(a->sequence(0).description, "first one");
}

TEST(ReadAlignmentFile, NamesAMissingFile) {
  ztest::ScratchDir dir;
  try {
    KARVO::readAlignmentFile(dir / "none.fa");
    FAIL() << "accepted";
  } catch (const AlignmentReadError& e) {
    EXPECT_EQ(std::string(e.what()), dir / "none.fa: No such file or directory");
  }
}

TEST(ReadErrors, UnexpectedCharacterGivesLineAndColumn) {
  try {
    read(">HBA_HUMAN\nMVL\nAC#D\n", "t.fa");
    FAIL() << "accepted";
  } catch (const AlignmentReadError& e) {
    EXPECT_STREQ(e.what(), "t.fa:3:3: unexpected character '#' in sequence HBA_HUMAN");
    EXPECT_EQ(e.file(), "t.fa");
    EXPECT_EQ(e.line(), 3u);
    EXPECT_EQ(e.column(), 3u);
  }
}

TEST(ReadErrors, EachFaultIsNamedWithItsPlace) {
  const struct {
    std::string text, name, message;
  } cases[] = {
      {"", "e.fa", "e.fa: empty file, no sequences"},
      {" \n\n", "e.fa", "e.fa: empty file, no sequences"},
      {std::string(">s\nAC\0D\n", 8), "t.fa", "t.fa:2:3: binary data (byte 0x00), not an alignment file"},
      {"hello\nworld\n", "t.txt", "t.txt: unknown format (neither FASTA, Clustal, MSF nor Stockholm)"},
      {">a\n>b\n", "t.fa", "t.fa: only headers, no residues in any sequence"},
      // Columns count from the line start after Windows line ends.
      {"CLUSTAL\r\n\r\na   AC1\r\n", "t.aln", "t.aln:3:7: unexpected character '1' in sequence a"},
      {">s\nAC*\nD\n", "t.fa", "t.fa:2:3: '*' inside sequence s (it may only end it)"},
      {">s\nA\n>s\nC\n", "t.fa", "t.fa:3:2: duplicate sequence name s (first at line 1)"},
      {">\nAC\n", "t.fa", "t.fa:1:2: header without a sequence name"},
      {"CLUSTAL\n\na ACD\nb AC\n", "t.aln",
       "t.aln:4:3: sequence b has 2 columns in this block, the block's first row has 3"},
      {"CLUSTAL\n\na AC\nb AC\n\nb D\na D\n", "t.aln",
       "t.aln:6:1: sequence b where a was expected (every block lists the sequences in the same order)"},
      {"CLUSTAL\n\na AC\nb AC\n\na D\n", "t.aln",
       "t.aln:6: block has 1 rows, expected one for each of the 2 sequences"},
      {"PileUp\n\n Name: one Len: 5\n//\none ACDE\n", "t.msf",
       "t.msf:3:17: sequence one has 4 columns, its 'Name:' line says Len: 5"},
      {"PileUp\n\n Name: one\n//\ntwo AC\n", "t.msf", "t.msf:5:1: sequence two is not among the 'Name:' lines"},
      {"PileUp\n Name: one\n", "t.msf", "t.msf: no '//' line ending the MSF header"},
      {"# STOCKHOLM 1.0\ns AC\n", "t.sto", "t.sto: no '//' line ending the alignment"},
  };
  for (const auto& c : cases) EXPECT_EQ(errorOf(c.text, c.name), c.message) << c.text;
}

// Found by fuzzing the readers.

TEST(ReadRegressions, MsfLengthBeyondAnyNumberIsAnErrorAtItsColumn) {
  EXPECT_EQ(errorOf("PileUp\n\n Name: one Len: 99999999999999999999999\n//\none ACDE\n", "t.msf"),
            "t.msf:3:17: Len: 99999999999999999999999 is too large");
}

TEST(ReadRegressions, AlignmentOfGapsOnlyIsRefusedInEveryFormat) {
  EXPECT_EQ(errorOf("CLUSTAL W\n\none ---\ntwo -.-\n", "t.aln"), "t.aln: only gaps, no residues in any sequence");
  EXPECT_EQ(errorOf("# STOCKHOLM 1.0\none ---\n//\n", "t.sto"), "t.sto: only gaps, no residues in any sequence");
  EXPECT_EQ(errorOf(">one\n---\n>two\n\n", "t.fa"), "t.fa: only gaps, no residues in any sequence");
}

TEST(ReadRegressions, StrayCarriageReturnIsNeverPartOfAName) {
  auto a = read(">one\r\r\t\r\nAC\n>two\rdesc\nAD\n", "t.fa");
  EXPECT_THAT(rows(*a), ElementsAre("one AC", "two AD"));
  EXPECT_EQ(a->sequence(1).description, "desc");
}

TEST(ReadRegressions, CarriageReturnsConvertedTwiceStillEndTheLine) {
  auto a = read(">one\r\r\nAC\r\r\n>two\r\r\nAD\r\r\n", "t.fa");
  EXPECT_THAT(rows(*a), ElementsAre("one AC", "two AD"));
}

}  // namespace
