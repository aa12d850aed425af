#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
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

// A two-block MSF whose second sequence ends in the first block, A3M with
// comment lines, '.' inside an insertion and an end '*', PIR without its
// '*'s, a control character in a FASTA title, and --input-format's choice.
TEST(ReadOtherFormats, ExpandRaggedAndQueryAnchoredRows) {
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"PileUp\n\n Name: a Len: 7\n Name: b Len: 7\n Name: c Len: 7\n//\n\na ACDE\nb AC\nc ACDE\n\na FGH\nc FG\n",
       {"a ACDEFGH", "b AC-----", "c ACDEFG-"}},
      {"#A3M#\n# query lengths\n>q\nACDE\n>h1\nAc.dCDE\n>h2\nA-xDE*\n", {"q A---C-DE", "h1 AC-DC-DE", "h2 A----XDE"}},
      {">P1;s\ndesc\nAC D\n>F1;t\n\nK\n", {"s ACD", "t K--"}},
      {"1 2\nab\rc      KL\n", {"ab_c KL"}},
      {">a x\x01y\nAC\n>\x01"
       "b\nAC\n",
       {}},
  };
  for (const auto& [text, expected] : cases) {
    if (expected.empty()) {
      EXPECT_EQ(errorOf(text, "t.fa"), "t.fa:3:2: header without a sequence name");
      EXPECT_EQ(read(">a x\x01y\nAC\n", "t.fa")->sequence(0).description, "x\x01y");
      continue;
    }
    EXPECT_EQ(rows(*read(text, "t.txt")), expected) << text;
  }
  // A3M by --input-format, by a .a3m name, or by content unless the name
  // says FASTA.
  const std::string text = ">q\nACDE\n>h\nAcCDE\n";
  std::istringstream in(text);
  EXPECT_THAT(rows(*KARVO::readAlignment(in, "t.fa", KARVO::InputFormat::A3m)), ElementsAre("q A-CDE", "h ACCDE"));
  EXPECT_THAT(rows(*read(text, "t.a3m.gz")), ElementsAre("q A-CDE", "h ACCDE"));
  EXPECT_THAT(rows(*read(text, "-")), ElementsAre("q A-CDE", "h ACCDE"));
  EXPECT_THAT(rows(*read(text, "t.fa")), ElementsAre("q ACDE-", "h ACCDE"));
  // A FASTA name that looks like a PIR header (found by fuzzing).
  EXPECT_THAT(rows(*read(">P1;x\nACD\n", "t.fa")), ElementsAre("P1;x ACD"));
  EXPECT_THAT(rows(*read(">P1;x\nAcD\n", "t.a3m")), ElementsAre("P1;x ACD"));
  EXPECT_THAT(rows(*read(">P1;x\nd\nACD\n", "t.txt")), ElementsAre("x ACD"));
}

// Every file under formats/inputs (written for these tests, one for each
// shape the readers accept) against the rows, names and descriptions in
// formats/inputs.rows.
TEST(ReadSamples, EachSampleGivesItsGoldenRows) {
  std::set<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(ztest::goldenPath("formats/inputs"))) {
    if (entry.path().extension() != ".nwk") files.insert(entry.path());
  }
  std::string actual;
  for (const auto& file : files) {
    actual += "== " + file.filename().string() + "\n";
    const auto alignment = KARVO::readAlignmentFile(file.string());
    for (unsigned long r = 0; r < alignment->sequenceCount(); ++r) {
      std::string description;
      for (const char c : alignment->sequence(r).description)
        description += c == '\x01' ? std::string("^A") : std::string(1, c);
      actual += alignment->GetSeqName(r) + "\t" + alignment->rowText(r) + "\t" + description + "\n";
    }
  }
  ztest::expectGolden("formats/inputs.rows", actual);
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
// \n, \r, \0 and \xNN escaped. The inputs include faults found by fuzzing the readers.
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
      if (code == 'x') {
        text += static_cast<char>(std::stoi(line.substr(at + 1, 2), nullptr, 16));
        at += 2;
        continue;
      }
      text += code == 'n' ? '\n' : code == 'r' ? '\r' : code == '0' ? '\0' : code;
    }
    actual += line.substr(0, arrow) + " -> " + errorOf(text, line.substr(0, space)) + "\n";
  }
  EXPECT_FALSE(actual.empty());
  ztest::expectGolden("formats/read_errors.txt", actual);
}

}  // namespace
