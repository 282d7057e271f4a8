// The window's docks and its tools over boxtool's work: loading what the
// docks show, the choice of a segment of the map, and File > Export...,
// Tools > Recover... and Tools > Compact..., which write what boxtool
// export, recover and compact write, through the same code.
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDockWidget>
#include <QFormLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStatusBar>
#include <QTreeView>
#include <QVBoxLayout>

#include <cstdio>
#include <utility>

#include "background_run.h"
#include "box_contents.h"
#include "collection.h"
#include "findings_model.h"
#include "garbage_collection.h"
#include "local_path.h"
#include "map_view.h"
#include "output_file.h"
#include "records_page.h"
#include "rescue_file.h"
#include "result_reporter.h"
#include "statistics_page.h"
#include "vorn.h"
#include "vorn_window.h"

namespace {

QString fileName(const QString& path) { return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1); }

// The path with its last dot's suffix (if any) replaced.
QString withSuffix(const QString& path, const QString& suffix) {
  const QString name = fileName(path);
  const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
  return path.left(path.size() - name.size() + (dot > 0 ? dot : name.size())) + suffix;
}

QString hex(uint64_t value, int digits) {
  return QStringLiteral("0x%1").arg(value, digits, 16, QLatin1Char('0'));
}

// A read-only text of lines, as tall as a few of them.
QPlainTextEdit* linesView(const QStringList& lines, const QString& name, QWidget* parent) {
  auto* view = new QPlainTextEdit(lines.join(QLatin1Char('\n')), parent);
  view->setObjectName(name);
  view->setReadOnly(true);
  view->setMaximumHeight(view->fontMetrics().lineSpacing() * 8 + 12);
  return view;
}

// A dialog of widgets one under the other, with the buttons below.
QDialogButtonBox* layOutDialog(QDialog& dialog, const QString& title, const QList<QWidget*>& widgets) {
  dialog.setWindowTitle(title);
  auto* layout = new QVBoxLayout(&dialog);
  for (QWidget* w : widgets) layout->addWidget(w);
  auto* buttons = new QDialogButtonBox(&dialog);
  QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
  QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
  layout->addWidget(buttons);
  return buttons;
}

QLabel* wrapped(const QString& text, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setWordWrap(true);
  return label;
}

}  // namespace

bool VornWindow::runJob(const std::function<void(RunProgress&)>& job) {
  auto progress = std::make_shared<RunProgress>();
  return jobRunner->run(
      [progress, job] {
        const ProgressHook hook(*progress);
        job(*progress);
      },
      progress.get());
}

QString VornWindow::shownBox() { return contents_ ? contents_->path : form->lastRun.path; }

bool VornWindow::loadContents(const QString& path) {
  if (jobRunner->running() || path.isEmpty()) return false;
  auto loaded = std::make_shared<std::shared_ptr<BoxContents>>();
  if (!runJob([loaded, path](RunProgress&) { *loaded = loadBoxContents(path); })) {
    statusBar()->showMessage(
        tr("Loading the records and the map of %1 was cancelled").arg(shownFileName(fileName(path))), 5000);
    return false;
  }
  showContents(*loaded);
  return true;
}

void VornWindow::loadPendingContents() {
  if (pendingContents_.isEmpty() || jobRunner->running() || form->runner->running()) return;
  if (recordsDock->isHidden() && mapDock->isHidden() && statisticsDock->isHidden()) return;
  loadContents(std::exchange(pendingContents_, QString()));
}

void VornWindow::showContents(std::shared_ptr<BoxContents> contents) {
  if (contents && !contents->problem.empty()) {
    statusBar()->showMessage(
        tr("The records of %1 cannot be read: %2")
            .arg(shownFileName(fileName(contents->path)), QString::fromLocal8Bit(contents->problem.c_str())),
        8000);
  }
  contents_ = contents && contents->listing ? std::move(contents) : nullptr;
  recordsPage->setContents(contents_);
  mapView->setContents(contents_);
  mapLegend->setContents(contents_.get());
  statisticsPage->setContents(contents_.get());
  const QString name = contents_ ? shownFileName(fileName(contents_->path)) : QString();
  recordsDock->setWindowTitle(name.isEmpty() ? tr("Records") : tr("Records of %1").arg(name));
  mapDock->setWindowTitle(name.isEmpty() ? tr("Map") : tr("Map of %1").arg(name));
  statisticsDock->setWindowTitle(name.isEmpty() ? tr("Statistics") : tr("Statistics of %1").arg(name));
  for (QAction* action : {exportAction, recoverAction, compactAction})
    action->setEnabled(contents_ != nullptr);
}

void VornWindow::chooseSegment(int64_t segment) {
  if (!contents_ || segment < 0 || static_cast<size_t>(segment) >= contents_->map.segments().size()) return;
  const MapSegment& s = contents_->map.segments()[static_cast<size_t>(segment)];
  mapView->setMarked(s.from, s.to);
  statusBar()->showMessage(
      mapView->describe(segment).section(QLatin1Char('\n'), 0, 1).replace('\n', QStringLiteral(": ")), 8000);
  if (s.record >= 0) {
    const auto record = static_cast<size_t>(s.record);
    // A deleted record is shown when asked for.
    if (!recordsPage->selectRecord(record) &&
        contents_->listing->records()[record].state == RecordState::kDeleted) {
      recordsPage->deletedCheck->setChecked(true);
      recordsPage->selectRecord(record);
    }
  }
  // The card's item in the result list, with its findings.
  QTreeView* list = form->result;
  list->clearSelection();
  if (s.card < 0) return;
  const CardRecord& card = contents_->listing->trace().analysis->chain->cards[static_cast<size_t>(s.card)];
  // The form analysed the same file: its cards are the trace's, unless the
  // records are traced behind a mended field table, where the offset tells.
  const bool ownTrace = &contents_->listing->trace() == &contents_->listing->box();
  const QModelIndex item =
      form->resultModel->cardItem(contents_->listing->original(card.offset), ownTrace ? s.card : -1);
  if (!item.isValid()) return;
  list->expand(item);
  list->setCurrentIndex(item);
  QItemSelection rows(item, item.siblingAtColumn(FindingsModel::kColumns - 1));
  const int findings = form->resultModel->rowCount(item);
  if (findings > 0) {
    rows.select(form->resultModel->index(0, 0, item),
                form->resultModel->index(findings - 1, FindingsModel::kColumns - 1, item));
  }
  list->selectionModel()->select(rows, QItemSelectionModel::ClearAndSelect);
  list->scrollTo(item, QAbstractItemView::PositionAtTop);
}

void VornWindow::exportRecords() {
  if (!contents_) return;
  QDialog dialog(this);
  dialog.setObjectName(QStringLiteral("exportDialog"));
  auto* form = new QWidget(&dialog);
  auto* layout = new QFormLayout(form);
  auto* format = new QComboBox(form);
  format->setObjectName(QStringLiteral("exportFormat"));
  format->addItems({QStringLiteral("JSON"), QStringLiteral("CSV")});
  auto* encoding = new QComboBox(form);
  encoding->setObjectName(QStringLiteral("exportEncoding"));
  encoding->setEditable(true);
  for (const char* const* e = RecordsPage::kEncodings; *e; ++e) encoding->addItem(QString::fromLatin1(*e));
  encoding->setCurrentText(recordsPage->encodingCombo->currentText());
  auto* deleted = new QCheckBox(tr("Add the deleted records the collector has not yet overwritten"), form);
  deleted->setObjectName(QStringLiteral("exportDeleted"));
  deleted->setChecked(recordsPage->deletedCheck->isChecked());
  layout->addRow(tr("&Format"), format);
  layout->addRow(tr("&Encoding"), encoding);
  layout->addRow(deleted);
  QDialogButtonBox* buttons = layOutDialog(
      dialog, tr("Export Records"),
      {wrapped(tr("The records of %1, as boxtool export writes them.").arg(shownFileName(contents_->path)),
               &dialog),
       form});
  buttons->addButton(tr("&Export..."), QDialogButtonBox::AcceptRole);
  buttons->addButton(QDialogButtonBox::Cancel);
  if (dialog.exec() != QDialog::Accepted) return;

  const bool csv = format->currentIndex() == 1;
  ExportArguments args;
  args.format = csv ? "csv" : "json";
  args.deleted = deleted->isChecked();
  args.encoding = encoding->currentText().toStdString();
  if (!ValueDecoder(args.encoding).usable()) {
    QMessageBox::warning(this, tr("Export Records"), tr("Unknown encoding: %1").arg(encoding->currentText()));
    return;
  }
  const QString filter = csv ? tr("CSV (*.csv)") : tr("JSON (*.json)");
  QString chosen;
  const QString path = saveFileDialog(
      this, tr("Export Records"),
      withSuffix(shownFileName(contents_->path), csv ? QStringLiteral(".csv") : QStringLiteral(".json")),
      filter, &chosen);
  if (path.isEmpty()) return;
  const std::string target = localFileName(path).toStdString();
  if (sameFile(target, localFileName(contents_->path).toStdString())) {
    QMessageBox::warning(this, tr("Export Records"),
                         tr("%1 is the box itself; the box is never written.").arg(shownFileName(path)));
    return;
  }
  struct Outcome {
    int status = 0;
    std::string error;
    bool written = false;
  };
  auto outcome = std::make_shared<Outcome>();
  const std::shared_ptr<BoxContents> contents = contents_;
  const bool finished = runJob([outcome, contents, args, target](RunProgress& progress) {
    OutputFile out(target);
    if (!out.opened()) {
      outcome->error = out.error;
      return;
    }
    outcome->status = contents->listing->write(out.stream(), args, outcome->error);
    if (!outcome->error.empty() || progress.cancelled) return;
    outcome->written = out.commit(true);
    if (!outcome->written) outcome->error = out.error;
  });
  if (!finished) {
    statusBar()->showMessage(tr("Export cancelled; nothing was written"), 5000);
    return;
  }
  if (!outcome->written) {
    QMessageBox::warning(this, tr("Export Records"),
                         tr("The records could not be exported.\n%1\n%2")
                             .arg(shownFileName(path), QString::fromLocal8Bit(outcome->error.c_str())));
    return;
  }
  statusBar()->showMessage(
      outcome->status == exit_status::kClean
          ? tr("Records exported to %1").arg(shownFileName(path))
          : tr("Records exported to %1; some are damaged or have values missing").arg(shownFileName(path)),
      8000);
}

void VornWindow::recoverBox(const QString& given) {
  const QString broken = given.isEmpty() ? shownBox() : given;
  if (broken.isEmpty()) return;
  QDialog dialog(this);
  dialog.setObjectName(QStringLiteral("recoverDialog"));
  auto* deleted = new QCheckBox(tr("Restore the deleted records that still decode, with free IDs"), &dialog);
  deleted->setObjectName(QStringLiteral("recoverDeleted"));
  QDialogButtonBox* buttons = layOutDialog(
      dialog, tr("Recover"),
      {wrapped(tr("Writes a new, sound box file from every record of %1 whose own bytes are whole. The "
                  "damaged box is only read.")
                   .arg(shownFileName(broken)),
               &dialog),
       deleted});
  buttons->addButton(tr("&Choose the New File..."), QDialogButtonBox::AcceptRole);
  buttons->addButton(QDialogButtonBox::Cancel);
  if (dialog.exec() != QDialog::Accepted) return;

  // The new file, never the damaged one.
  const std::string brokenBytes = localFileName(broken).toStdString();
  QString path;
  for (;;) {
    QString chosen;
    path = saveFileDialog(this, tr("Recover into a New Box File"),
                          withSuffix(shownFileName(broken), QStringLiteral("-recovered.box")),
                          tr("Box files (*.box *.BOX)"), &chosen);
    if (path.isEmpty()) return;
    if (!sameFile(localFileName(path).toStdString(), brokenBytes)) break;
    QMessageBox::warning(
        this, tr("Recover"),
        tr("%1 is the damaged box itself. Choose a new file: the damaged box is never written.")
            .arg(shownFileName(path)));
  }
  auto result = std::make_shared<RescueFile>();
  const std::string target = localFileName(path).toStdString();
  const bool restore = deleted->isChecked();
  const bool finished = runJob([result, brokenBytes, target, restore](RunProgress& progress) {
    *result = rescueFile(brokenBytes, target, {.deleted = restore}, true,
                         [&progress] { return !progress.cancelled; });
  });
  if (!finished || result->abandoned) {
    statusBar()->showMessage(tr("Recover cancelled; nothing was written"), 5000);
    return;
  }
  if (!result->reason.empty()) {
    QMessageBox::warning(
        this, tr("Recover"),
        tr("The box could not be recovered.\n%1: %2")
            .arg(shownFileName(fromLocalFileName(QByteArray::fromStdString(result->failedPath))),
                 QString::fromLocal8Bit(result->reason.c_str())));
    return;
  }

  // What was kept, what is missing, and the offer to open the new box.
  const RescuedBox& r = result->box;
  QStringList missing;
  for (const MissingRecord& m : r.missing)
    missing << tr("ID %1: %2").arg(hex(m.id, 4), QString::fromLocal8Bit(m.why.c_str()));
  if (r.unnamedMissing) missing << tr("%1 more that the header counts, named nowhere").arg(r.unnamedMissing);
  QStringList details;
  const auto place = [](const RescuedRecord& k) {
    return k.card < 0 ? tr("found at %1, ID %2").arg(hex(k.offset, 6), hex(k.id, 4))
                      : tr("card %1 at %2, ID %3").arg(k.card).arg(hex(k.offset, 6), hex(k.id, 4));
  };
  for (const RescuedRecord& k : r.damagedKept) details << place(k) + tr(": kept whole by its own bytes");
  for (const RescuedRecord& k : r.renumbered) details << place(k) + tr(": now ID %1").arg(hex(k.newId, 4));
  for (const RescuedRecord& k : r.restored)
    details << place(k) + tr(": restored as ID %1").arg(hex(k.newId, 4));
  for (const RescuedRecord& k : r.dropped)
    details << place(k) + tr(": dropped, %1").arg(QString::fromLocal8Bit(k.note.c_str()));
  for (const std::string& m : r.fieldsMended)
    details << tr("field table: %1").arg(QString::fromLocal8Bit(m.c_str()));

  QDialog summary(this);
  summary.setObjectName(QStringLiteral("recoverSummary"));
  QList<QWidget*> parts = {
      wrapped(tr("%1 is written: %2 bytes, no Error and no Critical.")
                  .arg(shownFileName(path), QLocale().toString(qulonglong(r.bytes.size()))),
              &summary),
      wrapped(tr("Kept %1 records: %2 from the card chain, %3 found outside it, %4 deleted ones restored.")
                  .arg(r.kept)
                  .arg(r.kept - r.found - r.restored.size())
                  .arg(r.found)
                  .arg(r.restored.size()),
              &summary),
      wrapped(tr("The box claims %1 records by its header and %2 IDs in all; %3 of them are missing.")
                  .arg(r.headerCount)
                  .arg(r.claimedIds)
                  .arg(r.missing.size() + r.unnamedMissing),
              &summary)};
  if (!missing.isEmpty()) {
    parts << wrapped(tr("Missing:"), &summary) << linesView(missing, QStringLiteral("missingIds"), &summary);
  }
  if (!details.isEmpty()) {
    parts << wrapped(tr("Cards kept whole, renumbered, restored or dropped:"), &summary)
          << linesView(details, QStringLiteral("recoverDetails"), &summary);
  }
  parts << wrapped(tr("Bytes lost: %1").arg(QLocale().toString(qulonglong(r.bytesLost))), &summary);
  QDialogButtonBox* close = layOutDialog(summary, tr("Recovered"), parts);
  QPushButton* open = close->addButton(tr("&Open the New Box"), QDialogButtonBox::AcceptRole);
  open->setObjectName(QStringLiteral("openNewBox"));
  close->addButton(QDialogButtonBox::Close);
  summary.resize(summary.sizeHint().expandedTo(QSize(640, 0)));
  if (summary.exec() == QDialog::Accepted) openFile(path);
}

void VornWindow::compactBox() {
  const QString path = shownBox();
  if (path.isEmpty()) return;
  struct Dry {
    std::string problem, refusal;
    uint32_t size = 0;
    CompactionPlan plan;
    bool stated = false;
    struct stat analysed {};  // the collection refuses a box that changed since
  };
  auto dry = std::make_shared<Dry>();
  const std::string local = localFileName(path).toStdString();
  if (!runJob([dry, local](RunProgress&) {
        dry->stated = stat(local.c_str(), &dry->analysed) == 0;
        const AnalysedFile file(local);
        if (!file.analysed()) {
          dry->problem = file.reason;
          return;
        }
        dry->size = file.analysis->file.size;
        dry->refusal = collectionRefusal(*file.analysis);
        if (dry->refusal.empty()) dry->plan = compactionPlan(*file.analysis);
      }))
    return;
  if (!dry->problem.empty()) {
    QMessageBox::warning(this, tr("Compact"),
                         tr("The box file cannot be read.\n%1\n%2")
                             .arg(shownFileName(path), QString::fromLocal8Bit(dry->problem.c_str())));
    return;
  }
  if (!dry->refusal.empty()) {
    QMessageBox refused(
        QMessageBox::Warning, tr("Compact"),
        tr("The collector refuses this box: %1").arg(QString::fromLocal8Bit(dry->refusal.c_str())),
        QMessageBox::Close, this);
    refused.setInformativeText(tr("Its records can be rescued into a new box file."));
    QPushButton* recover = refused.addButton(tr("&Recover..."), QMessageBox::ActionRole);
    refused.exec();
    if (refused.clickedButton() == recover) recoverBox(path);
    return;
  }

  // The dry run first: nothing is written before the user says so.
  const CompactionPlan& plan = dry->plan;
  QDialog dialog(this);
  dialog.setObjectName(QStringLiteral("compactDialog"));
  QList<QWidget*> parts = {
      wrapped(tr("The box library's collector would do this to %1; nothing is written yet.")
                  .arg(shownFileName(path)),
              &dialog),
      wrapped(tr("Drop %1 deleted cards (%2 bytes).").arg(plan.droppedCards).arg(plan.droppedBytes),
              &dialog)};
  QStringList dropped;
  for (const CompactionPlan::Dropped& d : plan.dropped) {
    if (d.cards > 1) {
      dropped << tr("cards %1 to %2 at %3, %4 bytes (empty deleted cards back to back)")
                     .arg(d.card)
                     .arg(d.card + d.cards - 1)
                     .arg(hex(d.offset, 6))
                     .arg(d.bytes);
    } else {
      dropped << tr("card %1 at %2, %3 bytes").arg(d.card).arg(hex(d.offset, 6)).arg(d.bytes);
    }
  }
  if (!dropped.isEmpty()) parts << linesView(dropped, QStringLiteral("droppedCards"), &dialog);
  if (plan.addsTerminator) parts << wrapped(tr("Add the missing terminator."), &dialog);
  auto* sizes =
      wrapped(tr("%1 bytes before, %2 bytes after.")
                  .arg(QLocale().toString(dry->size), QLocale().toString(qulonglong(plan.sizeAfter))),
              &dialog);
  sizes->setObjectName(QStringLiteral("compactSizes"));
  parts << sizes;
  const QString backup = path + QStringLiteral(".bak");
  const bool backupExists = localFileExists(backup);
  auto* keep = new QCheckBox(backupExists ? tr("Keep the old box as %1 (it exists, and is never replaced)")
                                          : tr("Keep the old box as %1"),
                             &dialog);
  keep->setText(keep->text().arg(shownFileName(fileName(backup))));
  keep->setObjectName(QStringLiteral("compactBackup"));
  keep->setChecked(!backupExists);
  keep->setEnabled(!backupExists);
  parts << keep;
  QDialogButtonBox* buttons = layOutDialog(dialog, tr("Compact"), parts);
  QPushButton* compact = buttons->addButton(tr("&Compact"), QDialogButtonBox::AcceptRole);
  compact->setObjectName(QStringLiteral("compactButton"));
  buttons->addButton(QDialogButtonBox::Cancel);
  if (dialog.exec() != QDialog::Accepted) return;

  std::string error;
  if (keep->isChecked() && !copyBoxFile(local, localFileName(backup).toStdString(), error)) {
    QMessageBox::warning(this, tr("Compact"),
                         tr("The backup could not be written; the box is unchanged.\n%1\n%2")
                             .arg(shownFileName(backup), QString::fromLocal8Bit(error.c_str())));
    return;
  }
  // The collector runs the engine: a cancelled job that still uses it ends first.
  if (BackgroundRun::engineBusy() && !runJob([](RunProgress&) {})) return;
  if (dry->stated) expectAnalysedBox(dry->analysed);
  const int rc = guardedGarbageCollect(local.c_str());
  if (rc != 0) {
    if (keep->isChecked()) std::remove(localFileName(backup).constData());
    QMessageBox failed(QMessageBox::Warning, tr("Compact"), tr("The box could not be compacted."),
                       QMessageBox::Ok, this);
    failed.setInformativeText(rc < 0 ? tr("The collector was aborted by a signal.")
                                     : collectorFailure(rc, path));
    failed.exec();
    return;
  }
  QMessageBox::information(
      this, tr("Compact"),
      tr("%1 is compacted: %2 deleted cards dropped, %3 bytes now.")
              .arg(shownFileName(path))
              .arg(plan.droppedCards)
              .arg(QLocale().toString(qulonglong(plan.sizeAfter))) +
          (keep->isChecked() ? QLatin1Char('\n') + tr("The old box is kept as %1.").arg(shownFileName(backup))
                             : QString()));
  // The findings and the docks of the box as it is now.
  if (form->selector.boxFilePath(".box") == path) {
    QMetaObject::invokeMethod(form, "analyze", Qt::QueuedConnection);
  } else {
    openFile(path);
  }
}
