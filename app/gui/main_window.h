// The desktop window: an alignment view with File, Edit, View, Plugins and
// Help menus. Plug-ins run on the open alignment with a copy kept for undo
// and a recovery file on disk while they run.
#pragma once

#include <QMainWindow>
#include <QString>
#include <QStringList>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app/gui/recovery.h"
#include "app/gui/tree_view.h"
#include "app/gui/view_geometry.h"
#include "app/plugin_loader.h"
#include "host/alignment.h"

class QAction;
class QLabel;
class QMenu;
class QPlainTextEdit;
class QDialog;

namespace karvo_gui {

class AlignmentView;

inline constexpr int kMaxRecentFiles = 8;

// path moved to the front of the list (once), at most max entries kept.
QStringList addRecentFile(QStringList list, const QString& path, int max = kMaxRecentFiles);

class MainWindow : public QMainWindow {
  Q_OBJECT

 public:
  // Tells the user about a failure: a message box unless replaced.
  using Reporter = std::function<void(const QString& title, const QString& text)>;

  enum class RunOutcome {
    Changed,    // the plug-in rewrote the alignment; Undo brings the old one back
    Unchanged,  // the plug-in returned false (cancelled, nothing to align)
    Failed,     // the plug-in threw or could not be loaded; the alignment is as before
    Refused,    // not started: no alignment, no selection, or a run in progress
  };

  // pluginDirs: the folders searched for plug-ins, in order.
  explicit MainWindow(const std::vector<std::string>& pluginDirs, QWidget* parent = nullptr);
  ~MainWindow() override;

  void setReporter(Reporter reporter) { reporter_ = std::move(reporter); }
  // Off: closing never asks about unsaved changes (screenshot runs).
  void setConfirmClose(bool confirm) { confirmClose_ = confirm; }

  bool openFile(const QString& path);
  // The format follows the name's extension (FASTA, Clustal or MSF).
  bool saveFile(const QString& path);
  // Selects a 1-based inclusive column span; false when it does not fit.
  bool selectColumns(const ColumnSpan& span);

  // The plug-ins of the Plugins menu, by menu name.
  QStringList pluginNames() const;
  RunOutcome runPlugin(int index);
  bool isRunning() const { return running_; }

  bool canUndo() const { return undo_.alignment != nullptr; }
  void undo();

  // Asks, for recovery files left by an earlier process, whether to restore
  // them; the first one accepted is opened, and the result is true.
  bool offerRecovery();
  bool restoreRecovery(const PendingRecovery& pending);

  KARVO::Alignment* alignment() const { return alignment_.get(); }
  AlignmentView* view() const { return view_; }
  const QString& filePath() const { return filePath_; }
  const QString& lastLogPath() const { return lastLogPath_; }
  QStringList recentFiles() const;
  void showRunLog();

  // The guide tree of the last run (View > Guide Tree); clicking a leaf
  // makes its row the view's current row.
  void setGuideTree(RunGuideTree tree);
  void showGuideTree();
  TreeView* treeView() const { return treeView_; }

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  struct UndoState {
    std::unique_ptr<KARVO::Alignment> alignment;
    bool modified = false;
  };

  void createMenus();
  void rebuildPluginMenu();
  void rebuildRecentMenu();
  void updateActions();
  void updateTitle();
  void updateStatus();
  void setRunning(bool running);
  void showAlignment(std::unique_ptr<KARVO::Alignment> alignment, bool keepScroll);
  void rememberRecent(const QString& path);
  bool maybeSave();
  void openWithDialog();
  bool save();
  bool saveAsWithDialog();
  void about();
  void report(const QString& title, const QString& text);

  std::vector<karvo_app::PluginInfo> plugins_;
  std::map<int, std::unique_ptr<karvo_app::LoadedPlugin>> loaded_;

  std::unique_ptr<KARVO::Alignment> alignment_;
  UndoState undo_;
  QString filePath_;
  QString lastLogPath_;
  bool running_ = false;
  bool confirmClose_ = true;
  Reporter reporter_;

  AlignmentView* view_ = nullptr;
  QLabel* selectionLabel_ = nullptr;
  QLabel* sizeLabel_ = nullptr;
  QAction* openAction_ = nullptr;
  QAction* saveAction_ = nullptr;
  QAction* saveAsAction_ = nullptr;
  QAction* quitAction_ = nullptr;
  QAction* undoAction_ = nullptr;
  QAction* runLogAction_ = nullptr;
  QAction* guideTreeAction_ = nullptr;
  RunGuideTree guideTree_;
  QDialog* treeWindow_ = nullptr;
  TreeView* treeView_ = nullptr;
  QMenu* recentMenu_ = nullptr;
  QMenu* pluginMenu_ = nullptr;
  QDialog* logWindow_ = nullptr;
  QPlainTextEdit* logText_ = nullptr;
};

}  // namespace karvo_gui
