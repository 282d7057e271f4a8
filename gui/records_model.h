// The records table's model: the records of a box as boxtool export lists
// them (RecordListing), one row each, with their card, offset, ID and
// state and one column per field, each value typed as the export types it.
// No row holds its texts: a record is decoded when the view asks for it.
// Rows can be filtered by a text any value holds and sorted by any column;
// the deleted records (as export --deleted finds them) are shown when
// asked for, apart, behind the others.
#pragma once

#include <QAbstractTableModel>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct BoxContents;

class RecordsModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  static constexpr int kCardColumn = 0;
  static constexpr int kOffsetColumn = 1;
  static constexpr int kIdColumn = 2;
  static constexpr int kStateColumn = 3;
  static constexpr int kFirstValueColumn = 4;
  // A cell as the JSON export writes it (a QJsonValue), and a row's finding
  // codes as the export lists them (a QStringList).
  static constexpr int kExportRole = Qt::UserRole;
  static constexpr int kFindingsRole = Qt::UserRole + 1;

  explicit RecordsModel(QObject* parent = nullptr);
  ~RecordsModel() override;

  // Shows the records of contents (none when null or unreadable).
  void setContents(std::shared_ptr<BoxContents> contents);
  const BoxContents* contents() const { return contents_.get(); }
  void setShowDeleted(bool show);
  bool showsDeleted() const { return showDeleted_; }
  // Only the records with a cell that holds text, case aside for ASCII
  // letters; all of them for an empty text.
  void setFilter(const QString& text);
  // The encoding the texts are read in; false when it is not known.
  bool setEncoding(const QString& encoding);

  // The listing's record a row shows, and the row of a record (-1 when it
  // is not shown).
  size_t recordAt(int row) const { return rows_[static_cast<size_t>(row)]; }
  int rowOf(size_t record) const;
  // The records of the listing, live and deleted.
  size_t liveCount() const { return live_; }
  size_t deletedCount() const;

  // The export document (CSV or JSON) of the records of rows, in the
  // order the export writes them.
  QByteArray exportText(bool csv, const QList<int>& rows) const;

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
  void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

  // The text a state is shown as.
  static QString stateText(int state);

 private:
  struct Key;
  void rebuild();
  // Record n: whether it passes the filter, its key for a column, and the
  // texts of its value columns, decoded once for all its cells.
  bool matches(size_t n) const;
  Key keyOf(size_t n, int column) const;
  const QStringList& cells(size_t n) const;
  QString findingsText(int32_t card) const;

  std::shared_ptr<BoxContents> contents_;
  std::vector<uint32_t> rows_;
  std::vector<int32_t> rowOf_;  // by record
  size_t live_ = 0;
  bool showDeleted_ = false;
  std::string filter_;         // UTF-8, ASCII letters in lower case
  std::string stateTexts_[4];  // the states as shown, in UTF-8
  QStringList columnNames_;    // of the value columns
  int sortColumn_ = -1;
  Qt::SortOrder sortOrder_ = Qt::AscendingOrder;
  mutable int64_t cachedRecord_ = -1;
  mutable QStringList cachedCells_;
};
