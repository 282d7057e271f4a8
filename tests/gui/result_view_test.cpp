// The result view reporter: how entries become rows, marks and progress.
#include <QBrush>
#include <QProgressBar>
#include <QTest>
#include <QTreeWidget>

#include "findings.h"
#include "result_reporter.h"
#include "vorn_base.h"

class ResultViewTest : public QObject {
  Q_OBJECT

  VornBase* form = nullptr;
  ResultReporter* reporter = nullptr;
  Checker checker;

  static QStringList columns(const QTreeWidgetItem* item) {
    QStringList texts;
    for (int c = 0; c < 5; ++c) texts << item->text(c);
    return texts;
  }
  // The reporter of a run is destroyed when the run ends; the list sorts then.
  void finishRun() {
    currentReporter = nullptr;
    delete reporter;
    reporter = nullptr;
  }
  static bool isRed(const QTreeWidgetItem* item) {
    return item->data(0, Qt::ForegroundRole).value<QBrush>().color() == QColor(255, 0, 0) &&
           item->data(2, Qt::ForegroundRole).value<QBrush>().color() == QColor(255, 0, 0);
  }

 private slots:
  void init() {
    form = new VornBase;
    reporter = new ResultReporter(form->result, form->progress, false);
    resetReportState();
    currentReporter = reporter;
    verbose = true;
  }
  void cleanup() {
    resetReportState();
    delete reporter;
    delete form;
  }

  void sectionsGetNamesAndFindingsBecomeChildren() {
    report(checker, -1, 0, static_cast<uint32_t>(-1), 72, 0, nullptr);
    QCOMPARE(form->result->topLevelItemCount(), 1);
    QTreeWidgetItem* header = reporter->findItem(-1);
    QVERIFY(header);
    QCOMPARE(columns(header), (QStringList{"Box header", "", "    48h byte.", "-1", ""}));
    QVERIFY(!isRed(header));

    reportHere(checker, 0x08000002, "Default offset table", "at %3xh", 0x48u);
    QCOMPARE(columns(header->child(0)),
             (QStringList{"Default offset table", "", "at  48h", " 8000002 ", "Default offset table"}));
    QVERIFY(!isRed(header));
    reportHere(checker, 0x10000000, "This card is disappeare.");
    QVERIFY(!isRed(header));

    reportHere(checker, 0x20000001, "Box file header has sick.");
    QCOMPARE(header->childCount(), 3);
    QTreeWidgetItem* warning = nullptr;
    for (int i = 0; i < header->childCount(); ++i) {
      if (header->child(i)->text(0) == "Warning") warning = header->child(i);
    }
    QVERIFY(warning);
    QCOMPARE(columns(warning),
             (QStringList{"Warning", "", "Box file header has sick.", "   0001 ", "Warning"}));
    QCOMPARE(header->text(4), QStringLiteral("*"));
    QVERIFY(isRed(header));
    QVERIFY(!isRed(warning));
    // Once the run is over, children sort by code text: the leading blanks
    // of small codes put problem findings before listing lines.
    finishRun();
    QCOMPARE(header->child(0)->text(3), QStringLiteral("   0000 "));
    QCOMPARE(header->child(1), warning);
    QCOMPARE(header->child(2)->text(3), QStringLiteral(" 8000002 "));
  }

  void cardsShowOffsetIdAndSizeAndSummariesRefresh() {
    report(checker, 7, 0x1234, 0x12, 0x20, 0x40000200, "Illegal card size.");
    QTreeWidgetItem* card = reporter->findItem(7);
    QCOMPARE(columns(card), (QStringList{"00001234", "   0012", "    20h byte.", "7", "*"}));
    QCOMPARE(columns(card->child(0)),
             (QStringList{"Error", "   0012", "Illegal card size.", "   0200 ", "Error"}));

    report(checker, -2, 0, static_cast<uint32_t>(-2), 0, 0, nullptr);
    report(checker, -2, 100, static_cast<uint32_t>(-2), 0x1A3, 0, nullptr);
    QCOMPARE(columns(reporter->findItem(-2)), (QStringList{"Item info", "", "   1A3h byte.", "-2", ""}));

    for (int index : {10, 2, -4, -3, 1, 0}) report(checker, index, 0x900, 1, 1, 0x20000000, "x");
    QCOMPARE(reporter->findItem(-3)->text(0), QStringLiteral("Offset table"));
    QCOMPARE(reporter->findItem(-4)->text(0), QStringLiteral("Data chunck"));
    finishRun();
    QStringList keys;
    for (int i = 0; i < form->result->topLevelItemCount(); ++i)
      keys << form->result->topLevelItem(i)->text(3);
    QCOMPARE(keys, (QStringList{"-2", "-3", "-4", "0", "1", "10", "2", "7"}));
  }

  void sortingOnceGivesTheOrderOfSortingEveryInsertion() {
    // Children with equal keys (two warnings 0x20000080 on one card) and
    // top-level keys out of order: the order after one sort at the end must
    // be the order that sorting in every new item gives.
    auto fill = [this](bool sortEveryItem) {
      VornBase view;
      {
        ResultReporter r(view.result, view.progress, false);
        if (sortEveryItem) view.result->setSortingEnabled(true);
        currentReporter = &r;
        for (int index : {12, 3, -1, 100, 3, -4, 21, 12}) {
          report(checker, index, 0x900 + index, 5, 9, 0, nullptr);
          reportHere(checker, 0x20000080, "Illegal format of TIME.", " item %2d", index);
          reportHere(checker, 0x20000080, "Illegal format of WEEK", " at %d", index);
          reportHere(checker, 0x08000000 + index + 4, "", "listing %d", index);
        }
        currentReporter = reporter;
      }
      QStringList dump;
      for (int i = 0; i < view.result->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* item = view.result->topLevelItem(i);
        dump << columns(item).join("|");
        for (int c = 0; c < item->childCount(); ++c) dump << "  " + columns(item->child(c)).join("|");
      }
      return dump;
    };
    noisy = true;
    const QStringList once = fill(false);
    QCOMPARE(once, fill(true));
    QCOMPARE(once.first().section('|', 3, 3), QStringLiteral("-1"));
    QCOMPARE(once.size(), 6 + 6 * 3 + 2 * 3);
  }

  void longDetailsAreCut() {
    const std::string detail(20000, 'x');
    report(checker, -1, 0, 0, 0, 0x20000001, "long", "%s", detail.c_str());
    QCOMPARE(reporter->findItem(-1)->child(0)->text(2).size(), 4 + ResultReporter::kDetailBuffer - 1);
  }

  void progressBarShowsFromTheThirdCall() {
    form->show();
    form->progress->hide();
    QCOMPARE(reporter->progress(0, 10), 1);
    reporter->progress(0, 50);
    QVERIFY(!form->progress->isVisible());
    reporter->progress(1, 40);
    QVERIFY(form->progress->isVisible());
    QCOMPARE(form->progress->value(), 140);
    reporter->progress(2, 5);
    QCOMPARE(form->progress->value(), 205);
  }
};

QTEST_MAIN(ResultViewTest)
#include "result_view_test.moc"
