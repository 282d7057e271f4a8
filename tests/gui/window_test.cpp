// The desktop window around the form: the verdict in its status bar,
// copying and saving the findings, recent files and the choice kept across
// starts, and runs during which the window drops what it is given.
#include <QSemaphore>

#include "address_book.h"
#include "background_run.h"
#include "findings.h"
#include "gui_support.h"
#include "run_vorn.h"
#include "vorn_window.h"

using namespace boxtest;

namespace {

// clang-format off
const struct { const char *name, *box, *verdict, *cards; } kVerdicts[] = {
    {"sound", "KQADRS.box", "no problems found", "686 cards"},
    {"errors and a warning", "SALVAGE.box", "2 errors, 1 warning", ""},
    {"an error and warnings", "DUPLICATE.box", "1 error, 2 warnings", ""},
    {"a critical", "hostile_72_bytes.box", "1 critical, 4 errors, 2 warnings", "0 cards"},
};
const struct { const char *name, *how; } kCopies[] = {
    {"selected rows, in the list's order", "selected"},
    {"every row", "all"},
    {"saved as text", "text"},
    {"saved as boxtool check's NDJSON", "ndjson"},
};
// What the window is given during a run, and whether it cancels the run.
const struct { const char *name, *to; int key; bool cancels; } kInputs[] = {
    {"Exec pressed again", "anButton", 0, false},
    {"Noisy clicked", "anNoisy", 0, false},
    {"Down on the application choice", "appliCombo", Qt::Key_Down, false},
    {"Escape", "result", Qt::Key_Escape, true},
    {"the cancel button", "cancelButton", 0, true},
};
// clang-format on

// The rows of the list as copied: columns 0 to 2 by tabs, a finding's
// indented by two blanks.
QString copiedText(const QString& tree) {
  QString text;
  for (const QString& line : tree.split('\n', Qt::SkipEmptyParts))
    text += line.section('|', 0, 2).replace('|', '\t') + '\n';
  return text;
}

// The input posted from the analysis' thread at its first progress report,
// as a window system queues what a user does, and handled by the window
// before the analysis goes on.
QList<std::pair<QObject*, QEvent*>> given;
QSemaphore handled;
time_t fakeNow = 0;
time_t givingClock() {
  if (!given.isEmpty()) {
    for (const auto& [to, event] : std::exchange(given, {})) QCoreApplication::postEvent(to, event);
    QMetaObject::invokeMethod(
        qApp, [] { handled.release(); }, Qt::QueuedConnection);
    handled.tryAcquire(1, 5000);
  }
  return fakeNow += 2;
}

QString savedAnswer, savedFilter;
QString fakeSaveDialog(QWidget*, const QString&, const QString&, const QString& filters, QString* chosen) {
  *chosen = filters.split(";;").filter(savedFilter).value(0);
  return savedAnswer;
}

}  // namespace

class WindowTest : public QObject {
  Q_OBJECT

 private slots:
  void cleanupTestCase() { BackgroundRun::waitForEngine(); }

  void statusGivesTheVerdict_data() { indexRows(kVerdicts); }
  void statusGivesTheVerdict() {
    QFETCH(int, i);
    TempHome home;
    QVERIFY(QFile::copy(VORN_TEST_DATA "/" + QString(kVerdicts[i].box), home.boxDir() + "KQADRS.BOX"));
    VornWindow w;
    w.show();
    QCOMPARE(w.windowTitle(), "Vorn2 ver1.0");
    MessageBoxAnswerer none;
    choose(w.form->appliCombo, 1);
    QTest::mouseClick(w.form->anButton, Qt::LeftButton);
    QCOMPARE(w.verdictLabel->text(), kVerdicts[i].verdict);
    const QString size = QLocale().toString(QFileInfo(home.boxDir() + "KQADRS.BOX").size());
    QVERIFY2(w.fileLabel->text().startsWith("KQADRS.BOX: " + size + " bytes, ") &&
                 w.fileLabel->text().endsWith(kVerdicts[i].cards),
             qPrintable(w.fileLabel->text()));
    QVERIFY(w.windowTitle() == "KQADRS.BOX - Vorn2 ver1.0" && none.seen.isEmpty());
  }

  void findingsAreCopiedAndSaved_data() { indexRows(kCopies); }
  void findingsAreCopiedAndSaved() {
    QFETCH(int, i);
    const QString how = kCopies[i].how;
    TempHome home;
    const QString box = home.boxDir() + "KQADRS.BOX";
    QVERIFY(QFile::copy(VORN_TEST_DATA "/DUPLICATE.box", box));
    VornWindow w;
    w.show();
    choose(w.form->appliCombo, 1);
    w.form->anVerbose->setChecked(true);
    QTest::mouseClick(w.form->anButton, Qt::LeftButton);
    const QString tree = treeText(w.form->result);
    QApplication::clipboard()->clear();
    savedAnswer = home.path() + "/findings." + (how == "ndjson" ? "ndjson" : "txt");
    savedFilter = how == "ndjson" ? "NDJSON" : "Text";
    VornWindow::saveFileDialog = fakeSaveDialog;
    QItemSelectionModel* selection = w.form->result->selectionModel();
    const QModelIndex second = w.form->resultModel->index(1, 0), first = w.form->resultModel->index(0, 0);
    QString expected = copiedText(tree);
    if (how == "selected") {
      for (const QModelIndex& row : {second, w.form->resultModel->index(0, 0, second), first})
        selection->select(row, QItemSelectionModel::Select | QItemSelectionModel::Rows);
      expected = copiedText(tree.section('\n', 0, 2) + '\n');
      w.activateWindow();
      QVERIFY(QTest::qWaitForWindowActive(&w));
      w.form->result->setFocus();
      QTest::keyClick(w.form->result, Qt::Key_C, Qt::ControlModifier);  // the list's own copy is one cell
    } else if (how == "all") {
      selection->select(first, QItemSelectionModel::Select | QItemSelectionModel::Rows);
      w.copyAllAction->trigger();
    } else {
      w.saveAction->trigger();
      if (how == "ndjson")
        expected = QString::fromStdString(
            runProgram(boxtoolProgram(), {"check", "--json", localFileName(box).toStdString()}).out);
    }
    QFile saved(savedAnswer);
    const QString got = how == "selected" || how == "all"
                            ? QApplication::clipboard()->text()
                            : (saved.open(QIODevice::ReadOnly), QString::fromUtf8(saved.readAll()));
    QCOMPARE(got, expected);
    QVERIFY(got.count('\n') >= 3);
  }

  void recentFilesAndTheChoiceAreKept() {
    TempHome home;
    const Bytes book = bigAddressBook(20, false).bytes;
    QStringList opened;
    {
      VornWindow w;
      w.show();
      for (int n = 0; n < 12; ++n) {
        opened.prepend(home.put(QString("box%1.box").arg(n), book));
        w.openFile(opened.first());
        QCoreApplication::sendPostedEvents(w.form, QEvent::MetaCall);
      }
      QCOMPARE(w.recentFiles(), opened.mid(0, VornWindow::kRecentFiles));
      QCOMPARE(w.windowTitle(), "box11.box - Vorn2 ver1.0");
      w.resize(640, 500);
      w.close();
    }
    VornWindow again;
    QVERIFY(again.restoreWindowGeometry() && again.size() == QSize(640, 500));
    QCOMPARE(again.recentFiles(), opened.mid(0, VornWindow::kRecentFiles));
    QCOMPARE(again.form->selector.boxFilePath(".box"), opened.first());  // the last choice
    QAction* third = again.recentMenu->actions().value(2);
    QCOMPARE(third->text(), "&3 box9.box");
    third->trigger();
    QCoreApplication::sendPostedEvents(again.form, QEvent::MetaCall);
    QCOMPARE(again.windowTitle(), "box9.box - Vorn2 ver1.0");
    QCOMPARE(again.recentFiles().first(), opened[2]);
  }

  void inputDuringARunIsDropped_data() { indexRows(kInputs); }
  void inputDuringARunIsDropped() {
    QFETCH(int, i);
    TempHome home;
    home.put("KQADRS.BOX", bigAddressBook(3000, false).bytes);
    VornWindow w;
    w.show();
    choose(w.form->appliCombo, 1);
    QObject* to = w.findChild<QObject*>(kInputs[i].to);
    QVERIFY(to);
    if (const int key = kInputs[i].key) {
      given << std::pair(to, new QKeyEvent(QEvent::KeyPress, key, Qt::NoModifier))
            << std::pair(to, new QKeyEvent(QEvent::KeyRelease, key, Qt::NoModifier));
    } else {
      const QPointF at = qobject_cast<QWidget*>(to)->rect().center();
      for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease})
        given << std::pair(to,
                           new QMouseEvent(type, at, at, Qt::LeftButton,
                                           type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton,
                                           Qt::NoModifier));
    }
    QSignalSpy resets(w.form->resultModel, &QAbstractItemModel::modelReset);
    fakeNow = lastProgressTime;
    setProgressClock(givingClock);
    QTest::mouseClick(w.form->anButton, Qt::LeftButton);
    QTest::qWait(100);  // what was kept for later would come now
    BackgroundRun::waitForEngine();
    setProgressClock(nullptr);
    const bool cancels = kInputs[i].cancels;
    // One run (cleared, then filled unless cancelled); nothing else changed.
    QCOMPARE(QStringList({QString::number(resets.count()), w.form->anNoisy->isChecked() ? "Noisy" : "",
                          w.form->appliCombo->currentText(), w.verdictLabel->text(),
                          QString::number(w.form->resultModel->rowCount() > 0)}),
             QStringList({cancels ? "1" : "2", "", "AddressBook",
                          cancels ? "Analysis cancelled" : "no problems found", cancels ? "0" : "1"}));
    QVERIFY(idle(*w.form) && !w.cancelButton->isVisible() && QApplication::activeModalWidget() == nullptr);
  }
};

QTEST_MAIN(WindowTest)
#include "window_test.moc"
