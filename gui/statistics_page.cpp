#include "statistics_page.h"

#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QStyle>
#include <QTableWidget>
#include <QVBoxLayout>

#include <cstring>

#include "box_contents.h"
#include "local_path.h"

namespace {

QString hex(uint64_t value, int digits) {
  return QStringLiteral("0x%1").arg(value, digits, 16, QLatin1Char('0'));
}

// A number as info prints it: an ID in hex, anything else in decimal.
QString number(uint64_t value, bool isId) {
  return isId ? hex(value, 4) : QLocale().toString(qulonglong(value));
}

QLabel* valueLabel(const QString& text, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return label;
}

QLabel* heading(const QString& text, QWidget* parent) {
  auto* label = new QLabel(QStringLiteral("<b>%1</b>").arg(text.toHtmlEscaped()), parent);
  label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  return label;
}

}  // namespace

StatisticsPage::StatisticsPage(QWidget* parent) : QScrollArea(parent) {
  setObjectName(QStringLiteral("statisticsPage"));
  setWidgetResizable(true);
  setContents(nullptr);
}

QString StatisticsPage::totalName(const char* key) {
  if (!std::strcmp(key, "garbage_bytes")) return tr("Garbage bytes");
  if (!std::strcmp(key, "normal_cards")) return tr("Normal cards");
  if (!std::strcmp(key, "least_null_id")) return tr("Least null card ID");
  if (!std::strcmp(key, "max_id")) return tr("Maximum card ID");
  return QString::fromLatin1(key);
}

QString StatisticsPage::className(const char* key) {
  if (!std::strcmp(key, "normal")) return tr("Normal");
  if (!std::strcmp(key, "garbage")) return tr("Garbage");
  if (!std::strcmp(key, "error")) return tr("Error");
  if (!std::strcmp(key, "system")) return tr("System");
  if (!std::strcmp(key, "offset_cards")) return tr("Offset cards");
  if (!std::strcmp(key, "index_card")) return tr("Reference index card");
  if (!std::strcmp(key, "terminator")) return tr("Terminator");
  return QString::fromLatin1(key);
}

void StatisticsPage::setContents(const BoxContents* contents) {
  auto* page = new QWidget;
  auto* layout = new QVBoxLayout(page);
  if (!contents || !contents->listing) {
    auto* none = new QLabel(tr("Analyse a box file to see its statistics"), page);
    none->setAlignment(Qt::AlignCenter);
    layout->addWidget(none);
    setWidget(page);
    return;
  }
  const AnalysedFile& file = contents->file();
  const BoxAnalysis& a = *file.analysis;
  const Report& report = contents->report;

  auto* fileGroup = new QGroupBox(tr("File"), page);
  auto* fileForm = new QFormLayout(fileGroup);
  auto* path = new QLabel(shownFileName(contents->path), fileGroup);
  path->setTextInteractionFlags(Qt::TextSelectableByMouse);
  path->setWordWrap(true);
  fileForm->addRow(tr("Path"), path);
  fileForm->addRow(tr("Size"), new QLabel(tr("%1 bytes").arg(QLocale().toString(a.file.size)), fileGroup));
  fileForm->addRow(tr("Problems"), new QLabel(tr("%1 critical, %2 errors, %3 warnings")
                                                  .arg(file.counts.critical)
                                                  .arg(file.counts.errors)
                                                  .arg(file.counts.warnings),
                                              fileGroup));
  layout->addWidget(fileGroup);

  auto* totals = new QGroupBox(tr("Header totals"), page);
  totals->setObjectName(QStringLiteral("headerTotals"));
  auto* totalsGrid = new QGridLayout(totals);
  totalsGrid->addWidget(heading(tr("stored"), totals), 0, 1);
  totalsGrid->addWidget(heading(tr("counted"), totals), 0, 2);
  const QIcon differs = style()->standardIcon(QStyle::SP_MessageBoxWarning);
  for (int row = 1; const Total& t : report.totals) {
    totalsGrid->addWidget(new QLabel(totalName(t.key), totals), row, 0);
    totalsGrid->addWidget(valueLabel(number(t.stored, t.isId), totals), row, 1);
    totalsGrid->addWidget(valueLabel(number(t.counted, t.isId), totals), row, 2);
    if (t.stored != t.counted) {
      auto* mark = new QLabel(totals);
      mark->setPixmap(differs.pixmap(16, 16));
      auto* text = new QLabel(QStringLiteral("<font color=\"#c00000\">%1</font>").arg(tr("differs")), totals);
      text->setObjectName(QStringLiteral("differs"));
      auto* both = new QHBoxLayout;
      both->addWidget(mark);
      both->addWidget(text);
      both->addStretch();
      totalsGrid->addLayout(both, row, 3);
    }
    ++row;
  }
  totalsGrid->setColumnStretch(4, 1);
  layout->addWidget(totals);

  auto* cards = new QGroupBox(tr("Cards"), page);
  auto* cardsGrid = new QGridLayout(cards);
  cardsGrid->addWidget(heading(tr("count"), cards), 0, 1);
  cardsGrid->addWidget(heading(tr("bytes"), cards), 0, 2);
  int row = 1;
  for (const CardClass& c : report.classes) {
    auto* name = new QLabel(className(c.key), cards);
    if (c.part) name->setIndent(16);
    cardsGrid->addWidget(name, row, 0);
    cardsGrid->addWidget(valueLabel(QLocale().toString(qulonglong(c.count)), cards), row, 1);
    cardsGrid->addWidget(valueLabel(QLocale().toString(qlonglong(c.bytes)), cards), row, 2);
    ++row;
  }
  cardsGrid->addWidget(new QLabel(tr("Compaction frees"), cards), row, 0);
  cardsGrid->addWidget(valueLabel(QLocale().toString(qlonglong(report.compactFrees)), cards), row, 2);
  cardsGrid->setColumnStretch(3, 1);
  layout->addWidget(cards);

  const ItemInfo& items = *a.itemInfo;
  auto* fields = new QGroupBox(tr("Fields"), page);
  auto* fieldsLayout = new QVBoxLayout(fields);
  fieldsLayout->addWidget(new QLabel(tr("Item info at %1, %2 bytes (%3 declared), %4 fields")
                                         .arg(hex(a.headerCheck->itemInfoOffset(), 6))
                                         .arg(items.parsedSize)
                                         .arg(a.headerCheck->itemInfoSize())
                                         .arg(items.count),
                                     fields));
  auto* table = new QTableWidget(static_cast<int>(items.entries.size()), 4, fields);
  table->setObjectName(QStringLiteral("fieldsTable"));
  table->setHorizontalHeaderLabels({tr("Data ID"), tr("Attribute"), tr("Tag"), tr("Name")});
  table->setEditTriggers(QAbstractItemView::NoEditTriggers);
  for (int i = 0; i < static_cast<int>(items.entries.size()); ++i) {
    const ItemInfoEntry& e = items.entries[static_cast<size_t>(i)];
    table->setItem(i, 0, new QTableWidgetItem(QString::number(e.dataId)));
    table->setItem(i, 1, new QTableWidgetItem(QString::number(e.attribute)));
    table->setItem(i, 2, new QTableWidgetItem(QString::fromLocal8Bit(e.tag)));
    table->setItem(i, 3, new QTableWidgetItem(QString::fromLocal8Bit(e.name)));
  }
  table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() + 6);
  table->setVerticalHeaderLabels([&] {
    QStringList numbers;
    for (size_t i = 0; i < items.entries.size(); ++i) numbers << QString::number(i);
    return numbers;
  }());
  table->horizontalHeader()->setStretchLastSection(true);
  const int shownRows = std::min<int>(table->rowCount(), 12);
  table->setMinimumHeight(table->horizontalHeader()->sizeHint().height() +
                          shownRows * table->verticalHeader()->defaultSectionSize() +
                          2 * table->frameWidth());
  fieldsLayout->addWidget(table);
  layout->addWidget(fields);

  const Coverage& c = report.coverage;
  auto* offsets = new QGroupBox(tr("Offset table"), page);
  auto* offsetForm = new QFormLayout(offsets);
  offsetForm->addRow(
      tr("Runs"),
      new QLabel(tr("%1 (the default table and %2 offset cards)").arg(c.runs).arg(c.runs ? c.runs - 1 : 0),
                 offsets));
  offsetForm->addRow(tr("IDs covered"), new QLabel(QLocale().toString(qulonglong(c.covered)), offsets));
  offsetForm->addRow(tr("Good entries"), new QLabel(QLocale().toString(qulonglong(c.good)), offsets));
  offsetForm->addRow(tr("Bad entries"), new QLabel(QLocale().toString(qulonglong(c.bad)), offsets));
  offsetForm->addRow(tr("Empty entries"), new QLabel(QLocale().toString(qulonglong(c.empty)), offsets));
  if (c.outside)
    offsetForm->addRow(tr("Beyond the end of the file"),
                       new QLabel(QLocale().toString(qulonglong(c.outside)), offsets));
  layout->addWidget(offsets);
  layout->addStretch();
  setWidget(page);
}
