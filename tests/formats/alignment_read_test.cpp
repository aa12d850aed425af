#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "formats/alignment_io.h"
#include "formats/gzip.h"
#include "formats/input_notes.h"
#include "tests/support/golden.h"
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

// Lines joined, lower case raised, '.' a gap, a final '*' dropped, and
// carriage returns ending lines: Windows ones, ones converted twice and stray
// ones inside a header (found by fuzzing the readers).
TEST(ReadFasta, NormalisesLinesCaseGapsStarsAndLineEnds) {
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {">s\nac-\n D.e \n\n>t\nKLMNP\n", {"s AC-D-E", "t KLMNP-"}},
      {">s\nAC\nD*\n>t\nA\n", {"s ACD", "t A--"}},
      {">s x\r\nAC\r\nD\r\n", {"s ACD"}},
      {">one\r\r\t\r\nAC\n>two\rdesc\nAD\n", {"one AC", "two AD"}},
      {">one\r\r\nAC\r\r\n>two\r\r\nAD\r\r\n", {"one AC", "two AD"}},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(rows(*read(text, "t.fa")), expected) << text;
  EXPECT_EQ(read(cases[3].first)->sequence(1).description, "desc");
}

// Clustal with its conservation line and counts over two blocks, MSF with
// every gap character, Stockholm with markup and a description.
TEST(ReadOtherFormats, JoinBlocksAndSkipTheirMarkup) {
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"CLUSTAL W (1.83) multiple sequence alignment\n\n\nalpha      AC-D 3\nbeta       A-ED 3\n"
       "           *  *\n\nalpha      KL 5\nbeta       -L 4\n",
       {"alpha AC-DKL", "beta A-ED-L"}},
      {"!!AA_MULTIPLE_ALIGNMENT 1.0\n\n t.msf  MSF: 12  Type: P  Check: 1234 ..\n\n"
       " Name: one  Len: 12  Check: 1  Weight: 1.00\n Name: two  Len: 12  Check: 2  Weight: 1.00\n\n//\n\n"
       "           1                      12\none   ACDEF.GHIK ~~\ntwo   AC-EFKGHIK LM\n",
       {"one ACDEF-GHIK--", "two AC-EFKGHIKLM"}},
      {"# STOCKHOLM 1.0\n#=GF ID test\n#=GS s1 DE first one\ns1 AC..D\ns2 A-CE.\n#=GC SS_cons .....\n\n"
       "s1 K\ns2 L\n//\n",
       {"s1 AC--DK", "s2 A-CE-L"}},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(rows(*read(text)), expected) << text;
  EXPECT_EQ(read(cases[2].first)->sequence(0).description, "first one");
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

// Each line of formats/read_errors.txt is "NAME INPUT -> MESSAGE", the input with
// \n, \r and \0 escaped. The inputs include faults found by fuzzing the readers.
TEST(ReadErrors, EachFaultIsNamedWithItsPlace) {
  std::ifstream table(ztest::goldenPath("formats/read_errors.txt"));
  std::string line, actual;
  while (std::getline(table, line)) {
    const std::size_t space = line.find(' '), arrow = line.find(" -> ");
    std::string text;
    for (std::size_t at = space + 1; at < arrow; ++at) {
      if (line[at] != '\\') {
        text += line[at];
        continue;
      }
      const char code = line[++at];
      text += code == 'n' ? '\n' : code == 'r' ? '\r' : code == '0' ? '\0' : code;
    }
    actual += line.substr(0, arrow) + " -> " + errorOf(text, line.substr(0, space)) + "\n";
  }
  EXPECT_FALSE(actual.empty());
  ztest::expectGolden("formats/read_errors.txt", actual);
}

}  // namespace
