// The main window's form: builds every child widget and layout, sets their
// texts and fixed properties, and nothing else.  Vorn adds the behaviour.
#pragma once

#include <QWidget>

class QCheckBox;
class QComboBox;
class QGridLayout;
class QGroupBox;
class QHBoxLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class QTreeView;
class FindingsModel;

class VornBase : public QWidget {
  Q_OBJECT

 public:
  explicit VornBase(QWidget* parent = nullptr, const char* name = nullptr, Qt::WindowFlags fl = {});
  ~VornBase() override;

  // Each widget's object name is its member name.
  QGroupBox* gcGroup;
  QCheckBox* gcDeleteIndex;
  QPushButton* gcButton;
  QGroupBox* fileGroup;
  QLabel* appLabel;
  QComboBox* appliCombo;
  QLabel* storLabel;
  QComboBox* storageCombo;
  QCheckBox* anOnlyChk;
  QGroupBox* anGroup;
  QProgressBar* progress;
  QTreeView* result;  // columns "Index", "ID", "Context"; 3 to 7 hidden data
  QCheckBox* anVerbose;
  QCheckBox* anNoisy;
  QCheckBox* anDebug;
  QCheckBox* chkBXD;
  QPushButton* anButton;

  // The result tree's rows: the findings of the last analysis, or the
  // rows an action added.  Owned by result.
  FindingsModel* resultModel;

  static constexpr int kResultColumns = 8;
  static constexpr int kKeyColumn = 3;   // the index in decimal, the sort key
  static constexpr int kMarkColumn = 4;  // "*" once a finding with a severity is filed

 protected:
  QGridLayout* VornBaseLayout;
  QHBoxLayout* gcGroupLayout;
  QHBoxLayout* fileGroupLayout;
  QGridLayout* anGroupLayout;
  QHBoxLayout* anRowLayout;
};
