// GoogleTest main for the tests that need a QApplication (dialogs and
// windows), offscreen, with settings kept out of the user's configuration.
#include <gtest/gtest.h>

#include <QApplication>
#include <QTemporaryDir>
#include <cstdlib>

int main(int argc, char** argv) {
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  QTemporaryDir config;
  setenv("XDG_CONFIG_HOME", config.path().toLocal8Bit().constData(), 1);
  QApplication application(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
