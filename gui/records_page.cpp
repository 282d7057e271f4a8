#include "records_page.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QTableView>
#include <QToolBar>
#include <QVBoxLayout>

#include <algorithm>

#include "box_contents.h"
#include "records_model.h"

const char* const RecordsPage::kEncodings[] = {"UTF-8", "EUC-JP", "SHIFT_JIS", "ISO-8859-1", nullptr};

namespace {

// The rows whose texts decide a column's first width.
constexpr int kMeasuredRows = 40;
constexpr int kWidestColumn = 320;

}  // namespace

RecordsPage::RecordsPage(QWidget* parent)
    : QWidget(parent),
      model(new RecordsModel(this)),
      table(new QTableView(this)),
      filterEdit(new QLineEdit(this)),
      deletedCheck(new QCheckBox(tr("De&leted records"), this)),
      encodingCombo(new QComboBox(this)),
      countLabel(new QLabel(this)),
      copyCsvAction(new QAction(tr("Copy Records as &CSV"), this)),
      copyJsonAction(new QAction(tr("Copy Records as &JSON"), this)) {
  setObjectName(QStringLiteral("recordsPage"));
  table->setObjectName(QStringLiteral("recordsTable"));
  filterEdit->setObjectName(QStringLiteral("recordsFilter"));
  deletedCheck->setObjectName(QStringLiteral("recordsDeleted"));
  encodingCombo->setObjectName(QStringLiteral("recordsEncoding"));
  countLabel->setObjectName(QStringLiteral("recordsCount"));

  filterEdit->setPlaceholderText(tr("Filter"));
  filterEdit->setClearButtonEnabled(true);
  filterEdit->setToolTip(tr("Show only the records with a value that holds this text"));
  deletedCheck->setToolTip(
      tr("Show the deleted records the collector has not yet overwritten, apart, behind the others"));
  encodingCombo->setEditable(true);
  for (const char* const* e = kEncodings; *e; ++e) encodingCombo->addItem(QString::fromLatin1(*e));
  encodingCombo->setToolTip(tr("The encoding the box's texts are read in"));
  auto* encodingLabel = new QLabel(tr("Encodin&g"), this);
  encodingLabel->setBuddy(encodingCombo);

  // A bar that hides what does not fit behind its extension button, so
  // that the page can be narrow beside the form.
  auto* bar = new QToolBar(this);
  bar->setObjectName(QStringLiteral("recordsBar"));
  filterEdit->setMinimumWidth(filterEdit->fontMetrics().horizontalAdvance(QString(12, QLatin1Char('0'))));
  filterEdit->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  bar->addWidget(filterEdit);
  bar->addWidget(deletedCheck);
  bar->addWidget(encodingLabel);
  bar->addWidget(encodingCombo);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(2, 2, 2, 2);
  layout->addWidget(bar);
  layout->addWidget(table, 1);
  layout->addWidget(countLabel);

  table->setModel(model);
  table->setSortingEnabled(true);
  table->sortByColumn(-1, Qt::AscendingOrder);
  table->setSelectionBehavior(QAbstractItemView::SelectRows);
  table->setSelectionMode(QAbstractItemView::ExtendedSelection);
  table->setWordWrap(false);
  table->verticalHeader()->hide();
  table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() + 6);
  table->horizontalHeader()->setHighlightSections(false);
  table->setContextMenuPolicy(Qt::CustomContextMenu);
  connect(table, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
    QMenu menu(this);
    menu.addActions({copyCsvAction, copyJsonAction});
    menu.exec(table->viewport()->mapToGlobal(at));
  });
  copyCsvAction->setToolTip(tr("Copy the selected records as boxtool export writes them in CSV"));
  copyJsonAction->setToolTip(tr("Copy the selected records as boxtool export writes them in JSON"));
  connect(copyCsvAction, &QAction::triggered, this, [this] { copy(true); });
  connect(copyJsonAction, &QAction::triggered, this, [this] { copy(false); });
  const auto selectionChanged = [this] {
    const bool any = table->selectionModel()->hasSelection();
    copyCsvAction->setEnabled(any);
    copyJsonAction->setEnabled(any);
  };
  connect(table->selectionModel(), &QItemSelectionModel::selectionChanged, this, selectionChanged);
  connect(model, &QAbstractItemModel::modelReset, this, selectionChanged);
  connect(table->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
          [this](const QModelIndex& current) {
            if (current.isValid()) emit recordChosen(model->recordAt(current.row()));
          });
  selectionChanged();

  filterDelay_.setSingleShot(true);
  filterDelay_.setInterval(200);
  connect(filterEdit, &QLineEdit::textChanged, &filterDelay_, qOverload<>(&QTimer::start));
  connect(&filterDelay_, &QTimer::timeout, this, [this] {
    model->setFilter(filterEdit->text());
    showCount();
  });
  connect(deletedCheck, &QCheckBox::toggled, this, [this](bool on) {
    model->setShowDeleted(on);
    showCount();
  });
  connect(encodingCombo, &QComboBox::currentTextChanged, this, [this](const QString& encoding) {
    if (!model->contents()) return;
    if (!model->setEncoding(encoding)) {
      countLabel->setText(tr("Unknown encoding: %1").arg(encoding));
      return;
    }
    showCount();
  });
  showCount();
}

void RecordsPage::setContents(std::shared_ptr<BoxContents> contents) {
  model->setContents(std::move(contents));
  model->setShowDeleted(deletedCheck->isChecked());
  model->setFilter(filterEdit->text());
  if (model->contents()) model->setEncoding(encodingCombo->currentText());
  table->horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
  fitColumns();
  showCount();
}

void RecordsPage::fitColumns() {
  // As wide as the header and the first rows need: measuring every row of
  // a large box would cost more than showing it.
  const QFontMetrics metrics(table->font());
  const QFontMetrics header(table->horizontalHeader()->font());
  const int rows = std::min(model->rowCount(), kMeasuredRows);
  for (int c = 0; c < model->columnCount(); ++c) {
    int width = header.horizontalAdvance(model->headerData(c, Qt::Horizontal).toString()) + 24;
    for (int r = 0; r < rows; ++r)
      width = std::max(width, metrics.horizontalAdvance(model->index(r, c).data().toString()) + 12);
    if (c == RecordsModel::kStateColumn) width += 20;  // the damage's icon
    table->horizontalHeader()->resizeSection(c, std::min(width, kWidestColumn));
  }
}

void RecordsPage::showCount() {
  if (!model->contents()) {
    countLabel->setText(tr("No box file analysed"));
    return;
  }
  const size_t shown = static_cast<size_t>(model->rowCount());
  const size_t all = model->liveCount() + (model->showsDeleted() ? model->deletedCount() : 0);
  QString text = shown == all ? tr("%n record(s)", nullptr, static_cast<int>(all))
                              : tr("%1 of %n record(s)", nullptr, static_cast<int>(all)).arg(shown);
  if (!model->showsDeleted() && model->deletedCount())
    text += tr("; %n deleted hidden", nullptr, static_cast<int>(model->deletedCount()));
  countLabel->setText(text);
}

bool RecordsPage::selectRecord(size_t record) {
  const int row = model->rowOf(record);
  if (row < 0) return false;
  const QModelIndex index = model->index(row, 0);
  table->selectionModel()->setCurrentIndex(index,
                                           QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  table->scrollTo(index);
  return true;
}

QList<int> RecordsPage::selectedRows() const {
  QList<int> rows;
  for (const QModelIndex& i : table->selectionModel()->selectedRows()) rows << i.row();
  return rows;
}

QByteArray RecordsPage::selectedText(bool csv) const { return model->exportText(csv, selectedRows()); }

void RecordsPage::copy(bool csv) {
  const QList<int> rows = selectedRows();
  if (rows.isEmpty()) return;
  QApplication::clipboard()->setText(QString::fromUtf8(model->exportText(csv, rows)));
}
