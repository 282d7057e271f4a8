// The Records page beside the form: the records table (RecordsModel) with a
// filter box, a check box for the deleted records, the encoding the texts
// are read in, and copies of the selected rows as boxtool export writes
// them (CSV or JSON).
#pragma once

#include <QTimer>
#include <QWidget>

#include <memory>

class QAction;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QTableView;
class RecordsModel;
struct BoxContents;

class RecordsPage : public QWidget {
  Q_OBJECT

 public:
  explicit RecordsPage(QWidget* parent = nullptr);

  void setContents(std::shared_ptr<BoxContents> contents);
  // Makes the record (its index in the listing) the current row, shown;
  // false when the table does not show it.
  bool selectRecord(size_t record);
  // The rows selected, and their export as CSV or JSON.
  QList<int> selectedRows() const;
  QByteArray selectedText(bool csv) const;

  RecordsModel* model;
  QTableView* table;
  QLineEdit* filterEdit;
  QCheckBox* deletedCheck;
  QComboBox* encodingCombo;
  QLabel* countLabel;
  QAction* copyCsvAction;
  QAction* copyJsonAction;

  // The texts' encodings offered; any other name iconv knows can be typed.
  static const char* const kEncodings[];

 signals:
  // The current row now shows this record of the listing.
  void recordChosen(size_t record);

 private:
  void showCount();
  void fitColumns();
  void copy(bool csv);
  QTimer filterDelay_;
};
