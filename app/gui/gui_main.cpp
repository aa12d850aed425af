#include "app/gui/gui_main.h"

#include <QApplication>
#include <QGuiApplication>
#include <QImage>
#include <QLoggingCategory>
#include <QMessageBox>
#include <QPixmap>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "app/gui/alignment_view.h"
#include "app/gui/main_window.h"
#include "app/gui/modal_auto_answer.h"
#include "app/gui/residue_colors.h"
#include "app/plugin_loader.h"

namespace karvo_gui {

namespace {

std::vector<std::string> pluginDirs(const GuiOptions& options) {
  return karvo_app::pluginSearchDirs({options.pluginDir, karvo_app::pluginPathVariable(), karvo_app::executableDir()});
}

void printError(const QString& title, const QString& text) {
  std::fprintf(stderr, "karvo: %s: %s\n", qPrintable(title), qPrintable(text));
}

int chosenPlugin(const MainWindow& window) {
  const QStringList names = window.pluginNames();
  const auto zemtra = static_cast<int>(names.indexOf(QStringLiteral("Zemtra")));
  return zemtra >= 0 ? zemtra : (names.isEmpty() ? -1 : 0);
}

// The steps after the window is up: select, run, picture. Returns the exit
// status of a screenshot run.
int startUp(MainWindow& window, const GuiOptions& options) {
  const bool unattended = options.screenshot.has_value() || options.exportImage.has_value();
  if (options.select && !window.selectColumns(*options.select)) {
    const QString text = QStringLiteral("columns %1:%2 are not within the alignment (%3 columns)")
                             .arg(options.select->first)
                             .arg(options.select->last)
                             .arg(window.alignment() != nullptr ? window.alignment()->columnCount() : 0);
    if (unattended) {
      printError(QStringLiteral("--select"), text);
      return 1;
    }
    QMessageBox::warning(&window, QStringLiteral("karvo"), text);
  }
  // Like align, a run without a selection re-aligns every column.
  if (options.run && !options.select && window.alignment() != nullptr) {
    window.selectColumns({1, window.alignment()->columnCount()});
  }
  if (options.run) {
    const int plugin = chosenPlugin(window);
    if (plugin < 0) {
      const QString text = QStringLiteral("no plug-in found in the plug-in folders");
      if (unattended) {
        printError(QStringLiteral("--run"), text);
        return 1;
      }
      QMessageBox::warning(&window, QStringLiteral("karvo"), text);
    } else {
      std::unique_ptr<ModalAutoAnswer> answers;
      if (unattended) answers = std::make_unique<ModalAutoAnswer>();
      const auto outcome = window.runPlugin(plugin);
      if (unattended && outcome != MainWindow::RunOutcome::Changed) {
        printError(QStringLiteral("--run"), QStringLiteral("the plug-in did not change the alignment"));
        return 1;
      }
    }
  }
  if (options.exportImage && !window.exportImage(QString::fromStdString(*options.exportImage))) return 1;
  if (options.screenshot) {
    // Lets the status bar and the layouts catch up with the last changes.
    QCoreApplication::processEvents();
    const QPixmap picture = window.grab();
    if (picture.isNull() || !picture.save(QString::fromStdString(*options.screenshot), "PNG")) {
      printError(QStringLiteral("--screenshot"),
                 QStringLiteral("cannot write %1").arg(QString::fromStdString(*options.screenshot)));
      return 1;
    }
  }
  return 0;
}

}  // namespace

int runGui(const GuiOptions& options) {
  std::unique_ptr<QApplication> ownApplication;
  // A picture of the view alone is drawn without a display.
  if (options.exportImage && !options.screenshot) setenv("QT_QPA_PLATFORM", "offscreen", 0);
  if (QApplication::instance() == nullptr) {
    static int argc = 1;
    static char name[] = "karvo";
    static char* argv[] = {name, nullptr};
    ownApplication = std::make_unique<QApplication>(argc, argv);
  }
  // The plug-in's diagnostic texts ("Prepare data for ZEMTRA." and the
  // like) go to the toolkit's debug output: shown only when asked for.
  QLoggingCategory::setFilterRules(options.verbose ? QString() : QStringLiteral("default.debug=false"));
  QApplication::setApplicationName(QStringLiteral("karvo"));
  QApplication::setOrganizationName(QStringLiteral("karvo"));

  const bool unattended = options.screenshot.has_value() || options.exportImage.has_value();
  MainWindow window(pluginDirs(options));
  if (options.colour) {
    const auto scheme = colourSchemeFromName(*options.colour);
    if (!scheme) {
      printError(QStringLiteral("--colour"),
                 QStringLiteral("no colour scheme %1").arg(QString::fromStdString(*options.colour)));
      return 1;
    }
    window.setColourScheme(*scheme);
  }
  if (unattended) {
    window.setReporter(printError);
    window.setConfirmClose(false);
  }
  window.show();
  // A recovery file is only offered to a person; unattended runs leave it.
  // A restored alignment takes the place of the file named at start.
  const bool restored = !unattended && window.offerRecovery();
  if (options.file && !restored && !window.openFile(QString::fromStdString(*options.file)) && unattended) return 1;

  int status = 0;
  // Under a real display the window needs a moment to be mapped and painted;
  // offscreen, grab() paints it by itself.
  const bool offscreen = QGuiApplication::platformName() == QStringLiteral("offscreen");
  QTimer::singleShot(unattended && !offscreen ? 300 : 0, &window, [&] {
    status = startUp(window, options);
    if (unattended) QCoreApplication::exit(status);
  });
  const int loopStatus = QApplication::exec();
  return unattended ? status : loopStatus;
}

}  // namespace karvo_gui

extern "C" int karvoRunGui(const karvo_gui::GuiOptions& options) { return karvo_gui::runGui(options); }
