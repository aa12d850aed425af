#include "gui_fixture.h"

#include <QAction>
#include <QColor>
#include <QTest>
#include <filesystem>
#include <set>

#include "app/gui/alignment_view.h"
#include "app/gui/residue_colors.h"

namespace karvo_gui::testing {

std::string examplePath(const char* name) { return std::string(ZEMTRA_SOURCE_DIR) + "/examples/" + name; }

std::string zemtraPluginDir() { return std::filesystem::path(ZEMTRA_PLUGIN_PATH).parent_path().string(); }

std::string faultyPluginDir() { return std::filesystem::path(FAULTY_PLUGIN_PATH).parent_path().string(); }

std::vector<std::string> rowsOf(const KARVO::Alignment& alignment) {
  std::vector<std::string> rows;
  for (unsigned long row = 0; row < alignment.sequenceCount(); ++row) rows.push_back(alignment.rowText(row));
  return rows;
}

QAction* action(const MainWindow& window, const char* name) {
  return window.findChild<QAction*>(QString::fromLatin1(name));
}

void dragOnRuler(AlignmentView& view, unsigned long from, unsigned long to, Qt::KeyboardModifiers modifiers) {
  QWidget* surface = view.viewport();
  QTest::mousePress(surface, Qt::LeftButton, modifiers, view.rulerPointOfColumn(from));
  if (to != from) QTest::mouseMove(surface, view.rulerPointOfColumn(to));
  QTest::mouseRelease(surface, Qt::LeftButton, modifiers, view.rulerPointOfColumn(to));
}

int residueColoursIn(const QImage& image) {
  const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
  std::set<QRgb> seen;
  for (int y = 0; y < rgb.height(); ++y) {
    for (int x = 0; x < rgb.width(); ++x) seen.insert(rgb.pixel(x, y));
  }
  int found = 0;
  for (ResidueClass c : {ResidueClass::Hydrophobic, ResidueClass::Acidic, ResidueClass::Basic, ResidueClass::Polar,
                         ResidueClass::GlycineProline, ResidueClass::Other})
    found += seen.count(residueClassColor(c).rgb()) > 0 ? 1 : 0;
  return found;
}

void WindowTest::SetUp() {
  ASSERT_TRUE(tmp_.isValid());
  personal_.emplace(ztest::withTmpDir(tmpDir()));
}

void WindowTest::TearDown() {
  window_.reset();
  personal_.reset();
}

MainWindow& WindowTest::makeWindow(const std::vector<std::string>& dirs) {
  window_ = std::make_unique<MainWindow>(dirs);
  window_->setConfirmClose(false);
  window_->setReporter([this](const QString& title, const QString& text) { reports_ << title + ": " + text; });
  window_->show();
  return *window_;
}

MainWindow& WindowTest::windowWith(const char* example, const std::vector<std::string>& dirs) {
  MainWindow& window = makeWindow(dirs);
  EXPECT_TRUE(window.openFile(QString::fromStdString(examplePath(example)))) << example;
  return window;
}

}  // namespace karvo_gui::testing
