// The analyse action and the box self-check, driven through the window.
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include "address_book.h"
#include "boxlib.h"
#include "gui_support.h"
#include "hostile_files.h"
#include "self_check.h"
#include "shrinker.h"
#include "vorn.h"

using namespace boxtest;

namespace {

// An address book of twelve cards; card 3 holds an impossible weekday.
Bytes addressBook() {
  BoxBuilder b;
  b.field(1, "NAME", "Name").field(7, "WDAY", "Day");
  for (uint16_t id = 1; id <= 12; ++id) b.card(id, {text("Person"), {static_cast<uint8_t>(id == 3 ? 7 : 1)}});
  return b.indexCard({{"NAME", "n.idx"}}).terminator().build().bytes;
}

int fakeResult = 0;
QByteArray fakeSeenPath;
int fakeCheck(const char* path, int level) {
  fakeSeenPath = path;
  return level == 255 ? fakeResult : 12345;
}

QStringList rows(const QTreeWidget* list) {
  QStringList texts;
  for (int i = 0; i < list->topLevelItemCount(); ++i) {
    const QTreeWidgetItem* item = list->topLevelItem(i);
    texts << item->text(0) + "|" + item->text(1) + "|" + item->text(2);
  }
  return texts;
}

}  // namespace

class ActionsTest : public QObject {
  Q_OBJECT

  static void expectIdle(Vorn& w) {
    QVERIFY(w.gcGroup->isEnabled() && w.anGroup->isEnabled() && w.fileGroup->isEnabled());
    QCOMPARE(w.focusWidget(), w.appliCombo);
    QVERIFY(!w.progress->isVisible());
  }

 private slots:
  void missingBoxFileGivesOneWarningAndChangesNothing() {
    TempHome home;
    Vorn w;
    w.show();
    new QTreeWidgetItem(w.result, {"kept"});
    MessageBoxAnswerer ok;
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    QCOMPARE(ok.seen.size(), 1);
    QCOMPARE(ok.seen[0].caption, QStringLiteral("File error"));
    QCOMPARE(ok.seen[0].text, "Box file is not found.\n" + home.boxDir() + "KQDATE.BOX");
    QCOMPARE(rows(w.result), QStringList{"kept||"});
    QVERIFY(w.gcGroup->isEnabled() && w.anGroup->isEnabled());
  }

  void analysisFillsTheTree() {
    TempHome home;
    const QString path = home.put("KQADRS.BOX", addressBook());
    home.writeConfig("Launcher", "[Preload]\nApps = addressbook\n");  // fast load does not matter here
    Vorn w;
    w.show();
    QApplication::setActiveWindow(&w);
    w.appliCombo->setCurrentIndex(1);
    w.anNoisy->setChecked(true);
    w.anVerbose->setChecked(true);
    QTest::mouseClick(w.anButton, Qt::LeftButton);

    // Sections first, then every card (noisy), in the text order of their index.
    QStringList keys;
    for (int i = 0; i < w.result->topLevelItemCount(); ++i) keys << w.result->topLevelItem(i)->text(3);
    QCOMPARE(keys, (QStringList{"", "-1", "-2", "-3", "-4", "0", "1", "10", "11", "12", "13", "2", "3", "4",
                                "5", "6", "7", "8", "9"}));
    QCOMPARE(rows(w.result).first(), "BOX file name||" + path);
    const QTreeWidgetItem* card2 = w.result->topLevelItem(11);
    QCOMPARE(card2->text(1), QStringLiteral("   0003"));
    QCOMPARE(card2->text(4), QStringLiteral("*"));
    QCOMPARE(card2->child(0)->text(2), QStringLiteral("Illegal format of WEEK at 1 (07)."));
    QCOMPARE(w.result->topLevelItem(10)->text(4), QString());  // card 1 is sound
    QCOMPARE(w.result->topLevelItem(1)->text(0), QStringLiteral("Box header"));
    QVERIFY(w.result->topLevelItem(1)->childCount() >= 3);  // verbose listings
    expectIdle(w);

    // Without verbose: no listings, no file name row.
    w.anVerbose->setChecked(false);
    w.anNoisy->setChecked(false);
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    QVERIFY(!rows(w.result).join(",").contains("BOX file name"));
    QCOMPARE(w.result->topLevelItem(0)->childCount(), 0);
    expectIdle(w);
  }

  void unreadableBoxFileIsExplained() {
    TempHome home;
    home.put("KQDATE.BOX", {});
    Vorn w;
    w.show();
    MessageBoxAnswerer ok;
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    QCOMPARE(ok.seen.size(), 1);
    QCOMPARE(ok.seen[0].text, "Box file cannot be read.\n" + home.boxDir() + "KQDATE.BOX\nEmpty file");
    QCOMPARE(w.result->topLevelItemCount(), 0);
  }

  void shrinkingBoxKeepsTheRowsAndWarns() {
    TempHome home;
    Bytes bytes = bigAddressBook(3000, false).bytes;
    setHeader(bytes, HeaderField::kDefaultTable, 0x50);
    const QString path = home.put("KQDATE.BOX", bytes);
    Vorn w;
    w.show();
    MessageBoxAnswerer ok;
    {
      Shrinker shrink(path.toStdString(), 200, 8192);
      QTest::mouseClick(w.anButton, Qt::LeftButton);
    }
    QCOMPARE(ok.seen.size(), 1);
    QCOMPARE(ok.seen[0].caption, QStringLiteral("File error"));
    QCOMPARE(ok.seen[0].text,
             "Box file shrank while it was analysed.\n" + path + "\nThe findings end where it was cut.");
    QCOMPARE(rows(w.result).first(), QStringLiteral("Box header||    48h byte."));
    QCOMPARE(w.result->topLevelItem(0)->child(0)->text(2),
             QStringLiteral("Unusual offset of default offset table (0050)."));
    expectIdle(w);
  }

  void hostileFilesGiveRowsOrOneWarning() {
    TempHome home;
    Vorn w;
    w.show();
    w.anVerbose->setChecked(true);
    w.anNoisy->setChecked(true);
    w.anDebug->setChecked(true);
    for (const HostileFile& file : hostileFiles()) {
      home.put("KQDATE.BOX", file.bytes);
      MessageBoxAnswerer ok;
      QTest::mouseClick(w.anButton, Qt::LeftButton);
      if (file.bytes.empty()) {
        QCOMPARE(ok.seen.size(), 1);
      } else {
        QVERIFY2(ok.seen.isEmpty(), file.name);
        QVERIFY2(rows(w.result).join(",").contains("Offset table"), file.name);
      }
      expectIdle(w);
    }
  }

  void selfCheckShowsTheMaskedCode() {
    TempHome home;
    const QString path = home.put("KQDATE.BOX", addressBook());
    Vorn w;
    w.show();
    QTest::mouseClick(w.chkBXD, Qt::LeftButton);
    w.anVerbose->setChecked(true);

    // The real library: the weekday is only a warning.
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    QCOMPARE(rows(w.result), (QStringList{"BXDFileCheck Start||", "No Error||0"}));

    boxCheckFunction = fakeCheck;
    const QList<QPair<int, QString>> cases = {{3, "Error||3"}, {-1, "Error||65535"}, {65536, "No Error||0"}};
    for (const auto& [value, outcome] : cases) {
      fakeResult = value;
      QTest::mouseClick(w.anButton, Qt::LeftButton);
      QCOMPARE(rows(w.result), (QStringList{"BXDFileCheck Start||", outcome}));
      QCOMPARE(fakeSeenPath, path.toLatin1());
    }
    boxCheckFunction = _BXDFileCheckLevel;
    expectIdle(w);
  }
};

QTEST_MAIN(ActionsTest)
#include "actions_test.moc"
