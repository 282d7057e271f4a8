// The box file selector: paths, storage names and the "Other Boxes" menu.
#include <QComboBox>
#include <QMenu>
#include <QTest>

#include <unistd.h>

#include "box_file_selecter.h"
#include "gui_support.h"

class SelectorTest : public QObject {
  Q_OBJECT

  struct Fixture {
    QComboBox appli;
    QComboBox storage;
    boxFileSelecter selector{nullptr, &appli, &storage};
    void choose(int row) {
      appli.setCurrentIndex(row);
      emit appli.activated(row);
    }
  };

 private slots:
  void pathsFollowTheApplicationAndStorage() {
    TempHome home;
    Fixture f;
    QCOMPARE(f.appli.count(), 6);
    QVERIFY(!f.storage.isEnabled());
    QCOMPARE(f.selector.boxFilePath(".box"), home.boxDir() + "KQDATE.BOX");
    f.choose(2);
    QCOMPARE(f.selector.boxFilePath("*.idx"), home.boxDir() + "KQTODO*.IDX");

    f.choose(4);  // the inbox may live on a card
    QVERIFY(f.storage.isEnabled());
    f.storage.setCurrentIndex(1);
    QCOMPARE(f.selector.boxFilePath(".box"), QStringLiteral("/mnt/card/QtPalmtop/bxd/kqinbox.box"));
    QCOMPARE(f.selector.storageName(), QStringLiteral("SD"));
    f.storage.setCurrentIndex(2);
    QCOMPARE(f.selector.boxDir(true), QStringLiteral("/mnt/cf/QtPalmtop/bxd/"));
    QCOMPARE(f.selector.storageName(), QStringLiteral("CF"));

    // The outbox never uses the card, whatever the storage box still shows.
    f.choose(5);
    QVERIFY(!f.storage.isEnabled());
    QCOMPARE(f.storage.currentIndex(), 2);
    QCOMPARE(f.selector.boxFilePath("*.tdx"), home.boxDir() + "kqoutbox*.tdx");
    QCOMPARE(f.selector.storageName(), QStringLiteral("Main"));
  }

  void homeIsReadEveryTimeAndUsedUnchanged() {
    TempHome home;
    Fixture f;
    qputenv("HOME", "/home/zaurus/");
    QCOMPARE(f.selector.boxFilePath(".box"), QStringLiteral("/home/zaurus//Applications/bxd/KQDATE.BOX"));
    qunsetenv("HOME");
    QCOMPARE(f.selector.boxDir(false), QStringLiteral("/Applications/bxd/"));
  }

  void menuListsRegularReadableBoxFiles() {
    TempHome home;
    for (const char* name : {"a.box", "B.box", "C.BOX", "D.Box", ".hidden.box", "notes.txt"}) {
      home.put(QString::fromLatin1(name), {1});
    }
    QDir(home.boxDir()).mkdir(QStringLiteral("dir.box"));
    QVERIFY(symlink((home.boxDir() + "a.box").toLocal8Bit().constData(),
                    (home.boxDir() + "link.box").toLocal8Bit().constData()) == 0);
    Fixture f;
    f.selector.activateAll();
    f.selector.activateAll();  // once only
    QCOMPARE(f.appli.count(), 7);
    QStringList offered;
    for (QAction* action : f.selector.boxMenu->actions()) offered.append(action->text());
    QCOMPARE(offered, (QStringList{"B.box", "a.box", "C.BOX"}));
  }

  void otherBoxesMenuChoosesOrCancels() {
    TempHome home;
    home.put("mine.box", {1});
    Fixture f;
    f.selector.activateAll();

    {
      MenuAnswerer cancel(QString{});
      f.choose(6);
      QCOMPARE(cancel.offered, QStringList{"mine.box"});
    }
    QCOMPARE(f.appli.currentIndex(), 0);
    QCOMPARE(f.selector.boxFilePath(".box"), home.boxDir() + "KQDATE.BOX");

    {
      MenuAnswerer pick(QStringLiteral("mine.box"));
      f.choose(6);
    }
    QCOMPARE(f.appli.itemText(6), QStringLiteral("mine.box"));
    // The chosen file itself, whatever the suffix.
    QCOMPARE(f.selector.boxFilePath(".box"), home.boxDir() + "mine.box");
    QCOMPARE(f.selector.boxFilePath("*.idx"), home.boxDir() + "mine.box");
  }

  void fastLoadReadsTheLauncherPreloadList() {
    TempHome home;
    Fixture f;
    QVERIFY(!f.selector.isFastLoad());  // no configuration at all
    home.writeConfig("Launcher",
                     "[Other]\nApps = datebook\n[Preload]\nApps = Addressbook,datebook,textedit\n");
    QVERIFY(f.selector.isFastLoad());  // Calendar: datebook
    f.choose(1);
    QVERIFY(!f.selector.isFastLoad());  // case matters: Addressbook
    f.choose(3);
    QVERIFY(f.selector.isFastLoad());
    home.writeConfig("Launcher", "[Preload]\nOther = datebook\n");
    f.choose(0);
    QVERIFY(!f.selector.isFastLoad());
  }
};

QTEST_MAIN(SelectorTest)
#include "selector_test.moc"
