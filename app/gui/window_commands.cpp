// The window's commands in one table, which builds the menus and their
// shortcuts and says when each command can be chosen.
#include <QAction>
#include <QActionGroup>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QToolBar>
#include <QUndoStack>
#include <functional>
#include <map>
#include <utility>

#include "app/gui/alignment_view.h"
#include "app/gui/main_window.h"

namespace karvo_gui {

struct MainWindow::Command {
  QString menu;  // the menu's path, "&Edit/S&ort Rows"
  QString text;
  const char* name = "";  // the action's object name
  QList<QKeySequence> keys;
  When when = When::Always;
  std::function<void()> run;
  bool separatorBefore = false;
  // Checkable commands: toggled with the new state, checked at start.
  std::function<void(bool)> toggle = nullptr;
  bool checked = false;
  QActionGroup* group = nullptr;
};

std::vector<MainWindow::Command> MainWindow::fileAndEditCommands() {
  using K = QKeySequence;
  const QString file = tr("&File"), edit = tr("&Edit"), sort = edit + '/' + tr("S&ort Rows");
  return {
      {file, tr("&Open\u2026"), "openAction", {K::Open}, When::Idle, [this] { openWithDialog(); }},
      {file, tr("&Save"), "saveAction", {K::Save}, When::Open, [this] { save(); }},
      {file, tr("Save &As\u2026"), "saveAsAction", {K::SaveAs}, When::Open, [this] { saveAsWithDialog(); }},
      {file, tr("Open &Tree\u2026"), "openTreeAction", {}, When::Open, [this] { openTreeWithDialog(); }},
      {file, tr("&Export Image\u2026"), "exportImageAction", {}, When::Open, [this] { exportImageWithDialog(); }},
      {file, tr("&Quit"), "quitAction", {K(Qt::CTRL | Qt::Key_Q)}, When::Idle, [this] { close(); }, true},
      {edit, tr("&Undo"), "undoAction", {K::Undo}, When::CanUndo, [this] { undo(); }},
      {edit, tr("&Redo"), "redoAction", {K::Redo}, When::CanRedo, [this] { redo(); }},
      {edit, tr("&Insert Gap"), "insertGapAction", {K(Qt::Key_Space)}, When::Open, [this] { insertGaps(); }, true},
      {edit, tr("&Delete Gaps"), "deleteGapsAction", {K(Qt::Key_Backspace)}, When::Open, [this] { deleteGaps(); }},
      {edit,
       tr("Slide Block &Left"),
       "slideLeftAction",
       {K(Qt::ALT | Qt::Key_Left)},
       When::Open,
       [this] { slideBlock(-1); }},
      {edit,
       tr("Slide Block &Right"),
       "slideRightAction",
       {K(Qt::ALT | Qt::Key_Right)},
       When::Open,
       [this] { slideBlock(1); }},
      {edit,
       tr("Move Rows &Up"),
       "moveUpAction",
       {K(Qt::ALT | Qt::Key_Up)},
       When::Open,
       [this] { moveSelectedRows(-1); },
       true},
      {edit,
       tr("Move Rows Do&wn"),
       "moveDownAction",
       {K(Qt::ALT | Qt::Key_Down)},
       When::Open,
       [this] { moveSelectedRows(1); }},
      {edit,
       tr("Re&name Sequence\u2026"),
       "renameAction",
       {K(Qt::Key_F2)},
       When::Open,
       [this] { renameWithDialog(view_->selectedRows().first); }},
      {edit,
       tr("Delete &Sequences"),
       "deleteSequencesAction",
       {K(Qt::CTRL | Qt::Key_Delete)},
       When::Open,
       [this] { deleteSelectedSequences(); }},
      {sort, tr("By &Name"), "sortByNameAction", {}, When::Open, [this] { sortRowsByName(); }},
      {sort,
       tr("By &Identity to Selected Row"),
       "sortByIdentityAction",
       {},
       When::Open,
       [this] { sortRowsByIdentity(); }},
      {sort, tr("By &Guide Tree"), "sortByGuideTreeAction", {}, When::Open, [this] { sortRowsByGuideTree(); }},
      {edit,
       tr("&Find Motif\u2026"),
       "findAction",
       {K::Find},
       When::Always,
       [this] {
         findText_->setFocus();
         findText_->selectAll();
       },
       true},
      {edit, tr("Find &Next"), "findNextAction", {K(Qt::Key_F3)}, When::Open, [this] { findFromBar(false); }},
      {edit,
       tr("Find &Previous"),
       "findPreviousAction",
       {K(Qt::SHIFT | Qt::Key_F3)},
       When::Open,
       [this] { findFromBar(true); }},
  };
}

std::vector<MainWindow::Command> MainWindow::viewCommands() {
  using K = QKeySequence;
  const QString view = tr("&View"), colours = view + '/' + tr("&Colours");
  std::vector<Command> table;
  auto* colourGroup = new QActionGroup(this);
  const QString colourTitles[] = {tr("Residue &Class"),  tr("C&onservation"), tr("&Identity to Consensus"),
                                  tr("&Hydrophobicity"), tr("&None"),         tr("Con&fidence")};
  for (const std::string& name : colourSchemeNames()) {
    const ColourScheme scheme = *colourSchemeFromName(name);
    Command colour{colours, colourTitles[static_cast<int>(scheme)], nullptr, {}, When::Always, nullptr};
    colour.toggle = [this, scheme](bool) { setColourScheme(scheme); };
    colour.checked = scheme == view_->colourScheme();
    colour.group = colourGroup;
    table.push_back(std::move(colour));
  }
  Command annotations{view, tr("&Annotation Rows"), "annotationsAction", {}, When::Always, nullptr};
  annotations.toggle = [this](bool shown) { view_->setAnnotationsShown(shown); };
  annotations.checked = view_->annotationsShown();
  table.push_back(std::move(annotations));
  table.push_back({view,
                   tr("Zoom &In"),
                   "",
                   {K::ZoomIn, K(Qt::CTRL | Qt::Key_Equal)},
                   When::Always,
                   [this] { view_->setZoom(view_->zoom() + 1); },
                   true});
  table.push_back(
      {view, tr("Zoom &Out"), "", {K::ZoomOut}, When::Always, [this] { view_->setZoom(view_->zoom() - 1); }});
  table.push_back({view, tr("&Actual Size"), "", {K(Qt::CTRL | Qt::Key_0)}, When::Always, [this] {
                     view_->setZoom(AlignmentView::defaultZoom());
                   }});
  table.push_back({view, tr("Run &Log"), "runLogAction", {}, When::HasLog, [this] { showRunLog(); }, true});
  Command tree{view, tr("Guide &Tree"), "guideTreeAction", {}, When::Always, nullptr};
  tree.toggle = [this](bool shown) { showGuideTree(shown); };
  table.push_back(std::move(tree));
  return table;
}

void MainWindow::createMenus() {
  std::map<QString, QMenu*> menus;
  const std::function<QMenu*(const QString&)> menuOf = [&](const QString& path) {
    if (QMenu* made = menus[path]) return made;
    const auto slash = path.lastIndexOf('/');
    QMenu* menu = slash < 0 ? menuBar()->addMenu(path) : menuOf(path.left(slash))->addMenu(path.mid(slash + 1));
    menus[path] = menu;
    return menu;
  };
  std::vector<Command> table = fileAndEditCommands();
  for (Command& command : viewCommands()) table.push_back(std::move(command));
  for (Command& command : table) {
    QMenu* menu = menuOf(command.menu);
    if (command.separatorBefore) menu->addSeparator();
    QAction* action = command.toggle ? menu->addAction(command.text, this, command.toggle)
                                     : menu->addAction(command.text, this, command.run);
    if (command.name != nullptr && *command.name != '\0') action->setObjectName(QLatin1String(command.name));
    action->setShortcuts(command.keys);
    if (command.toggle) {
      action->setCheckable(true);
      action->setChecked(command.checked);
    }
    if (command.group != nullptr) {
      command.group->addAction(action);
      colourActions_.push_back(action);
    }
    if (action->objectName() == QStringLiteral("guideTreeAction")) guideTreeAction_ = action;
    actions_.emplace_back(action, command.when);
  }
  for (std::size_t i = 0; i < colourActions_.size(); ++i)
    colourActions_[i]->setObjectName(QStringLiteral("colour_") + QString::fromStdString(colourSchemeNames()[i]));
  QMenu* file = menus[tr("&File")];
  recentMenu_ = new QMenu(tr("Open &Recent"), file);
  recentMenu_->setObjectName(QStringLiteral("recentMenu"));
  file->insertMenu(findChild<QAction*>(QStringLiteral("saveAction")), recentMenu_);

  createFindBar();
  pluginMenu_ = menuBar()->addMenu(tr("&Plugins"));
  pluginMenu_->setObjectName(QStringLiteral("pluginMenu"));
  rebuildPluginMenu();

  QMenu* help = menuBar()->addMenu(tr("&Help"));
  help->addAction(tr("&About karvo"), this, &MainWindow::about)->setObjectName(QStringLiteral("aboutAction"));
  rebuildRecentMenu();
}

void MainWindow::createFindBar() {
  QToolBar* findBar = addToolBar(tr("Find"));
  findBar->setObjectName(QStringLiteral("findBar"));
  findBar->setMovable(false);
  findText_ = new QLineEdit(findBar);
  findText_->setObjectName(QStringLiteral("findText"));
  findText_->setPlaceholderText(tr("Find motif (X = any residue)"));
  findText_->setClearButtonEnabled(true);
  findText_->setMaximumWidth(260);
  findBar->addWidget(findText_);
  connect(findText_, &QLineEdit::returnPressed, this, [this] { find(findText_->text()); });
}

void MainWindow::rebuildPluginMenu() {
  pluginMenu_->clear();
  if (plugins_.empty()) {
    pluginMenu_->addAction(tr("No plug-ins found"))->setEnabled(false);
    return;
  }
  const QStringList names = pluginNames();
  for (int index = 0; index < static_cast<int>(plugins_.size()); ++index) {
    QAction* action = pluginMenu_->addAction(names[index], this, [this, index] { runPlugin(index); });
    action->setToolTip(QString::fromStdString(plugins_[static_cast<std::size_t>(index)].path));
  }
  // The second method of the plug-ins that have one, through their
  // window-less entry and the window's own dialog.
  bool separated = false;
  for (int index = 0; index < static_cast<int>(plugins_.size()); ++index) {
    try {
      if (karvo_app::LoadedPlugin::open(plugins_[static_cast<std::size_t>(index)].path)
              ->symbol("ExecuteWithParameters") == nullptr)
        continue;
    } catch (const karvo_app::PluginError&) {
      continue;  // the plug-in's own entry reports why when it is chosen
    }
    if (!std::exchange(separated, true)) pluginMenu_->addSeparator();
    QAction* action = pluginMenu_->addAction(tr("%1 Consistency Alignment\u2026").arg(names[index]), this,
                                             [this, index] { runConsistencyWithDialog(index); });
    action->setObjectName(QStringLiteral("consistencyAction_") + names[index]);
  }
}

void MainWindow::updateActions() {
  const bool idle = !running_;
  const bool open = idle && alignment() != nullptr;
  const RunResults& results = document_->runResults();
  for (const auto& [action, when] : actions_) {
    switch (when) {
      case When::Always:
        break;
      case When::Idle:
        action->setEnabled(idle);
        break;
      case When::Open:
        action->setEnabled(open);
        break;
      case When::CanUndo:
        action->setEnabled(idle && canUndo());
        break;
      case When::CanRedo:
        action->setEnabled(idle && undoStack()->canRedo());
        break;
      case When::HasLog:
        action->setEnabled(!results.logPath.empty() || !results.logText.empty());
        break;
    }
  }
  recentMenu_->setEnabled(idle && !recentFiles().isEmpty());
  pluginMenu_->setEnabled(idle);
  view_->setInteractive(idle);
}

void MainWindow::about() {
  QMessageBox::about(this, tr("About karvo"),
                     QStringLiteral("<p><b>karvo " KARVO_VERSION "</b></p>") +
                         tr("<p>Views protein multiple alignments and re-aligns column ranges with plug-ins.</p>"));
}

}  // namespace karvo_gui
