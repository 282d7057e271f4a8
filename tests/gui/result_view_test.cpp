// The result view reporter: how entries become rows, marks and progress.
#include <QBrush>
#include <QProgressBar>
#include <QTest>
#include <QTreeWidget>

#include "findings.h"
#include "gui_support.h"
#include "result_reporter.h"
#include "vorn_base.h"

namespace {

// Columns 0 to 4 joined by "|".
QString columns(const QTreeWidgetItem* item) {
  QStringList texts;
  for (int c = 0; c < 5; ++c) texts << item->text(c);
  return texts.join('|');
}

bool isRed(const QTreeWidgetItem* item) {
  return item->data(0, Qt::ForegroundRole).value<QBrush>().color() == QColor(255, 0, 0) &&
         item->data(2, Qt::ForegroundRole).value<QBrush>().color() == QColor(255, 0, 0);
}

// One entry on an empty list, its top-level item and its child (or none).
// clang-format off
const struct {
  const char* name; int32_t index; uint32_t offset, id, size, code; const char *text, *detail, *item, *child;
} kEntries[] = {
    {"header position", -1, 0, ~0u, 72, 0, nullptr, nullptr, "Box header||    48h byte.|-1|", nullptr},
    {"warning marks the item", -1, 0, ~0u, 72, 0x20000001, "Box file header has sick.", nullptr,
     "Box header||    48h byte.|-1|*", "Warning||Box file header has sick.|   0001 |Warning"},
    {"listing line", -1, 0, ~0u, 72, 0x08000002, "Default offset table", "at  48h", "Box header||    48h byte.|-1|",
     "Default offset table||at  48h| 8000002 |Default offset table"},
    {"critical with detail", -2, 0, ~1u, 0, 0x80000010, "Item Info. lies outside the box file.", " (0848).",
     "Item info||     0h byte.|-2|*", "Critical||Item Info. lies outside the box file. (0848).|   0010 |Critical"},
    {"offset table", -3, 0, ~2u, 2, 0, nullptr, nullptr, "Offset table||     2h byte.|-3|", nullptr},
    {"data chunks", -4, 0, ~3u, 31, 0, nullptr, nullptr, "Data chunck||    1Fh byte.|-4|", nullptr},
    {"card error", 7, 0x1234, 0x12, 0x20, 0x40000200, "Illegal card size.", nullptr,
     "00001234|   0012|    20h byte.|7|*", "Error|   0012|Illegal card size.|   0200 |Error"},
    {"notice leaves the card plain", 50, 0x1A14, 0x7449, 0x7559206F, 0x10000000, "This card is disappeare.",
     nullptr, "00001a14|   7449|7559206Fh byte.|50|", "|   7449|This card is disappeare.|   0000 |"},
};
// clang-format on

}  // namespace

class ResultViewTest : public QObject {
  Q_OBJECT

  VornBase* form = nullptr;
  ResultReporter* reporter = nullptr;
  Checker checker;

  void newReporter() {
    delete reporter;
    currentReporter = reporter = new ResultReporter(form->result, form->progress, false);
  }

 private slots:
  void init() {
    form = new VornBase;
    resetReportState();
    newReporter();
    verbose = noisy = true;
  }
  void cleanup() {
    resetReportState();
    delete reporter;
    reporter = nullptr;
    delete form;
  }

  void entriesBecomeRows_data() { indexRows(kEntries); }
  void entriesBecomeRows() {
    QFETCH(int, i);
    const auto& e = kEntries[i];
    report(checker, e.index, e.offset, e.id, e.size, e.code, e.text, e.detail ? "%s" : nullptr, e.detail);
    QTreeWidgetItem* top = reporter->findItem(e.index);
    QVERIFY(form->result->topLevelItemCount() == 1 && top == form->result->topLevelItem(0));
    QCOMPARE(columns(top), e.item);
    QCOMPARE(top->childCount() ? columns(top->child(0)) : QString(), e.child);
    QCOMPARE(isRed(top), columns(top).endsWith('*'));  // the item, never the finding
    QVERIFY(!top->childCount() || !isRed(top->child(0)));
  }

  void laterEntriesRefreshTheItem() {
    report(checker, -2, 0, ~1u, 0, 0, nullptr);
    report(checker, -2, 100, ~1u, 0x1A3, 0, nullptr);  // the summary keeps the name
    report(checker, 3, 0x900, 5, 9, 0, nullptr);
    report(checker, 3, 0, 6, 8, 0, nullptr);  // offset 0 keeps the offset column
    QCOMPARE(columns(reporter->findItem(-2)), "Item info||   1A3h byte.|-2|");
    QCOMPARE(columns(reporter->findItem(3)), "00000900|   0006|     8h byte.|3|");
    const std::string detail(20000, 'x');  // cut to the buffer
    report(checker, -1, 0, 0, 0, 0x20000001, "long", "%s", detail.c_str());
    QCOMPARE(reporter->findItem(-1)->child(0)->text(2).size(), 4 + ResultReporter::kDetailBuffer - 1);
  }

  void itemsAlreadyInTheListAreFoundFirstInListOrder() {
    QList<QTreeWidgetItem*> items;
    for (const char* key : {"5", "5", "05", ""})
      items << new QTreeWidgetItem(form->result, {key, "", "", key});
    newReporter();
    QCOMPARE(reporter->findItem(5), items[0]);
    QCOMPARE(reporter->findItem(0), nullptr);
  }

  void progressBarShowsFromTheThirdCall() {
    form->show();
    form->progress->hide();
    QList<bool> shown;
    for (int value : {10, 50, 140}) {
      QCOMPARE(reporter->progress(value / 100, value % 100), 1);
      shown << form->progress->isVisible();
    }
    QCOMPARE(shown, (QList<bool>{false, false, true}));
    QCOMPARE(form->progress->value(), 140);
  }
};

QTEST_MAIN(ResultViewTest)
#include "result_view_test.moc"
