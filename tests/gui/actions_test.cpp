// The analyse action and the box self-check, driven through the window.

#include "address_book.h"
#include "boxlib.h"
#include "findings.h"
#include "golden.h"
#include "gui_support.h"
#include "result_reporter.h"
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
time_t tickingClock() {  // every progress report goes through, slowly
  QThread::usleep(50);
  return fakeNow += 2;
}
QString dialogAnswer;

// How a file under a HOME is chosen: by its application row, from "Other
// Boxes", through "Open box file..." or by a drop.
const QString kHome = "hömé $(touch x) 'q';`y`";
const QString kByteHome = fromLocalFileName("caf\xe9 \xff");  // not UTF-8
// clang-format off
const struct { const char* name; QString home, file, how; } kChosen[] = {
    {"application row, HOME outside ASCII", kHome, "Applications/bxd/KQADRS.BOX", "row"},
    {"Japanese name from Other Boxes", kHome, "Applications/bxd/住所録 ü.box", "menu"},
    {"opened from anywhere", kHome, "バックアップ/ü;$x.BOX", "dialog"},
    {"dropped onto the window", kHome, "バックアップ/dropped 名前.box", "drop"},
    {"application row, HOME not UTF-8", kByteHome, "Applications/bxd/KQADRS.BOX", "row"},
    {"Other Boxes, a name not UTF-8", kByteHome, fromLocalFileName("Applications/bxd/\xe9t\xe9.box"), "menu"},
    {"dropped, a directory not UTF-8", kByteHome, fromLocalFileName("\xe9/x.box"), "drop"},
};
const struct { const char* name; int result; const char* outcome; } kChecks[] = {
    {"passed", 0, "No Error||0||"},
    {"failed parts", 3, "Error||3||"},
    {"minus one is 65535", -1, "Error||65535||"},
    {"only high bits count as passed", 65536, "No Error||0||"},
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
    w.resultModel->addRow("kept", "", "");
    MessageBoxAnswerer ok("R", [&w] { return !w.anGroup->isEnabled(); });
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    QVERIFY(treeText(w.result) == "kept||||\n" && !ok.seen[0].busy);
    home.put("KQDATE.BOX", {});
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    QCOMPARE(w.resultModel->rowCount(), 0);
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
    QCOMPARE(w.resultModel->index(0, 2, w.resultModel->index(0, 0)).data().toString(),
             "Unusual offset of default offset table (0050).");
    QVERIFY(idle(w));
  }

  void treesAreGolden_data() {
    QTest::addColumn<QString>("box");
    QTest::newRow("address_book") << QString();
    for (const QString& box :
         QDir(VORN_TEST_DATA).entryList({"SALVAGE.box", "DUPLICATE.box", "VALUES.box", "hostile_*.box"}))
      QTest::newRow(qPrintable(box.chopped(4))) << box;
  }
  void treesAreGolden() {
    // The whole tree of a verbose analysis (noisy for the address book):
    // sections, then cards in the text order of their index; under each the
    // findings in the text order of their code; every column.
    QFETCH(QString, box);
    TempHome home;
    Bytes book = addressBook();
    setHeader(book, HeaderField::kMaxId, 99);  // an Error among the header's listings
    home.put("KQDATE.BOX", book);
    if (!box.isEmpty()) QFile::remove(home.boxDir() + "KQDATE.BOX");
    QVERIFY(box.isEmpty() || QFile::copy(VORN_TEST_DATA "/" + box, home.boxDir() + "KQDATE.BOX"));
    Vorn w;
    w.show();
    w.anVerbose->setChecked(true);
    w.anNoisy->setChecked(box.isEmpty());
    MessageBoxAnswerer none;
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    const std::string golden = std::string("window_") + QTest::currentDataTag() + ".tree",
                      tree = treeText(w.result).replace(home.path(), "~").toStdString();
    if (regeneratingGolden()) writeFile(goldenPath(golden), Bytes(tree.begin(), tree.end()));
    QCOMPARE(QString::fromStdString(tree), QString::fromStdString(readGolden(golden)));
    QVERIFY(none.seen.isEmpty() && idle(w));
  }

  void sortingKeepsTheOpenItems() {
    // Sorted by a shown column and back by the key: the golden order again,
    // and the item opened before is open still.
    TempHome home;
    Bytes book = addressBook();
    setHeader(book, HeaderField::kMaxId, 99);
    home.put("KQDATE.BOX", book);
    Vorn w;
    w.show();
    w.anVerbose->setChecked(true);
    w.anNoisy->setChecked(true);
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    const QString before = treeText(w.result);
    const auto card = [&w] {
      return w.resultModel->match(w.resultModel->index(0, 0), Qt::DisplayRole, "00000886").value(0);
    };
    w.result->expand(card());
    for (int column : {0, 2, 1}) w.result->sortByColumn(column, Qt::DescendingOrder);
    QVERIFY(w.result->isExpanded(card()) && treeText(w.result) != before);
    w.result->sortByColumn(VornBase::kKeyColumn, Qt::AscendingOrder);
    QVERIFY(w.result->isExpanded(card()) && treeText(w.result) == before);
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
    QCOMPARE(treeText(w.result), QString("BXDFileCheck Start||||\n") + kChecks[i].outcome + "\n");
    QVERIFY(checkedPath == QFile::encodeName(path) && seenWhileRunning == "L- " && idle(w));
  }

  void longAnalysisLocksTheFormAndShowsProgress() {
    // Hidden up to the third report, shown from then on while the form is
    // locked, at its end once the tree is there, hidden when the run ends.
    TempHome home;
    home.put("KQDATE.BOX", bigAddressBook(3000, false).bytes);
    Vorn w;
    w.show();
    window = &w;
    QStringList seen;
    QObject::connect(w.progress, &QProgressBar::valueChanged, [&](int value) {
      if (w.progress->isVisible()) seen << QString("%1%2").arg(groupsDisabled(w) ? "L" : "-").arg(value);
    });
    fakeNow = lastProgressTime;
    setProgressClock(tickingClock);
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    setProgressClock(nullptr);
    QVERIFY2(seen.size() >= 2 && seen.last() == "L300" && seen.filter("-").isEmpty(),
             qPrintable(seen.join(' ')));
    QVERIFY(idle(w));
  }

  void anyFileIsAnalysedAndChecked_data() { indexRows(kChosen); }
  void anyFileIsAnalysedAndChecked() {
    QFETCH(int, i);
    TempHome home(kChosen[i].home);
    const QString path = home.path() + "/" + kChosen[i].file, how = kChosen[i].how;
    makeDirs(path.left(path.lastIndexOf('/')));
    TempHome::write(path, addressBook());
    Vorn w;
    w.show();
    w.anVerbose->setChecked(true);
    MessageBoxAnswerer none;
    MenuAnswerer pick(shownFileName(path.mid(path.lastIndexOf('/') + 1)));
    dialogAnswer = path;
    boxFileSelecter::openFileDialog = [](QWidget*, const QString&, const QString&, const QString&) {
      return dialogAnswer;
    };
    QMimeData mime;
    mime.setUrls({QUrl::fromEncoded("file://" + localFileName(path).toPercentEncoding("/"))});
    // Offered to move or copy: taken as a copy.
    QDragEnterEvent enter(QPoint(5, 5), Qt::MoveAction | Qt::CopyAction, &mime, Qt::LeftButton,
                          Qt::NoModifier);
    QDropEvent drop(QPointF(5, 5), Qt::MoveAction | Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    if (how == "drop") {
      QApplication::sendEvent(&w, &enter);
      QVERIFY(w.acceptDrops() && enter.isAccepted() && enter.dropAction() == Qt::CopyAction);
      QApplication::sendEvent(&w, &drop);
      QCOMPARE(drop.dropAction(), Qt::CopyAction);
      QCoreApplication::sendPostedEvents(&w, QEvent::MetaCall);  // the analysis follows the drop
    } else if (how == "dialog") {
      choose(w.appliCombo, 7);
      QCoreApplication::sendPostedEvents(&w, QEvent::MetaCall);  // analysed at once, as a drop is
    } else {
      choose(w.appliCombo, how == "row" ? 1 : 6);
      QTest::mouseClick(w.anButton, Qt::LeftButton);
    }
    QVERIFY(treeText(w.result).startsWith("BOX file name||" + path + "|"));
    QVERIFY(treeText(w.result).contains("|Illegal format of WEEK at 1 (07).|"));
    QTest::mouseClick(w.chkBXD, Qt::LeftButton);
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    QCOMPARE(treeText(w.result), "BXDFileCheck Start||||\nNo Error||0||\n");
    QVERIFY(none.seen.isEmpty() && !QFile::exists(home.path() + "/x") && !QFile::exists("x"));
  }
};

QTEST_MAIN(ActionsTest)
#include "actions_test.moc"
