#include "host/base_dialog.h"

#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QShowEvent>
#include <QVBoxLayout>

BaseDialog::BaseDialog(const QString& caption, const QSize& size, int margin, int spacing, const QString& helpText,
                       bool modeless, bool okCancel, QWidget* parent, const char* name)
    : QDialog(parent),
      size_(size),
      helpText_(helpText),
      modeless_(modeless),
      okCancel_(okCancel),
      topLayout_(new QVBoxLayout(this)) {
  setWindowTitle(caption);
  if (name != nullptr) setObjectName(QString::fromLatin1(name));
  setModal(!modeless);
  if (margin >= 0) topLayout_->setContentsMargins(margin, margin, margin, margin);
  if (spacing >= 0) topLayout_->setSpacing(spacing);
}

BaseDialog::~BaseDialog() = default;

QBoxLayout* BaseDialog::GetTopLevelLayout() { return topLayout_; }

WidgetFactory* BaseDialog::GetWidgetFactory() { return &factory_; }

void BaseDialog::StartWidget() {
  if (buttons_ != nullptr) return;
  buttons_ = new QDialogButtonBox(this);
  if (okCancel_) {
    connect(buttons_->addButton(QDialogButtonBox::Ok), &QPushButton::clicked, this, &BaseDialog::Ok);
    connect(buttons_->addButton(QDialogButtonBox::Cancel), &QPushButton::clicked, this, &BaseDialog::Cancel);
  } else {
    connect(buttons_->addButton(QDialogButtonBox::Close), &QPushButton::clicked, this, &BaseDialog::Cancel);
  }
  if (modeless_) {
    connect(buttons_->addButton(QDialogButtonBox::Apply), &QPushButton::clicked, this, &BaseDialog::Apply);
  }
  if (!helpText_.isEmpty()) {
    connect(buttons_->addButton(QDialogButtonBox::Help), &QPushButton::clicked, this, &BaseDialog::showHelp);
  }
  topLayout_->addWidget(buttons_);
  topLayout_->activate();
  resize(size_.expandedTo(minimumSizeHint()));
}

void BaseDialog::setupTooltips() {
  if (buttons_ == nullptr) return;
  const struct {
    QDialogButtonBox::StandardButton which;
    const char* tip;
  } tips[] = {
      {QDialogButtonBox::Ok, "Accept the settings and close the dialog"},
      {QDialogButtonBox::Cancel, "Close the dialog without using the settings"},
      {QDialogButtonBox::Close, "Close the dialog"},
      {QDialogButtonBox::Apply, "Use the settings and keep the dialog open"},
      {QDialogButtonBox::Help, "Show help on this dialog"},
  };
  for (const auto& tip : tips) {
    if (QPushButton* button = buttons_->button(tip.which)) button->setToolTip(QString::fromLatin1(tip.tip));
  }
}

void BaseDialog::Ok() { accept(); }

void BaseDialog::Cancel() { reject(); }

void BaseDialog::Apply() { emit applied(); }

void BaseDialog::closeEvent(QCloseEvent* event) {
  if (!isVisible()) {
    event->accept();
    return;
  }
  Cancel();
  // A Cancel that keeps the dialog open also keeps the window.
  if (isVisible()) {
    event->ignore();
  } else {
    event->accept();
  }
}

void BaseDialog::showEvent(QShowEvent* event) {
  if (!tooltipsDone_) {
    tooltipsDone_ = true;
    setupTooltips();
  }
  QDialog::showEvent(event);
}

void BaseDialog::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier) {
    Cancel();
    return;
  }
  QDialog::keyPressEvent(event);
}

void BaseDialog::showHelp() { QMessageBox::information(this, windowTitle(), helpText_); }
