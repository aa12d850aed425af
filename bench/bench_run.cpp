// Times one phase of a run, or a whole run, in this process on a FASTA
// family, with the reference or the fast implementation:
//
//   zemtra_bench_run [--reference] [--threads N] [--matrix M] [--gap G]
//                    [--phase pairwise|run] FASTA
//
// The rows are sent as the host sends a whole alignment: every row padded
// with '-' to the longest one, twice that width as room. Prints one line of
// key=value pairs: seconds, dynamic programming cells, GCUPS, peak memory,
// processor seconds (user and system, all threads) and, for a whole run, the
// seconds of its pairwise and tree phases (the rest is the log and the
// final measures) and the size of its log. A whole run asks for the run's
// details, as the command line does.
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "bench_family.h"
#include "pairwise/engine_options.h"
#include "run/headless_run_interaction.h"
#include "run/multiple_phase.h"
#include "run/pairwise_phase.h"
#include "run/zemtra_kv.h"

namespace {

struct Options {
  zemtra::EngineOptions engine;
  int matNo = 0;
  int gap = 40;
  std::string phase = "run";
  std::string fasta;
};

[[noreturn]] void usage() {
  std::fprintf(stderr,
               "usage: zemtra_bench_run [--reference] [--threads N] [--matrix M] [--gap G] "
               "[--phase pairwise|run] FASTA\n");
  std::exit(2);
}

Options parse(int argc, char** argv) {
  Options o;
  for (int a = 1; a < argc; ++a) {
    const std::string arg = argv[a];
    auto value = [&]() -> std::string {
      if (a + 1 >= argc) usage();
      return argv[++a];
    };
    if (arg == "--reference")
      o.engine.reference = true;
    else if (arg == "--threads")
      o.engine.threads = static_cast<unsigned>(std::stoul(value()));
    else if (arg == "--matrix")
      o.matNo = std::stoi(value());
    else if (arg == "--gap")
      o.gap = std::stoi(value());
    else if (arg == "--phase")
      o.phase = value();
    else if (!arg.empty() && arg[0] != '-' && o.fasta.empty())
      o.fasta = arg;
    else
      usage();
  }
  if (o.fasta.empty() || (o.phase != "run" && o.phase != "pairwise")) usage();
  return o;
}

// The run's inputs as the plug-in builds them from a whole alignment.
struct Inputs {
  explicit Inputs(const std::vector<std::string>& family)
      : width(longest(family)), names(family.size(), 8), seqs(family.size(), 2 * width) {
    for (unsigned long r = 0; r < family.size(); ++r) {
      const std::string name = "s" + std::to_string(r + 1);
      std::snprintf(names[r], 8, "%s", name.c_str());
      std::memset(seqs[r], '-', seqs.cols());
      std::memcpy(seqs[r] + 1, family[r].data(), family[r].size());
      len.push_back(width);
      nres.push_back(family[r].size());
    }
  }
  static unsigned long longest(const std::vector<std::string>& family) {
    unsigned long w = 1;
    for (const std::string& s : family) w = std::max<unsigned long>(w, s.size());
    return w;
  }
  unsigned long width;
  KARVO::Matrix<char> names;
  KARVO::Matrix<char> seqs;
  std::vector<unsigned long> len;
  std::vector<unsigned long> nres;
};

long peakKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

double processorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  auto seconds = [](const timeval& t) { return double(t.tv_sec) + double(t.tv_usec) / 1e6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = parse(argc, argv);
  std::string scratch = (std::filesystem::temp_directory_path() / "zemtra-bench-XXXXXX").string();
  if (::mkdtemp(scratch.data()) == nullptr) return 1;
  ::setenv("KARVO_TMPDIR", scratch.c_str(), 1);

  Inputs in(bench::readFasta(options.fasta));
  const unsigned long ns = in.seqs.rows();
  HeadlessRunInteraction interaction;
  interaction.answerOverwrite = [](const std::string&) { return true; };

  const auto start = std::chrono::steady_clock::now();
  const double processorStart = processorSeconds();
  bool ok = false;
  RunDetails details;
  double logMegabytes = 0;
  if (options.phase == "pairwise") {
    RunStorage storage(ns, in.seqs.cols());
    const RunInput input{in.len.data(), in.nres.data(), in.names, in.seqs, 0, options.matNo, options.gap};
    RunProgress progress{interaction, 0, static_cast<int>(ns * (ns - 1) / 2) + 1};
    std::ostringstream log;
    ok = pairwisePhase(log, input, storage, progress, options.engine);
  } else {
    zemtra_kv(interaction, &ok, "bench.log", in.len.data(), in.nres.data(), in.names, in.seqs, 0, options.matNo,
              options.gap, &details, options.engine);
    std::error_code missing;
    const auto logBytes = std::filesystem::file_size(scratch + "/bench.log", missing);
    if (!missing) logMegabytes = double(logBytes) / 1048576.0;
  }
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const double cells = double(ns) * double(ns - 1) / 2.0 * double(in.width) * double(in.width);
  std::printf(
      "seconds=%.3f pairwise_cells=%.0f gcups=%.3f peak_kb=%ld cpu=%.3f pairwise_s=%.3f tree_s=%.3f "
      "log_mb=%.1f ok=%d\n",
      seconds, cells, options.phase == "pairwise" ? cells / seconds / 1e9 : 0.0, peakKilobytes(),
      processorSeconds() - processorStart, details.timings.pairwise, details.timings.tree, logMegabytes, ok ? 1 : 0);
  std::error_code ignored;
  std::filesystem::remove_all(scratch, ignored);
  return ok ? 0 : 1;
}
