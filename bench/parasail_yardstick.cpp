// Throughput yardstick for the pairwise phase: every pair of a FASTA family
// through parasail's traced global alignment (nw_trace_scan_profile, 16-bit
// lanes, one profile per row as the pairwise phase has one row sequence per
// row), on one thread, with the run's substitution matrix and a gap open
// penalty equal to the run's gap penalty (no extension cost). Only the
// speed is of interest: the scoring models differ (parasail charges end
// gaps), so scores are not compared.
//
//   zemtra_parasail_yardstick [--matrix M] [--gap G] [--traceback] FASTA
//
// Prints seconds, dynamic programming cells and GCUPS; the cells count the
// padded rows the run aligns (every row padded with gaps to the longest,
// as the host sends them), so the figures compare with zemtra_bench_run.
#include <parasail.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench_family.h"
#include "parasail_matrix.h"

int main(int argc, char** argv) {
  int matNo = 0;
  int gap = 40;
  bool traceback = false;
  std::string fasta;
  for (int a = 1; a < argc; ++a) {
    const std::string arg = argv[a];
    if (arg == "--matrix" && a + 1 < argc)
      matNo = std::atoi(argv[++a]);
    else if (arg == "--gap" && a + 1 < argc)
      gap = std::atoi(argv[++a]);
    else if (arg == "--traceback")
      traceback = true;
    else
      fasta = arg;
  }
  if (fasta.empty()) {
    std::fprintf(stderr, "usage: zemtra_parasail_yardstick [--matrix M] [--gap G] [--traceback] FASTA\n");
    return 2;
  }
  std::vector<std::string> rows = bench::readFasta(fasta);
  std::size_t width = 1;
  for (const std::string& r : rows) width = std::max(width, r.size());
  for (std::string& r : rows) r.resize(width, '-');

  parasail_matrix_t* matrix = bench::parasailMatrix(matNo);
  long checksum = 0;
  const auto start = std::chrono::steady_clock::now();
  for (std::size_t j = 0; j + 1 < rows.size(); ++j) {
    parasail_profile_t* profile = parasail_profile_create_16(rows[j].data(), static_cast<int>(width), matrix);
    for (std::size_t k = j + 1; k < rows.size(); ++k) {
      parasail_result_t* result =
          parasail_nw_trace_scan_profile_16(profile, rows[k].data(), static_cast<int>(width), gap, 0);
      checksum += parasail_result_get_score(result);
      if (traceback) {
        parasail_traceback_t* t =
            parasail_result_get_traceback(result, rows[j].data(), static_cast<int>(width), rows[k].data(),
                                          static_cast<int>(width), matrix, '|', ':', '.');
        checksum += t->query[0];
        parasail_traceback_free(t);
      }
      parasail_result_free(result);
    }
    parasail_profile_free(profile);
  }
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const double n = static_cast<double>(rows.size());
  const double cells = n * (n - 1) / 2.0 * static_cast<double>(width) * static_cast<double>(width);
  std::printf("seconds=%.3f pairwise_cells=%.0f gcups=%.3f checksum=%ld\n", seconds, cells, cells / seconds / 1e9,
              checksum);
  parasail_matrix_free(matrix);
  return 0;
}
