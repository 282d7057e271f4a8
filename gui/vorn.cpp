#include "vorn.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTreeWidget>

#include "analyze_action.h"
#include "garbage_collection.h"
#include "resolution.h"
#include "result_reporter.h"

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

QString Vorn::resolveBoxFile(bool checkFastLoad) { return ::resolveBoxFile(*this, checkFastLoad); }

void Vorn::analyze() { analyzeAction(*this); }

void Vorn::doGC() { garbageCollectionAction(*this); }

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

QWidget* Vorn::dialogParent() { return this; }

QString Vorn::boxFilePath(const char* suffix) const { return selector.boxFilePath(suffix); }

QString Vorn::boxDir(bool storageApplies) const { return selector.boxDir(storageApplies); }

QString Vorn::storageName() const { return selector.storageName(); }

int Vorn::applicationRow() const { return appliCombo->currentIndex(); }

bool Vorn::isFastLoad() const { return selector.isFastLoad(); }

ActionSwitches Vorn::switches() const {
  return {anVerbose->isChecked(), anNoisy->isChecked(), anDebug->isChecked(), chkBXD->isChecked(),
          gcDeleteIndex->isChecked()};
}

void Vorn::clearResults() { result->clear(); }

void Vorn::clearResultsForAnalysis() {
  result->clear();
  result->sortByColumn(kKeyColumn, Qt::AscendingOrder);
}

void Vorn::addResultRow(const QString& index, const QString& id, const QString& context) {
  new QTreeWidgetItem(result, {index, id, context});
}

std::unique_ptr<Reporter> Vorn::resultReporter(bool echo) {
  return std::make_unique<ResultReporter>(result, progress, echo);
}

void Vorn::hideProgress() { progress->hide(); }

void Vorn::setBusy(bool busy) {
  gcGroup->setEnabled(!busy);
  anGroup->setEnabled(!busy);
  fileGroup->setEnabled(!busy);
  if (!busy) appliCombo->setFocus();
}
