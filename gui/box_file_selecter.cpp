#include "box_file_selecter.h"

#include <QAction>
#include <QComboBox>
#include <QCursor>
#include <QDir>
#include <QMenu>

#include <cstdlib>

#include "action_host.h"
#include "resolution.h"

const AppEntry boxFileSelecter::appTable[kRows] = {
    {QT_TR_NOOP("Calendar"), "datebook", "KQDATE", 1, 0},
    {QT_TR_NOOP("AddressBook"), "addressbook", "KQADRS", 1, 0},
    {QT_TR_NOOP("TodoList"), "todolist", "KQTODO", 1, 0},
    {QT_TR_NOOP("TextEditor"), "textedit", "KQMEMO", 1, 0},
    {QT_TR_NOOP("EMail inbox"), "qtmail", "kqinbox", 0, 1},
    {QT_TR_NOOP("EMail outbox"), "qtmail", "kqoutbox", 0, 0},
    {QT_TR_NOOP("Other Boxes"), nullptr, nullptr, 0, 0},
};

// The rows the actions treat apart stand where the table has them.
static_assert(boxFileSelecter::kRows == kOtherBoxesRow + 1);

namespace {

// The main storage directory; HOME is read every time and used unchanged.
QString mainBoxDir() {
  const char* home = std::getenv("HOME");
  return QString::fromLocal8Bit(home ? home : "") + QStringLiteral("/Applications/bxd/");
}

}  // namespace

boxFileSelecter::boxFileSelecter(QObject* parent, QComboBox* appli, QComboBox* storage, const char* name)
    : QObject(parent), appliCombo(appli), storageCombo(storage) {
  if (name) setObjectName(QString::fromLatin1(name));
  for (int row = 0; row < kOtherBoxesRow; ++row) appliCombo->addItem(tr(appTable[row].label));
  appliCombo->setEditable(false);
  appliCombo->setCurrentIndex(0);
  storageCombo->addItem(tr("Main"));
  storageCombo->addItem(tr("SD"));
  storageCombo->addItem(tr("CF"));
  storageCombo->setCurrentIndex(0);
  apActivated(0);
  connect(appliCombo, &QComboBox::activated, this, &boxFileSelecter::apActivated);
}

boxFileSelecter::~boxFileSelecter() { delete boxMenu; }

const AppEntry& boxFileSelecter::currentRow() const {
  const int index = appliCombo->currentIndex();
  return appTable[index >= 0 && index < kRows ? index : 0];
}

void boxFileSelecter::apActivated(int index) {
  storageCombo->setEnabled(index == kInboxRow);
  if (index != kOtherBoxesRow || !boxMenu) return;
  const QAction* chosen = boxMenu->exec(QCursor::pos());
  if (!chosen) {
    appliCombo->setCurrentIndex(0);
  } else {
    appliCombo->setItemText(kOtherBoxesRow, chosen->text());
  }
}

void boxFileSelecter::activateAll() {
  if (boxMenu) return;
  boxMenu = new QMenu();
  const QDir dir(mainBoxDir());
  // Names are matched with case: a mixed-case ".Box" is in neither list.
  const QDir::Filters filter = QDir::Files | QDir::Readable | QDir::NoSymLinks | QDir::CaseSensitive;
  const QDir::SortFlags order = QDir::Name | QDir::IgnoreCase | QDir::Reversed;
  for (const char* pattern : {"*.box", "*.BOX"}) {
    for (const QString& name : dir.entryList({QString::fromLatin1(pattern)}, filter, order)) {
      if (!name.isEmpty()) boxMenu->addAction(name);
    }
  }
  if (appTable[kOtherBoxesRow].label) appliCombo->addItem(tr(appTable[kOtherBoxesRow].label));
}

QString boxFileSelecter::boxDir(bool storageApplies) const {
  switch ((storageApplies ? 1 : 0) * storageCombo->currentIndex()) {
    case 1:
      return QStringLiteral("/mnt/card/QtPalmtop/bxd/");
    case 2:
      return QStringLiteral("/mnt/cf/QtPalmtop/bxd/");
    default:
      return mainBoxDir();
  }
}

QString boxFileSelecter::boxFilePath(const char* suffix) const {
  const AppEntry& row = currentRow();
  QString file = QString::fromLatin1(suffix);
  if (row.upperSuffix) file = file.toUpper();
  if (row.boxBase) {
    file.prepend(QString::fromLatin1(row.boxBase));
  } else {
    file = appliCombo->currentText();
  }
  return boxDir(row.storageSelectable) + file;
}

QString boxFileSelecter::storageName() const {
  switch (currentRow().storageSelectable * storageCombo->currentIndex()) {
    case 1:
      return tr("SD");
    case 2:
      return tr("CF");
    default:
      return tr("Main");
  }
}

bool boxFileSelecter::isFastLoad() const { return isOnPreloadList(currentRow().program); }
