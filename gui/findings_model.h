// The result tree of the window: what an analysis filed, as plain data
// (FindingsTree, built on the analysis' thread), and the item model the
// result view shows it through (FindingsModel).  No item object exists per
// line: the model computes a line's texts when the view asks for them.
#pragma once

#include <QAbstractItemModel>
#include <QIcon>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

class FindingsTree {
 public:
  // One card or section: the top-level item of its index.
  struct Node {
    int32_t index;
    uint32_t offset;          // column 0 of a card; refreshed by an entry at an offset above 0
    uint32_t id;              // column 1 of a card, refreshed by every entry
    uint32_t size;            // column 2, refreshed by every entry
    uint32_t severities = 0;  // the severity bits of the findings under it
    uint32_t firstChild = 0;  // in children, once finish() has run
    uint32_t childCount = 0;
  };
  // One finding (nonzero code) under its node, with the entry's own position.
  struct Finding {
    uint32_t node;
    int32_t index;
    uint32_t offset, id, size, code;
    uint32_t text;                  // in texts
    uint32_t detail, detailLength;  // in details
  };

  // Files one entry as the result view does: the node of index is made or
  // refreshed, and a nonzero code adds a finding under it.  Returns the node.
  uint32_t file(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code, const char* text,
                const char* detail);
  // The node of index, or -1.
  int64_t find(int32_t index) const;
  // Groups the findings by node, in the order they were filed; once, after
  // the last entry.
  void finish();

  std::vector<Node> nodes;  // in the order first reported
  std::vector<Finding> findings;
  std::vector<uint32_t> children;  // findings grouped by node, after finish()
  std::vector<std::string> texts;  // the findings' fixed texts, each once
  std::string details;             // the formatted details, one after the other
  unsigned critical = 0, errors = 0, warnings = 0;

 private:
  std::vector<int32_t> cardNodes_;                   // the node of card index i, or -1
  int32_t sectionNodes_[4] = {-1, -1, -1, -1};       // of sections -1 .. -4
  std::unordered_map<int32_t, int32_t> otherNodes_;  // of any other index
  std::unordered_map<std::string, uint32_t> textIds_;
};

class FindingsModel : public QAbstractItemModel {
  Q_OBJECT

 public:
  // Columns 0 to 2 are shown; 3 is the sort key (the index in decimal), 4
  // the mark of a red item ("*") or a finding's severity again; 5 to 7 are
  // empty, as the handheld's list had them.
  static constexpr int kColumns = 8;
  static constexpr int kKeyColumn = 3;
  static constexpr int kMarkColumn = 4;

  explicit FindingsModel(QObject* parent = nullptr);
  ~FindingsModel() override;

  void setHeaders(const QStringList& headers);
  // Shows tree (finished here), sorted as the model sorts.
  void setTree(std::shared_ptr<FindingsTree> tree);
  // No rows at all.
  void clear();
  // A row of three texts (and an empty key), sorted in among the others.
  void addRow(const QString& index, const QString& id, const QString& context);

  // The tree shown, or null.
  const FindingsTree* tree() const { return tree_.get(); }
  // The text of a cell, as the view shows it.
  QString text(const QModelIndex& index, int column) const;
  // The shown columns of a row, joined by tabs; a finding's row begins
  // with two blanks.
  QString rowText(const QModelIndex& index) const;
  // Every row, children after their item, one a line.
  QString allText() const;
  // The item of card index card at a file offset, else of the first card at
  // that offset in the list; an invalid index when the list has neither.
  QModelIndex cardItem(uint32_t offset, int32_t card = -1) const;

  QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
  QModelIndex parent(const QModelIndex& child) const override;
  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  bool hasChildren(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
  // Stable, by the column's text, as a list view sorts; the findings under
  // each item too.
  void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

 private:
  // A top-level row: a node of the tree, or (with kPlain) a row of texts.
  static constexpr uint32_t kPlain = 0x80000000u;
  QString topText(uint32_t ref, int column) const;
  QString findingText(uint32_t finding, int column) const;
  // The severity bits a row shows its icon for.
  uint32_t severities(const QModelIndex& index) const;
  // Sorts refs by the text of column keyed by key(ref), stably.
  template <typename Key>
  void sortRefs(uint32_t* first, uint32_t* last, int column, Qt::SortOrder order, Key key) const;
  void sortAll();
  void updateRows();

  QStringList headers_;
  std::shared_ptr<FindingsTree> tree_;
  std::vector<QStringList> plain_;
  std::vector<uint32_t> order_;   // the top-level rows
  std::vector<int32_t> nodeRow_;  // the row of each node
  mutable QIcon icons_[3];        // Critical, Error, Warning; painted when first shown
  int sortColumn_ = kKeyColumn;
  Qt::SortOrder sortOrder_ = Qt::AscendingOrder;
};
