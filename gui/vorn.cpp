#include "vorn.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDropEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>
#include <QStyle>
#include <QTreeWidget>

#include <algorithm>

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
  setAcceptDrops(true);
}

Vorn::~Vorn() = default;

QString Vorn::resolveBoxFile(bool checkFastLoad) { return ::resolveBoxFile(*this, checkFastLoad); }

void Vorn::analyze() { analyzeAction(*this); }

void Vorn::doGC() { garbageCollectionAction(*this); }

QSize Vorn::sizeHint() const {
  // The list's part of the form's own hint, grown to the rows and to columns
  // for the widest texts a full list holds: an indented listing line, a card
  // ID, a finding with its detail.
  const QFontMetrics metrics(result->font());
  const auto digits = [&metrics](int count) {
    return metrics.horizontalAdvance(QString(count, QLatin1Char('0')));
  };
  const int cellMargins = 3 * 2 * (style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, result) + 1);
  const int frame = 2 * result->frameWidth();
  const QSize list(
      result->indentation() + digits(26) + digits(8) + digits(62) + cellMargins + frame +
          style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, result),
      result->header()->sizeHint().height() + kDesktopRows * (metrics.lineSpacing() + 4) + frame);
  QSize hint = VornBase::sizeHint();
  const QMargins margins = anGroupLayout->contentsMargins();
  const int column = anGroupLayout->sizeHint().width() - margins.left() - margins.right();
  hint.rwidth() += std::max(0, list.width() - column);
  hint.rheight() += std::max(0, list.height() - result->sizeHint().height());
  return hint;
}

namespace {

// The local file a drag carries, or an empty string.
QString draggedFile(const QMimeData* data) {
  for (const QUrl& url : data->urls()) {
    if (url.isLocalFile()) return url.toLocalFile();
  }
  return QString();
}

}  // namespace

void Vorn::dragEnterEvent(QDragEnterEvent* event) {
  // Not while an action runs: it holds the groups disabled.
  if (fileGroup->isEnabled() && !draggedFile(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void Vorn::dropEvent(QDropEvent* event) {
  const QString path = draggedFile(event->mimeData());
  if (!fileGroup->isEnabled() || path.isEmpty()) return;
  event->acceptProposedAction();
  selector.chooseFile(path);
  // After the drop has ended, so that the drag's source is not kept waiting.
  QMetaObject::invokeMethod(this, &Vorn::analyze, Qt::QueuedConnection);
}

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
