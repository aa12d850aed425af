#include "app/gui/document.h"

#include <QUndoCommand>
#include <QUndoStack>

namespace karvo_gui {

// A manual edit (or several merged, as the steps of one drag): undone by
// applying the undo edits in reverse order.
class EditCommand : public QUndoCommand {
 public:
  EditCommand(Document& document, Edit forward, Edit inverse, int mergeKey)
      : QUndoCommand(QString::fromStdString(editName(forward))), document_(document), mergeKey_(mergeKey) {
    forwards_.push_back(std::move(forward));
    inverses_.push_back(std::move(inverse));
  }
  int id() const override { return mergeKey_ == 0 ? -1 : 1; }
  bool mergeWith(const QUndoCommand* other) override {
    const auto* next = dynamic_cast<const EditCommand*>(other);
    if (next == nullptr || next->mergeKey_ != mergeKey_) return false;
    forwards_.insert(forwards_.end(), next->forwards_.begin(), next->forwards_.end());
    inverses_.insert(inverses_.end(), next->inverses_.begin(), next->inverses_.end());
    return true;
  }
  void undo() override {
    for (auto inverse = inverses_.rbegin(); inverse != inverses_.rend(); ++inverse) {
      applyEdit(*document_.alignment_, *inverse);
    }
    emit document_.contentChanged();
  }
  void redo() override {
    // Pushed after the edit was made.
    if (fresh_) {
      fresh_ = false;
      return;
    }
    for (std::size_t i = 0; i < forwards_.size(); ++i) inverses_[i] = applyEdit(*document_.alignment_, forwards_[i]);
    emit document_.contentChanged();
  }

 private:
  Document& document_;
  int mergeKey_;
  bool fresh_ = true;
  std::vector<Edit> forwards_;
  std::vector<Edit> inverses_;
};

// A plug-in run: the alignment before it is kept whole and swapped back,
// together with the results of the run before it.
class RunCommand : public QUndoCommand {
 public:
  RunCommand(Document& document, std::unique_ptr<KARVO::Alignment> before, RunResults beforeResults,
             const QString& text)
      : QUndoCommand(text), document_(document), other_(std::move(before)), otherResults_(std::move(beforeResults)) {}
  void undo() override { document_.swapAlignment(other_, otherResults_); }
  void redo() override {
    if (fresh_) {
      fresh_ = false;
      return;
    }
    document_.swapAlignment(other_, otherResults_);
  }

 private:
  Document& document_;
  bool fresh_ = true;
  std::unique_ptr<KARVO::Alignment> other_;
  RunResults otherResults_;
};

Document::Document(QObject* parent) : QObject(parent), undoStack_(new QUndoStack(this)) {}

Document::~Document() {
  // Clearing the history on the way out tells nobody.
  undoStack_->disconnect();
}

void Document::reset(std::unique_ptr<KARVO::Alignment> alignment, const QString& path, bool clean) {
  std::unique_ptr<KARVO::Alignment> old = std::move(alignment_);
  alignment_ = std::move(alignment);
  filePath_ = path;
  // The last run's log stays readable; its confidence belonged to the old alignment.
  results_.confidence.clear();
  guideTree_ = {};
  emit alignmentReplaced(false);
  emit resultsChanged();
  undoStack_->clear();
  // An alignment not yet saved where it belongs has no clean state.
  if (clean) {
    undoStack_->setClean();
  } else {
    undoStack_->resetClean();
  }
}

void Document::edit(const Edit& change, int mergeKey) {
  Edit inverse = applyEdit(*alignment_, change);
  undoStack_->push(new EditCommand(*this, change, std::move(inverse), mergeKey));
  emit contentChanged();
}

void Document::pushRun(std::unique_ptr<KARVO::Alignment> before, RunResults results, const QString& text) {
  RunResults beforeResults = std::move(results_);
  results_ = std::move(results);
  undoStack_->push(new RunCommand(*this, std::move(before), std::move(beforeResults), text));
  emit contentChanged();
  emit resultsChanged();
}

void Document::restore(std::unique_ptr<KARVO::Alignment> before) {
  std::unique_ptr<KARVO::Alignment> failed = std::move(alignment_);
  alignment_ = std::move(before);
  emit alignmentReplaced(true);
}

void Document::setRunLog(const RunResults& results) {
  results_.logPath = results.logPath;
  results_.logText = results.logText;
  emit resultsChanged();
}

void Document::swapAlignment(std::unique_ptr<KARVO::Alignment>& other, RunResults& otherResults) {
  // The views let go of the old alignment before it is released.
  std::unique_ptr<KARVO::Alignment> current = std::move(alignment_);
  alignment_ = std::move(other);
  emit alignmentReplaced(true);
  other = std::move(current);
  std::swap(results_.confidence, otherResults.confidence);
  emit resultsChanged();
}

}  // namespace karvo_gui
