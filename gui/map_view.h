// The map of a box file (file_map.h) as a picture: the bytes from the
// first to the last laid out in rows across the widget, each stretch in
// the colour of its class, one pixel showing as many bytes as it takes to
// fit the file in.  Hovering names what lies under the pointer; a click
// tells which segment was chosen.  MapLegend names the colours.
#pragma once

#include <QLabel>
#include <QWidget>

#include <cstdint>
#include <memory>
#include <vector>

#include "file_map.h"

struct BoxContents;

class MapView : public QWidget {
  Q_OBJECT

 public:
  explicit MapView(QWidget* parent = nullptr);
  ~MapView() override;

  void setContents(std::shared_ptr<BoxContents> contents);
  // Outlines the bytes [from, to) (the chosen record); none when empty.
  void setMarked(uint64_t from, uint64_t to);

  // The colour and the name of a class.
  static QColor colour(MapClass kind);
  static QString className(MapClass kind);

  // The bytes a pixel shows, and the runs drawn, for the present size.
  double bytesPerPixel() const { return bytesPerPixel_; }
  const std::vector<FileMap::Run>& runs() const { return runs_; }
  // The segment a point shows (the one that matters most in its pixel);
  // -1 when none.
  int64_t segmentAt(const QPoint& point) const;
  // The point at the middle of the pixel that shows the byte at offset.
  QPoint pointOf(uint64_t offset) const;
  // What hovering over the segment shows.
  QString describe(int64_t segment) const;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

  static constexpr int kRowHeight = 14;
  static constexpr int kRowGap = 3;
  static constexpr int kMargin = 4;

 signals:
  void segmentClicked(int64_t segment);

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  void layOut();
  // The rectangles of the pixels [first, first + count), one per row.
  template <typename Draw>
  void forRows(uint64_t first, uint64_t count, Draw draw) const;
  int64_t pixelAt(const QPoint& point) const;

  std::shared_ptr<BoxContents> contents_;
  std::vector<FileMap::Run> runs_;
  double bytesPerPixel_ = 1;
  int columns_ = 1;  // pixels a row holds
  uint64_t markFrom_ = 0, markTo_ = 0;
};

// The names of the colours the map of contents shows, each beside its
// colour, in a label that wraps.
class MapLegend : public QLabel {
  Q_OBJECT

 public:
  explicit MapLegend(QWidget* parent = nullptr);
  void setContents(const BoxContents* contents);
};
