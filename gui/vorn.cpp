#include "vorn.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDropEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>
#include <QStyle>
#include <QTreeView>

#include <algorithm>

#include "analyze_action.h"
#include "background_run.h"
#include "findings_model.h"
#include "garbage_collection.h"
#include "local_path.h"
#include "resolution.h"
#include "result_reporter.h"

namespace {

// text with letter marked as its mnemonic: the letter's first occurrence,
// or, in a text without it (a Japanese one), "(&X)" behind it.
QString withMnemonic(const QString& text, QChar letter) {
  if (text.contains(QLatin1Char('&'))) return text;
  const qsizetype at = text.indexOf(letter, 0, Qt::CaseInsensitive);
  if (at >= 0) return QString(text).insert(at, QLatin1Char('&'));
  return text + QStringLiteral("(&") + letter.toUpper() + QLatin1Char(')');
}

// The local file a drag carries, with the bytes of its name as they are,
// or an empty string.
QString draggedFile(const QMimeData* data) {
  for (const QUrl& url : data->urls()) {
    if (url.isLocalFile())
      return fromLocalFileName(QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()));
  }
  return QString();
}

// A drop is taken as a copy, or else as a link; a viewer never moves a file.
bool takeAsCopy(QDropEvent* event) {
  if (event->possibleActions() & Qt::CopyAction) {
    event->setDropAction(Qt::CopyAction);
  } else if (event->possibleActions() & Qt::LinkAction) {
    event->setDropAction(Qt::LinkAction);
  } else {
    return false;
  }
  event->accept();
  return true;
}

}  // namespace

Vorn::Vorn(QWidget* parent, const char* name, Qt::WindowFlags fl)
    : VornBase(parent, name, fl),
      selector(this, appliCombo, storageCombo, nullptr),
      runner(new BackgroundRun(this, progress)) {
  // The version suffix is not translated.
  setWindowTitle(windowTitle() + QStringLiteral(" ver1.0"));
  progress->hide();
  connect(gcButton, &QPushButton::clicked, this, &Vorn::doGC);
  connect(anButton, &QPushButton::clicked, this, &Vorn::analyze);
  connect(anOnlyChk, &QCheckBox::toggled, this, &Vorn::showGC);
  connect(chkBXD, &QCheckBox::clicked, this, &Vorn::slotBXD);
  devModeEnebled();
  setAcceptDrops(true);

  // Keyboard mnemonics where the texts allow them; the menu bar has F, E, H.
  const std::pair<QAbstractButton*, char> buttons[] = {
      {gcDeleteIndex, 'I'}, {gcButton, 'c'}, {anVerbose, 'V'}, {anNoisy, 'N'},
      {anDebug, 'D'},       {chkBXD, 'B'},   {anButton, 'x'}};
  for (const auto& [button, letter] : buttons)
    button->setText(withMnemonic(button->text(), QLatin1Char(letter)));
  appLabel->setText(withMnemonic(appLabel->text(), QLatin1Char('A')));
  appLabel->setBuddy(appliCombo);
  storLabel->setText(withMnemonic(storLabel->text(), QLatin1Char('S')));
  storLabel->setBuddy(storageCombo);

  // A file chosen in the file dialog is analysed at once, as a drop is.
  selector.fileOpened = [this](const QString& path) {
    if (fileOpened) fileOpened(path);
    QMetaObject::invokeMethod(this, &Vorn::analyze, Qt::QueuedConnection);
  };
}

Vorn::~Vorn() = default;

QString Vorn::resolveBoxFile(bool checkFastLoad) { return ::resolveBoxFile(*this, checkFastLoad); }

bool Vorn::engineFree() {
  return !BackgroundRun::engineBusy() || runInBackground([] {});
}

void Vorn::analyze() {
  if (engineFree()) analyzeAction(*this);
}

void Vorn::doGC() {
  if (engineFree()) garbageCollectionAction(*this);
}

void Vorn::openFile(const QString& path) {
  selector.chooseFile(path);
  selector.fileOpened(path);
}

QSize Vorn::sizeHint() const {
  // The list's part of the form's own hint, grown to the rows and to columns
  // for the widest texts a full list holds: an indented listing line with
  // its severity icon, a card ID, a finding with its detail.
  const QFontMetrics metrics(result->font());
  const auto digits = [&metrics](int count) {
    return metrics.horizontalAdvance(QString(count, QLatin1Char('0')));
  };
  const int cellMargins = 3 * 2 * (style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, result) + 1);
  const int icon = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, result) + 4;
  const int frame = 2 * result->frameWidth();
  const QSize list(
      result->indentation() + icon + digits(26) + digits(8) + digits(62) + cellMargins + frame +
          style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, result),
      result->header()->sizeHint().height() + kDesktopRows * (metrics.lineSpacing() + 4) + frame);
  QSize hint = VornBase::sizeHint();
  const QMargins margins = anGroupLayout->contentsMargins();
  const int column = anGroupLayout->sizeHint().width() - margins.left() - margins.right();
  hint.rwidth() += std::max(0, list.width() - column);
  hint.rheight() += std::max(0, list.height() - result->sizeHint().height());
  return hint;
}

void Vorn::dragEnterEvent(QDragEnterEvent* event) {
  // Not while an action runs: it holds the groups disabled.
  if (fileGroup->isEnabled() && !draggedFile(event->mimeData()).isEmpty()) takeAsCopy(event);
}

void Vorn::dragMoveEvent(QDragMoveEvent* event) {
  if (fileGroup->isEnabled() && !draggedFile(event->mimeData()).isEmpty()) takeAsCopy(event);
}

void Vorn::dropEvent(QDropEvent* event) {
  const QString path = draggedFile(event->mimeData());
  if (!fileGroup->isEnabled() || path.isEmpty() || !takeAsCopy(event)) return;
  // The analysis follows once the drop has ended, so that the drag's source
  // is not kept waiting.
  openFile(path);
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

QWidget* Vorn::dialogParent() { return window(); }

QString Vorn::boxFilePath(const char* suffix) const { return selector.boxFilePath(suffix); }

QString Vorn::boxDir(bool storageApplies) const { return selector.boxDir(storageApplies); }

QString Vorn::storageName() const { return selector.storageName(); }

int Vorn::applicationRow() const { return selector.applicationRow(); }

bool Vorn::isFastLoad() const { return selector.isFastLoad(); }

ActionSwitches Vorn::switches() const {
  return {anVerbose->isChecked(), anNoisy->isChecked(), anDebug->isChecked(), chkBXD->isChecked(),
          gcDeleteIndex->isChecked()};
}

void Vorn::setLastRun(const RunSummary& run) {
  lastRun = run;
  if (lastRunChanged) lastRunChanged();
}

void Vorn::clearResults() {
  resultModel->clear();
  setLastRun({});
}

void Vorn::clearResultsForAnalysis() {
  clearResults();
  result->sortByColumn(kKeyColumn, Qt::AscendingOrder);
}

void Vorn::addResultRow(const QString& index, const QString& id, const QString& context) {
  resultModel->addRow(index, id, context);
}

std::unique_ptr<Reporter> Vorn::resultReporter(bool echo) {
  pendingTree_ = std::make_shared<FindingsTree>();
  pendingProgress_ = std::make_shared<RunProgress>();
  return std::make_unique<ResultReporter>(pendingTree_, pendingProgress_, echo);
}

bool Vorn::runInBackground(std::function<void()> job) {
  const bool finished = runner->run(std::move(job), pendingProgress_.get());
  if (finished && pendingTree_) {
    resultModel->setTree(pendingTree_);
    // The bar, if it shows, reaches its end with the tree in place.
    progress->setValue(progress->maximum());
  }
  if (!finished && pendingTree_) setLastRun({RunSummary::kCancelled, selector.boxFilePath(".box")});
  pendingTree_.reset();
  pendingProgress_.reset();
  return finished;
}

void Vorn::analysisDone(uint64_t fileSize, uint32_t cards) {
  RunSummary run{RunSummary::kAnalysed, selector.boxFilePath(".box"), fileSize, cards};
  if (const FindingsTree* tree = resultModel->tree()) {
    run.critical = tree->critical;
    run.errors = tree->errors;
    run.warnings = tree->warnings;
  }
  setLastRun(run);
}

void Vorn::hideProgress() { progress->hide(); }

void Vorn::setBusy(bool busy) {
  gcGroup->setEnabled(!busy);
  anGroup->setEnabled(!busy);
  fileGroup->setEnabled(!busy);
  if (!busy) appliCombo->setFocus();
}

bool Vorn::offersRecovery() const { return static_cast<bool>(recoverRequested); }

void Vorn::recoverBox(const QString& path) {
  QMetaObject::invokeMethod(
      this, [this, path] { recoverRequested(path); }, Qt::QueuedConnection);
}
