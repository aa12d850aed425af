// The window on a large alignment (5,000 sequences x 3,000 columns, 15 M
// cells), offscreen: the time to open it from a FASTA file and the memory
// resident afterwards, the time to paint a full-screen frame (1920 x 1080)
// at several scroll positions and zoom levels, and the time to take in the
// alignment again after an edit or a run.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QPainter>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "app/gui/alignment_view.h"
#include "app/gui/main_window.h"
#include "host/alignment.h"

namespace {

constexpr unsigned long kSequences = 5000;
constexpr unsigned long kColumns = 3000;

// Relatives of one random ancestor: point mutations and gap stretches, so
// that the grid has the mix of classes and gaps of a real family. Written as
// FASTA once per process.
std::string familyFile() {
  static const std::string path = [] {
    const std::string file = QDir::tempPath().toStdString() + "/karvo_bench_gui_family.fa";
    static const char residues[] = "ACDEFGHIKLMNPQRSTVWY";
    std::mt19937 random(20240611);
    std::uniform_int_distribution<int> letter(0, 19);
    std::uniform_real_distribution<double> chance(0.0, 1.0);
    std::string ancestor(kColumns, 'A');
    for (char& code : ancestor) code = residues[letter(random)];
    std::ofstream out(file, std::ios::trunc);
    for (unsigned long s = 0; s < kSequences; ++s) {
      std::string row = ancestor;
      for (unsigned long c = 0; c < kColumns; ++c) {
        if (chance(random) < 0.25) row[c] = residues[letter(random)];
        if (chance(random) < 0.01) {
          const unsigned long stretch = 1 + static_cast<unsigned long>(chance(random) * 12);
          for (unsigned long g = c; g < std::min(kColumns, c + stretch); ++g) row[g] = '-';
          c += stretch;
        }
      }
      out << ">SEQ" << s << "_BENCH_FAMILY_MEMBER\n" << row << '\n';
    }
    return file;
  }();
  return path;
}

// Resident and peak resident memory of this process, in MB.
double statusMegabytes(const char* field) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind(field, 0) == 0) return std::strtod(line.c_str() + std::string(field).size(), nullptr) / 1024.0;
  }
  return 0;
}

std::unique_ptr<karvo_gui::MainWindow>& window() {
  static std::unique_ptr<karvo_gui::MainWindow> instance;
  return instance;
}

// Opening the file in the window: reading, building the alignment, the
// view's text copy, column statistics and colours. Runs once.
void BM_OpenLargeAlignment(benchmark::State& state) {
  const std::string path = familyFile();
  const double before = statusMegabytes("VmRSS:");
  for (auto _ : state) {
    window() = std::make_unique<karvo_gui::MainWindow>(std::vector<std::string>{});
    window()->setConfirmClose(false);
    window()->resize(1920, 1080);
    const auto start = std::chrono::steady_clock::now();
    if (!window()->openFile(QString::fromStdString(path))) state.SkipWithError("cannot open the family");
    state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  state.counters["rss_before_MB"] = before;
  state.counters["rss_MB"] = statusMegabytes("VmRSS:");
  state.counters["peak_rss_MB"] = statusMegabytes("VmHWM:");
}
BENCHMARK(BM_OpenLargeAlignment)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// Arguments: the first visible row and column as per mille of the alignment,
// and the zoom level (-1: the default).
void BM_PaintFullScreen(benchmark::State& state) {
  if (!window()) {
    state.SkipWithError("BM_OpenLargeAlignment did not run");
    return;
  }
  karvo_gui::AlignmentView& view = *window()->view();
  view.resize(1920, 1080);
  const int zoom = static_cast<int>(state.range(2));
  view.setZoom(zoom < 0 ? karvo_gui::AlignmentView::defaultZoom() : zoom);
  view.setSelection({300, 420});
  const unsigned long row = (kSequences * static_cast<unsigned long>(state.range(0))) / 1000;
  const unsigned long column = (kColumns * static_cast<unsigned long>(state.range(1))) / 1000;
  view.scrollToCell(row, column);
  QImage frame(view.viewport()->size(), QImage::Format_ARGB32_Premultiplied);
  for (auto _ : state) {
    view.viewport()->render(&frame);
    benchmark::DoNotOptimize(frame.constBits());
  }
  state.counters["cells"] = static_cast<double>((view.viewport()->width() / view.cellWidth()) *
                                                (view.viewport()->height() / view.cellHeight()));
  view.setZoom(karvo_gui::AlignmentView::defaultZoom());
}
BENCHMARK(BM_PaintFullScreen)
    ->Args({0, 0, -1})
    ->Args({500, 500, -1})
    ->Args({1000, 1000, -1})
    ->Args({0, 0, 0})
    ->Args({500, 500, 0})
    ->Args({500, 500, 4})
    ->Args({500, 500, 12})
    ->Unit(benchmark::kMillisecond);

// Scrolling about a page down and to the right and painting, as holding
// the page keys does.
void BM_ScrollAndPaint(benchmark::State& state) {
  if (!window()) return;
  karvo_gui::AlignmentView& view = *window()->view();
  QImage frame(view.viewport()->size(), QImage::Format_ARGB32_Premultiplied);
  unsigned long column = 0;
  for (auto _ : state) {
    column = (column + 97) % kColumns;
    view.scrollToCell((column * 7) % kSequences, column);
    view.viewport()->render(&frame);
    benchmark::DoNotOptimize(frame.constBits());
  }
}
BENCHMARK(BM_ScrollAndPaint)->Unit(benchmark::kMillisecond);

// Taking in the alignment again after an edit or a plug-in run.
void BM_ReloadAlignment(benchmark::State& state) {
  if (!window()) return;
  for (auto _ : state) window()->view()->reloadAlignment();
}
BENCHMARK(BM_ReloadAlignment)->Unit(benchmark::kMillisecond);

// One gap inserted in one row through the window's undo stack, and undone.
void BM_EditAndUndo(benchmark::State& state) {
  if (!window()) return;
  karvo_gui::MainWindow& w = *window();
  for (auto _ : state) {
    w.view()->setBlock({10, 11}, {100, 101});
    w.insertGaps();
    w.undo();
  }
}
BENCHMARK(BM_EditAndUndo)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  // Rendering into an image needs no display.
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  QApplication application(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  window().reset();
  benchmark::Shutdown();
  return 0;
}
