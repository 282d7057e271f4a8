#include "records_model.h"

#include <QApplication>
#include <QBrush>
#include <QFont>
#include <QIcon>
#include <QJsonObject>
#include <QJsonValue>
#include <QPalette>
#include <QStyle>

#include <algorithm>
#include <cstdio>

#include "box_contents.h"
#include "findings.h"

namespace {

constexpr int kStates = 4;

// Control characters as their pictures (U+2400 on), so that a text stays
// on its line.
QString shownText(std::string_view bytes) {
  QString s = QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
  for (QChar& c : s) {
    if (c.unicode() < 0x20) c = QChar(0x2400 + c.unicode());
    if (c.unicode() == 0x7F) c = QChar(0x2421);
  }
  return s;
}

QString valueText(const RecordValue& v) {
  switch (v.kind) {
    case ValueKind::kNull:
      return QString();
    case ValueKind::kMissing:
      return RecordsModel::tr("(missing)");
    case ValueKind::kText:
    case ValueKind::kTime:
      return shownText(v.textView());
    case ValueKind::kInteger:
      return QString::number(v.integer);
    case ValueKind::kIllegalTime:
      return RecordsModel::tr("(illegal time) %1").arg(QString::fromLatin1(v.text));
    case ValueKind::kHex:
      return RecordsModel::tr("(hex) %1").arg(QString::fromLatin1(v.text));
  }
  return QString();
}

QJsonValue exportValue(const RecordValue& v) {
  const QString text = QString::fromUtf8(v.textView().data(), static_cast<qsizetype>(v.textView().size()));
  switch (v.kind) {
    case ValueKind::kNull:
      return QJsonValue(QJsonValue::Null);
    case ValueKind::kMissing:
      return QJsonObject{{QStringLiteral("missing"), true}};
    case ValueKind::kText:
    case ValueKind::kTime:
      return text;
    case ValueKind::kInteger:
      return static_cast<qint64>(v.integer);
    case ValueKind::kIllegalTime:
      return QJsonObject{{QStringLiteral("illegal_time"), text}};
    case ValueKind::kHex:
      return QJsonObject{{QStringLiteral("hex"), text}};
  }
  return QJsonValue();
}

// The order the kinds sort in, before the values themselves.
int kindRank(ValueKind kind) {
  switch (kind) {
    case ValueKind::kNull:
      return 0;
    case ValueKind::kInteger:
      return 1;
    case ValueKind::kTime:
      return 2;
    case ValueKind::kText:
      return 3;
    case ValueKind::kIllegalTime:
      return 4;
    case ValueKind::kHex:
      return 5;
    case ValueKind::kMissing:
      return 6;
  }
  return 0;
}

char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Whether text holds needle (lower case), ASCII letters in either case.
bool holds(std::string_view text, const std::string& needle) {
  return std::search(text.begin(), text.end(), needle.begin(), needle.end(),
                     [](char a, char b) { return lowerAscii(a) == b; }) != text.end();
}

QString hex(uint64_t value, int digits) {
  return QStringLiteral("%1").arg(value, digits, 16, QLatin1Char('0'));
}

bool isDeleted(const Record& r) { return r.state == RecordState::kDeleted; }

}  // namespace

struct RecordsModel::Key {
  int rank = 0;
  uint64_t number = 0;
  std::string text;

  bool operator<(const Key& o) const {
    if (rank != o.rank) return rank < o.rank;
    if (number != o.number) return number < o.number;
    return text < o.text;
  }
};

RecordsModel::RecordsModel(QObject* parent) : QAbstractTableModel(parent) {}

RecordsModel::~RecordsModel() = default;

void RecordsModel::setContents(std::shared_ptr<BoxContents> contents) {
  beginResetModel();
  contents_ = contents && contents->listing ? std::move(contents) : nullptr;
  sortColumn_ = -1;
  live_ = 0;
  columnNames_.clear();
  if (contents_) {
    for (const Record& r : contents_->listing->records()) live_ += !isDeleted(r);
    for (const std::string& name : contents_->listing->columnNames())
      columnNames_ << QString::fromStdString(name);
  }
  rebuild();
  endResetModel();
}

void RecordsModel::setShowDeleted(bool show) {
  if (show == showDeleted_) return;
  beginResetModel();
  showDeleted_ = show;
  rebuild();
  endResetModel();
}

void RecordsModel::setFilter(const QString& text) {
  std::string needle = text.toUtf8().toStdString();
  std::transform(needle.begin(), needle.end(), needle.begin(), lowerAscii);
  if (needle == filter_) return;
  beginResetModel();
  filter_ = std::move(needle);
  rebuild();
  endResetModel();
}

bool RecordsModel::setEncoding(const QString& encoding) {
  if (!contents_) return false;
  beginResetModel();
  const bool known = contents_->listing->setEncoding(encoding.toStdString());
  cachedRecord_ = -1;
  rebuild();
  endResetModel();
  return known;
}

size_t RecordsModel::deletedCount() const {
  return contents_ ? contents_->listing->records().size() - live_ : 0;
}

int RecordsModel::rowOf(size_t record) const { return record < rowOf_.size() ? rowOf_[record] : -1; }

void RecordsModel::rebuild() {
  rows_.clear();
  rowOf_.clear();
  cachedRecord_ = -1;
  if (!contents_) return;
  const std::vector<Record>& records = contents_->listing->records();
  for (int state = 0; state < kStates; ++state)
    stateTexts_[static_cast<size_t>(state)] = stateText(state).toUtf8().toStdString();
  for (size_t n = 0; n < records.size(); ++n) {
    if ((showDeleted_ || !isDeleted(records[n])) && (filter_.empty() || matches(n)))
      rows_.push_back(static_cast<uint32_t>(n));
  }
  if (sortColumn_ >= 0) {
    std::vector<Key> keys(records.size());
    for (const uint32_t n : rows_) keys[n] = keyOf(n, sortColumn_);
    const bool descending = sortOrder_ == Qt::DescendingOrder;
    std::stable_sort(rows_.begin(), rows_.end(), [&](uint32_t a, uint32_t b) {
      return descending ? keys[b] < keys[a] : keys[a] < keys[b];
    });
  }
  // The deleted records stand apart, behind the others, in the same order.
  std::stable_partition(rows_.begin(), rows_.end(), [&](uint32_t n) { return !isDeleted(records[n]); });
  rowOf_.assign(records.size(), -1);
  for (size_t row = 0; row < rows_.size(); ++row) rowOf_[rows_[row]] = static_cast<int32_t>(row);
}

bool RecordsModel::matches(size_t n) const {
  RecordListing& listing = *contents_->listing;
  const Record& r = listing.records()[n];
  char fixed[48];
  std::snprintf(fixed, sizeof fixed, "%s %08x %04x", r.card >= 0 ? std::to_string(r.card).c_str() : "",
                listing.original(r.offset), static_cast<unsigned>(r.id));
  if (holds(fixed, filter_) || holds(stateTexts_[static_cast<size_t>(r.state)], filter_)) return true;
  if (!listing.hasValues()) return holds(listing.raw(n), filter_);
  for (const RecordValue& v : listing.values(n)) {
    if (v.kind == ValueKind::kInteger
            ? holds(std::to_string(v.integer), filter_)
            : v.kind != ValueKind::kNull && v.kind != ValueKind::kMissing && holds(v.textView(), filter_))
      return true;
  }
  return false;
}

RecordsModel::Key RecordsModel::keyOf(size_t n, int column) const {
  RecordListing& listing = *contents_->listing;
  const Record& r = listing.records()[n];
  switch (column) {
    case kCardColumn:
      return {r.card < 0, static_cast<uint64_t>(std::max(r.card, 0)), {}};
    case kOffsetColumn:
      return {0, listing.original(r.offset), {}};
    case kIdColumn:
      return {0, r.id, {}};
    case kStateColumn:
      return {static_cast<int>(r.state), 0, {}};
    default:
      break;
  }
  const auto k = static_cast<size_t>(column - kFirstValueColumn);
  if (!listing.hasValues()) return {0, 0, listing.raw(n)};
  const std::vector<RecordValue>& values = listing.values(n);
  if (k >= values.size()) return {};
  const RecordValue& v = values[k];
  return {kindRank(v.kind), v.kind == ValueKind::kInteger ? v.integer : 0, std::string(v.textView())};
}

void RecordsModel::sort(int column, Qt::SortOrder order) {
  if (!contents_ || column < 0 || column >= columnCount()) return;
  emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
  const QModelIndexList before = persistentIndexList();
  std::vector<uint32_t> records;
  for (const QModelIndex& i : before) records.push_back(rows_[static_cast<size_t>(i.row())]);
  sortColumn_ = column;
  sortOrder_ = order;
  rebuild();
  QModelIndexList after;
  for (qsizetype k = 0; k < before.size(); ++k)
    after << index(rowOf(records[static_cast<size_t>(k)]), before[k].column());
  changePersistentIndexList(before, after);
  emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

const QStringList& RecordsModel::cells(size_t n) const {
  if (cachedRecord_ == static_cast<int64_t>(n)) return cachedCells_;
  RecordListing& listing = *contents_->listing;
  cachedCells_.clear();
  if (listing.hasValues()) {
    for (const RecordValue& v : listing.values(n)) cachedCells_ << valueText(v);
  } else {
    cachedCells_ << QString::fromLatin1(listing.raw(n));
  }
  cachedRecord_ = static_cast<int64_t>(n);
  return cachedCells_;
}

QString RecordsModel::stateText(int state) {
  switch (static_cast<RecordState>(state)) {
    case RecordState::kSound:
      return tr("sound");
    case RecordState::kDamaged:
      return tr("damaged");
    case RecordState::kDeleted:
      return tr("deleted");
    case RecordState::kFound:
      return tr("found");
  }
  return QString();
}

QString RecordsModel::findingsText(int32_t card) const {
  QStringList lines;
  if (card < 0) return tr("Found outside the card chain by the lost-and-found scan");
  for (const Finding& f : contents_->listing->trace().findings) {
    if (f.index != card) continue;
    lines << QStringLiteral("%1 %2: %3%4")
                 .arg(QString::fromLatin1(severityName(f.code)), hex(f.code, 8), QString::fromLatin1(f.text),
                      QString::fromLatin1(f.detail));
  }
  return lines.join(QLatin1Char('\n'));
}

int RecordsModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int RecordsModel::columnCount(const QModelIndex& parent) const {
  if (parent.isValid() || !contents_) return 0;
  const RecordListing& listing = *contents_->listing;
  return kFirstValueColumn + (listing.hasValues() ? listing.fields().count : 1);
}

QVariant RecordsModel::data(const QModelIndex& index, int role) const {
  if (!contents_ || !index.isValid() || index.row() >= static_cast<int>(rows_.size())) return QVariant();
  const size_t n = rows_[static_cast<size_t>(index.row())];
  RecordListing& listing = *contents_->listing;
  const Record& r = listing.records()[n];
  const int column = index.column();
  const bool deleted = isDeleted(r);
  switch (role) {
    case Qt::DisplayRole:
      switch (column) {
        case kCardColumn:
          return r.card >= 0 ? QString::number(r.card) : QString();
        case kOffsetColumn:
          return hex(listing.original(r.offset), 8);
        case kIdColumn:
          return hex(r.id, 4);
        case kStateColumn:
          return stateText(static_cast<int>(r.state));
        default:
          return cells(n).value(column - kFirstValueColumn);
      }
    case Qt::ToolTipRole: {
      if (column <= kStateColumn) {
        const QString findings = findingsText(r.card);
        return findings.isEmpty() ? QVariant() : QVariant(findings);
      }
      const QString text = cells(n).value(column - kFirstValueColumn);
      return text.isEmpty() ? QVariant() : QVariant(text);
    }
    case Qt::DecorationRole:
      if (column != kStateColumn || (r.state != RecordState::kDamaged && r.state != RecordState::kFound))
        return QVariant();
      return QApplication::style()->standardIcon(
          r.state == RecordState::kDamaged ? QStyle::SP_MessageBoxWarning : QStyle::SP_MessageBoxQuestion);
    case Qt::ForegroundRole:
      if (deleted) return QApplication::palette().brush(QPalette::Disabled, QPalette::Text);
      if (column == kStateColumn && r.state == RecordState::kDamaged) return QBrush(Qt::red);
      return QVariant();
    case Qt::FontRole:
      if (deleted) {
        QFont font;
        font.setItalic(true);
        return font;
      }
      return QVariant();
    case Qt::TextAlignmentRole:
      return column == kCardColumn ? QVariant(Qt::AlignRight | Qt::AlignVCenter) : QVariant();
    case kFindingsRole: {
      QStringList codes;
      if (const std::vector<uint32_t>* found = listing.codes(r.card)) {
        for (const uint32_t code : *found) codes << hex(code, 8);
      }
      return codes;
    }
    case kExportRole:
      switch (column) {
        case kCardColumn:
          return r.card >= 0 ? QJsonValue(r.card) : QJsonValue(QJsonValue::Null);
        case kOffsetColumn:
          return QJsonValue(static_cast<qint64>(listing.original(r.offset)));
        case kIdColumn:
          return QJsonValue(r.id);
        case kStateColumn:
          return QJsonValue(QString::fromLatin1(RecordListing::stateName(r.state)));
        default:
          break;
      }
      if (!listing.hasValues()) return QJsonValue(QString::fromLatin1(listing.raw(n)));
      {
        cachedRecord_ = -1;  // values() below decodes afresh
        const std::vector<RecordValue>& values = listing.values(n);
        const auto k = static_cast<size_t>(column - kFirstValueColumn);
        return k < values.size() ? exportValue(values[k]) : QJsonValue();
      }
    default:
      return QVariant();
  }
}

QVariant RecordsModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || !contents_) return QVariant();
  const RecordListing& listing = *contents_->listing;
  if (section < kFirstValueColumn) {
    if (role != Qt::DisplayRole) return QVariant();
    const QString names[] = {tr("Card"), tr("Offset"), tr("ID"), tr("State")};
    return names[section];
  }
  const auto k = static_cast<size_t>(section - kFirstValueColumn);
  if (!listing.hasValues()) return role == Qt::DisplayRole ? QVariant(tr("Body (hex)")) : QVariant();
  if (role == Qt::DisplayRole) return columnNames_.value(static_cast<qsizetype>(k));
  if (role == Qt::ToolTipRole) {
    const ItemInfoEntry& e = listing.fields().entries[k];
    return tr("%1 (data ID %2)").arg(QString::fromUtf8(e.name).trimmed()).arg(e.dataId);
  }
  return QVariant();
}

QByteArray RecordsModel::exportText(bool csv, const QList<int>& rows) const {
  if (!contents_) return QByteArray();
  std::vector<size_t> which;
  for (const int row : rows) which.push_back(rows_[static_cast<size_t>(row)]);
  std::sort(which.begin(), which.end());
  which.erase(std::unique(which.begin(), which.end()), which.end());
  cachedRecord_ = -1;
  return QByteArray::fromStdString(contents_->listing->exportText(csv, which));
}
