// The open alignment as a document: the alignment (with its names and
// column selection), its file, one undo history for manual edits and
// plug-in runs, the guide tree and what the last run left (log,
// confidence). Views and menus observe it through its signals and change it
// only through its calls.
#pragma once

#include <QObject>
#include <QString>
#include <memory>

#include "app/gui/alignment_edit.h"
#include "app/gui/run_results.h"
#include "formats/phylo_tree.h"
#include "host/alignment.h"

class QUndoStack;

namespace karvo_gui {

class Document : public QObject {
  Q_OBJECT

 public:
  explicit Document(QObject* parent = nullptr);
  ~Document() override;

  KARVO::Alignment* alignment() const { return alignment_.get(); }
  QUndoStack* undoStack() const { return undoStack_; }
  const QString& filePath() const { return filePath_; }
  void setFilePath(const QString& path) { filePath_ = path; }

  // A new alignment (opened, recovered) with an empty history; clean when
  // it is what its file holds. The confidence and the tree are dropped.
  void reset(std::unique_ptr<KARVO::Alignment> alignment, const QString& path, bool clean);

  // Applies an edit as one step of the history; edits with the same
  // non-zero mergeKey in a row undo as one. Throws EditRefused, the
  // alignment unchanged, when it does not fit.
  void edit(const Edit& change, int mergeKey = 0);

  // A plug-in run rewrote the alignment: before comes back with Undo, and
  // with it the results of the run before.
  void pushRun(std::unique_ptr<KARVO::Alignment> before, RunResults results, const QString& text);
  // A failed run: the copy taken before it replaces the alignment, outside
  // the history.
  void restore(std::unique_ptr<KARVO::Alignment> before);
  // The results of a run that changed nothing (its log is still worth reading).
  void setRunLog(const RunResults& results);
  const RunResults& runResults() const { return results_; }

  void setGuideTree(KARVO::PhyloTree tree) { guideTree_ = std::move(tree); }
  const KARVO::PhyloTree& guideTree() const { return guideTree_; }

 signals:
  // Cells, names or row order changed within the same alignment object.
  void contentChanged();
  // Another alignment object took the place of the old one; keepScroll
  // when it is the same alignment at another step of its history.
  void alignmentReplaced(bool keepScroll);
  // The run log or the confidence changed.
  void resultsChanged();

 private:
  friend class EditCommand;
  friend class RunCommand;
  void swapAlignment(std::unique_ptr<KARVO::Alignment>& other, RunResults& otherResults);

  std::unique_ptr<KARVO::Alignment> alignment_;
  QUndoStack* undoStack_ = nullptr;
  QString filePath_;
  RunResults results_;
  KARVO::PhyloTree guideTree_;
};

}  // namespace karvo_gui
