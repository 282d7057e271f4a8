// Helpers for the window tests: a HOME of the test's own holding box files,
// answerers for the modal message boxes and the popup menus, standard error
// taken into a file, and the window's state as text.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <QtTest>
#include <QtWidgets>

#include <cstdio>
#include <functional>

#include "box_builder.h"
#include "findings_model.h"
#include "local_path.h"
#include "vorn.h"

// The window tests run offscreen unless told otherwise.
inline const bool kOffscreen =
    qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || qputenv("QT_QPA_PLATFORM", "offscreen");

// Makes the directory at path and those above it; path may hold any bytes.
inline void makeDirs(const QString& path) {
  const QByteArray bytes = localFileName(path);
  for (qsizetype slash = bytes.indexOf('/', 1);; slash = bytes.indexOf('/', slash + 1)) {
    mkdir(bytes.left(slash < 0 ? bytes.size() : slash).constData(), 0777);
    if (slash < 0) return;
  }
}

// A fresh HOME (named as given, any bytes) with the main box directory and
// the window's settings in it, for one test.
class TempHome {
 public:
  explicit TempHome(const QString& name = "home") : path_(dir_.path() + "/" + name), old_(qgetenv("HOME")) {
    makeDirs(boxDir());
    qputenv("HOME", localFileName(path_));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, dir_.path() + "/.config");
  }
  ~TempHome() {
    qputenv("HOME", old_);
    QProcess::execute("rm", {"-rf", "--", dir_.path()});  // names that are not UTF-8 too
  }
  QString path() const { return path_; }
  QString boxDir() const { return path_ + "/Applications/bxd/"; }
  QString put(const QString& name, const boxtest::Bytes& bytes) const {
    return write(boxDir() + name, bytes);
  }
  static QString write(const QString& path, const boxtest::Bytes& bytes) {
    boxtest::writeFile(localFileName(path).toStdString(), bytes);
    return path;
  }
  void writeConfig(const QString& name, const QByteArray& text) const {
    QDir().mkpath(path_ + "/Settings");
    write(path_ + "/Settings/" + name + ".conf", boxtest::Bytes(text.begin(), text.end()));
  }

 private:
  QTemporaryDir dir_;
  QString path_;
  QByteArray old_;
};

// Answers the message boxes that open, in turn, by keys: R Return and E
// Escape pressed on the focused button as a user does, Y Yes and N No
// clicked (the last key for every further box; a box without the button is
// escaped).  Records what each box showed, and busy() as it opened.
class MessageBoxAnswerer : public QObject {
 public:
  struct Seen {
    QString text, details;
    bool busy;
    QString informative;
  };
  explicit MessageBoxAnswerer(
      const QString& keys = "R", std::function<bool()> busy = [] { return false; }) {
    connect(&timer_, &QTimer::timeout, this, [this, keys, busy] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (!box || !box->isVisible()) return;
      seen.append(
          {box->windowTitle() + ": " + box->text(), box->detailedText(), busy(), box->informativeText()});
      const QChar key = keys[std::min(seen.size(), keys.size()) - 1];
      QWidget* focus = box->isAncestorOf(QApplication::focusWidget()) ? QApplication::focusWidget() : box;
      if (key == 'R' || key == 'E')
        return QTest::keyClick(focus, key == 'R' ? Qt::Key_Return : Qt::Key_Escape);
      QAbstractButton* button = box->button(key == 'Y' ? QMessageBox::Yes : QMessageBox::No);
      button ? button->click() : QTest::keyClick(focus, Qt::Key_Escape);
    });
    timer_.start(5);
  }
  QStringList texts() const {
    QStringList out;
    for (const Seen& s : seen) out << s.text;
    return out;
  }
  QList<Seen> seen;

 private:
  QTimer timer_;
};

// Answers every popup menu: chooses the entry with text or, without one,
// clicks on clickOn outside the menu (or closes it).  Records the entries
// offered, a disabled one in parentheses.
class MenuAnswerer : public QObject {
 public:
  explicit MenuAnswerer(const QString& text, QWidget* clickOn = nullptr) {
    connect(&timer_, &QTimer::timeout, this, [this, text, clickOn] {
      auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
      if (!menu) return;
      where = menu->pos();
      for (QAction* action : menu->actions()) {
        offered << (action->isEnabled() ? action->text() : "(" + action->text() + ")");
        if (action->text() == text)
          return menu->setActiveAction(action), QTest::keyClick(menu, Qt::Key_Return);
      }
      if (!clickOn) return menu->close(), void();
      QTest::mouseClick(clickOn->window()->windowHandle(), Qt::LeftButton, {},
                        clickOn->mapTo(clickOn->window(), clickOn->rect().center()));
    });
    timer_.start(5);
  }
  QStringList offered;
  QPoint where;  // of the last menu

 private:
  QTimer timer_;
};

// Standard error goes to a file while this lives; text() reads it so far.
class StderrCapture {
 public:
  StderrCapture() : saved_(dup(STDERR_FILENO)) {
    std::fflush(stderr);
    if (!std::freopen(QFile::encodeName(file()).constData(), "w", stderr))
      qFatal("cannot capture standard error");
  }
  ~StderrCapture() {
    std::fflush(stderr);
    dup2(saved_, STDERR_FILENO);
    close(saved_);
  }
  QByteArray text() const {
    std::fflush(stderr);
    QFile f(file());
    f.open(QIODevice::ReadOnly);
    return f.readAll();
  }

 private:
  QString file() const { return dir_.path() + "/stderr"; }
  QTemporaryDir dir_;
  int saved_;
};

// The three working groups as the action lock leaves them while it holds.
inline bool groupsDisabled(const Vorn& w) {
  return !w.gcGroup->isEnabled() && !w.anGroup->isEnabled() && !w.fileGroup->isEnabled();
}

// No action runs: the groups enabled, the focus on the application choice,
// the progress bar hidden.
inline bool idle(const Vorn& w) {
  return w.gcGroup->isEnabled() && w.anGroup->isEnabled() && w.fileGroup->isEnabled() &&
         w.focusWidget() == w.appliCombo && !w.progress->isVisible();
}

// The result list as text: every row, a finding's indented, its columns 0
// to 4 (the last the mark of a red item) joined by "|", one a line.
inline QString treeText(const QTreeView* list) {
  const QAbstractItemModel* model = list->model();
  QString text;
  const auto add = [&](const QModelIndex& row, const QString& indent) {
    text += indent;
    for (int c = 0; c < 5; ++c) text += row.siblingAtColumn(c).data().toString() + (c < 4 ? "|" : "\n");
  };
  for (int t = 0; t < model->rowCount(); ++t) {
    const QModelIndex item = model->index(t, 0);
    add(item, "");
    for (int c = 0; c < model->rowCount(item); ++c) add(model->index(c, 0, item), "  ");
  }
  return text;
}

// Chooses an application row as a user does, so that the selector hears.
inline void choose(QComboBox* combo, int row) {
  combo->setCurrentIndex(row);
  emit combo->activated(row);
}

// A QtTest table of one column, the index of a row of table, each row
// named by its first member.
template <typename Row, size_t N>
void indexRows(const Row (&table)[N]) {
  QTest::addColumn<int>("i");
  for (size_t i = 0; i < N; ++i) QTest::newRow(table[i].name) << static_cast<int>(i);
}
