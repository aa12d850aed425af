// What the window tests share: a window over a scratch temporary directory,
// ruler clicks, and counting the residue colours in a picture.
#pragma once

#include <gtest/gtest.h>

#include <QAction>
#include <QImage>
#include <QTemporaryDir>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/gui/main_window.h"
#include "ended_process.h"
#include "host/alignment.h"
#include "tests/support/host_settings.h"

namespace karvo_gui::testing {

std::string examplePath(const char* name);

// A plug-in folder with only the real plug-in, and one with only the test's
// failing plug-in.
std::string zemtraPluginDir();
std::string faultyPluginDir();

// The rows of an alignment as text, for comparing whole alignments.
std::vector<std::string> rowsOf(const KARVO::Alignment& alignment);

// The window's action of that object name.
QAction* action(const MainWindow& window, const char* name);

// Press on the ruler over column, optionally drag to another column, release.
void dragOnRuler(class AlignmentView& view, unsigned long from, unsigned long to,
                 Qt::KeyboardModifiers modifiers = Qt::NoModifier);

// How many residue classes have their exact cell colour somewhere in image.
int residueColoursIn(const QImage& image);

// Each test gets its own personal temporary directory.
class WindowTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  // A shown window searching dirs for plug-ins; failures are collected in
  // reports instead of message boxes.
  MainWindow& makeWindow(const std::vector<std::string>& dirs = {});
  // The same with one of the examples open.
  MainWindow& windowWith(const char* example, const std::vector<std::string>& dirs = {});
  std::string tmpDir() const { return tmp_.path().toStdString(); }

  QTemporaryDir tmp_;
  std::optional<ztest::ScopedHostSettings> personal_;
  std::unique_ptr<MainWindow> window_;
  QStringList reports_;
};

}  // namespace karvo_gui::testing
