// Helpers for the window tests: a temporary HOME holding box files, and
// answerers for the modal message boxes and the popup menu.
#pragma once

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QList>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include "box_builder.h"

// A fresh HOME for one test, with the main box directory in it.
class TempHome {
 public:
  TempHome() : old_(qgetenv("HOME")) {
    qputenv("HOME", dir_.path().toLocal8Bit());
    QDir().mkpath(boxDir());
  }
  ~TempHome() { qputenv("HOME", old_); }
  QString path() const { return dir_.path(); }
  QString boxDir() const { return dir_.path() + QStringLiteral("/Applications/bxd/"); }
  QString put(const QString& name, const boxtest::Bytes& bytes) const {
    QFile file(boxDir() + name);
    file.open(QIODevice::WriteOnly);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<qint64>(bytes.size()));
    return file.fileName();
  }
  void writeConfig(const QString& name, const QByteArray& text) const {
    QDir().mkpath(path() + QStringLiteral("/Settings"));
    QFile file(path() + QStringLiteral("/Settings/") + name + QStringLiteral(".conf"));
    file.open(QIODevice::WriteOnly);
    file.write(text);
  }

 private:
  QTemporaryDir dir_;
  QByteArray old_;
};

// Answers the message boxes that open, in turn, with the given answers (the
// last one for every further box) and records their captions and texts;
// QMessageBox::Escape answers with the escape key's button.
class MessageBoxAnswerer : public QObject {
 public:
  struct Seen {
    QString caption;
    QString text;
  };
  explicit MessageBoxAnswerer(QMessageBox::StandardButton answer = QMessageBox::Ok)
      : MessageBoxAnswerer(QList<QMessageBox::StandardButton>{answer}) {}
  explicit MessageBoxAnswerer(QList<QMessageBox::StandardButton> answers) : answers_(answers) {
    connect(&timer_, &QTimer::timeout, this, [this] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (!box || !box->isVisible()) return;
      const QMessageBox::StandardButton answer =
          answers_[std::min<qsizetype>(seen.size(), answers_.size() - 1)];
      seen.append({box->windowTitle(), box->text()});
      QAbstractButton* button = answer == QMessageBox::Escape ? box->escapeButton() : box->button(answer);
      if (button) {
        button->click();
      } else {
        box->reject();
      }
    });
    timer_.start(5);
  }
  QList<Seen> seen;

 private:
  QList<QMessageBox::StandardButton> answers_;
  QTimer timer_;
};

// Answers the next popup menu: triggers the entry with `text`, or closes the
// menu when text is empty; records the entries it offered.
class MenuAnswerer : public QObject {
 public:
  explicit MenuAnswerer(const QString& text) : text_(text) {
    connect(&timer_, &QTimer::timeout, this, [this] {
      auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
      if (!menu) return;
      timer_.stop();
      for (QAction* action : menu->actions()) offered.append(action->text());
      for (QAction* action : menu->actions()) {
        if (!text_.isEmpty() && action->text() == text_) {
          // Chosen as a user would, so that exec() returns it.
          menu->setActiveAction(action);
          QTest::keyClick(menu, Qt::Key_Return);
          return;
        }
      }
      menu->close();
    });
    timer_.start(5);
  }
  QStringList offered;

 private:
  QString text_;
  QTimer timer_;
};
