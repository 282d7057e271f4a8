// The box file selector: paths, storage names, the "Other Boxes" menu and
// "Open box file...".
#include "gui_support.h"

namespace {

struct Fixture {
  QComboBox appli, storage;
  bool editable = (appli.setEditable(true), true);  // the selector makes it read-only
  boxFileSelecter selector{nullptr, &appli, &storage};
};

// ~/ is the main storage directory of the test's HOME, unless home is set
// (null: unset).
// clang-format off
const struct { const char *name, *home; int row, storage; const char *suffix, *path, *storageName; } kPaths[] = {
    {"calendar box", "", 0, 0, ".box", "~/KQDATE.BOX", "Main"},
    {"todo list indexes, upper case", "", 2, 0, "*.idx", "~/KQTODO*.IDX", "Main"},
    {"address book ignores the SD card", "", 1, 1, ".box", "~/KQADRS.BOX", "Main"},
    {"inbox on the SD card", "", 4, 1, ".box", "/mnt/card/QtPalmtop/bxd/kqinbox.box", "SD"},
    {"inbox on the CF card", "", 4, 2, "*.tdx", "/mnt/cf/QtPalmtop/bxd/kqinbox*.tdx", "CF"},
    {"outbox ignores the CF card", "", 5, 2, "*.tdx", "~/kqoutbox*.tdx", "Main"},
    {"HOME used unchanged", "/home/z/", 0, 0, ".box", "/home/z//Applications/bxd/KQDATE.BOX", "Main"},
    {"HOME unset", nullptr, 3, 0, ".box", "/Applications/bxd/KQMEMO.BOX", "Main"},
    {"no choice: the calendar's", "", -1, 0, ".box", "~/KQDATE.BOX", "Main"},
};
// clang-format on

QString dialogAnswer;
QStringList dialogsOpened;
QString fakeDialog(QWidget*, const QString& caption, const QString& directory, const QString& filter) {
  dialogsOpened << caption + "|" + directory + "|" + filter;
  return dialogAnswer;
}

}  // namespace

class SelectorTest : public QObject {
  Q_OBJECT

 private slots:
  void pathsFollowTheApplicationAndStorage_data() { indexRows(kPaths); }
  void pathsFollowTheApplicationAndStorage() {
    QFETCH(int, i);
    TempHome home;
    Fixture f;
    QVERIFY(f.appli.count() == 6 && !f.storage.isEnabled() && !f.appli.isEditable());
    choose(&f.appli, kPaths[i].row);
    QCOMPARE(f.storage.isEnabled(), kPaths[i].row == 4);
    f.storage.setCurrentIndex(kPaths[i].storage);
    if (!kPaths[i].home) qunsetenv("HOME");
    if (kPaths[i].home && *kPaths[i].home) qputenv("HOME", kPaths[i].home);
    QCOMPARE(f.selector.boxFilePath(kPaths[i].suffix) + " " + f.selector.storageName(),
             QString(kPaths[i].path).replace("~/", home.boxDir()) + " " + kPaths[i].storageName);
  }

  void otherBoxesOffersRegularReadableBoxFiles() {
    TempHome home;
    for (const char* name : {"a.box", "B.box", "C.BOX", "D.Box", ".hidden.box", "notes.txt"})
      home.put(name, {1});
    QDir(home.boxDir()).mkdir("dir.box");
    QVERIFY(symlink("a.box", QFile::encodeName(home.boxDir() + "link.box").constData()) == 0);
    Fixture f;
    f.selector.activateAll();
    f.selector.activateAll();  // once only
    QCOMPARE(f.appli.count(), 8);
    {
      MenuAnswerer cancel("none");
      for (int row = 0; row < 6; ++row) choose(&f.appli, row);  // no menu for these
      QCOMPARE(cancel.offered, QStringList());
      choose(&f.appli, 6);
      QCOMPARE(cancel.offered, (QStringList{"B.box", "a.box", "C.BOX"}));
    }
    QCOMPARE(f.selector.boxFilePath(".box"), home.boxDir() + "KQDATE.BOX");  // cancelled: the calendar
    MenuAnswerer pick("a.box");
    choose(&f.appli, 6);
    QCOMPARE(f.appli.itemText(6) + " " + f.selector.boxFilePath("*.idx"), "a.box " + home.boxDir() + "a.box");
    QCOMPARE(pick.where, f.appli.mapToGlobal(QPoint(0, f.appli.height())));  // under the choice
  }

  void emptyOtherBoxesSaysSoAndKeepsTheClick() {
    TempHome home;
    Vorn w;
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    QCursor::setPos(w.mapToGlobal(QPoint(w.width() - 5, w.height() - 5)));  // the menu opens there
    MenuAnswerer clickOutside(QString(), w.chkBXD);
    choose(w.appliCombo, 6);
    QCOMPARE(clickOutside.offered, QStringList{"(No other box files in " + home.boxDir() + ")"});
    // Back to the calendar; the click that closed the menu reached the check box.
    QVERIFY(w.appliCombo->currentIndex() == 0 && w.chkBXD->isChecked());
  }

  void openBoxFileChoosesAFileAnywhere() {
    TempHome home;
    QDir().mkpath(home.path() + "/backup");
    dialogAnswer = TempHome::write(home.path() + "/backup/Kopie.box", {1});
    boxFileSelecter::openFileDialog = fakeDialog;
    Fixture f;
    f.selector.activateAll();
    choose(&f.appli, 7);
    QCOMPARE(f.appli.currentText() + " " + f.selector.boxFilePath("*.idx"), "Kopie.box " + dialogAnswer);
    QVERIFY(f.appli.currentIndex() == boxFileSelecter::kOpenedRow && f.selector.applicationRow() == 6 &&
            !f.selector.isFastLoad() && !f.storage.isEnabled());
    {
      MenuAnswerer none("none");  // chosen again: the file stays, no menu
      choose(&f.appli, boxFileSelecter::kOpenedRow);
      QVERIFY(none.offered.isEmpty() && f.selector.boxFilePath(".box") == dialogAnswer);
    }
    dialogAnswer.clear();  // cancelled: the file stays; the directory is remembered
    choose(&f.appli, 7);
    QCOMPARE(f.appli.currentIndex(), boxFileSelecter::kOpenedRow);
    const QString filter = "|Box files (*.box *.BOX);;All files (*)";
    QCOMPARE(dialogsOpened, (QStringList{"Open box file|" + home.boxDir() + filter,
                                         "Open box file|" + home.path() + "/backup" + filter}));
  }

  void openDialogStartsNearAHomeThatIsNotText() {
    // The dialog knows paths as text only: it opens at the nearest
    // directory above that is, not in the working directory.
    TempHome home(fromLocalFileName("h\xe9me"));
    boxFileSelecter::openFileDialog = fakeDialog;
    dialogsOpened.clear();
    dialogAnswer.clear();
    Fixture f;
    f.selector.activateAll();
    choose(&f.appli, 7);
    QCOMPARE(dialogsOpened.value(0).section('|', 1, 1), home.path().section('/', 0, -2));
  }
};

QTEST_MAIN(SelectorTest)
#include "selector_test.moc"
