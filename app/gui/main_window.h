// The desktop window: views of one document (the alignment grid with its
// names, ruler and annotation rows, the guide tree panel, the run log) and
// the commands of its File, Edit, View, Plugins and Help menus, built from
// one table. Plug-ins run on the document's alignment with a copy kept for
// undo and a recovery file on disk while they run.
#pragma once

#include <QMainWindow>
#include <QString>
#include <QStringList>
#include <array>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app/gui/alignment_edit.h"
#include "app/gui/document.h"
#include "app/gui/recovery.h"
#include "app/gui/residue_colors.h"
#include "app/gui/tree_view.h"
#include "app/gui/view_geometry.h"
#include "app/plugin_loader.h"
#include "host/alignment.h"

class QAction;
class QLabel;
class QMenu;
class QPlainTextEdit;
class QDialog;
class QDockWidget;
class QLineEdit;
class QUndoStack;

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
  // The plug-in's consistency method through its window-less entry, on the
  // selected columns, with the settings given (no dialog) or asked for.
  RunOutcome runConsistency(int index, const ConsistencySettings& settings);
  RunOutcome runConsistencyWithDialog(int index);
  bool isRunning() const { return running_; }

  // One undo stack for manual edits and plug-in runs.
  bool canUndo() const;
  void undo();
  void redo();
  QUndoStack* undoStack() const { return document_->undoStack(); }
  Document& document() const { return *document_; }

  // Applies a manual edit to the open alignment as one step of the undo
  // stack; false (with the reason in the status bar) when it does not fit.
  // Edits with the same non-zero mergeKey in a row undo as one step.
  bool edit(const Edit& edit, int mergeKey = 0, bool quiet = false);
  // The edits of the Edit menu on the selected block.
  bool insertGaps();
  bool deleteGaps();
  bool slideBlock(long offset);
  bool moveSelectedRows(long offset);
  bool deleteSelectedSequences();
  bool renameSequence(unsigned long row, const QString& name);
  bool sortRowsByName();
  // By identity to the first selected row.
  bool sortRowsByIdentity();
  // Rows in the order of these names (a guide tree's leaves, top to bottom).
  bool orderRowsByNames(const std::vector<std::string>& names);

  // Selects whole rows (a guide tree's clade, in leaf order).
  void selectRows(const RowRange& rows);
  // Docks a panel (the guide tree) on the left of the names; the panel
  // follows the rows through AlignmentView::rowsMoved.
  QDockWidget* dockBesideNames(QWidget* panel, const QString& title);

  void setColourScheme(ColourScheme scheme);
  // Finds the motif; returns the number of matches (-1 for a motif that is
  // not letters).
  int find(const QString& motif);

  // The view as a picture: .png or .svg by the name's extension, the
  // selected columns (all when none) of all rows. false after a report.
  bool exportImage(const QString& path);

  // Asks, for recovery files left by an earlier process, whether to restore
  // them; the first one accepted is opened, and the result is true.
  bool offerRecovery();
  bool restoreRecovery(const PendingRecovery& pending);

  KARVO::Alignment* alignment() const { return document_->alignment(); }
  AlignmentView* view() const { return view_; }
  const QString& filePath() const { return document_->filePath(); }
  QString lastLogPath() const { return QString::fromStdString(document_->runResults().logPath); }
  QStringList recentFiles() const;
  void showRunLog();

  // The guide tree panel, docked beside the names (View > Guide Tree): the
  // tree of the last run, or one read from a Newick file. Its leaves are
  // matched to the sequences by name; leaves without a sequence are left
  // out, sequences without a leaf stay below the tree's rows. While the
  // panel shows, the rows follow the tree's leaf order (one undoable step)
  // and its lines stand beside theirs. Clicking a leaf selects its row, an
  // inner node its sequences.
  void setGuideTree(KARVO::PhyloTree tree);
  const KARVO::PhyloTree& guideTree() const { return document_->guideTree(); }
  // false after a report naming the file, line and column of the problem.
  // A file of several trees gives its first; the status bar counts the rest.
  bool openTree(const QString& path);
  void showGuideTree(bool shown = true);
  bool sortRowsByGuideTree();
  TreeView* treeView() const { return treeView_; }

 protected:
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  // What the tree panel follows: its dock and both scroll areas' viewports.
  std::array<QObject*, 3> treeFollowedObjects() const;

  // When a command of the menus can be chosen.
  enum class When { Always, Idle, Open, CanUndo, CanRedo, HasLog };
  struct Command;
  std::vector<Command> fileAndEditCommands();
  std::vector<Command> viewCommands();
  void createMenus();
  void createFindBar();
  void rebuildPluginMenu();
  void rebuildRecentMenu();
  void updateActions();
  void updateTitle();
  void updateStatus();
  void setRunning(bool running);
  void showAlignment(bool keepScroll);
  void rememberRecent(const QString& path);
  bool maybeSave();
  void openWithDialog();
  bool save();
  bool saveAsWithDialog();
  void about();
  void exportImageWithDialog();
  void renameWithDialog(unsigned long row);
  void findFromBar(bool backwards);
  void afterChange();
  void openTreeWithDialog();
  void alignTreeWithRows();
  void selectTreeNode(int node);
  void showResults();
  void report(const QString& title, const QString& text);
  void slideByDrag(long offset, int drag);
  // The steps every run shares: loading the plug-in, the copy for undo, the
  // recovery file, the call, and the results into the document.
  struct RunCall;
  RunOutcome runWith(int index, const QString& title, const std::function<RunCall(karvo_app::LoadedPlugin&)>& prepare);
  karvo_app::LoadedPlugin* loadPlugin(int index, const QString& name);

  std::vector<karvo_app::PluginInfo> plugins_;
  std::map<int, std::unique_ptr<karvo_app::LoadedPlugin>> loaded_;

  Document* document_ = nullptr;
  int nextMergeKey_ = 1;
  int slideMergeKey_ = 0;
  int lastSlideDrag_ = 0;
  bool running_ = false;
  bool confirmClose_ = true;
  ConsistencySettings consistency_;
  Reporter reporter_;

  AlignmentView* view_ = nullptr;
  QLabel* selectionLabel_ = nullptr;
  QLabel* sizeLabel_ = nullptr;
  std::vector<std::pair<QAction*, When>> actions_;
  std::vector<QAction*> colourActions_;
  QAction* guideTreeAction_ = nullptr;
  QLineEdit* findText_ = nullptr;
  QDockWidget* treeDock_ = nullptr;
  TreeView* treeView_ = nullptr;
  QMenu* recentMenu_ = nullptr;
  QMenu* pluginMenu_ = nullptr;
  QDialog* logWindow_ = nullptr;
  QPlainTextEdit* logText_ = nullptr;
};

}  // namespace karvo_gui
