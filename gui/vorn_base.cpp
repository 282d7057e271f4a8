#include "vorn_base.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSpacerItem>
#include <QTreeView>

#include "findings_model.h"

namespace {

template <typename W>
W* named(W* widget, const char* name) {
  widget->setObjectName(QString::fromLatin1(name));
  return widget;
}

void setMargin(QLayout* layout, int margin) { layout->setContentsMargins(margin, margin, margin, margin); }

// A combo box as the form wants it: read-only, as wide as the row allows.
QComboBox* choiceBox(QWidget* parent, const char* name) {
  QComboBox* box = named(new QComboBox(parent), name);
  box->setEditable(false);
  QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  policy.setHeightForWidth(box->sizePolicy().hasHeightForWidth());
  box->setSizePolicy(policy);
  return box;
}

QSpacerItem* horizontalSpacer() {
  return new QSpacerItem(20, 20, QSizePolicy::Expanding, QSizePolicy::Minimum);
}

}  // namespace

VornBase::VornBase(QWidget* parent, const char* name, Qt::WindowFlags fl) : QWidget(parent, fl) {
  setObjectName(QString::fromLatin1(name ? name : "VornBase"));
  resize(526, 274);
  setWindowTitle(tr("Vorn2"));

  VornBaseLayout = new QGridLayout(this);
  VornBaseLayout->setSpacing(6);
  setMargin(VornBaseLayout, 11);
  VornBaseLayout->addItem(new QSpacerItem(20, 20, QSizePolicy::Minimum, QSizePolicy::Expanding), 2, 1);

  // Created first, so its children come first in the focus chain although
  // the application choice is shown above it.
  gcGroup = named(new QGroupBox(this), "gcGroup");
  gcGroup->setTitle(tr("Garbage Collection"));
  gcGroupLayout = new QHBoxLayout(gcGroup);
  gcGroupLayout->setAlignment(Qt::AlignTop);
  gcGroupLayout->setSpacing(6);
  setMargin(gcGroupLayout, 11);
  gcDeleteIndex = named(new QCheckBox(gcGroup), "gcDeleteIndex");
  gcDeleteIndex->setText(tr("delete Index File"));
  gcDeleteIndex->setToolTip(tr("After collecting, also delete the box's index files (after a question)"));
  gcGroupLayout->addWidget(gcDeleteIndex);
  gcGroupLayout->addItem(horizontalSpacer());
  gcButton = named(new QPushButton(gcGroup), "gcButton");
  gcButton->setText(tr("Exec"));
  gcButton->setToolTip(tr("Collect the garbage of the selected box file, then restart"));
  gcGroupLayout->addWidget(gcButton);
  VornBaseLayout->addWidget(gcGroup, 1, 0);

  fileGroup = named(new QGroupBox(this), "fileGroup");
  fileGroup->setFlat(true);
  fileGroup->setTitle(tr(""));
  fileGroupLayout = new QHBoxLayout(fileGroup);
  fileGroupLayout->setAlignment(Qt::AlignTop);
  fileGroupLayout->setSpacing(6);
  setMargin(fileGroupLayout, 0);
  appLabel = named(new QLabel(fileGroup), "appLabel");
  appLabel->setText(tr("Application"));
  fileGroupLayout->addWidget(appLabel);
  appliCombo = choiceBox(fileGroup, "appliCombo");
  fileGroupLayout->addWidget(appliCombo);
  storLabel = named(new QLabel(fileGroup), "storLabel");
  storLabel->setText(tr("Storage"));
  fileGroupLayout->addWidget(storLabel);
  storageCombo = choiceBox(fileGroup, "storageCombo");
  fileGroupLayout->addWidget(storageCombo);
  fileGroupLayout->addItem(horizontalSpacer());
  anOnlyChk = named(new QCheckBox(fileGroup), "anOnlyChk");
  anOnlyChk->setText(tr(""));
  anOnlyChk->setToolTip(tr("Analyse only: hide garbage collection"));
  fileGroupLayout->addWidget(anOnlyChk);
  VornBaseLayout->addWidget(fileGroup, 0, 0);

  anGroup = named(new QGroupBox(this), "anGroup");
  anGroup->setTitle(tr("Analyze"));
  anGroupLayout = new QGridLayout(anGroup);
  anGroupLayout->setAlignment(Qt::AlignTop);
  anGroupLayout->setSpacing(6);
  setMargin(anGroupLayout, 11);
  progress = named(new QProgressBar(anGroup), "progress");
  progress->setRange(0, 300);
  anGroupLayout->addWidget(progress, 1, 0);

  result = named(new QTreeView(anGroup), "result");
  resultModel = new FindingsModel(result);
  resultModel->setHeaders({tr("Index"), tr("ID"), tr("Context")});
  result->setModel(resultModel);
  for (int column = 3; column < kResultColumns; ++column) result->setColumnHidden(column, true);
  result->setUniformRowHeights(true);
  result->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
  result->setMinimumSize(0, 40);
  result->setAllColumnsShowFocus(true);
  result->header()->setSortIndicatorShown(true);
  result->setRootIsDecorated(true);
  result->setSortingEnabled(true);
  result->sortByColumn(kKeyColumn, Qt::AscendingOrder);
  anGroupLayout->addWidget(result, 2, 0);

  anRowLayout = new QHBoxLayout();
  anRowLayout->setSpacing(6);
  setMargin(anRowLayout, 0);
  anVerbose = named(new QCheckBox(anGroup), "anVerbose");
  anVerbose->setText(tr("Verbose"));
  anVerbose->setToolTip(tr("List the box's structures as well as its problems"));
  anRowLayout->addWidget(anVerbose);
  anNoisy = named(new QCheckBox(anGroup), "anNoisy");
  anNoisy->setText(tr("Noisy"));
  anNoisy->setToolTip(tr("List every card, also the cards without findings"));
  anRowLayout->addWidget(anNoisy);
  anDebug = named(new QCheckBox(anGroup), "anDebug");
  anDebug->setText(tr("Debug"));
  anDebug->setToolTip(tr("Write the analysis' debug lines and a copy of the findings to standard error"));
  anRowLayout->addWidget(anDebug);
  chkBXD = named(new QCheckBox(anGroup), "chkBXD");
  chkBXD->setText(tr("BXD"));
  chkBXD->setToolTip(tr("Run the box library's own check instead of the analysis"));
  anRowLayout->addWidget(chkBXD);
  anRowLayout->addItem(horizontalSpacer());
  anButton = named(new QPushButton(anGroup), "anButton");
  anButton->setText(tr("Exec"));
  anButton->setToolTip(tr("Analyse the selected box file and list its findings"));
  anRowLayout->addWidget(anButton);
  anGroupLayout->addLayout(anRowLayout, 0, 0);
  VornBaseLayout->addWidget(anGroup, 2, 0);
}

VornBase::~VornBase() = default;
