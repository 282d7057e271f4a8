// The Statistics page beside the form: what boxtool info prints of the box
// file (info_report.h) as a form: the stored and counted totals with the
// differences marked, the cards per class, the fields and the offset table.
#pragma once

#include <QScrollArea>

class QWidget;
struct BoxContents;

class StatisticsPage : public QScrollArea {
  Q_OBJECT

 public:
  explicit StatisticsPage(QWidget* parent = nullptr);

  void setContents(const BoxContents* contents);

  // The texts a report's keys are shown as.
  static QString totalName(const char* key);
  static QString className(const char* key);
};
