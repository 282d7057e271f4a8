// The main window right after start, and its two switches.
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include "gui_support.h"
#include "vorn.h"

class FormTest : public QObject {
  Q_OBJECT

 private slots:
  void formAloneIsBuiltButNotFilled() {
    VornBase unnamed;
    QCOMPARE(unnamed.objectName(), QStringLiteral("VornBase"));
    VornBase named(nullptr, "mine");
    QCOMPARE(named.objectName(), QStringLiteral("mine"));
    QCOMPARE(unnamed.windowTitle(), QStringLiteral("Vorn2"));
    QCOMPARE(unnamed.size(), QSize(526, 274));
    QCOMPARE(unnamed.appliCombo->count(), 0);
    QCOMPARE(unnamed.progress->maximum(), 300);
    QCOMPARE(unnamed.result->columnCount(), 8);
    QCOMPARE(unnamed.result->headerItem()->text(2), QStringLiteral("Context"));
    QVERIFY(unnamed.result->isColumnHidden(3) && unnamed.result->isColumnHidden(7));
    QVERIFY(!unnamed.result->isColumnHidden(2));
    QCOMPARE(unnamed.result->minimumSize(), QSize(0, 40));
    QVERIFY(unnamed.result->rootIsDecorated() && unnamed.result->allColumnsShowFocus());
    QCOMPARE(unnamed.result->header()->sortIndicatorSection(), 3);
    QVERIFY(unnamed.fileGroup->isFlat());
    QCOMPARE(unnamed.fileGroup->title(), QString());
  }

  void widgetsAreNamedByTheirMembers() {
    TempHome home;
    Vorn w;
    const QList<QPair<QWidget*, const char*>> members = {
        {w.gcGroup, "gcGroup"},     {w.gcDeleteIndex, "gcDeleteIndex"},
        {w.gcButton, "gcButton"},   {w.fileGroup, "fileGroup"},
        {w.appLabel, "appLabel"},   {w.appliCombo, "appliCombo"},
        {w.storLabel, "storLabel"}, {w.storageCombo, "storageCombo"},
        {w.anOnlyChk, "anOnlyChk"}, {w.anGroup, "anGroup"},
        {w.progress, "progress"},   {w.result, "result"},
        {w.anVerbose, "anVerbose"}, {w.anNoisy, "anNoisy"},
        {w.anDebug, "anDebug"},     {w.chkBXD, "chkBXD"},
        {w.anButton, "anButton"}};
    for (const auto& [widget, name] : members) {
      QCOMPARE(widget->objectName(), QString::fromLatin1(name));
      QCOMPARE(w.findChild<QWidget*>(QString::fromLatin1(name)), widget);
    }
    QCOMPARE(w.gcButton->text(), QStringLiteral("Exec"));
    QCOMPARE(w.anButton->text(), QStringLiteral("Exec"));
    QCOMPARE(w.gcButton->parentWidget(), w.gcGroup);
    QCOMPARE(w.anButton->parentWidget(), w.anGroup);
    QCOMPARE(w.gcGroup->title(), QStringLiteral("Garbage Collection"));
    QCOMPARE(w.anGroup->title(), QStringLiteral("Analyze"));
    QCOMPARE(w.gcDeleteIndex->text(), QStringLiteral("delete Index File"));
  }

  void stateAfterStart() {
    TempHome home;
    Vorn w;
    w.show();
    QCOMPARE(w.windowTitle(), QStringLiteral("Vorn2 ver1.0"));
    QCOMPARE(w.appliCombo->count(), 7);
    QCOMPARE(w.appliCombo->currentText(), QStringLiteral("Calendar"));
    QCOMPARE(w.appliCombo->itemText(6), QStringLiteral("Other Boxes"));
    QCOMPARE(w.storageCombo->currentText(), QStringLiteral("Main"));
    QVERIFY(!w.storageCombo->isEnabled());
    for (QCheckBox* box : {w.gcDeleteIndex, w.anOnlyChk, w.anVerbose, w.anNoisy, w.anDebug, w.chkBXD}) {
      QVERIFY(!box->isChecked());
    }
    QVERIFY(w.anVerbose->isEnabled() && w.anNoisy->isEnabled() && w.anDebug->isEnabled());
    QVERIFY(w.gcGroup->isVisible() && w.fileGroup->isVisible() && w.anGroup->isVisible());
    QVERIFY(!w.progress->isVisible());
  }

  void focusChainReachesGarbageCollectionFirst() {
    TempHome home;
    Vorn w;
    QWidget* next = w.nextInFocusChain();
    int deleteIndexAt = -1, appliAt = -1;
    for (int step = 0; step < 40 && next != &w; ++step, next = next->nextInFocusChain()) {
      if (next == w.gcDeleteIndex && deleteIndexAt < 0) deleteIndexAt = step;
      if (next == w.appliCombo && appliAt < 0) appliAt = step;
    }
    QVERIFY(deleteIndexAt >= 0 && appliAt >= 0);
    QVERIFY(deleteIndexAt < appliAt);
  }

  void analyseOnlyHidesGarbageCollection() {
    TempHome home;
    Vorn w;
    w.show();
    w.anOnlyChk->setChecked(true);
    QVERIFY(!w.gcGroup->isVisible());
    QVERIFY(w.anGroup->isVisible());
    w.anOnlyChk->setChecked(false);
    QVERIFY(w.gcGroup->isVisible());
  }

  void bxdClickDisablesTheAnalysisOptions() {
    TempHome home;
    Vorn w;
    w.show();
    QTest::mouseClick(w.chkBXD, Qt::LeftButton);
    QVERIFY(w.chkBXD->isChecked());
    QVERIFY(!w.anVerbose->isEnabled() && !w.anNoisy->isEnabled() && !w.anDebug->isEnabled());
    QTest::mouseClick(w.chkBXD, Qt::LeftButton);
    QVERIFY(w.anVerbose->isEnabled() && w.anNoisy->isEnabled() && w.anDebug->isEnabled());
    // Set by program, not clicked: the options stay as they are.
    w.chkBXD->setChecked(true);
    QVERIFY(w.anVerbose->isEnabled());
  }
};

QTEST_MAIN(FormTest)
#include "form_test.moc"
