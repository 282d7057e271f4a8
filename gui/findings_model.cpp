#include "findings_model.h"

#include <QBrush>
#include <QColor>
#include <QIcon>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "findings.h"
#include "text_coding.h"

namespace {

constexpr uint32_t kSeverityBits = code::kCritical | code::kError | code::kWarning;
constexpr uint32_t kNoText = 0xFFFFFFFFu;

QString formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));
QString formatted(const char* format, ...) {
  va_list args;
  va_start(args, format);
  const std::string text = vformat(format, args);
  va_end(args);
  return QString::fromLatin1(text.c_str());
}

// An icon for each severity, told apart by its shape as well as its
// colour: a Critical an octagon, an Error a circle, a Warning a triangle.
QIcon paintedIcon(uint32_t severity) {
  QPixmap pixmap(16, 16);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  QPainterPath shape;
  QColor mark = Qt::white;
  if (severity & code::kCritical) {
    shape.addPolygon(QPolygonF({{5, 1}, {11, 1}, {15, 5}, {15, 11}, {11, 15}, {5, 15}, {1, 11}, {1, 5}}));
    shape.closeSubpath();
    painter.setBrush(QColor(120, 0, 0));
  } else if (severity & code::kError) {
    shape.addEllipse(QRectF(1, 1, 14, 14));
    painter.setBrush(QColor(220, 20, 20));
  } else {
    shape.addPolygon(QPolygonF({{8, 1}, {15.5, 15}, {0.5, 15}}));
    shape.closeSubpath();
    painter.setBrush(QColor(240, 170, 0));
    mark = Qt::black;
  }
  painter.drawPath(shape);
  painter.setBrush(mark);
  if (severity & code::kError && !(severity & code::kCritical)) {
    painter.setPen(QPen(mark, 2));
    painter.drawLine(QPointF(5, 5), QPointF(11, 11));
    painter.drawLine(QPointF(11, 5), QPointF(5, 11));
  } else {
    painter.drawRect(QRectF(7, 4.5, 2, 6));
    painter.drawRect(QRectF(7, 11.5, 2, 2));
  }
  return QIcon(pixmap);
}

}  // namespace

uint32_t FindingsTree::file(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code,
                            const char* text, const char* detail) {
  int32_t* slot = nullptr;
  if (index >= 0) {
    const auto card = static_cast<size_t>(index);
    if (card >= cardNodes_.size()) cardNodes_.resize(std::max(card + 1, cardNodes_.size() * 2), -1);
    slot = &cardNodes_[card];
  } else if (index >= kDataChunkSection) {
    slot = &sectionNodes_[-1 - index];
  } else {
    auto [place, added] = otherNodes_.try_emplace(index, -1);
    slot = &place->second;
  }
  if (*slot < 0) {
    *slot = static_cast<int32_t>(nodes.size());
    nodes.push_back({index, offset, id, size});
  } else {
    Node& node = nodes[static_cast<size_t>(*slot)];
    if (static_cast<int32_t>(offset) > 0) node.offset = offset;
    node.id = id;
    node.size = size;
  }
  const auto node = static_cast<uint32_t>(*slot);
  if (code == 0) return node;

  nodes[node].severities |= code & kSeverityBits;
  if (code & code::kCritical) {
    ++critical;
  } else if (code & code::kError) {
    ++errors;
  } else if (code & code::kWarning) {
    ++warnings;
  }
  uint32_t textId = kNoText;
  if (text) {
    auto [place, added] = textIds_.try_emplace(text, static_cast<uint32_t>(texts.size()));
    if (added) texts.emplace_back(text);
    textId = place->second;
  }
  const auto detailStart = static_cast<uint32_t>(details.size());
  if (detail) details += detail;
  findings.push_back({node, index, offset, id, size, code, textId, detailStart,
                      static_cast<uint32_t>(details.size()) - detailStart});
  return node;
}

int64_t FindingsTree::find(int32_t index) const {
  if (index >= 0) {
    const auto card = static_cast<size_t>(index);
    return card < cardNodes_.size() ? cardNodes_[card] : -1;
  }
  if (index >= kDataChunkSection) return sectionNodes_[-1 - index];
  const auto place = otherNodes_.find(index);
  return place == otherNodes_.end() ? -1 : place->second;
}

void FindingsTree::finish() {
  if (children.size() == findings.size()) return;
  for (Node& node : nodes) node.childCount = 0;
  for (const Finding& f : findings) ++nodes[f.node].childCount;
  uint32_t start = 0;
  for (Node& node : nodes) {
    node.firstChild = start;
    start += node.childCount;
  }
  children.assign(findings.size(), 0);
  std::vector<uint32_t> next(nodes.size());
  for (size_t n = 0; n < nodes.size(); ++n) next[n] = nodes[n].firstChild;
  for (size_t f = 0; f < findings.size(); ++f) children[next[findings[f].node]++] = static_cast<uint32_t>(f);
}

FindingsModel::FindingsModel(QObject* parent) : QAbstractItemModel(parent) {}

FindingsModel::~FindingsModel() = default;

void FindingsModel::setHeaders(const QStringList& headers) {
  headers_ = headers;
  emit headerDataChanged(Qt::Horizontal, 0, kColumns - 1);
}

void FindingsModel::setTree(std::shared_ptr<FindingsTree> tree) {
  beginResetModel();
  tree_ = std::move(tree);
  tree_->finish();
  order_.clear();
  order_.reserve(tree_->nodes.size() + plain_.size());
  for (size_t n = 0; n < tree_->nodes.size(); ++n) order_.push_back(static_cast<uint32_t>(n));
  for (size_t p = 0; p < plain_.size(); ++p) order_.push_back(kPlain | static_cast<uint32_t>(p));
  sortAll();
  endResetModel();
}

void FindingsModel::clear() {
  beginResetModel();
  tree_.reset();
  plain_.clear();
  order_.clear();
  nodeRow_.clear();
  endResetModel();
}

void FindingsModel::addRow(const QString& index, const QString& id, const QString& context) {
  const uint32_t ref = kPlain | static_cast<uint32_t>(plain_.size());
  plain_.push_back({index, id, context});
  // After the rows of an equal key, as a stable sort puts a row added last.
  const QString key = topText(ref, sortColumn_);
  const auto place = std::upper_bound(order_.begin(), order_.end(), key, [&](const QString& k, uint32_t r) {
    const int c = k.compare(topText(r, sortColumn_));
    return sortOrder_ == Qt::AscendingOrder ? c < 0 : c > 0;
  });
  const int row = static_cast<int>(place - order_.begin());
  beginInsertRows(QModelIndex(), row, row);
  order_.insert(place, ref);
  updateRows();
  endInsertRows();
}

QString FindingsModel::topText(uint32_t ref, int column) const {
  if (ref & kPlain) {
    const QStringList& row = plain_[ref & ~kPlain];
    return column < row.size() ? row[column] : QString();
  }
  const FindingsTree::Node& node = tree_->nodes[ref];
  const char* name = sectionTitle(node.index);
  switch (column) {
    case 0:
      return name ? QObject::tr(name) : formatted("%.8x", node.offset);
    case 1:
      return name ? QLatin1String("") : formatted("%7.4x", node.id);
    case 2:
      return formatted("%6Xh byte.", node.size);
    case kKeyColumn:
      return QString::number(node.index);
    case kMarkColumn:
      return node.severities ? QStringLiteral("*") : QString();
    default:
      return QString();
  }
}

QString FindingsModel::findingText(uint32_t finding, int column) const {
  const FindingsTree::Finding& f = tree_->findings[finding];
  const bool info = f.code & code::kInfo;
  QString context = f.text == kNoText ? QLatin1String("") : QObject::tr(tree_->texts[f.text].c_str());
  switch (column) {
    case 0:
    case kMarkColumn: {
      if (info) return context;
      const char* severity = severityName(f.code);
      return QString::fromLatin1(severity ? severity : "");
    }
    case 1:
      if (info) return QString();
      return sectionTitle(f.index) ? QLatin1String("") : formatted("%7.4x", f.id);
    case 2: {
      const QString detail = QString::fromLatin1(tree_->details.data() + f.detail, f.detailLength);
      return info ? detail : context + detail;
    }
    case kKeyColumn:
      return formatted(" %6.4x ", displayCode(f.code));
    default:
      return QString();
  }
}

QString FindingsModel::text(const QModelIndex& index, int column) const {
  if (!index.isValid()) return QString();
  if (index.internalId() == 0) return topText(order_[static_cast<size_t>(index.row())], column);
  const FindingsTree::Node& node = tree_->nodes[index.internalId() - 1];
  return findingText(tree_->children[node.firstChild + static_cast<uint32_t>(index.row())], column);
}

QString FindingsModel::rowText(const QModelIndex& index) const {
  QString line = index.parent().isValid() ? QStringLiteral("  ") : QString();
  for (int column = 0; column < 3; ++column) line += (column ? "\t" : "") + text(index, column);
  return line;
}

QString FindingsModel::allText() const {
  QString all;
  for (int row = 0; row < rowCount(); ++row) {
    const QModelIndex item = index(row, 0);
    all += rowText(item) + '\n';
    for (int child = 0; child < rowCount(item); ++child) all += rowText(index(child, 0, item)) + '\n';
  }
  return all;
}

uint32_t FindingsModel::severities(const QModelIndex& index) const {
  if (index.internalId() == 0) {
    const uint32_t ref = order_[static_cast<size_t>(index.row())];
    return ref & kPlain ? 0 : tree_->nodes[ref].severities;
  }
  const FindingsTree::Node& node = tree_->nodes[index.internalId() - 1];
  const FindingsTree::Finding& f =
      tree_->findings[tree_->children[node.firstChild + static_cast<uint32_t>(index.row())]];
  return f.code & kSeverityBits;
}

QModelIndex FindingsModel::index(int row, int column, const QModelIndex& parent) const {
  if (row < 0 || column < 0 || column >= kColumns) return QModelIndex();
  if (!parent.isValid()) {
    return static_cast<size_t>(row) < order_.size() ? createIndex(row, column, quintptr(0)) : QModelIndex();
  }
  if (parent.internalId() != 0) return QModelIndex();
  const uint32_t ref = order_[static_cast<size_t>(parent.row())];
  if (ref & kPlain || static_cast<uint32_t>(row) >= tree_->nodes[ref].childCount) return QModelIndex();
  return createIndex(row, column, quintptr(ref) + 1);
}

QModelIndex FindingsModel::parent(const QModelIndex& child) const {
  if (!child.isValid() || child.internalId() == 0) return QModelIndex();
  return createIndex(nodeRow_[child.internalId() - 1], 0, quintptr(0));
}

int FindingsModel::rowCount(const QModelIndex& parent) const {
  if (!parent.isValid()) return static_cast<int>(order_.size());
  if (parent.internalId() != 0 || parent.column() != 0) return 0;
  const uint32_t ref = order_[static_cast<size_t>(parent.row())];
  return ref & kPlain ? 0 : static_cast<int>(tree_->nodes[ref].childCount);
}

int FindingsModel::columnCount(const QModelIndex&) const { return kColumns; }

bool FindingsModel::hasChildren(const QModelIndex& parent) const { return rowCount(parent) > 0; }

QVariant FindingsModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return QVariant();
  switch (role) {
    case Qt::DisplayRole:
      return text(index, index.column());
    case Qt::ToolTipRole: {
      // The whole text, also where the column cuts it short.
      const QString shown = text(index, index.column()).trimmed();
      return shown.isEmpty() ? QVariant() : QVariant(shown);
    }
    case Qt::ForegroundRole:
      // An item red in every column once a finding with a severity is under it.
      if (index.internalId() == 0 && severities(index)) return QBrush(QColor(255, 0, 0));
      return QVariant();
    case Qt::DecorationRole: {
      const uint32_t bits = index.column() == 0 ? severities(index) : 0;
      if (!bits) return QVariant();
      const int which = bits & code::kCritical ? 0 : bits & code::kError ? 1 : 2;
      if (icons_[which].isNull()) icons_[which] = paintedIcon(bits & (code::kCritical >> which));
      return icons_[which];
    }
    default:
      return QVariant();
  }
}

QVariant FindingsModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section >= headers_.size())
    return QVariant();
  return headers_[section];
}

template <typename Key>
void FindingsModel::sortRefs(uint32_t* first, uint32_t* last, int column, Qt::SortOrder order,
                             Key key) const {
  if (last - first < 2) return;
  std::vector<std::pair<QString, uint32_t>> keyed;
  keyed.reserve(static_cast<size_t>(last - first));
  for (const uint32_t* ref = first; ref != last; ++ref) keyed.emplace_back(key(*ref, column), *ref);
  const bool ascending = order == Qt::AscendingOrder;
  std::stable_sort(keyed.begin(), keyed.end(), [ascending](const auto& a, const auto& b) {
    return ascending ? a.first.compare(b.first) < 0 : b.first.compare(a.first) < 0;
  });
  for (const auto& [text, ref] : keyed) *first++ = ref;
}

void FindingsModel::sortAll() {
  sortRefs(order_.data(), order_.data() + order_.size(), sortColumn_, sortOrder_,
           [this](uint32_t ref, int column) { return topText(ref, column); });
  if (tree_) {
    for (const FindingsTree::Node& node : tree_->nodes) {
      uint32_t* first = tree_->children.data() + node.firstChild;
      sortRefs(first, first + node.childCount, sortColumn_, sortOrder_,
               [this](uint32_t finding, int column) { return findingText(finding, column); });
    }
  }
  updateRows();
}

void FindingsModel::updateRows() {
  nodeRow_.assign(tree_ ? tree_->nodes.size() : 0, -1);
  for (size_t row = 0; row < order_.size(); ++row)
    if (!(order_[row] & kPlain)) nodeRow_[order_[row]] = static_cast<int32_t>(row);
}

void FindingsModel::sort(int column, Qt::SortOrder order) {
  if (column < 0 || column >= kColumns) return;
  emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
  // What each persistent index (the current row, the selection, the open
  // items) stands on, found again after the sort.
  const QModelIndexList before = persistentIndexList();
  struct Place {
    uint32_t ref;
    int64_t finding;  // -1 for a top-level row
    int column;
  };
  std::vector<Place> places;
  places.reserve(static_cast<size_t>(before.size()));
  for (const QModelIndex& index : before) {
    if (index.internalId() == 0) {
      places.push_back({order_[static_cast<size_t>(index.row())], -1, index.column()});
    } else {
      const auto node = static_cast<uint32_t>(index.internalId() - 1);
      places.push_back({node,
                        tree_->children[tree_->nodes[node].firstChild + static_cast<uint32_t>(index.row())],
                        index.column()});
    }
  }
  sortColumn_ = column;
  sortOrder_ = order;
  sortAll();
  QModelIndexList after;
  after.reserve(before.size());
  for (const Place& place : places) {
    if (place.finding < 0) {
      const auto row = place.ref & kPlain
                           ? std::find(order_.begin(), order_.end(), place.ref) - order_.begin()
                           : nodeRow_[place.ref];
      after << createIndex(static_cast<int>(row), place.column, quintptr(0));
    } else {
      const FindingsTree::Node& node = tree_->nodes[place.ref];
      const uint32_t* first = tree_->children.data() + node.firstChild;
      const auto row =
          std::find(first, first + node.childCount, static_cast<uint32_t>(place.finding)) - first;
      after << createIndex(static_cast<int>(row), place.column, quintptr(place.ref) + 1);
    }
  }
  changePersistentIndexList(before, after);
  emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

QModelIndex FindingsModel::cardItem(uint32_t offset, int32_t card) const {
  QModelIndex first;
  for (size_t row = 0; tree_ && row < order_.size(); ++row) {
    if (order_[row] & kPlain) continue;
    const FindingsTree::Node& node = tree_->nodes[order_[row]];
    if (node.index < 0 || node.offset != offset) continue;
    if (node.index == card) return index(static_cast<int>(row), 0);
    if (!first.isValid()) first = index(static_cast<int>(row), 0);
  }
  return first;
}
