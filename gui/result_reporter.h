// The findings sink of the graphical mode: files every entry of an analysis
// as a tree in the form's result list (one top-level item per card or
// section, one child per finding) and drives the progress bar.
#pragma once

#include <QHash>
#include <QTreeWidgetItem>

#include "reporter.h"

class QProgressBar;
class QTreeWidget;

// A top-level item of the result tree: red in every column once a finding
// with a severity has been filed under it (its column 4 holds "*").
class ResultItem : public QTreeWidgetItem {
 public:
  using QTreeWidgetItem::QTreeWidgetItem;
  QVariant data(int column, int role) const override;
};

class ResultReporter : public Reporter {
 public:
  // Neither the list nor the bar is owned.  With echo, entries and findings
  // are copied to standard error as the console prints them.  While the
  // reporter lives, the list files new items without sorting each one in;
  // when it is destroyed the list sorts once, as it was set to.
  ResultReporter(QTreeWidget* list, QProgressBar* progressBar, bool echo);
  ~ResultReporter() override;

  void message(const char* format, va_list args) override __attribute__((format(printf, 2, 0)));
  void entry(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code, const char* text,
             const char* format, va_list args) override __attribute__((format(printf, 8, 0)));
  int progress(int stage, int percent) override;

  // The first top-level item, in the list's order, whose key is index.
  // Looked up in a hash of the keys: items are only ever added.
  QTreeWidgetItem* findItem(int index) const;

  QTreeWidget* list;
  QProgressBar* progressBar;
  bool echo;
  unsigned calls = 0;

  static constexpr int kDetailBuffer = 8192;

 private:
  QHash<int, QTreeWidgetItem*> items_;
  bool wasSorting_;
};
