#include "host/widget_factory.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>

QLabel* WidgetFactory::CreateQLabel(QWidget* parent, const QString& text) { return new QLabel(text, parent); }

QComboBox* WidgetFactory::CreateComboBox(QWidget* parent, bool editable) {
  auto* box = new QComboBox(parent);
  box->setEditable(editable);
  return box;
}

QSpinBox* WidgetFactory::CreateQSpinBox(QWidget* parent, int minimum, int maximum, int value, int step,
                                        const QObject* receiver, const char* slot, const QString& label) {
  auto* box = new QSpinBox(parent);
  // The range first, so that the value is not clamped to the default one.
  box->setRange(minimum, maximum);
  box->setSingleStep(step);
  box->setValue(value);
  if (!label.isEmpty()) box->setPrefix(label);
  if (receiver != nullptr && slot != nullptr) QObject::connect(box, SIGNAL(valueChanged(int)), receiver, slot);
  return box;
}

QLineEdit* WidgetFactory::CreateQLineEdit(QWidget* parent) { return new QLineEdit(parent); }
