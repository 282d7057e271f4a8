// The garbage-collection action, driven through the window with the system
// calls replaced, and once end to end with the real ones.
#include <signal.h>

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTreeWidget>

#include "boxlib.h"
#include "garbage_collection.h"
#include "gui_support.h"
#include "run_vorn.h"
#include "vorn.h"

using namespace boxtest;

namespace {

struct statfs fakeFs;
int fakeStatfs(const char*, struct statfs* buf) {
  *buf = fakeFs;
  return 0;
}
int collectorResult = 0;
int collectorCalls = 0;
int fakeCollect(const char*) {
  ++collectorCalls;
  return collectorResult;
}
int raiseInCollector(const char*) {
  ++collectorCalls;
  raise(collectorResult);
  return 0;
}
QList<QByteArray> commands;
int recordShell(const char* command) {
  commands << command;
  return 0;
}
int seenSignal = 0;
void marker(int signal) { seenSignal = signal; }

Bytes boxWithGarbage() {
  return BoxBuilder()
      .field(1, "NAME", "Name")
      .card(1, {text("Ann")})
      .garbage(30)
      .card(2, {text("Bob")})
      .indexCard({{"NAME", "n.idx"}})
      .terminator()
      .build()
      .bytes;
}

}  // namespace

class GcActionTest : public QObject {
  Q_OBJECT

  TempHome* home = nullptr;
  Vorn* w = nullptr;
  QTemporaryDir bin;
  QByteArray oldPath;

  QString qcopLog() const { return bin.path() + "/sent"; }
  // What the qcop program received.  It runs detached: wait for it up to
  // 5 s when something is expected, 200 ms when nothing is.
  QByteArray sent(bool expected = true) const {
    for (int i = 0; i < (expected ? 500 : 20) && !QFile::exists(qcopLog()); ++i) QTest::qWait(10);
    QFile log(qcopLog());
    log.open(QIODevice::ReadOnly);
    return log.readAll();
  }
  // Runs the action answering every question with `answer`.
  QList<MessageBoxAnswerer::Seen> collect(QMessageBox::StandardButton answer) {
    return collect(QList{answer});
  }
  QList<MessageBoxAnswerer::Seen> collect(QList<QMessageBox::StandardButton> answers) {
    MessageBoxAnswerer answerer(answers);
    QTest::mouseClick(w->gcButton, Qt::LeftButton);
    return answerer.seen;
  }
  static QStringList captions(const QList<MessageBoxAnswerer::Seen>& seen) {
    QStringList out;
    for (const auto& s : seen) out << s.caption + ": " + s.text;
    return out;
  }
  void expectIdle() {
    QVERIFY(w->gcGroup->isEnabled() && w->anGroup->isEnabled() && w->fileGroup->isEnabled());
  }

 private slots:
  void initTestCase() {
    // A qcop program of our own records the restart request.
    QFile script(bin.path() + "/qcop");
    script.open(QIODevice::WriteOnly);
    script.write(("#!/bin/sh\necho \"$1 $2\" >> " + qcopLog() + "\n").toLocal8Bit());
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    oldPath = qgetenv("PATH");
    qputenv("PATH", bin.path().toLocal8Bit() + ":" + oldPath);
  }
  void cleanupTestCase() { qputenv("PATH", oldPath); }
  void init() {
    home = new TempHome;
    home->put("KQDATE.BOX", Bytes(10000, 0));
    w = new Vorn;
    w->show();
    gcSystem = {fakeStatfs, fakeCollect, recordShell};
    fakeFs = {};
    fakeFs.f_bsize = 4096;
    fakeFs.f_bavail = 1000;
    collectorResult = 0;
    collectorCalls = 0;
    commands.clear();
    QFile::remove(qcopLog());
  }
  void cleanup() {
    delete w;
    delete home;
  }

  void freeSpaceBoundary() {
    new QTreeWidgetItem(w->result, {"kept"});
    fakeFs.f_bavail = 3 + 8;  // 10000 bytes are 3 blocks
    QCOMPARE(captions(collect(QMessageBox::No)), QStringList{"Error: No space in Main strage.\n"});
    QCOMPARE(w->result->topLevelItemCount(), 1);
    fakeFs.f_bavail = 3 + 8 + 1;
    QCOMPARE(captions(collect(QMessageBox::No)),
             QStringList{"Confirm: Are you sure you want\nto exec garbage?"});
    QCOMPARE(w->result->topLevelItemCount(), 0);
    QCOMPARE(collectorCalls, 0);

    home->put("KQDATE.BOX", {});  // an empty box needs 9 blocks
    fakeFs.f_bavail = 8;
    QCOMPARE(captions(collect(QMessageBox::No)).size(), 1);
    QCOMPARE(captions(collect(QMessageBox::No))[0].left(5), QStringLiteral("Error"));
    fakeFs.f_bavail = 9;
    QCOMPARE(captions(collect(QMessageBox::No))[0].left(7), QStringLiteral("Confirm"));
    expectIdle();
  }

  void confirmationDecides() {
    collect(QMessageBox::No);
    collect(QMessageBox::Escape);
    QCOMPARE(collectorCalls, 0);
    expectIdle();
    collectorResult = 65536;  // only the low 16 bits count: success
    const QStringList seen = captions(collect(QMessageBox::Yes));
    QCOMPARE(collectorCalls, 1);
    QCOMPARE(seen.last(), QStringLiteral("Completed: garbage collect is completed.\nReboot now."));
    QCOMPARE(sent(), QByteArray("QPE/System restart()\n"));
    QCOMPARE(commands, QList<QByteArray>{"/bin/rm -rf " + home->boxDir().toLatin1() + "KQDATE*.TDX"});
  }

  void failedCollectionRemovesNothing() {
    collectorResult = -1;  // 65535: a plain failure, not a signal
    QCOMPARE(captions(collect(QMessageBox::Yes)).last(),
             QStringLiteral("Error: Garbage collection was failed."));
    QVERIFY(commands.isEmpty());
    QCOMPARE(sent(false), QByteArray());
    expectIdle();
  }

  void faultsInTheCollectorAreCaughtEveryTime() {
    gcSystem.collect = raiseInCollector;
    struct sigaction mine = {};
    mine.sa_handler = marker;
    sigaction(SIGSEGV, &mine, nullptr);
    sigaction(SIGBUS, &mine, nullptr);
    const QString question = "Error: Garbage collection was failed.\nYou should reboot.\n\nReboot now ?";

    collectorResult = SIGBUS;
    QCOMPARE(captions(collect({QMessageBox::Yes, QMessageBox::No})).last(), question);
    QCOMPARE(sent(false), QByteArray());
    collectorResult = SIGSEGV;
    QCOMPARE(captions(collect(QMessageBox::Yes)).last(), question);
    QCOMPARE(sent(), QByteArray("QPE/System restart()\n"));
    QCOMPARE(collectorCalls, 2);
    QVERIFY(commands.isEmpty());

    // Our own dispositions are back.
    struct sigaction now = {};
    sigaction(SIGSEGV, nullptr, &now);
    QCOMPARE(reinterpret_cast<void*>(now.sa_handler), reinterpret_cast<void*>(marker));
    sigaction(SIGBUS, nullptr, &now);
    QCOMPARE(reinterpret_cast<void*>(now.sa_handler), reinterpret_cast<void*>(marker));
    raise(SIGBUS);
    QCOMPARE(seenSignal, SIGBUS);
    signal(SIGSEGV, SIG_DFL);
    signal(SIGBUS, SIG_DFL);
  }

  void removalCommands() {
    const QByteArray dir = home->boxDir().toLatin1();
    w->gcDeleteIndex->setChecked(true);
    collect(QMessageBox::Yes);
    QCOMPARE(commands,
             (QList<QByteArray>{"/bin/rm -rf " + dir + "KQDATE*.IDX", "/bin/rm -rf " + dir + "KQDATE*.TDX"}));

    home->put("kqoutbox.box", {1});
    w->appliCombo->setCurrentIndex(5);
    commands.clear();
    w->gcDeleteIndex->setChecked(false);
    collect(QMessageBox::Yes);
    QCOMPARE(commands, QList<QByteArray>{"/bin/rm -rf " + dir + "kqoutbox*.tdx"});

    // The inbox on the SD card, and the row whose pattern names the box itself.
    w->appliCombo->setCurrentIndex(4);
    w->storageCombo->setCurrentIndex(1);
    QCOMPARE(indexRemovals(*w, true), (QList<QByteArray>{"/bin/rm -rf /mnt/card/QtPalmtop/bxd/kqinbox*.idx",
                                                         "/bin/rm -rf /mnt/card/QtPalmtop/bxd/kqinbox*.tdx",
                                                         "/bin/rm -rf /mnt/card/QtPalmtop/bxd/vn*.tdx"}));
    w->appliCombo->setCurrentIndex(6);
    QVERIFY(indexRemovals(*w, true).isEmpty());
  }

  void hostileDirectoriesAreQuoted() {
    QCOMPARE(removalCommand("/home/a b/Applications/bxd/KQDATE*.TDX"),
             QByteArray("/bin/rm -rf '/home/a b/Applications/bxd/'KQDATE*.TDX"));
    QCOMPARE(removalCommand("/home/x';rm -rf ~;'/bxd/vn*.tdx"),
             QByteArray("/bin/rm -rf '/home/x'\\'';rm -rf ~;'\\''/bxd/'vn*.tdx"));
    QCOMPARE(removalCommand("/home/$(reboot)/bxd/K*.IDX"),
             QByteArray("/bin/rm -rf '/home/$(reboot)/bxd/'K*.IDX"));
    QCOMPARE(removalCommand("/home/user_1.x+y-z/bxd/K*.IDX"),
             QByteArray("/bin/rm -rf /home/user_1.x+y-z/bxd/K*.IDX"));
  }

  void endToEndAsAUserWould() {
    // The real collector, free-space test and shell, in a HOME whose name
    // needs quoting; index files of the box go, everything else stays.
    TempHome odd;
    const QString hostile = odd.path() + "/it's a home";
    QDir().mkpath(hostile + "/Applications/bxd");
    qputenv("HOME", hostile.toLocal8Bit());
    const QString dir = hostile + "/Applications/bxd/";
    auto touch = [&](const QString& name) {
      QFile f(dir + name);
      f.open(QIODevice::WriteOnly);
      f.write("x");
    };
    QFile box(dir + "KQADRS.BOX");
    box.open(QIODevice::WriteOnly);
    const Bytes bytes = boxWithGarbage();
    box.write(reinterpret_cast<const char*>(bytes.data()), static_cast<qint64>(bytes.size()));
    box.close();
    for (const char* name : {"KQADRS_name.IDX", "KQADRS.TDX", "KQDATE.IDX", "keep.txt"}) touch(name);

    gcSystem = GcSystem{::statfs, _BoxGarbageCollect, std::system};
    Vorn window;
    window.show();
    window.appliCombo->setCurrentIndex(1);
    window.gcDeleteIndex->setChecked(true);
    MessageBoxAnswerer yes(QMessageBox::Yes);
    QTest::mouseClick(window.gcButton, Qt::LeftButton);
    QCOMPARE(captions(yes.seen).last(),
             QStringLiteral("Completed: garbage collect is completed.\nReboot now."));
    QCOMPARE(sent(), QByteArray("QPE/System restart()\n"));

    QStringList left = QDir(dir).entryList(QDir::Files);
    left.sort();
    QCOMPARE(left, (QStringList{"KQADRS.BOX", "KQDATE.IDX", "keep.txt"}));
    QVERIFY(QFile(dir + "KQADRS.BOX").size() < static_cast<qint64>(bytes.size()));
    const RunResult check = runVorn({(dir + "KQADRS.BOX").toStdString()});
    QVERIFY(!QString::fromStdString(check.out).contains(QRegularExpression("\n    [48]0[0-9a-f]{6} ")));
  }
};

QTEST_MAIN(GcActionTest)
#include "gc_action_test.moc"
