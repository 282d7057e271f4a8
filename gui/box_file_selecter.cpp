#include "box_file_selecter.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QCursor>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QMouseEvent>
#include <QSettings>

#include <cstdlib>

#include "action_host.h"
#include "resolution.h"

const AppEntry boxFileSelecter::appTable[kRows] = {
    {QT_TRANSLATE_NOOP("boxFileSelecter", "Calendar"), "datebook", "KQDATE", 1, 0},
    {QT_TRANSLATE_NOOP("boxFileSelecter", "AddressBook"), "addressbook", "KQADRS", 1, 0},
    {QT_TRANSLATE_NOOP("boxFileSelecter", "TodoList"), "todolist", "KQTODO", 1, 0},
    {QT_TRANSLATE_NOOP("boxFileSelecter", "TextEditor"), "textedit", "KQMEMO", 1, 0},
    {QT_TRANSLATE_NOOP("boxFileSelecter", "EMail inbox"), "qtmail", "kqinbox", 0, 1},
    {QT_TRANSLATE_NOOP("boxFileSelecter", "EMail outbox"), "qtmail", "kqoutbox", 0, 0},
    {QT_TRANSLATE_NOOP("boxFileSelecter", "Other Boxes"), nullptr, nullptr, 0, 0},
};

// The rows the actions treat apart stand where the table has them.
static_assert(boxFileSelecter::kRows == kOtherBoxesRow + 1);

boxFileSelecter::OpenFileDialog boxFileSelecter::openFileDialog =
    [](QWidget* parent, const QString& caption, const QString& directory, const QString& filter) {
      return QFileDialog::getOpenFileName(parent, caption, directory, filter);
    };

namespace {

// The main storage directory; HOME is read every time and used unchanged.
QString mainBoxDir() {
  const char* home = std::getenv("HOME");
  return QFile::decodeName(home ? home : "") + QStringLiteral("/Applications/bxd/");
}

// Where "Open box file..." remembers the directory of the last file opened.
QSettings settings() { return QSettings(QStringLiteral("vorn"), QStringLiteral("vorn")); }
const QString kLastDirectoryKey = QStringLiteral("openBoxFile/lastDirectory");

// A popup closes on a press outside it; this hands that press, and the
// release that the toolkit then drops, on to the widget below, so closing
// the menu never costs the user the click.
class PressThrough : public QObject {
 public:
  using QObject::QObject;
  bool eventFilter(QObject* watched, QEvent* event) override {
    auto* menu = static_cast<QMenu*>(watched);
    if (event->type() != QEvent::MouseButtonPress) return false;
    const auto* press = static_cast<QMouseEvent*>(event);
    if (menu->rect().contains(press->position().toPoint())) return false;
    const QPointF global = press->globalPosition();
    menu->close();
    if (QWidget* below = QApplication::widgetAt(global.toPoint())) {
      const QPointF local = below->mapFromGlobal(global);
      QMouseEvent again(QEvent::MouseButtonPress, local, global, press->button(), press->buttons(),
                        press->modifiers());
      QCoreApplication::sendEvent(below, &again);
      QMouseEvent release(QEvent::MouseButtonRelease, local, global, press->button(),
                          press->buttons() & ~press->button(), press->modifiers());
      QCoreApplication::sendEvent(below, &release);
    }
    return true;
  }
};

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
  if (index == kOpenFileRow) return openFromDialog();
  if (index != kOtherBoxesRow || !boxMenu) return;
  const QAction* chosen = boxMenu->exec(QCursor::pos());
  if (!chosen) {
    appliCombo->setCurrentIndex(0);
  } else {
    chosenPath_.clear();
    appliCombo->setItemText(kOtherBoxesRow, chosen->text());
    appliCombo->setItemData(kOtherBoxesRow, mainBoxDir() + chosen->text(), Qt::ToolTipRole);
  }
}

void boxFileSelecter::openFromDialog() {
  QString directory = settings().value(kLastDirectoryKey).toString();
  if (directory.isEmpty() || !QFileInfo(directory).isDir()) directory = mainBoxDir();
  const QString path = openFileDialog(appliCombo->window(), tr("Open box file"), directory,
                                      tr("Box files (*.box *.BOX);;All files (*)"));
  if (path.isEmpty()) {
    appliCombo->setCurrentIndex(0);
    return;
  }
  settings().setValue(kLastDirectoryKey, QFileInfo(path).absolutePath());
  chooseFile(path);
}

void boxFileSelecter::chooseFile(const QString& path) {
  chosenPath_ = QFileInfo(path).absoluteFilePath();
  appliCombo->setItemText(kOtherBoxesRow, QFileInfo(path).fileName());
  appliCombo->setItemData(kOtherBoxesRow, chosenPath_, Qt::ToolTipRole);
  appliCombo->setCurrentIndex(kOtherBoxesRow);
  storageCombo->setEnabled(false);
}

void boxFileSelecter::activateAll() {
  if (boxMenu) return;
  boxMenu = new QMenu();
  boxMenu->setAttribute(Qt::WA_NoMouseReplay);  // PressThrough hands the press on
  boxMenu->installEventFilter(new PressThrough(boxMenu));
  const QString main = mainBoxDir();
  const QDir dir(main);
  // Names are matched with case: a mixed-case ".Box" is in neither list.
  const QDir::Filters filter = QDir::Files | QDir::Readable | QDir::NoSymLinks | QDir::CaseSensitive;
  const QDir::SortFlags order = QDir::Name | QDir::IgnoreCase | QDir::Reversed;
  for (const char* pattern : {"*.box", "*.BOX"}) {
    for (const QString& name : dir.entryList({QString::fromLatin1(pattern)}, filter, order)) {
      if (!name.isEmpty()) boxMenu->addAction(name);
    }
  }
  // An empty menu would be an invisible popup: say why there is nothing.
  if (boxMenu->isEmpty()) boxMenu->addAction(tr("No other box files in %1").arg(main))->setEnabled(false);
  if (appTable[kOtherBoxesRow].label) appliCombo->addItem(tr(appTable[kOtherBoxesRow].label));
  appliCombo->addItem(tr("Open box file..."));
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
  } else if (!chosenPath_.isEmpty()) {
    return chosenPath_;
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
