#include "gui/vorn.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QProgressBar>
#include <QPushButton>

Vorn::Vorn(QWidget* parent, const char* name, Qt::WindowFlags fl)
    : VornBase(parent, name, fl), selector(this, appliCombo, storageCombo, nullptr) {
  // The version suffix is not translated.
  setWindowTitle(windowTitle() + QStringLiteral(" ver1.0"));
  progress->hide();
  connect(gcButton, &QPushButton::clicked, this, &Vorn::doGC);
  connect(anButton, &QPushButton::clicked, this, &Vorn::analyze);
  connect(anOnlyChk, &QCheckBox::toggled, this, &Vorn::showGC);
  connect(chkBXD, &QCheckBox::clicked, this, &Vorn::slotBXD);
  devModeEnebled();
}

Vorn::~Vorn() = default;

void Vorn::devModeEnebled() {
  anGroup->show();
  anOnlyChk->show();
  selector.activateAll();
}

void Vorn::showGC(bool analyseOnly) {
  if (analyseOnly) {
    gcGroup->hide();
  } else {
    gcGroup->show();
  }
}

void Vorn::slotBXD() {
  const bool enable = !chkBXD->isChecked();
  anDebug->setEnabled(enable);
  anNoisy->setEnabled(enable);
  anVerbose->setEnabled(enable);
}
