// The host's dialog base class: a vertical top-level layout that the
// concrete dialog fills with its rows, and a button row that StartWidget
// adds below them.
#pragma once

#include <QDialog>
#include <QSize>
#include <QString>

#include "host/widget_factory.h"

class QBoxLayout;
class QCloseEvent;
class QDialogButtonBox;
class QKeyEvent;
class QShowEvent;

class BaseDialog : public QDialog {
  Q_OBJECT

 public:
  // caption   the window title.
  // size      the dialog's size once StartWidget has run; it comes out
  //           larger when the layout needs more room.
  // margin    the top-level layout's margin on all four sides, in pixels;
  //           negative keeps the style's default.
  // spacing   the space between the top-level layout's rows, in pixels;
  //           negative keeps the style's default.
  // helpText  shown in a message box by the Help button; no Help button
  //           when empty.
  // modeless  true: the dialog is not modal when opened with show() and has
  //           an Apply button, which applies without closing; false: modal,
  //           no Apply button. exec() is modal in either case.
  // okCancel  true: OK (accept) and Cancel (reject) buttons; false: a single
  //           Close button, which cancels.
  // name      the object name, when not null.
  BaseDialog(const QString& caption, const QSize& size, int margin, int spacing, const QString& helpText, bool modeless,
             bool okCancel, QWidget* parent = nullptr, const char* name = nullptr);
  ~BaseDialog() override;

  QBoxLayout* GetTopLevelLayout();
  WidgetFactory* GetWidgetFactory();

  // Adds the button row after the client's rows and sizes the dialog. Call
  // once, after all widgets are in place; later calls do nothing.
  void StartWidget();

  // Called once, when the dialog is first shown. The base sets the tooltips
  // of its own buttons; a dialog adds its widgets' tooltips here.
  virtual void setupTooltips();

 public slots:
  virtual void Ok();      // accepts
  virtual void Cancel();  // rejects
  virtual void Apply();   // emits applied()

 signals:
  void applied();

 protected:
  // Closing the window counts as Cancel.
  void closeEvent(QCloseEvent* event) override;
  void showEvent(QShowEvent* event) override;
  // Escape counts as Cancel.
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void showHelp();

  QSize size_;
  QString helpText_;
  bool modeless_;
  bool okCancel_;
  QBoxLayout* topLayout_;
  QDialogButtonBox* buttons_ = nullptr;
  WidgetFactory factory_;
  bool tooltipsDone_ = false;
};
