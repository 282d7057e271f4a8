#include "vorn_window.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDockWidget>
#include <QFileDialog>
#include <QFontDatabase>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QSaveFile>
#include <QScreen>
#include <QSettings>
#include <QStatusBar>
#include <QTableView>
#include <QTextBrowser>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>
#include <memory>
#include <string>

#include "action_lock.h"
#include "background_run.h"
#include "box_contents.h"
#include "check_json.h"
#include "findings_model.h"
#include "local_path.h"
#include "map_view.h"
#include "records_model.h"
#include "records_page.h"
#include "result_reporter.h"
#include "statistics_page.h"
#include "vorn.h"

VornWindow::SaveFileDialog VornWindow::saveFileDialog = [](QWidget* parent, const QString& caption,
                                                           const QString& directory, const QString& filters,
                                                           QString* chosenFilter) {
  return QFileDialog::getSaveFileName(parent, caption, directory, filters, chosenFilter);
};

namespace {

// The program's settings, which the selector keeps its last directory in too.
QSettings settings() { return QSettings(QStringLiteral("vorn"), QStringLiteral("vorn")); }
const QString kGeometryKey = QStringLiteral("window/geometry");
const QString kStateKey = QStringLiteral("window/docks");
const QString kRecentKey = QStringLiteral("recentFiles");
const QString kChoiceEntryKey = QStringLiteral("lastFile/entry");
const QString kChoiceStorageKey = QStringLiteral("lastFile/storage");
const QString kChoicePathKey = QStringLiteral("lastFile/path");

QString fileName(const QString& path) { return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1); }

// The manual page: installed beside the program (PREFIX/share/man), or in
// the build tree (build/docs).
QString manualPage() {
  const QString dir = QCoreApplication::applicationDirPath();
  for (const QString& page :
       {dir + QStringLiteral("/" VORN_MANUAL_RELATIVE_PATH), dir + "/../../docs/vorn.1"}) {
    if (QFileInfo::exists(page)) return page;
  }
  return QString();
}

}  // namespace

VornWindow::VornWindow(QWidget* parent) : QMainWindow(parent), form(new Vorn(this)) {
  setObjectName(QStringLiteral("VornWindow"));
  setCentralWidget(form);
  setWindowTitle(form->windowTitle());
  setWindowIcon(QIcon::fromTheme(QStringLiteral("vorn")));

  verdictLabel = new QLabel(this);
  verdictLabel->setObjectName(QStringLiteral("verdictLabel"));
  fileLabel = new QLabel(this);
  fileLabel->setObjectName(QStringLiteral("fileLabel"));
  cancelButton = new QPushButton(tr("Cancel"), this);
  cancelButton->setObjectName(QStringLiteral("cancelButton"));
  cancelButton->setToolTip(tr("Stop waiting for the analysis (Escape)"));
  cancelButton->hide();
  jobProgress = new QProgressBar(this);
  jobProgress->setObjectName(QStringLiteral("jobProgress"));
  jobProgress->setRange(0, 300);
  jobProgress->setTextVisible(false);
  jobProgress->setMaximumWidth(160);
  jobProgress->hide();
  jobRunner = new BackgroundRun(this, jobProgress);
  statusBar()->addWidget(verdictLabel, 1);
  statusBar()->addPermanentWidget(fileLabel);
  statusBar()->addPermanentWidget(jobProgress);
  statusBar()->addPermanentWidget(cancelButton);
  for (BackgroundRun* runner : {form->runner, jobRunner}) {
    runner->setCancelButton(cancelButton);
    connect(cancelButton, &QPushButton::clicked, runner, &BackgroundRun::cancel);
    connect(runner, &BackgroundRun::runningChanged, this, &VornWindow::runningChanged);
  }

  buildMenus();
  buildDocks();
  form->result->setSelectionMode(QAbstractItemView::ExtendedSelection);
  form->result->setContextMenuPolicy(Qt::CustomContextMenu);
  connect(form->result, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
    QMenu menu(this);
    menu.addActions({copyAction, copyAllAction});
    menu.addSeparator();
    menu.addAction(saveAction);
    menu.exec(form->result->viewport()->mapToGlobal(at));
  });
  const auto rowsChanged = [this] {
    const bool rows = form->resultModel->rowCount() > 0;
    for (QAction* action : {copyAction, copyAllAction, saveAction}) action->setEnabled(rows);
  };
  connect(form->resultModel, &QAbstractItemModel::modelReset, this, rowsChanged);
  connect(form->resultModel, &QAbstractItemModel::rowsInserted, this, rowsChanged);
  rowsChanged();

  form->lastRunChanged = [this] { showLastRun(); };
  form->fileOpened = [this](const QString& path) { addRecent(path); };
  form->recoverRequested = [this](const QString& path) { recoverBox(path); };

  for (const QVariant& path : settings().value(kRecentKey).toList())
    recent_ << fromLocalFileName(path.toByteArray());
  showRecent();
  restoreChoice();
}

VornWindow::~VornWindow() = default;

void VornWindow::buildMenus() {
  QMenu* file = menuBar()->addMenu(tr("&File"));
  openAction = file->addAction(tr("&Open..."), this, [this] { form->selector.openFromDialog(); });
  openAction->setShortcut(QKeySequence::Open);
  recentMenu = file->addMenu(tr("Open &Recent"));
  recentMenu->setObjectName(QStringLiteral("recentMenu"));
  exportAction = file->addAction(tr("&Export Records..."), this, &VornWindow::exportRecords);
  exportAction->setToolTip(tr("Write the records of the box file as JSON or CSV, as boxtool export does"));
  saveAction = file->addAction(tr("&Save Findings..."), this, &VornWindow::saveFindings);
  saveAction->setShortcut(QKeySequence::Save);
  file->addSeparator();
  quitAction = file->addAction(tr("&Quit"), this, &QWidget::close);
  quitAction->setShortcut(QKeySequence::Quit);

  QMenu* edit = menuBar()->addMenu(tr("&Edit"));
  copyAction = edit->addAction(tr("&Copy"), this, [this] { copyRows(false); });
  copyAction->setShortcut(QKeySequence::Copy);
  copyAction->setToolTip(tr("Copy the selected rows, or every row when none is selected"));
  copyAllAction = edit->addAction(tr("Copy &All"), this, [this] { copyRows(true); });
  copyAllAction->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_C));
  edit->addSeparator();
  recordCopies_ = edit;

  viewMenu_ = menuBar()->addMenu(tr("Vie&w"));
  QMenu* tools = menuBar()->addMenu(tr("&Tools"));
  recoverAction = tools->addAction(tr("&Recover..."), this, [this] { recoverBox(); });
  recoverAction->setToolTip(
      tr("Write a new, sound box from everything in a damaged box that can be read, as boxtool recover "
         "does"));
  compactAction = tools->addAction(tr("&Compact..."), this, &VornWindow::compactBox);
  compactAction->setToolTip(
      tr("Drop the deleted cards with the box library's collector, as boxtool compact does, after "
         "showing what it would drop"));
  tools->setToolTipsVisible(true);
  file->setToolTipsVisible(true);

  QMenu* help = menuBar()->addMenu(tr("&Help"));
  manualAction = help->addAction(tr("vorn &Manual"), this, &VornWindow::showManual);
  manualAction->setShortcut(QKeySequence::HelpContents);
  aboutAction = help->addAction(tr("&About vorn"), this, &VornWindow::showAbout);

  // The list takes Ctrl+C for its current cell otherwise.
  form->result->addAction(copyAction);
  copyAction->setShortcutContext(Qt::WindowShortcut);
}

void VornWindow::buildDocks() {
  recordsPage = new RecordsPage(this);
  recordsDock = new QDockWidget(tr("Records"), this);
  recordsDock->setObjectName(QStringLiteral("recordsDock"));
  recordsDock->setWidget(recordsPage);
  statisticsPage = new StatisticsPage(this);
  statisticsDock = new QDockWidget(tr("Statistics"), this);
  statisticsDock->setObjectName(QStringLiteral("statisticsDock"));
  statisticsDock->setWidget(statisticsPage);
  auto* map = new QWidget(this);
  mapView = new MapView(map);
  mapLegend = new MapLegend(map);
  auto* mapLayout = new QVBoxLayout(map);
  mapLayout->setContentsMargins(2, 2, 2, 2);
  mapLayout->addWidget(mapView, 1);
  mapLayout->addWidget(mapLegend);
  mapDock = new QDockWidget(tr("Map"), this);
  mapDock->setObjectName(QStringLiteral("mapDock"));
  mapDock->setWidget(map);

  // The map runs under the whole window; records and statistics share the
  // right side.
  setCorner(Qt::BottomRightCorner, Qt::BottomDockWidgetArea);
  setCorner(Qt::BottomLeftCorner, Qt::BottomDockWidgetArea);
  addDockWidget(Qt::RightDockWidgetArea, recordsDock);
  addDockWidget(Qt::RightDockWidgetArea, statisticsDock);
  tabifyDockWidget(recordsDock, statisticsDock);
  recordsDock->raise();
  addDockWidget(Qt::BottomDockWidgetArea, mapDock);
  for (QDockWidget* dock : {recordsDock, mapDock, statisticsDock})
    viewMenu_->addAction(dock->toggleViewAction());
  // A handheld's screen has no room beside the form.
  if (const QScreen* s = screen(); s && s->size().width() <= 640 && s->size().height() <= 640) {
    for (QDockWidget* dock : {recordsDock, mapDock, statisticsDock}) dock->hide();
  }

  // Docks that are all closed load nothing until one is opened again.
  for (QDockWidget* dock : {recordsDock, mapDock, statisticsDock}) {
    connect(dock, &QDockWidget::visibilityChanged, this, [this](bool visible) {
      if (visible) QTimer::singleShot(0, this, &VornWindow::loadPendingContents);
    });
  }
  recordCopies_->addActions({recordsPage->copyCsvAction, recordsPage->copyJsonAction});
  connect(mapView, &MapView::segmentClicked, this, &VornWindow::chooseSegment);
  connect(recordsPage, &RecordsPage::recordChosen, this, [this](size_t n) {
    if (!contents_) return;
    const Record& r = contents_->listing->records()[n];
    mapView->setMarked(contents_->listing->original(r.offset), contents_->listing->original(r.end));
  });
  showContents(nullptr);
}

void VornWindow::openFile(const QString& path) { form->openFile(path); }

bool VornWindow::restoreWindowGeometry() {
  const QByteArray geometry = settings().value(kGeometryKey).toByteArray();
  if (geometry.isEmpty() || !restoreGeometry(geometry)) return false;
  docksPlaced_ = restoreState(settings().value(kStateKey).toByteArray());
  return true;
}

void VornWindow::showEvent(QShowEvent* event) {
  QMainWindow::showEvent(event);
  if (docksPlaced_) return;
  docksPlaced_ = true;
  // The records take two fifths of a window of their own.
  resizeDocks({recordsDock}, {width() * 2 / 5}, Qt::Horizontal);
}

QString VornWindow::verdictText(unsigned critical, unsigned errors, unsigned warnings) {
  QStringList parts;
  if (critical) parts << (critical == 1 ? tr("1 critical") : tr("%1 critical").arg(critical));
  if (errors) parts << (errors == 1 ? tr("1 error") : tr("%1 errors").arg(errors));
  if (warnings) parts << (warnings == 1 ? tr("1 warning") : tr("%1 warnings").arg(warnings));
  return parts.isEmpty() ? tr("no problems found") : parts.join(tr(", "));
}

void VornWindow::showLastRun() {
  const RunSummary& run = form->lastRun;
  if (!run.path.isEmpty())
    setWindowTitle(tr("%1 - %2").arg(shownFileName(fileName(run.path)), form->windowTitle()));
  switch (run.state) {
    case RunSummary::kAnalysed:
      verdictLabel->setText(verdictText(run.critical, run.errors, run.warnings));
      fileLabel->setText(tr("%1: %2 bytes, %3 cards")
                             .arg(shownFileName(fileName(run.path)), QLocale().toString(qulonglong(run.size)),
                                  QLocale().toString(run.cards)));
      // The docks follow once the action has ended.
      pendingContents_ = run.path;
      QTimer::singleShot(0, this, &VornWindow::loadPendingContents);
      break;
    case RunSummary::kCancelled:
      verdictLabel->setText(tr("Analysis cancelled"));
      fileLabel->clear();
      break;
    case RunSummary::kNone:
      verdictLabel->clear();
      fileLabel->clear();
      break;
  }
}

void VornWindow::addRecent(const QString& path) {
  recent_.removeAll(path);
  recent_.prepend(path);
  while (recent_.size() > kRecentFiles) recent_.removeLast();
  QVariantList stored;
  for (const QString& file : recent_) stored << localFileName(file);
  settings().setValue(kRecentKey, stored);
  showRecent();
}

void VornWindow::showRecent() {
  recentMenu->clear();
  for (int i = 0; i < recent_.size(); ++i) {
    const QString path = recent_[i];
    const QString number = i < 9 ? QStringLiteral("&%1").arg(i + 1) : QStringLiteral("1&0");
    QAction* action = recentMenu->addAction(
        number + QLatin1Char(' ') +
            shownFileName(fileName(path)).replace(QLatin1Char('&'), QStringLiteral("&&")),
        this, [this, path] { openFile(path); });
    action->setToolTip(shownFileName(path));
    action->setStatusTip(shownFileName(path));
  }
  recentMenu->addSeparator();
  recentMenu->addAction(tr("&Clear Menu"), this, [this] {
    recent_.clear();
    settings().remove(kRecentKey);
    showRecent();
  });
  recentMenu->setToolTipsVisible(true);
  recentMenu->setEnabled(!recent_.isEmpty());
}

void VornWindow::copyRows(bool all) {
  // In the records table, the selected records as the export writes them.
  if (!all && recordsPage->table->hasFocus()) {
    recordsPage->copyCsvAction->trigger();
    return;
  }
  const FindingsModel* model = form->resultModel;
  QModelIndexList rows = form->result->selectionModel()->selectedRows();
  QString text;
  if (all || rows.isEmpty()) {
    text = model->allText();
  } else {
    // In the order the list shows them: an item, then its findings.
    const auto place = [](const QModelIndex& i) {
      return i.parent().isValid() ? std::pair(i.parent().row(), i.row() + 1) : std::pair(i.row(), 0);
    };
    std::sort(rows.begin(), rows.end(),
              [&](const QModelIndex& a, const QModelIndex& b) { return place(a) < place(b); });
    for (const QModelIndex& row : rows) text += model->rowText(row) + QLatin1Char('\n');
  }
  QApplication::clipboard()->setText(text);
}

void VornWindow::saveFindings() {
  const QString textFilter = tr("Text, as the list shows them (*.txt)");
  const QString jsonFilter = tr("NDJSON, as boxtool check --json writes them (*.ndjson)");
  const RunSummary run = form->lastRun;
  const bool analysed = run.state == RunSummary::kAnalysed;
  QString chosen;
  const QString suggested = analysed ? shownFileName(run.path) + QStringLiteral(".txt") : QString();
  const QString path =
      saveFileDialog(this, tr("Save Findings"), suggested,
                     analysed ? textFilter + QStringLiteral(";;") + jsonFilter : textFilter, &chosen);
  if (path.isEmpty()) return;
  const bool json = analysed && (chosen == jsonFilter || path.endsWith(QStringLiteral(".ndjson")) ||
                                 path.endsWith(QStringLiteral(".json")));
  QByteArray bytes;
  if (json) {
    // boxtool's own check of the box file, as it is now, in boxtool's words.
    struct Check {
      std::string path, lines;
    };
    auto check = std::make_shared<Check>();
    check->path = localFileName(run.path).toStdString();
    actionLock lock(form);
    if (!form->runInBackground([check] { check->lines = checkFileLines(AnalysedFile(check->path)); })) return;
    bytes = QByteArray::fromStdString(check->lines);
  } else {
    bytes = form->resultModel->allText().toUtf8();
  }
  QSaveFile file(path);
  if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
    QMessageBox::warning(this, tr("Save Findings"),
                         tr("The findings could not be saved.\n%1\n%2").arg(path, file.errorString()));
    return;
  }
  statusBar()->showMessage(tr("Findings saved to %1").arg(path), 5000);
}

void VornWindow::showManual() {
  // The manual page as man renders it for a terminal of 80 columns.
  QString text;
  const QString page = manualPage();
  if (!page.isEmpty()) {
    QProcess man;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("MANWIDTH"), QStringLiteral("80"));
    environment.insert(QStringLiteral("MAN_KEEP_FORMATTING"), QString());
    man.setProcessEnvironment(environment);
    man.start(QStringLiteral("man"), {QStringLiteral("-l"), page});
    if (man.waitForFinished(10000) && man.exitCode() == 0)
      text = QString::fromLocal8Bit(man.readAllStandardOutput());
  }
  if (text.isEmpty()) text = tr("The manual is the manual page vorn(1): man vorn");
  QDialog dialog(this);
  dialog.setObjectName(QStringLiteral("manual"));
  dialog.setWindowTitle(tr("vorn Manual"));
  auto* browser = new QTextBrowser(&dialog);
  browser->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  browser->setPlainText(text);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
  connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
  auto* layout = new QVBoxLayout(&dialog);
  layout->addWidget(browser);
  layout->addWidget(buttons);
  const QFontMetrics metrics(browser->font());
  dialog.resize(metrics.horizontalAdvance(QString(86, QLatin1Char('0'))), metrics.lineSpacing() * 40);
  dialog.exec();
}

void VornWindow::showAbout() {
  QMessageBox::about(this, tr("About vorn"),
                     tr("<h3>vorn %1</h3><p>Analyses and compacts the record databases (box files) of a "
                        "Qtopia handheld.</p><p>Copyright 2026 the vorn authors.<br>Released under the MIT "
                        "licence.</p>")
                         .arg(QStringLiteral(VORN_VERSION)));
}

void VornWindow::runningChanged(bool running) {
  cancelButton->setVisible(running);
  menuBar()->setEnabled(!running);
  if (!running) jobProgress->hide();
}

void VornWindow::rememberChoice() {
  QSettings kept = settings();
  const int entry = form->appliCombo->currentIndex();
  kept.setValue(kChoiceEntryKey, entry);
  kept.setValue(kChoiceStorageKey, form->storageCombo->currentIndex());
  kept.setValue(kChoicePathKey, localFileName(form->selector.boxFilePath(".box")));
}

void VornWindow::restoreChoice() {
  const QSettings kept = settings();
  const int entry = kept.value(kChoiceEntryKey, -1).toInt();
  const QString path = fromLocalFileName(kept.value(kChoicePathKey).toByteArray());
  if (entry >= 0 && entry < kOtherBoxesRow) {
    form->appliCombo->setCurrentIndex(entry);
    form->storageCombo->setCurrentIndex(kept.value(kChoiceStorageKey, 0).toInt());
    form->storageCombo->setEnabled(entry == kInboxRow);
  } else if (entry >= 0 && !path.isEmpty() && localFileExists(path)) {
    form->selector.chooseFile(path);
  }
}

void VornWindow::closeEvent(QCloseEvent* event) {
  if (form->runner->running()) {
    // The run is given up first; the window closes once it has let go.
    form->runner->cancel();
    event->ignore();
    QTimer::singleShot(0, this, &QWidget::close);
    return;
  }
  rememberChoice();
  settings().setValue(kGeometryKey, saveGeometry());
  settings().setValue(kStateKey, saveState());
  event->accept();
}
