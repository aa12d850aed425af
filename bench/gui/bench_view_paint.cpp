// Time to paint one frame of the alignment view over a 500 x 2,000 family,
// rendered offscreen into an image at several scroll positions, and the time
// to take in a changed alignment.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "app/gui/alignment_view.h"
#include "host/alignment.h"

namespace {

constexpr unsigned long kSequences = 500;
constexpr unsigned long kColumns = 2000;

// Relatives of one random ancestor: point mutations and gap stretches, so
// that the grid has the mix of classes and gaps of a real family.
std::unique_ptr<KARVO::Alignment> family() {
  static const char residues[] = "ACDEFGHIKLMNPQRSTVWY";
  std::mt19937 random(20240611);
  std::uniform_int_distribution<int> letter(0, 19);
  std::uniform_real_distribution<double> chance(0.0, 1.0);
  std::string ancestor(kColumns, 'A');
  for (char& code : ancestor) code = residues[letter(random)];
  std::vector<KARVO::SequenceInfo> infos;
  std::vector<std::string> rows;
  for (unsigned long s = 0; s < kSequences; ++s) {
    infos.push_back({"SEQ" + std::to_string(s) + "_BENCH", ""});
    std::string row = ancestor;
    for (unsigned long c = 0; c < kColumns; ++c) {
      if (chance(random) < 0.25) row[c] = residues[letter(random)];
      if (chance(random) < 0.01) {
        const unsigned long stretch = 1 + static_cast<unsigned long>(chance(random) * 12);
        for (unsigned long g = c; g < std::min(kColumns, c + stretch); ++g) row[g] = '-';
        c += stretch;
      }
    }
    rows.push_back(row);
  }
  return KARVO::Alignment::fromRows(infos, rows);
}

struct Fixture {
  Fixture() : alignment(family()) {
    view.resize(1280, 900);
    view.setAlignment(alignment.get());
    view.setSelection({300, 420});
  }
  std::unique_ptr<KARVO::Alignment> alignment;
  karvo_gui::AlignmentView view;
};

Fixture& fixture() {
  static Fixture instance;
  return instance;
}

// Arguments: the first visible row and column as per mille of the scroll range.
void BM_PaintFrame(benchmark::State& state) {
  Fixture& f = fixture();
  const unsigned long row = (kSequences * static_cast<unsigned long>(state.range(0))) / 1000;
  const unsigned long column = (kColumns * static_cast<unsigned long>(state.range(1))) / 1000;
  f.view.scrollToCell(row, column);
  QImage frame(f.view.viewport()->size(), QImage::Format_ARGB32_Premultiplied);
  for (auto _ : state) {
    f.view.viewport()->render(&frame);
    benchmark::DoNotOptimize(frame.constBits());
  }
  state.counters["cells"] = static_cast<double>((f.view.viewport()->width() / f.view.cellWidth()) *
                                                (f.view.viewport()->height() / f.view.cellHeight()));
}
BENCHMARK(BM_PaintFrame)
    ->Args({0, 0})
    ->Args({500, 150})
    ->Args({500, 500})
    ->Args({1000, 1000})
    ->Unit(benchmark::kMillisecond);

// Scrolling one page to the right and painting, as holding the page key does.
void BM_ScrollAndPaint(benchmark::State& state) {
  Fixture& f = fixture();
  QImage frame(f.view.viewport()->size(), QImage::Format_ARGB32_Premultiplied);
  unsigned long column = 0;
  for (auto _ : state) {
    column = (column + 97) % kColumns;
    f.view.scrollToCell(column % kSequences, column);
    f.view.viewport()->render(&frame);
    benchmark::DoNotOptimize(frame.constBits());
  }
}
BENCHMARK(BM_ScrollAndPaint)->Unit(benchmark::kMillisecond);

// Taking in the alignment again after a plug-in rewrote it.
void BM_ReloadAlignment(benchmark::State& state) {
  Fixture& f = fixture();
  for (auto _ : state) f.view.reloadAlignment();
}
BENCHMARK(BM_ReloadAlignment)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  // Rendering into an image needs no display.
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  QApplication application(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
