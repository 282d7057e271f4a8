#include "map_view.h"

#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>
#include <cmath>

#include "box_contents.h"
#include "findings.h"

namespace {

QString hex(uint64_t value, int digits) {
  return QStringLiteral("%1").arg(value, digits, 16, QLatin1Char('0'));
}

}  // namespace

MapView::MapView(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("mapView"));
  setMouseTracking(true);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  setToolTip(tr("The box file from its first byte to its last"));
}

MapView::~MapView() = default;

void MapView::setContents(std::shared_ptr<BoxContents> contents) {
  contents_ = contents && contents->listing ? std::move(contents) : nullptr;
  markFrom_ = markTo_ = 0;
  layOut();
  update();
}

void MapView::setMarked(uint64_t from, uint64_t to) {
  markFrom_ = from;
  markTo_ = to;
  update();
}

QColor MapView::colour(MapClass kind) {
  static const QColor kColours[] = {
      QColor(0xdd, 0xdd, 0xdd),  // unused
      QColor(0x4a, 0x3a, 0x8c),  // header
      QColor(0x7e, 0x6f, 0xc2),  // default table
      QColor(0xb1, 0xa5, 0xe3),  // item info
      QColor(0x4c, 0xaf, 0x50),  // sound
      QColor(0x9e, 0x9e, 0x9e),  // garbage
      QColor(0x00, 0x89, 0x7b),  // system
      QColor(0x1e, 0x88, 0xe5),  // offset card
      QColor(0x26, 0xc6, 0xda),  // index card
      QColor(0x00, 0x00, 0x00),  // terminator
      QColor(0xe5, 0x39, 0x35),  // damaged
      QColor(0xff, 0x98, 0x00),  // skipped
      QColor(0xfd, 0xd8, 0x35),  // found
      QColor(0x6d, 0x4c, 0x41),  // behind
  };
  static_assert(std::size(kColours) == static_cast<size_t>(MapClass::kCount));
  return kColours[static_cast<size_t>(kind)];
}

QString MapView::className(MapClass kind) {
  switch (kind) {
    case MapClass::kUnused:
      return tr("Not placed by the header or the chain");
    case MapClass::kHeader:
      return tr("Box header");
    case MapClass::kDefaultTable:
      return tr("Default offset table");
    case MapClass::kItemInfo:
      return tr("Item info");
    case MapClass::kSound:
      return tr("Sound card");
    case MapClass::kGarbage:
      return tr("Garbage (deleted) card");
    case MapClass::kSystem:
      return tr("System card");
    case MapClass::kOffsetCard:
      return tr("Offset card");
    case MapClass::kIndexCard:
      return tr("Reference index card");
    case MapClass::kTerminator:
      return tr("Terminator");
    case MapClass::kDamaged:
      return tr("Damaged card");
    case MapClass::kSkipped:
      return tr("Skipped or salvaged by the trace");
    case MapClass::kFound:
      return tr("Record found by the lost-and-found scan");
    case MapClass::kBehind:
      return tr("Behind the last card");
    case MapClass::kCount:
      break;
  }
  return QString();
}

void MapView::layOut() {
  runs_.clear();
  columns_ = std::max(1, width() - 2 * kMargin);
  if (!contents_ || contents_->map.size() == 0) return;
  const int rows = std::max(1, (height() - 2 * kMargin + kRowGap) / (kRowHeight + kRowGap));
  bytesPerPixel_ = static_cast<double>(contents_->map.size()) / (static_cast<double>(columns_) * rows);
  runs_ = contents_->map.runs(bytesPerPixel_);
}

template <typename Draw>
void MapView::forRows(uint64_t first, uint64_t count, Draw draw) const {
  const auto columns = static_cast<uint64_t>(columns_);
  while (count > 0) {
    const uint64_t row = first / columns;
    const uint64_t x = first % columns;
    const uint64_t n = std::min(count, columns - x);
    draw(QRect(kMargin + static_cast<int>(x), kMargin + static_cast<int>(row) * (kRowHeight + kRowGap),
               static_cast<int>(n), kRowHeight));
    first += n;
    count -= n;
  }
}

void MapView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), palette().base());
  if (!contents_) {
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextWordWrap, tr("Analyse a box file to see its map"));
    return;
  }
  for (const FileMap::Run& run : runs_) {
    const QColor c = colour(run.kind);
    forRows(run.firstPixel, run.pixels, [&](const QRect& r) { painter.fillRect(r, c); });
  }
  // Where a card is wide enough to be told from its neighbour, a line
  // marks its start.
  for (const MapSegment& s : contents_->map.segments()) {
    const double width = static_cast<double>(s.to - s.from) / bytesPerPixel_;
    if (width < 4 || s.from == 0) continue;
    painter.setPen(colour(s.kind).darker(160));
    forRows(static_cast<uint64_t>(static_cast<double>(s.from) / bytesPerPixel_), 1,
            [&](const QRect& r) { painter.drawLine(r.topLeft(), r.bottomLeft()); });
  }
  if (markTo_ > markFrom_) {
    const auto first = static_cast<uint64_t>(static_cast<double>(markFrom_) / bytesPerPixel_);
    const auto last = static_cast<uint64_t>(static_cast<double>(markTo_ - 1) / bytesPerPixel_);
    painter.setBrush(Qt::NoBrush);
    forRows(first, last - first + 1, [&](const QRect& r) {
      painter.setPen(QPen(Qt::white, 3));
      painter.drawRect(r.adjusted(-1, -1, 0, 0));
      painter.setPen(QPen(Qt::black, 1));
      painter.drawRect(r.adjusted(-1, -1, 0, 0));
    });
  }
}

void MapView::resizeEvent(QResizeEvent*) { layOut(); }

int64_t MapView::pixelAt(const QPoint& point) const {
  if (!contents_) return -1;
  const int x = point.x() - kMargin;
  const int y = point.y() - kMargin;
  if (x < 0 || x >= columns_ || y < 0 || y % (kRowHeight + kRowGap) >= kRowHeight) return -1;
  const int64_t p = int64_t{y / (kRowHeight + kRowGap)} * columns_ + x;
  return contents_->map.pixelBytes(static_cast<uint64_t>(p), bytesPerPixel_).first < contents_->map.size()
             ? p
             : -1;
}

int64_t MapView::segmentAt(const QPoint& point) const {
  const int64_t p = pixelAt(point);
  if (p < 0) return -1;
  const auto [from, to] = contents_->map.pixelBytes(static_cast<uint64_t>(p), bytesPerPixel_);
  return contents_->map.mostImportant(from, to);
}

QPoint MapView::pointOf(uint64_t offset) const {
  const auto p = static_cast<uint64_t>(std::floor(static_cast<double>(offset) / bytesPerPixel_));
  QPoint point;
  forRows(p, 1, [&](const QRect& r) { point = r.center(); });
  return point;
}

QString MapView::describe(int64_t segment) const {
  if (!contents_ || segment < 0) return QString();
  const MapSegment& s = contents_->map.segments()[static_cast<size_t>(segment)];
  QString text;
  if (s.card >= 0) {
    const CardRecord& card = contents_->listing->trace().analysis->chain->cards[static_cast<size_t>(s.card)];
    text = tr("Card %1 at 0x%2, ID 0x%3, %4 bytes")
               .arg(s.card)
               .arg(hex(s.from, 6), hex(card.id, 4))
               .arg(s.to - s.from);
  } else {
    text = tr("0x%1 to 0x%2, %3 bytes").arg(hex(s.from, 6), hex(s.to, 6)).arg(s.to - s.from);
  }
  text += QLatin1Char('\n') + className(s.kind);
  if (s.card >= 0) {
    for (const Finding& f : contents_->listing->trace().findings) {
      if (f.index == s.card)
        text += QStringLiteral("\n%1: %2%3")
                    .arg(QString::fromLatin1(severityName(f.code)), QString::fromLatin1(f.text),
                         QString::fromLatin1(f.detail));
    }
  }
  if (bytesPerPixel_ > 1)
    text += QLatin1Char('\n') + tr("(one pixel shows %1 bytes)").arg(std::lround(bytesPerPixel_));
  return text;
}

bool MapView::event(QEvent* event) {
  if (event->type() != QEvent::ToolTip) return QWidget::event(event);
  const auto* help = static_cast<QHelpEvent*>(event);
  const QString text = describe(segmentAt(help->pos()));
  if (text.isEmpty()) {
    QToolTip::showText(help->globalPos(), toolTip(), this);
  } else {
    QToolTip::showText(help->globalPos(), text, this);
  }
  return true;
}

void MapView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const int64_t segment = segmentAt(event->position().toPoint());
  if (segment >= 0) emit segmentClicked(segment);
}

QSize MapView::sizeHint() const { return {640, 2 * kMargin + 6 * (kRowHeight + kRowGap)}; }

QSize MapView::minimumSizeHint() const { return {120, 2 * kMargin + 2 * (kRowHeight + kRowGap)}; }

MapLegend::MapLegend(QWidget* parent) : QLabel(parent) {
  setObjectName(QStringLiteral("mapLegend"));
  setWordWrap(true);
  setTextFormat(Qt::RichText);
}

void MapLegend::setContents(const BoxContents* contents) {
  // The classes the map shows, in their order.
  bool shown[static_cast<size_t>(MapClass::kCount)] = {};
  if (contents && contents->listing) {
    for (const MapSegment& s : contents->map.segments()) shown[static_cast<size_t>(s.kind)] = true;
  }
  QStringList entries;
  for (size_t k = 0; k < std::size(shown); ++k) {
    if (!shown[k]) continue;
    const auto kind = static_cast<MapClass>(k);
    entries << QStringLiteral("<span style=\"color:%1\">&#9632;</span>&nbsp;%2")
                   .arg(MapView::colour(kind).name(), MapView::className(kind).toHtmlEscaped().replace(
                                                          QLatin1Char(' '), QStringLiteral("&nbsp;")));
  }
  setText(entries.join(QStringLiteral(" &nbsp; ")));
}
