// Widget construction helpers used by the host's dialogs and its plug-ins.
#pragma once

#include <QString>

class QComboBox;
class QLabel;
class QLineEdit;
class QObject;
class QSpinBox;
class QWidget;

class WidgetFactory {
 public:
  QLabel* CreateQLabel(QWidget* parent, const QString& text);
  QComboBox* CreateComboBox(QWidget* parent, bool editable);
  // receiver and slot, when both are given, are connected to valueChanged(int);
  // a non-empty label becomes the box's prefix.
  QSpinBox* CreateQSpinBox(QWidget* parent, int minimum, int maximum, int value, int step, const QObject* receiver,
                           const char* slot, const QString& label);
  QLineEdit* CreateQLineEdit(QWidget* parent);
};
