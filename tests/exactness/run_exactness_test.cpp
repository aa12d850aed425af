// Whole runs, reference against fast engine, on a few hundred random inputs:
// every byte of the log, every cell of the re-aligned rows, the lengths, the
// progress values, the join history and, for runs that end the process, the
// exit status and the message.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>

#include "exactness_fixtures.h"
#include "run/headless_run_interaction.h"
#include "run/zemtra_kv.h"
#include "tests/support/host_settings.h"
#include "tests/support/working_rows.h"

namespace {

struct RunCase {
  std::vector<std::string> rows;  // all of one length, as the host sends a range
  std::vector<std::string> names;
  int matNo = 0;
  int gap = 40;
  unsigned fixed = 0;
  int cancelBeforePair = -1;  // cancel from the event processing before this pair
  unsigned threads = 2;

  std::string describe() const {
    std::ostringstream out;
    out << "matrix " << matNo << ", gap " << gap << ", fixed " << fixed << ", cancel " << cancelBeforePair
        << ", threads " << threads << ", rows:";
    for (const std::string& r : rows) out << ' ' << r;
    return out.str();
  }
};

RunCase randomCase(std::mt19937& rng) {
  RunCase c;
  const int ns = exact::chance(rng, 0.1) ? exact::uniform(rng, 13, 30) : exact::uniform(rng, 2, 12);
  const int width = exact::chance(rng, 0.1) ? exact::uniform(rng, 1, 4) : exact::uniform(rng, 1, 60);
  const std::string& alphabet = exact::kAlphabets[static_cast<std::size_t>(exact::uniform(rng, 0, 5))];
  const double gapShare = exact::chance(rng, 0.3) ? 0.0 : exact::uniform(rng, 0, 50) / 100.0;
  for (int r = 0; r < ns; ++r) {
    c.rows.push_back(exact::randomRow(rng, width, alphabet, gapShare));
    // Short, long, repeated names, and one with a '%'.
    std::string name = "s" + std::to_string(exact::uniform(rng, 0, 99999));
    if (exact::chance(rng, 0.1)) name = "same";
    if (exact::chance(rng, 0.05)) name = "50%id";
    c.names.push_back(name);
  }
  c.matNo = exact::chance(rng, 0.25) ? 14 : exact::uniform(rng, 0, 14);
  const int gapPick = exact::uniform(rng, 0, 3);
  c.gap = gapPick == 0 ? 0 : gapPick == 1 ? 100 : exact::uniform(rng, 0, 100);
  if (exact::chance(rng, 0.3)) c.fixed = static_cast<unsigned>(exact::uniform(rng, 0, ns));
  if (exact::chance(rng, 0.15)) c.cancelBeforePair = exact::uniform(rng, 0, ns * (ns - 1) / 2);
  c.threads = static_cast<unsigned>(exact::uniform(rng, 1, 3));
  return c;
}

// Everything a run leaves behind, as text.
std::string runAndDescribe(const RunCase& c, const zemtra::EngineOptions& engine, const std::string& scratch) {
  Config::UseSettings(ztest::withTmpDir(scratch));
  const unsigned long ns = c.rows.size();
  const unsigned long width = c.rows[0].size();
  ztest::WorkingRows rows(c.rows, 2 * width);
  KARVO::Matrix<char> names(ns, 8);
  for (unsigned long r = 0; r < ns; ++r) {
    std::memset(names[r], 0, 8);
    std::strncpy(names[r], c.names[r].c_str(), 7);
  }

  HeadlessRunInteraction interaction;
  std::ostringstream events;
  int eventCalls = 0;
  interaction.onProgress = [&](int value, int total) { events << " p" << value << "/" << total; };
  interaction.onProcessEvents = [&] {
    events << " e";
    if (eventCalls++ == c.cancelBeforePair) interaction.cancel();
  };
  bool ok = false;
  RunDetails details;
  zemtra_kv(interaction, &ok, "zemtra.log", rows.len.data(), rows.nres.data(), names, rows.seqs, c.fixed, c.matNo,
            c.gap, &details, engine);

  std::ostringstream out;
  out << "ok " << ok << " outcome " << static_cast<int>(details.outcome) << " written " << details.logWritten
      << "\nevents" << events.str() << "\nlen";
  for (unsigned long l : rows.len) out << ' ' << l;
  out << "\nrows\n";
  for (unsigned long r = 0; r < ns; ++r) out << std::string(rows.seqs[r], rows.seqs.cols()) << '\n';
  out << "joins";
  for (const auto& [a, b] : details.history.joins) out << ' ' << a << '-' << b;
  out << "\ndistances" << std::hexfloat;
  for (const float d : details.history.distances) out << ' ' << d;
  out << std::defaultfloat;
  out << "\nfamilies";
  for (const auto& f : details.history.families) {
    out << " [";
    for (unsigned long m : f) out << ' ' << m;
    out << ']';
  }
  out << "\nlog\n" << exact::readFile(scratch + "/zemtra.log");
  return out.str();
}

// Both runs of a case in one child process, reference first, each in its own
// directory; a child that ends early is followed by one for the fast run
// alone, so that both ways of ending are compared.
void expectSameRuns(const RunCase& c, exact::ScratchDir& scratch, int& exits) {
  const std::string referenceDir = scratch.fresh();
  const std::string fastDir = scratch.fresh();
  const zemtra::EngineOptions fastEngine{false, c.threads};
  constexpr char kSeparator[] = "\n=== fast run ===\n";
  const exact::ChildResult both = exact::inChild(referenceDir, [&](const std::string&) {
    std::string text = runAndDescribe(c, {true, 0}, referenceDir);
    // Tells the parent that the reference finished, should the fast run
    // end the process.
    std::ofstream(referenceDir + "/reference.txt", std::ios::binary) << text;
    return text + kSeparator + runAndDescribe(c, fastEngine, fastDir);
  });
  if (both.status == 0) {
    const std::size_t split = both.text.find(kSeparator);
    ASSERT_NE(std::string::npos, split) << c.describe();
    ASSERT_EQ(both.text.substr(0, split), both.text.substr(split + std::strlen(kSeparator))) << c.describe();
    return;
  }
  ASSERT_FALSE(std::filesystem::exists(referenceDir + "/reference.txt"))
      << "only the fast run ended the process (" << both.status << "): " << c.describe();
  ++exits;
  const exact::ChildResult fast =
      exact::inChild(scratch.fresh(), [&](const std::string& dir) { return runAndDescribe(c, fastEngine, dir); });
  ASSERT_EQ(both.status, fast.status) << c.describe();
  ASSERT_EQ(both.errors, fast.errors) << c.describe();
}

TEST(RunExactness, FastRunsMatchReferenceRunsByteForByte) {
  exact::ScratchDir scratch;
  std::mt19937 rng(20240611);
  int exits = 0;
  for (int n = 0; n < 250; ++n) {
    expectSameRuns(randomCase(rng), scratch, exits);
    if (HasFatalFailure()) return;
  }
  // The generator must also reach the runs that end the process.
  EXPECT_GT(exits, 0);
}

TEST(RunExactness, LargerFamiliesMatchWithEveryThreadCount) {
  exact::ScratchDir scratch;
  std::mt19937 rng(77);
  const std::string ancestor = exact::randomRow(rng, 80, exact::kAlphabets[0], 0.0);
  RunCase c;
  for (int r = 0; r < 60; ++r) {
    std::string row;
    for (char ch : ancestor) {
      if (exact::chance(rng, 0.05)) continue;
      row += exact::chance(rng, 0.2) ? exact::randomRow(rng, 1, exact::kAlphabets[0], 0.0)[0] : ch;
    }
    row.resize(80, '-');
    c.rows.push_back(row);
    c.names.push_back("fam" + std::to_string(r));
  }
  const exact::ChildResult reference = exact::inChild(scratch.fresh(), [&](const std::string& dir) {
    return runAndDescribe(c, {true, 0}, dir);
  });
  ASSERT_EQ(0, reference.status);
  for (unsigned threads : {1u, 2u, 5u}) {
    const exact::ChildResult fast = exact::inChild(scratch.fresh(), [&](const std::string& dir) {
      return runAndDescribe(c, {false, threads}, dir);
    });
    ASSERT_EQ(0, fast.status);
    EXPECT_EQ(reference.text, fast.text) << threads << " threads";
  }
}

}  // namespace
