#include "box_file_selecter.h"

#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QMouseEvent>
#include <QSettings>

#include <algorithm>
#include <cstdlib>

#include "action_host.h"
#include "local_path.h"
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

// The main storage directory; HOME is read every time and used unchanged,
// whatever bytes it holds.
QString mainBoxDir() {
  const char* home = std::getenv("HOME");
  return fromLocalFileName(home ? home : "") + QStringLiteral("/Applications/bxd/");
}

// Where "Open box file..." remembers the directory of the last file opened,
// as the bytes of its path.
QSettings settings() { return QSettings(QStringLiteral("vorn"), QStringLiteral("vorn")); }
const QString kLastDirectoryKey = QStringLiteral("openBoxFile/lastDirectory");

bool isDirectory(const QString& path) {
  struct stat st;
  return stat(localFileName(path).constData(), &st) == 0 && S_ISDIR(st.st_mode);
}

// Where the file dialog opens: the last directory a file was opened from,
// else the main storage directory.  The dialog knows a path by its text
// alone, so a directory whose name is not text gives way to the nearest
// one above it that is.
QString dialogDirectory() {
  QString dir = fromLocalFileName(settings().value(kLastDirectoryKey).toByteArray());
  if (dir.isEmpty() || !isDirectory(dir)) dir = mainBoxDir();
  while (dir.size() > 1 && (shownFileName(dir) != dir || !isDirectory(dir))) {
    const qsizetype slash = dir.lastIndexOf(QLatin1Char('/'), dir.endsWith(QLatin1Char('/')) ? -2 : -1);
    dir = slash > 0 ? dir.left(slash) : QStringLiteral("/");
  }
  return dir;
}

// The names of the regular, readable files in dir that are neither
// symbolic links nor hidden and match pattern (with case), sorted by name
// in descending order with case ignored.
QStringList boxNames(const QString& dir, const char* pattern) {
  QStringList names;
  const QByteArray base = localFileName(dir);
  DIR* listing = opendir(base.constData());
  if (!listing) return names;
  while (const dirent* entry = readdir(listing)) {
    const QByteArray name(entry->d_name);
    if (name.isEmpty() || name.startsWith('.') || fnmatch(pattern, name.constData(), 0) != 0) continue;
    const QByteArray path = base + name;
    struct stat st;
    if (lstat(path.constData(), &st) != 0 || !S_ISREG(st.st_mode) || access(path.constData(), R_OK) != 0)
      continue;
    names << fromLocalFileName(name);
  }
  closedir(listing);
  std::sort(names.begin(), names.end(), [](const QString& a, const QString& b) {
    const int c = a.compare(b, Qt::CaseInsensitive);
    return c != 0 ? c > 0 : a.compare(b) > 0;
  });
  return names;
}

// The text of a file's name on a menu entry: a byte that is not text shows
// as U+FFFD, and "&" is no mnemonic.
QString menuText(const QString& name) {
  return shownFileName(name).replace(QLatin1Char('&'), QStringLiteral("&&"));
}

// path made absolute, from the working directory, without Qt's file names.
QString absolutePath(const QString& path) {
  if (path.startsWith(QLatin1Char('/'))) return path;
  char* cwd = getcwd(nullptr, 0);
  const QString base = fromLocalFileName(cwd ? cwd : "");
  std::free(cwd);
  return base + QLatin1Char('/') + path;
}

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
  connect(appliCombo, &QComboBox::currentIndexChanged, this, [this](int index) {
    previous_ = current_;
    current_ = index;
  });
}

boxFileSelecter::~boxFileSelecter() { delete boxMenu; }

const AppEntry& boxFileSelecter::currentRow() const { return appTable[applicationRow()]; }

int boxFileSelecter::applicationRow() const {
  const int index = appliCombo->currentIndex();
  if (index == kOpenedRow) return kOtherBoxesRow;
  return index >= 0 && index < kRows ? index : 0;
}

void boxFileSelecter::apActivated(int index) {
  storageCombo->setEnabled(index == kInboxRow);
  if (index == kOpenFileRow) {
    openFromDialog();
    return;
  }
  if (index != kOtherBoxesRow || !boxMenu) return;
  // Under the choice it belongs to, wherever the mouse is.
  const QAction* chosen = boxMenu->exec(appliCombo->mapToGlobal(QPoint(0, appliCombo->height())));
  if (!chosen) {
    appliCombo->setCurrentIndex(0);
  } else {
    const QString name = chosen->data().toString();
    appliCombo->setItemText(kOtherBoxesRow, shownFileName(name));
    appliCombo->setItemData(kOtherBoxesRow, name, Qt::UserRole);
    appliCombo->setItemData(kOtherBoxesRow, shownFileName(mainBoxDir() + name), Qt::ToolTipRole);
  }
}

bool boxFileSelecter::openFromDialog() {
  const int before = appliCombo->currentIndex() == kOpenFileRow ? previous_ : appliCombo->currentIndex();
  const QString path = openFileDialog(appliCombo->window(), tr("Open box file"), dialogDirectory(),
                                      tr("Box files (*.box *.BOX);;All files (*)"));
  if (path.isEmpty()) {
    appliCombo->setCurrentIndex(before);
    storageCombo->setEnabled(before == kInboxRow);
    return false;
  }
  settings().setValue(kLastDirectoryKey, localFileName(QFileInfo(path).absolutePath()));
  chooseFile(path);
  if (fileOpened) fileOpened(chosenPath_);
  return true;
}

void boxFileSelecter::chooseFile(const QString& path) {
  chosenPath_ = absolutePath(path);
  const QString name = chosenPath_.mid(chosenPath_.lastIndexOf(QLatin1Char('/')) + 1);
  if (appliCombo->count() <= kOpenedRow) appliCombo->addItem(QString());
  appliCombo->setItemText(kOpenedRow, shownFileName(name));
  appliCombo->setItemData(kOpenedRow, shownFileName(chosenPath_), Qt::ToolTipRole);
  appliCombo->setCurrentIndex(kOpenedRow);
  storageCombo->setEnabled(false);
}

void boxFileSelecter::activateAll() {
  if (boxMenu) return;
  boxMenu = new QMenu();
  boxMenu->setAttribute(Qt::WA_NoMouseReplay);  // PressThrough hands the press on
  boxMenu->installEventFilter(new PressThrough(boxMenu));
  const QString main = mainBoxDir();
  // Names are matched with case: a mixed-case ".Box" is in neither list.
  for (const char* pattern : {"*.box", "*.BOX"}) {
    for (const QString& name : boxNames(main, pattern)) boxMenu->addAction(menuText(name))->setData(name);
  }
  // An empty menu would be an invisible popup: say why there is nothing.
  if (boxMenu->isEmpty())
    boxMenu->addAction(tr("No other box files in %1").arg(menuText(main)))->setEnabled(false);
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
  } else if (appliCombo->currentIndex() == kOpenedRow) {
    return chosenPath_;
  } else {
    // The name chosen from the menu, byte for byte, or the entry's text.
    const QVariant name = appliCombo->itemData(appliCombo->currentIndex(), Qt::UserRole);
    file = name.isValid() ? name.toString() : appliCombo->currentText();
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
