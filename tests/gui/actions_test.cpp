// The analyse action and the box self-check, driven through the window.

#include "address_book.h"
#include "boxlib.h"
#include "findings.h"
#include "golden.h"
#include "gui_support.h"
#include "report_scope.h"
#include "result_reporter.h"
#include "samples.h"
#include "self_check.h"
#include "shrinker.h"

using namespace boxtest;

namespace {

// An address book of twelve cards; the card with ID 3 holds weekday 7.
Bytes addressBook() {
  BoxBuilder b;
  b.field(1, "NAME", "Name").field(7, "WDAY", "Day");
  for (uint16_t id = 1; id <= 12; ++id) b.card(id, {text("Person"), {static_cast<uint8_t>(id == 3 ? 7 : 1)}});
  return b.indexCard({{"NAME", "n.idx"}}).terminator().build().bytes;
}

// What the replaced functions see of the window while an action runs.
Vorn* window = nullptr;
QString seenWhileRunning;  // L locked, P progress bar shown, per call
int checkResult = 0;
QByteArray checkedPath;
void noteTheWindow() {
  seenWhileRunning +=
      QString(groupsDisabled(*window) ? "L" : "-") + (window->progress->isVisible() ? "P " : "- ");
}
int fakeCheck(const char* path, int level) {
  noteTheWindow();
  checkedPath = path;
  return level == 255 ? checkResult : 12345;
}
time_t fakeNow = 0;
time_t tickingClock() {  // every progress report goes through
  noteTheWindow();
  return fakeNow += 2;
}
QString dialogAnswer;

// The problem findings of a tree, or of a console output, one a line:
// "INDEX|SEVERITY|CODE|TEXT AND DETAIL", sorted.
QStringList treeProblems(const QTreeWidget* list) {
  QStringList found;
  for (int i = 0; i < list->topLevelItemCount(); ++i) {
    for (int c = 0; c < list->topLevelItem(i)->childCount(); ++c) {
      const QTreeWidgetItem* f = list->topLevelItem(i)->child(c);
      const QString key = list->topLevelItem(i)->text(3);
      if (QStringList{"Critical", "Error", "Warning"}.contains(f->text(0)))
        found << QStringList{key, f->text(0), f->text(3).trimmed(), f->text(2)}.join('|');
    }
  }
  return found.sort(), found;
}
QStringList consoleProblems(const QByteArray& output) {
  static const QRegularExpression position(R"(^ --\s+(-?\d+): )"), finding(R"(^    ([0-9a-f]{6,8}) (.*)$)");
  QStringList found;
  QString index;
  for (const QString& line : QString::fromLatin1(output).split('\n')) {
    if (const auto at = position.match(line); at.hasMatch()) index = at.captured(1);
    const auto f = finding.match(line);
    const uint32_t code = f.captured(1).toUInt(nullptr, 16);
    const QString shown = QString::asprintf("%.4x", displayCode(code));
    if (f.hasMatch() && severityName(code))
      found << QStringList{index, severityName(code), shown, f.captured(2)}.join('|');
  }
  return found.sort(), found;
}

// Columns 0 to 4 of an item joined by "|".
QString columns(const QTreeWidgetItem* item) {
  QStringList texts;
  for (int c = 0; c < 5; ++c) texts << item->text(c);
  return texts.join('|');
}

// How a file under a HOME is chosen: by its application row, from "Other
// Boxes", through "Open box file..." or by a drop.
const QString kHome = "hömé $(touch x) 'q';`y`";
// clang-format off
const struct { const char* name; QString home, file, how; } kChosen[] = {
    {"application row, HOME outside ASCII", kHome, "Applications/bxd/KQADRS.BOX", "row"},
    {"Japanese name from Other Boxes", kHome, "Applications/bxd/住所録 ü.box", "menu"},
    {"opened from anywhere", kHome, "バックアップ/ü;$x.BOX", "dialog"},
    {"dropped onto the window", kHome, "バックアップ/dropped 名前.box", "drop"},
};
const struct { const char* name; bool noisy; } kTrees[] = {
    {"address_book", true}, {"SALVAGE", false}, {"DUPLICATE", false}, {"VALUES", false},
};
const struct { const char* name; int result; const char* outcome; } kChecks[] = {
    {"passed", 0, "No Error||0"},
    {"failed parts", 3, "Error||3"},
    {"minus one is 65535", -1, "Error||65535"},
    {"only high bits count as passed", 65536, "No Error||0"},
};
// clang-format on

}  // namespace

class ActionsTest : public QObject {
  Q_OBJECT

 private slots:
  void fileProblemsAreExplained() {
    // Missing: nothing changes, the form never locks.  Empty: no rows.
    // Shrinking while analysed: the rows so far stay.
    TempHome home;
    const QString path = home.boxDir() + "KQDATE.BOX";
    Vorn w;
    w.show();
    new QTreeWidgetItem(w.result, {"kept"});
    MessageBoxAnswerer ok("R", [&w] { return !w.anGroup->isEnabled(); });
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    QVERIFY(rows(w.result) == QStringList{"kept||"} && !ok.seen[0].busy);
    home.put("KQDATE.BOX", {});
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    QCOMPARE(w.result->topLevelItemCount(), 0);
    Bytes bytes = bigAddressBook(3000, false).bytes;
    setHeader(bytes, HeaderField::kDefaultTable, 0x50);
    home.put("KQDATE.BOX", bytes);
    {
      Shrinker shrink(QFile::encodeName(path).toStdString(), 200, 8192);
      QTest::mouseClick(w.anButton, Qt::LeftButton);
    }
    QCOMPARE(ok.texts(), (QStringList{"File error: Box file is not found.\n" + path,
                                      "File error: Box file cannot be read.\n" + path + "\nEmpty file",
                                      "File error: Box file shrank while it was analysed.\n" + path +
                                          "\nThe findings end where it was cut."}));
    QCOMPARE(w.result->topLevelItem(0)->child(0)->text(2), "Unusual offset of default offset table (0050).");
    QVERIFY(idle(w));
  }

  void treesAreGolden_data() { indexRows(kTrees); }
  void treesAreGolden() {
    // The whole tree of an analysis: sections, then cards in the text order
    // of their index; under each the findings in the text order of their
    // code; every column, the mark of a red item included.
    QFETCH(int, i);
    TempHome home;
    for (const Sample& sample : samples()) home.put(QString::fromStdString(sample.name), sample.bytes);
    Bytes book = addressBook();
    setHeader(book, HeaderField::kMaxId, 99);  // an Error among the header's listings
    home.put("KQADRS.BOX", book);
    home.writeConfig("Launcher", "[Preload]\nApps = addressbook\n");  // fast load does not matter here
    Vorn w;
    w.show();
    w.anVerbose->setChecked(true);
    w.anNoisy->setChecked(kTrees[i].noisy);
    MenuAnswerer pick(QString(kTrees[i].name) + ".BOX");
    choose(w.appliCombo, kTrees[i].name == QString("address_book") ? 1 : 6);
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    QString tree;
    for (int t = 0; t < w.result->topLevelItemCount(); ++t) {
      tree += columns(w.result->topLevelItem(t)) + "\n";
      for (int c = 0; c < w.result->topLevelItem(t)->childCount(); ++c)
        tree += "  " + columns(w.result->topLevelItem(t)->child(c)) + "\n";
    }
    tree.replace(home.path(), "~");
    const std::string golden = "window_" + std::string(kTrees[i].name) + ".tree", text = tree.toStdString();
    if (regeneratingGolden()) writeFile(goldenPath(golden), Bytes(text.begin(), text.end()));
    QCOMPARE(tree, QString::fromStdString(readGolden(golden)));
    QVERIFY(idle(w));
  }

  void hostileFilesGiveTheGoldenFindings_data() {
    QTest::addColumn<QString>("name");
    for (const QString& box : QDir(VORN_TEST_DATA).entryList({"hostile_*.box"}))
      QTest::newRow(qPrintable(box)) << VORN_TEST_DATA "/" + box.chopped(4);
  }
  void hostileFilesGiveTheGoldenFindings() {
    QFETCH(QString, name);
    TempHome home;
    QFile golden(name + ".out");
    QVERIFY(QFile::copy(name + ".box", home.boxDir() + "KQDATE.BOX") && golden.open(QIODevice::ReadOnly));
    Vorn w;
    w.show();
    MessageBoxAnswerer none;
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    QCOMPARE(treeProblems(w.result), consoleProblems(golden.readAll()));
    QVERIFY(none.seen.isEmpty() && idle(w));
  }

  void reporterKeepsToItsLimits() {
    // Items already in the list count, the first of a key in list order; a
    // detail is cut to the buffer; only the item is red; the bar shows from
    // the third progress report.
    VornBase form;
    QList<QTreeWidgetItem*> items;
    for (const char* key : {"5", "5", "05", ""})
      items << new QTreeWidgetItem(form.result, {key, "", "", key});
    ResultReporter reporter(form.result, form.progress, false);
    QVERIFY(reporter.findItem(5) == items[0] && !reporter.findItem(0));
    Checker checker;
    ReportScope scope(&reporter, {});
    const std::string detail(20000, 'x');
    report(checker, -1, 0, 0, 0, 0x20000001, "long", "%s", detail.c_str());
    const QTreeWidgetItem* header = reporter.findItem(-1);
    QCOMPARE(header->child(0)->text(2).size(), 4 + ResultReporter::kDetailBuffer - 1);
    const auto red = [](const QTreeWidgetItem* item) {
      return item->foreground(2).color() == QColor(255, 0, 0);
    };
    QVERIFY(red(header) && !red(header->child(0)));
    form.show();
    form.progress->hide();
    QString shown;
    for (int value : {10, 50, 140}) {
      shown += QString::number(reporter.progress(value / 100, value % 100));
      shown += form.progress->isVisible() ? "P" : "-";
    }
    QCOMPARE(shown + QString::number(form.progress->value()), "1-1-1P140");
  }

  void selfCheckShowsTheMaskedCode_data() { indexRows(kChecks); }
  void selfCheckShowsTheMaskedCode() {
    QFETCH(int, i);
    TempHome home;
    const QString path = home.put("KQDATE.BOX", addressBook());
    Vorn w;
    w.show();
    window = &w;
    QTest::mouseClick(w.chkBXD, Qt::LeftButton);
    w.anVerbose->setChecked(true);
    boxCheckFunction = fakeCheck;
    checkResult = kChecks[i].result;
    seenWhileRunning.clear();
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    boxCheckFunction = _BXDFileCheckLevel;
    QCOMPARE(rows(w.result), (QStringList{"BXDFileCheck Start||", kChecks[i].outcome}));
    QVERIFY(checkedPath == QFile::encodeName(path) && seenWhileRunning == "L- " && idle(w));
  }

  void longAnalysisLocksTheFormAndShowsProgress() {
    TempHome home;
    home.put("KQDATE.BOX", bigAddressBook(3000, false).bytes);
    Vorn w;
    w.show();
    window = &w;
    seenWhileRunning.clear();
    fakeNow = lastProgressTime;
    setProgressClock(tickingClock);
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    setProgressClock(nullptr);
    // Hidden up to the third report, shown from then on, hidden at the end.
    QVERIFY2(seenWhileRunning.startsWith("L- L- L- LP LP ") && seenWhileRunning.endsWith("LP "),
             qPrintable(seenWhileRunning.left(40)));
    QVERIFY(!seenWhileRunning.contains("-P") && !seenWhileRunning.contains("-- ") && idle(w));
  }

  void anyFileIsAnalysedAndChecked_data() { indexRows(kChosen); }
  void anyFileIsAnalysedAndChecked() {
    QFETCH(int, i);
    TempHome home(kChosen[i].home);
    const QString path = home.path() + "/" + kChosen[i].file, how = kChosen[i].how;
    QDir().mkpath(QFileInfo(path).path());
    TempHome::write(path, addressBook());
    Vorn w;
    w.show();
    w.anVerbose->setChecked(true);
    MessageBoxAnswerer none;
    MenuAnswerer pick(QFileInfo(path).fileName());
    dialogAnswer = path;
    boxFileSelecter::openFileDialog = [](QWidget*, const QString&, const QString&, const QString&) {
      return dialogAnswer;
    };
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(path)});
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    if (how == "drop") {
      QApplication::sendEvent(&w, &enter);
      QVERIFY(enter.isAccepted());
      QApplication::sendEvent(&w, &drop);
      QCoreApplication::sendPostedEvents(&w, QEvent::MetaCall);  // the analysis follows the drop
    } else {
      choose(w.appliCombo, how == "row" ? 1 : how == "menu" ? 6 : 7);
      QTest::mouseClick(w.anButton, Qt::LeftButton);
    }
    QCOMPARE(rows(w.result).first(), "BOX file name||" + path);
    QVERIFY(treeProblems(w.result).join('\n').contains("Illegal format of WEEK at 1 (07)."));
    QTest::mouseClick(w.chkBXD, Qt::LeftButton);
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    QCOMPARE(rows(w.result), (QStringList{"BXDFileCheck Start||", "No Error||0"}));
    QVERIFY(none.seen.isEmpty() && !QFile::exists(home.path() + "/x") && !QFile::exists("x"));
  }
};

QTEST_MAIN(ActionsTest)
#include "actions_test.moc"
