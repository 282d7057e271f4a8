// Beside the form: the records table against boxtool export of every golden
// box, the map against the engine's card list, a click on the map, and the
// rescue from the window (export, recover and compact) on the samples
// against what boxtool does with them.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <QSemaphore>

#include "address_book.h"
#include "background_run.h"
#include "box_contents.h"
#include "findings.h"
#include "gui_support.h"
#include "map_view.h"
#include "records_model.h"
#include "records_page.h"
#include "run_vorn.h"
#include "vorn_window.h"

using namespace boxtest;
using Args = std::vector<std::string>;

namespace {

QString dataPath(const QString& name) { return QStringLiteral(VORN_TEST_DATA "/") + name; }

QStringList goldenBoxes() { return QDir(VORN_TEST_DATA).entryList({"*.box"}, QDir::Files, QDir::Name); }

// An address book of 60 cards of which a few were deleted (ID set to 0, the
// body left as it was), written as DELETED.box in dir: no golden box holds
// a deleted record that decodes.
QString writeDeletedBook(const QString& dir) {
  BuiltBox book = bigAddressBook(60, false);
  for (const uint32_t card : {2, 17, 40}) setCardId(book.bytes, book.offsets[card], 0);
  return TempHome::write(dir + "/DELETED.box", book.bytes);
}

QByteArray fileBytes(const QString& path) {
  QFile f(path);
  return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

bool checksClean(const QString& path) {
  const AnalysedFile file(localFileName(path).toStdString());
  return file.analysed() && file.counts.critical + file.counts.errors == 0;
}

// Answers the modal dialogs that open, in turn, each by its function, and
// records the title and text of each.
class DialogAnswerer : public QObject {
 public:
  explicit DialogAnswerer(QList<std::function<void(QWidget*)>> answers) : answers_(std::move(answers)) {
    connect(&timer_, &QTimer::timeout, this, [this] {
      QWidget* dialog = QApplication::activeModalWidget();
      if (!dialog || !dialog->isVisible() || dialog->property("answered").toBool() || answers_.isEmpty())
        return;
      dialog->setProperty("answered", true);
      const auto* box = qobject_cast<QMessageBox*>(dialog);
      seen << (box ? box->windowTitle() + ": " + box->text() : dialog->objectName());
      answers_.takeFirst()(dialog);
    });
    timer_.start(5);
  }
  QStringList seen;

 private:
  QList<std::function<void(QWidget*)>> answers_;
  QTimer timer_;
};

// Presses the button with that text (mnemonics aside), or the check box of
// that name first.
std::function<void(QWidget*)> press(const QString& text, const QString& check = QString()) {
  return [text, check](QWidget* dialog) {
    if (!check.isEmpty()) dialog->findChild<QCheckBox*>(check)->setChecked(true);
    for (QAbstractButton* b : dialog->findChildren<QAbstractButton*>())
      if (b->text().remove('&') == text) return b->click();
    QFAIL(qPrintable("no button " + text));
  };
}

QStringList answers;  // of the file dialog, in turn
QString fakeSaveDialog(QWidget*, const QString&, const QString&, const QString&, QString*) {
  return answers.isEmpty() ? QString() : answers.takeFirst();
}

// Escape pressed on the window while a job analyses (at the first time the
// engine asks the clock), and handled before the job goes on.  The event is
// made on the window's thread, as a window system's are.
QWidget* escapeTo = nullptr;
QKeyEvent* escape = nullptr;
QSemaphore escaped;
time_t fakeNow = 0;
time_t escapingClock() {
  if (QWidget* to = std::exchange(escapeTo, nullptr)) {
    QCoreApplication::postEvent(to, std::exchange(escape, nullptr));
    QMetaObject::invokeMethod(
        qApp, [] { escaped.release(); }, Qt::QueuedConnection);
    escaped.tryAcquire(1, 5000);
  }
  return fakeNow += 2;
}

QJsonDocument exportJson(const QString& box, bool deleted, const std::string& dir = VORN_TEST_DATA) {
  const RunResult r = runBoxtool(
      deleted ? Args{"export", "--deleted", box.toStdString()} : Args{"export", box.toStdString()}, dir);
  return QJsonDocument::fromJson(QByteArray::fromStdString(r.out));
}

// clang-format off
const struct { const char *name, *box; } kRecovers[] = {
    {"a cut box", "TRUNC.box"},
    {"garbage data", "GARBAGE.box"},
    {"duplicate IDs", "DUPLICATE.box"},
    {"a card hidden by a salvage", "SALVAGE.box"},
    {"a broken item info", "BADITEMS.box"},
    {"wrong header totals", "BADHEAD.box"},
};
const struct { const char *name, *box; bool compact, backup; } kCompacts[] = {
    {"the dry run, declined, writes nothing", "KQADRS.box", false, false},
    {"compacted", "KQADRS.box", true, false},
    {"compacted, the old box kept", "VALUES.box", true, true},
};
// clang-format on

}  // namespace

class BoxViewTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    VornWindow::saveFileDialog = fakeSaveDialog;
    QDir::setCurrent(VORN_TEST_DATA);  // boxtool is given the golden boxes by their names
  }
  void cleanupTestCase() { BackgroundRun::waitForEngine(); }

  void recordsAreTheExport_data() {
    QTest::addColumn<QString>("box");
    QTest::addColumn<bool>("deleted");
    QTest::newRow("deleted records") << "DELETED.box" << false;
    QTest::newRow("deleted records, shown") << "DELETED.box" << true;
    for (const QString& box : goldenBoxes()) {
      QTest::newRow(qPrintable(box)) << box << false;
      QTest::newRow(qPrintable(box + " with deleted records")) << box << true;
    }
  }
  void recordsAreTheExport() {
    QFETCH(QString, box);
    QFETCH(bool, deleted);
    TempHome home;
    QDir::setCurrent(box == "DELETED.box" ? QFileInfo(writeDeletedBook(home.path())).path() : VORN_TEST_DATA);
    const std::string dir = QDir::currentPath().toStdString();
    VornWindow w;
    QVERIFY(w.loadContents(box));
    RecordsPage& page = *w.recordsPage;
    page.deletedCheck->setChecked(deleted);
    const RecordsModel& model = *page.model;
    const QJsonArray records = exportJson(box, deleted, dir)["records"].toArray();
    QCOMPARE(model.rowCount(), records.size());
    // The deleted records stand apart, behind the others.
    QList<QJsonObject> expected;
    for (const bool apart : {false, true}) {
      for (const QJsonValue r : records)
        if ((r["state"].toString() == "deleted") == apart) expected << r.toObject();
    }
    const QStringList leading = {"card", "offset", "id", "state"};
    for (int row = 0; row < model.rowCount(); ++row) {
      const QJsonObject& r = expected[row];
      for (int c = 0; c < leading.size(); ++c)
        QCOMPARE(model.index(row, c).data(RecordsModel::kExportRole).toJsonValue(), r[leading[c]]);
      QCOMPARE(model.index(row, 0).data(RecordsModel::kFindingsRole).toStringList(),
               r["findings"].toVariant().toStringList());
      const QJsonArray values = r.contains("raw") ? QJsonArray{r["raw"]} : r["values"].toArray();
      QCOMPARE(model.columnCount(), RecordsModel::kFirstValueColumn + values.size());
      for (int k = 0; k < values.size(); ++k)
        QCOMPARE(model.index(row, RecordsModel::kFirstValueColumn + k)
                     .data(RecordsModel::kExportRole)
                     .toJsonValue(),
                 values[k]);
    }
    // Every row copied is the export, byte for byte, in either format.
    page.table->selectAll();
    for (const std::string format : {"json", "csv"}) {
      Args args = {"export", "--format", format, box.toStdString()};
      if (deleted) args.push_back("--deleted");
      QCOMPARE(page.selectedText(format == "csv"), QByteArray::fromStdString(runBoxtool(args, dir).out));
    }
    QDir::setCurrent(VORN_TEST_DATA);
  }

  // The filter keeps the records with a value that holds the text (ASCII
  // case aside); a sort orders a column's values, the deleted records apart.
  void filterAndSort_data() {
    QTest::addColumn<QString>("filter");
    QTest::addColumn<int>("column");
    QTest::addColumn<bool>("descending");
    QTest::newRow("a name, any case") << "tAnAkA" << -1 << false;
    QTest::newRow("a telephone number's digits") << "03-01" << -1 << false;
    QTest::newRow("nothing holds it") << "no such value" << -1 << false;
    QTest::newRow("by a text column") << "" << RecordsModel::kFirstValueColumn << false;
    QTest::newRow("by the ID, descending") << "" << RecordsModel::kIdColumn << true;
    QTest::newRow("filtered and sorted") << "nakamura" << RecordsModel::kFirstValueColumn + 4 << true;
  }
  void filterAndSort() {
    QFETCH(QString, filter);
    QFETCH(int, column);
    QFETCH(bool, descending);
    TempHome home;
    const QString box = writeDeletedBook(home.path());
    VornWindow w;
    QVERIFY(w.loadContents(box));
    RecordsModel& model = *w.recordsPage->model;
    model.setShowDeleted(true);
    model.setFilter(filter);
    if (column >= 0) model.sort(column, descending ? Qt::DescendingOrder : Qt::AscendingOrder);
    const QJsonArray records = exportJson(box, true)["records"].toArray();
    qsizetype kept = 0;
    for (const QJsonValue r : records) {
      const QString values = QJsonDocument(r["values"].toArray()).toJson();
      kept += filter.isEmpty() || values.contains(filter, Qt::CaseInsensitive);
    }
    QCOMPARE(model.rowCount(), kept);
    // Nulls first, then numbers or texts in their order.
    const auto order = [](const QJsonValue& a, const QJsonValue& b) {
      if (a.isNull() || b.isNull()) return int{!a.isNull()} - int{!b.isNull()};
      if (a.isDouble()) return (a.toDouble() > b.toDouble()) - (a.toDouble() < b.toDouble());
      return QString::compare(a.toString(), b.toString());
    };
    const auto cell = [&](int row, int c) {
      return model.index(row, c).data(RecordsModel::kExportRole).toJsonValue();
    };
    for (int row = 1; row < model.rowCount(); ++row) {
      const bool before = cell(row - 1, RecordsModel::kStateColumn) == QJsonValue("deleted");
      const bool deleted = cell(row, RecordsModel::kStateColumn) == QJsonValue("deleted");
      QVERIFY(before <= deleted);
      if (column < 0 || before != deleted) continue;
      const int c = order(cell(row - 1, column), cell(row, column));
      QVERIFY(descending ? c >= 0 : c <= 0);
    }
  }

  void mapFollowsTheCardList_data() {
    QTest::addColumn<QString>("box");
    for (const QString& box : goldenBoxes()) QTest::newRow(qPrintable(box)) << box;
  }
  void mapFollowsTheCardList() {
    QFETCH(QString, box);
    const std::shared_ptr<BoxContents> contents = loadBoxContents(box);
    if (!contents->listing) QSKIP("boxtool cannot read its records either");
    const FileMap& map = contents->map;
    const RecordListing& listing = *contents->listing;
    QCOMPARE(map.size(), fileBytes(box).size());
    // Every byte in one segment, in file order.
    uint64_t at = 0;
    for (const MapSegment& s : map.segments()) {
      QCOMPARE(s.from, at);
      QVERIFY(s.to > s.from);
      at = s.to;
    }
    QCOMPARE(at, map.size());
    // Each card of the trace starts a segment of its own at its offset, in
    // its class, unless a later card or a found record lies over it, or it
    // is an empty deleted card in the segment of the run it belongs to.
    const CardList& cards = listing.trace().analysis->chain->cards;
    for (size_t i = 0; i < cards.size(); ++i) {
      const int64_t k = map.segmentAt(listing.original(cards[i].offset));
      if (k < 0) continue;
      const MapSegment& s = map.segments()[static_cast<size_t>(k)];
      if (s.card != static_cast<int32_t>(i)) {
        const bool empty = i + 1 < cards.size() && cards[i + 1].offset == cards[i].offset;
        const bool ofRun = s.card >= 0 && s.card < static_cast<int32_t>(i) &&
                           cards[i].id == box::kGarbageId && cards[i].size == 0 &&
                           cards[static_cast<size_t>(s.card)].size == 0;
        QVERIFY(s.card > static_cast<int32_t>(i) || s.kind == MapClass::kFound || empty || ofRun);
        continue;
      }
      QCOMPARE(s.from, uint64_t{listing.original(cards[i].offset)});
      if (cards[i].level & code::kFailing)
        QVERIFY(s.kind == MapClass::kDamaged || s.kind == MapClass::kSkipped);
      if (s.record >= 0 && listing.records()[static_cast<size_t>(s.record)].state == RecordState::kSound)
        QCOMPARE(s.kind, MapClass::kSound);
    }
    for (size_t n = 0; n < listing.records().size(); ++n) {
      if (listing.records()[n].state != RecordState::kFound) continue;
      const MapSegment& s =
          map.segments()[static_cast<size_t>(map.segmentAt(listing.original(listing.records()[n].offset)))];
      QCOMPARE(s.kind, MapClass::kFound);
      QCOMPARE(s.record, static_cast<int32_t>(n));
    }
    // At any scale the runs cover every pixel, and no pixel hides what
    // matters more than the class it shows.
    for (const double pixels : {5.0, 64.0, 333.0, 4096.0}) {
      const double bytesPerPixel = static_cast<double>(map.size()) / pixels;
      const std::vector<FileMap::Run> runs = map.runs(bytesPerPixel);
      uint64_t shown = 0;
      for (const FileMap::Run& r : runs) {
        QCOMPARE(r.firstPixel, shown);
        shown += r.pixels;
      }
      if (map.size() > 0) {
        const auto [from, to] = map.pixelBytes(shown - 1, bytesPerPixel);
        QVERIFY(from < map.size() && to >= map.size());  // the last pixel holds the last byte
      }
      for (const MapSegment& s : map.segments()) {
        auto p = static_cast<uint64_t>(static_cast<double>(s.from) / bytesPerPixel);
        while (p > 0 && map.pixelBytes(p, bytesPerPixel).first > s.from) --p;
        while (map.pixelBytes(p, bytesPerPixel).second <= s.from) ++p;
        const auto run = std::find_if(runs.begin(), runs.end(), [p](const FileMap::Run& r) {
          return p >= r.firstPixel && p < r.firstPixel + r.pixels;
        });
        QVERIFY(run != runs.end());
        QVERIFY(mapPriority(run->kind) >= mapPriority(s.kind));
      }
    }
  }

  void aClickOnTheMapChoosesTheCard() {
    TempHome home;
    VornWindow w;
    w.resize(1200, 900);
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    w.openFile(dataPath("TRUNC.box"));
    QTRY_VERIFY(w.contents() != nullptr);
    const FileMap& map = w.contents()->map;
    const auto damaged = std::find_if(map.segments().begin(), map.segments().end(), [](const MapSegment& s) {
      return s.kind == MapClass::kDamaged && s.record >= 0;
    });
    QVERIFY(damaged != map.segments().end());
    QTest::mouseClick(w.mapView, Qt::LeftButton, {}, w.mapView->pointOf(damaged->from));
    QCOMPARE(w.form->result->currentIndex().data().toString(),
             QString("%1").arg(damaged->from, 8, 16, QChar('0')));
    QVERIFY(w.form->result->isExpanded(w.form->result->currentIndex()));
    QVERIFY(w.mapView->describe(damaged - map.segments().begin()).contains("Damaged card"));
    // Choosing a record marks it on the map: its card is the one clicked.
    const QModelIndex current = w.recordsPage->table->currentIndex();
    QVERIFY(current.isValid());
    QCOMPARE(current.siblingAtColumn(RecordsModel::kOffsetColumn).data(RecordsModel::kExportRole).toInt(),
             static_cast<int>(damaged->from));
  }

  void exportFromTheWindowIsTheExport() {
    TempHome home;
    VornWindow w;
    QVERIFY(w.loadContents("DUPLICATE.box"));
    answers = {home.path() + "/out.csv"};
    DialogAnswerer answerer({[](QWidget* d) {
      d->findChild<QComboBox*>("exportFormat")->setCurrentIndex(1);
      d->findChild<QComboBox*>("exportEncoding")->setCurrentText("EUC-JP");
      press("Export...", "exportDeleted")(d);
    }});
    w.exportRecords();
    const RunResult r =
        runBoxtool({"export", "--format", "csv", "--deleted", "--encoding", "EUC-JP", "DUPLICATE.box"});
    QCOMPARE(fileBytes(home.path() + "/out.csv"), QByteArray::fromStdString(r.out));
  }

  void recoverWritesANewBox_data() { indexRows(kRecovers); }
  void recoverWritesANewBox() {
    QFETCH(int, i);
    const auto& row = kRecovers[i];
    TempHome home;
    const QString broken = home.path() + "/" + row.box;
    QFile::copy(dataPath(row.box), broken);
    const QByteArray before = fileBytes(broken);
    VornWindow w;
    QVERIFY(w.loadContents(broken));
    // The damaged box itself is refused as the new file; another is taken.
    const QString target = home.path() + "/NEW.BOX";
    answers = {broken, target};
    QString missing;
    DialogAnswerer answerer({press("Choose the New File..."), press("OK"), [&missing](QWidget* d) {
                               const auto* list = d->findChild<QPlainTextEdit*>("missingIds");
                               missing = QString::number(list ? list->toPlainText().count("ID 0x") : 0);
                               press("Open the New Box")(d);
                             }});
    w.recoverBox();
    QCOMPARE(answerer.seen.size(), 3);
    QVERIFY(answerer.seen[1].contains("is the damaged box itself"));
    QCOMPARE(fileBytes(broken), before);
    QVERIFY(checksClean(target));
    // What boxtool recover says is missing.
    const RunResult r = runBoxtool({"recover", "--json", row.box, (home.path() + "/B.BOX").toStdString()});
    const QJsonDocument summary = QJsonDocument::fromJson(QByteArray::fromStdString(r.out));
    QCOMPARE(missing, QString::number(summary["missing"]["ids"].toArray().size()));
    QCOMPARE(fileBytes(target), fileBytes(home.path() + "/B.BOX"));
    QTRY_COMPARE(w.contents() ? w.contents()->path : QString(), target);  // opened
  }

  // A cancelled load leaves the docks as they were; a cancelled recover
  // writes nothing, though its job runs to its end.
  void cancelledWorkLeavesNothing_data() {
    QTest::addColumn<bool>("recover");
    QTest::newRow("loading the docks") << false;
    QTest::newRow("recover") << true;
  }
  void cancelledWorkLeavesNothing() {
    QFETCH(bool, recover);
    TempHome home;
    const QString broken = home.path() + "/TRUNC.box";
    QFile::copy(dataPath("TRUNC.box"), broken);
    VornWindow w;
    w.show();
    if (recover) QVERIFY(w.loadContents(broken));
    const BoxContents* before = w.contents();
    answers = {home.path() + "/NEW.BOX"};
    DialogAnswerer answerer({press("Choose the New File...")});
    escapeTo = &w;
    escape = new QKeyEvent(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    fakeNow = lastProgressTime;
    setProgressClock(escapingClock);
    recover ? w.recoverBox() : static_cast<void>(w.loadContents(broken));
    BackgroundRun::waitForEngine();
    setProgressClock(nullptr);
    delete std::exchange(escape, nullptr);
    QVERIFY(escapeTo == nullptr);  // the job asked the clock, and was cancelled
    QCOMPARE(w.contents(), before);
    QVERIFY(!QFile::exists(home.path() + "/NEW.BOX"));
    QVERIFY(w.statusBar()->currentMessage().contains("cancelled"));
  }

  void theRefusedCollectionOffersRecover() {
    TempHome home;
    const QByteArray damaged = fileBytes(dataPath("SALVAGE.box"));
    const QString box = home.put("KQADRS.BOX", boxtest::Bytes(damaged.begin(), damaged.end()));
    VornWindow w;
    choose(w.form->appliCombo, 1);
    answers = {};
    DialogAnswerer answerer({press("Yes"), press("Recover..."), press("Cancel")});
    w.form->gcButton->click();
    QTRY_COMPARE(answerer.seen.size(), 3);
    QCOMPARE(answerer.seen[1], "Error: Garbage collection was failed.");
    QCOMPARE(answerer.seen[2], "recoverDialog");
    QVERIFY(!QFile::exists(box + ".bak"));
  }

  void compactShowsTheDryRunFirst_data() { indexRows(kCompacts); }
  void compactShowsTheDryRunFirst() {
    QFETCH(int, i);
    const auto& row = kCompacts[i];
    TempHome home;
    const QString box = home.path() + "/" + row.box;
    QFile::copy(dataPath(row.box), box);
    QFile(box).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    const QByteArray before = fileBytes(box);
    const RunResult dry = runBoxtool({"compact", "--dry-run", box.toStdString()});
    VornWindow w;
    QVERIFY(w.loadContents(box));
    QString sizes;
    QStringList dropped;
    DialogAnswerer answerer({[&](QWidget* d) {
                               sizes = d->findChild<QLabel*>("compactSizes")->text();
                               const auto* list = d->findChild<QPlainTextEdit*>("droppedCards");
                               if (list) dropped = list->toPlainText().split('\n');
                               d->findChild<QCheckBox*>("compactBackup")->setChecked(row.backup);
                               press(row.compact ? "Compact" : "Cancel")(d);
                             },
                             press("OK")});
    w.compactBox();
    // The dry run tells what boxtool's tells: the cards dropped, the sizes.
    const QStringList lines = QString::fromStdString(dry.out).split('\n', Qt::SkipEmptyParts);
    QCOMPARE(dropped,
             lines.filter(QRegularExpression("^  card ")).replaceInStrings(QRegularExpression("^  "), ""));
    const auto numbers = [](QString text) {
      QStringList found;
      for (const auto& m : QRegularExpression("\\d+").globalMatch(text.remove(QLocale().groupSeparator())))
        found << m.captured();
      return found;
    };
    const QStringList after = numbers(lines.last().section(": ", -1));
    QCOMPARE(numbers(sizes), after);
    QCOMPARE(QFile::exists(box + ".bak"), row.backup);
    if (!row.compact) {
      QCOMPARE(fileBytes(box), before);
      return;
    }
    QVERIFY(checksClean(box));
    QCOMPARE(QString::number(fileBytes(box).size()), after.last());
    if (row.backup) QCOMPARE(fileBytes(box + ".bak"), before);
  }
};

QTEST_MAIN(BoxViewTest)
#include "box_view_test.moc"
