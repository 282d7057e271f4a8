// The Qtopia message stand-in: handed to a qcop program on PATH, or named on
// standard error when there is none.
#include <sys/stat.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

#include <qpe/qcopenvelope.h>

class QtopiaTest : public QObject {
  Q_OBJECT

  QByteArray savedPath_;

 private slots:
  void init() { savedPath_ = qgetenv("PATH"); }
  void cleanup() { qputenv("PATH", savedPath_); }

  void messageIsHandedToTheQcopProgram() {
    QTemporaryDir bin;
    const QString log = bin.path() + "/sent";
    // The program writes its arguments beside the log and renames the file
    // into place, so the log is never seen half written.
    QFile script(bin.path() + "/qcop");
    QVERIFY(script.open(QIODevice::WriteOnly));
    script.write(
        ("#!/bin/sh\necho \"$1|$2\" > " + log + ".part && mv " + log + ".part " + log + "\n").toLocal8Bit());
    script.close();
    QVERIFY(chmod(QFile::encodeName(script.fileName()).constData(), 0755) == 0);
    qputenv("PATH", QFile::encodeName(bin.path()) + ":" + savedPath_);

    { QCopEnvelope envelope("QPE/System", "restart()"); }
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(log), 10000);
    QFile sent(log);
    QVERIFY(sent.open(QIODevice::ReadOnly));
    QCOMPARE(sent.readAll(), QByteArray("QPE/System|restart()\n"));
  }

  void withoutAQcopProgramTheMessageIsNamed() {
    qputenv("PATH", "/nonexistent");
    // Standard error goes to a file for the time of the send.
    QTemporaryDir dir;
    const QByteArray errPath = QFile::encodeName(dir.path() + "/err");
    fflush(stderr);
    const int saved = dup(STDERR_FILENO);
    QVERIFY(freopen(errPath.constData(), "w", stderr) != nullptr);
    { QCopEnvelope envelope("QPE/System", "restart()"); }
    fflush(stderr);
    dup2(saved, STDERR_FILENO);
    close(saved);
    QFile err(QString::fromLocal8Bit(errPath));
    QVERIFY(err.open(QIODevice::ReadOnly));
    QCOMPARE(err.readAll(), QByteArray("vorn: no qcop program to send restart() on QPE/System\n"));
  }
};

QTEST_GUILESS_MAIN(QtopiaTest)
#include "qtopia_test.moc"
