// The one-thread pairwise kernel against parasail's traced global kernel,
// measured in one run on the same pairs: every pair of each FASTA family
// (sequence j against every later one, one row at a time, as the pairwise
// phase aligns them), with the run's matrix. The run's gap model charges a
// gap once whatever its length, and leaves trailing end gaps free; parasail
// takes gap as its open penalty and 0 as its extension, so a gap costs the
// same in both except at the ends, which parasail charges.
//
//   zemtra_kernel_vs_parasail [--matrix M] [--gap G] [--repeats R] FASTA...
//
// Each contender runs R times, interleaved so that load on the machine hits
// all alike; the median of the thread's processor seconds is taken. Rows:
//   zemtra chosen      alignRowPairs as the run calls it (the dispatch picks
//                      the multi-pair or the within-pair kernel; includes the
//                      tracebacks and paths)
//   zemtra multi-pair  the multi-pair kernel for every chunk
//   zemtra within-pair the within-pair kernel for every pair
//   parasail 16        nw_trace_scan_profile_16 (pairs whose scores do not
//                      fit 16 bits saturate, their results are wrong; counted)
//   parasail 32        nw_trace_scan_profile_32
// and the ratio of parasail's seconds at the narrowest width that holds
// every score of the family (16 when no pair saturated, else 32) to the
// chosen kernel's (above 1: zemtra faster).
#include <parasail.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "bench_family.h"
#include "pairwise/fast_dp.h"
#include "parasail_matrix.h"

namespace {

double threadSeconds() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

struct Options {
  int matNo = 0;
  int gap = 40;
  int repeats = 5;
  std::vector<std::string> files;
};

struct Family {
  explicit Family(const std::string& file) : text(bench::readFasta(file)), rows(text) {
    for (unsigned long k = 0; k < text.size(); ++k) ks.push_back(k);
    for (unsigned long j = 0; j < text.size(); ++j)
      for (unsigned long k = j + 1; k < text.size(); ++k) cells += double(rows.len[j]) * double(rows.len[k]);
  }
  std::vector<std::string> text;
  bench::Working rows;
  std::vector<unsigned long> ks;
  double cells = 0;
};

long zemtraPairs(const Family& f, const Options& o, zemtra::PairKernel kernel) {
  KARVO::Matrix<long> path(2, f.rows.width);
  zemtra::DpWorkspace ws;
  long checksum = 0;
  for (unsigned long j = 0; j + 1 < f.text.size(); ++j) {
    zemtra::RowPairs request{f.rows.seqs,           f.rows.len.data(), j,    f.ks.data() + j + 1,
                             f.text.size() - j - 1, o.matNo,           o.gap};
    request.reportPairless = true;
    request.kernel = kernel;
    zemtra::alignRowPairs(request, path, ws, [&](const zemtra::PairOutcome& p) { checksum += p.score + p.alen; });
  }
  return checksum;
}

long parasailPairs(const Family& f, const Options& o, parasail_matrix_t* matrix, bool wide, long& saturated) {
  long checksum = 0;
  saturated = 0;
  for (unsigned long j = 0; j + 1 < f.text.size(); ++j) {
    const std::string& a = f.text[j];
    const int lenA = static_cast<int>(a.size());
    parasail_profile_t* profile =
        wide ? parasail_profile_create_32(a.data(), lenA, matrix) : parasail_profile_create_16(a.data(), lenA, matrix);
    for (unsigned long k = j + 1; k < f.text.size(); ++k) {
      const std::string& b = f.text[k];
      const int lenB = static_cast<int>(b.size());
      parasail_result_t* r = wide ? parasail_nw_trace_scan_profile_32(profile, b.data(), lenB, o.gap, 0)
                                  : parasail_nw_trace_scan_profile_16(profile, b.data(), lenB, o.gap, 0);
      checksum += parasail_result_get_score(r);
      saturated += parasail_result_is_saturated(r) != 0 ? 1 : 0;
      parasail_result_free(r);
    }
    parasail_profile_free(profile);
  }
  return checksum;
}

Options parse(int argc, char** argv) {
  Options o;
  for (int a = 1; a < argc; ++a) {
    const std::string arg = argv[a];
    if (arg == "--matrix" && a + 1 < argc)
      o.matNo = std::atoi(argv[++a]);
    else if (arg == "--gap" && a + 1 < argc)
      o.gap = std::atoi(argv[++a]);
    else if (arg == "--repeats" && a + 1 < argc)
      o.repeats = std::max(1, std::atoi(argv[++a]));
    else
      o.files.push_back(arg);
  }
  return o;
}

}  // namespace

int main(int argc, char** argv) {
  const Options o = parse(argc, argv);
  if (o.files.empty()) {
    std::fprintf(stderr, "usage: zemtra_kernel_vs_parasail [--matrix M] [--gap G] [--repeats R] FASTA...\n");
    return 2;
  }
  parasail_matrix_t* matrix = bench::parasailMatrix(o.matNo);
  std::printf("%-24s %-18s %10s %8s %s\n", "family", "contender", "seconds", "GCUPS", "notes");
  for (const std::string& file : o.files) {
    const Family f(file);
    const std::string name = file.substr(file.find_last_of('/') + 1);
    long saturated16 = 0, saturated32 = 0;
    struct Contender {
      const char* name;
      std::function<long()> run;
      std::vector<double> seconds;
    };
    std::vector<Contender> contenders = {
        {"zemtra chosen", [&] { return zemtraPairs(f, o, zemtra::PairKernel::kChosen); }, {}},
        {"zemtra multi-pair", [&] { return zemtraPairs(f, o, zemtra::PairKernel::kMultiPair); }, {}},
        {"zemtra within-pair", [&] { return zemtraPairs(f, o, zemtra::PairKernel::kWithinPair); }, {}},
        {"parasail 16", [&] { return parasailPairs(f, o, matrix, false, saturated16); }, {}},
        {"parasail 32", [&] { return parasailPairs(f, o, matrix, true, saturated32); }, {}},
    };
    long checksum = 0;
    for (int r = 0; r < o.repeats; ++r) {
      for (Contender& c : contenders) {
        const double start = threadSeconds();
        checksum += c.run();
        c.seconds.push_back(threadSeconds() - start);
      }
    }
    std::vector<double> median;
    for (Contender& c : contenders) {
      std::sort(c.seconds.begin(), c.seconds.end());
      median.push_back(c.seconds[c.seconds.size() / 2]);
      std::string notes;
      if (c.name == std::string("parasail 16"))
        notes = std::to_string(saturated16) + " of " + std::to_string(f.text.size() * (f.text.size() - 1) / 2) +
                " pairs saturated";
      std::printf("%-24s %-18s %10.3f %8.2f %s\n", name.c_str(), c.name, median.back(), f.cells / median.back() / 1e9,
                  notes.c_str());
    }
    const bool fits16 = saturated16 == 0;
    std::printf("%-24s ratio parasail %s / zemtra chosen: %.2f (multi-pair / chosen %.2f; checksum %ld)\n",
                name.c_str(), fits16 ? "16" : "32", median[fits16 ? 3 : 4] / median[0], median[1] / median[0],
                checksum);
    std::fflush(stdout);
  }
  parasail_matrix_free(matrix);
  return 0;
}
