#include "result_reporter.h"

#include <QApplication>
#include <QBrush>
#include <QColor>
#include <QProgressBar>
#include <QTreeWidget>

#include <cstdio>

#include "entry_format.h"
#include "findings.h"
#include "text_coding.h"
#include "vorn_base.h"

namespace {

QString formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));
QString formatted(const char* format, ...) {
  va_list args;
  va_start(args, format);
  const std::string text = vformat(format, args);
  va_end(args);
  return QString::fromLatin1(text.c_str());
}

}  // namespace

QVariant ResultItem::data(int column, int role) const {
  if (role == Qt::ForegroundRole && !text(VornBase::kMarkColumn).isEmpty()) {
    return QBrush(QColor(255, 0, 0));
  }
  return QTreeWidgetItem::data(column, role);
}

ResultReporter::ResultReporter(QTreeWidget* l, QProgressBar* bar, bool e)
    : list(l), progressBar(bar), echo(e), wasSorting_(l->isSortingEnabled()) {
  // Items already in the list count, the first of each key in list order.
  for (int i = 0; i < list->topLevelItemCount(); ++i) {
    QTreeWidgetItem* item = list->topLevelItem(i);
    bool number = false;
    const int key = item->text(VornBase::kKeyColumn).toInt(&number);
    if (number && QString::number(key) == item->text(VornBase::kKeyColumn) && !items_.contains(key)) {
      items_.insert(key, item);
    }
  }
  // Sorting every new item in costs a search and a move per item; the list
  // sorts once at the end instead, stably, so the order is the same.
  list->setSortingEnabled(false);
}

ResultReporter::~ResultReporter() {
  if (wasSorting_) list->setSortingEnabled(true);
}

void ResultReporter::message(const char* format, va_list args) { writeDebugLine(stderr, format, args); }

void ResultReporter::entry(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code,
                           const char* text, const char* format, va_list args) {
  QString col0;
  QString col1 = QLatin1String("");
  QString col2;
  // The section names pass through QObject::tr, as the finding texts do, but
  // no catalogue translates either: they stay as the console shows them.
  if (const char* name = sectionTitle(index)) {
    col0 = QObject::tr(name);
  } else {
    col0 = formatted("%.8x", offset);
    col1 = formatted("%7.4x", id);
  }
  col2 = formatted("%6Xh byte.", size);

  QTreeWidgetItem* item = findItem(index);
  if (!item) {
    item = new ResultItem(list, {col0, col1, col2, QString::number(index)});
    items_.insert(index, item);
    if (echo) writePositionLine(stderr, index, offset, id, size);
  } else {
    if (static_cast<int32_t>(offset) > 0) item->setText(0, col0);
    item->setText(1, col1);
    item->setText(2, col2);
  }
  if (code == 0) return;

  QString context = QLatin1String("");
  QString detail = QLatin1String("");
  QString idText = col1;
  va_list echoArgs;
  va_copy(echoArgs, args);
  if (text) context = QObject::tr(text);
  if (format) {
    char buffer[kDetailBuffer];
    std::vsnprintf(buffer, sizeof buffer, format, args);  // cut to the buffer
    detail = QString::fromLatin1(buffer);
  }
  const char* severity = severityName(code);
  col0 = QString::fromLatin1(severity ? severity : "");
  if (!col0.isEmpty()) item->setText(VornBase::kMarkColumn, QStringLiteral("*"));
  col1 = formatted(" %6.4x ", displayCode(code));
  if (code & code::kInfo) {
    col0 = context;
    context = QLatin1String("");
    idText = QString();
  }
  new QTreeWidgetItem(item, {col0, idText, context + detail, col1, col0});

  if (echo) writeFindingLine(stderr, code, text, format, echoArgs);
  va_end(echoArgs);
}

int ResultReporter::progress(int stage, int percent) {
  ++calls;
  if (calls == 1) {
    progressBar->reset();
    return 1;
  }
  if (calls == 2) return 1;
  if (calls == 3) progressBar->show();
  progressBar->setValue(stage * 100 + percent);
  QApplication::sendPostedEvents();
  return 1;
}

QTreeWidgetItem* ResultReporter::findItem(int index) const { return items_.value(index, nullptr); }
