// The garbage-collection action, driven through the window with the system
// calls replaced, and end to end with the real ones.  Without a qcop program
// on PATH the restart request is named on standard error, at once.
#include <signal.h>

#include "boxlib.h"
#include "garbage_collection.h"
#include "golden.h"
#include "gui_support.h"
#include "run_vorn.h"

using namespace boxtest;

namespace {

Vorn* window = nullptr;
QStringList events;  // what the replaced calls saw, in order
struct statfs fakeFs;
bool statfsFails = false;
int fakeStatfs(const char*, struct statfs* buf) { return *buf = fakeFs, statfsFails ? -1 : 0; }
int collectorResult = 0, collectorSignal = 0;
int fakeCollect(const char*) {
  events << (groupsDisabled(*window) ? "gc" : "gc while idle");
  if (collectorSignal) raise(collectorSignal);
  return collectorResult;
}
int recordShell(const char* command) { return events << QString::fromUtf8(command), 0; }

// A run in short: the dialogs by letter (lower case when the form was not
// locked), then the calls, then a restart request and caution lines.
// C confirm collecting, I confirm deleting index files, D done, F failed,
// B failed by a fault (reboot?), S no space, L fast-loaded, M no box file.
const QMap<QString, QString> kDialogs = {
    {"C", "Confirm: Are you sure you want\nto exec garbage?"},
    {"I",
     "Confirm: Are you sure you want\nto delete Index file?\n\nIf you select NO then\ncontiue without "
     "deleting\n Index file"},
    {"D", "Completed: garbage collect is completed.\nReboot now."},
    {"F", "Error: Garbage collection was failed."},
    {"B", "Error: Garbage collection was failed.\nYou should reboot.\n\nReboot now ?"},
    {"S", "Error: No space in Main strage.\n"},
    {"L", "Error: Selected Application is set FastLoad.\nPlease unset fastload."},
    {"M", "File error: Box file is not found.\n~/KQDATE.BOX"}};

// clang-format off
const struct { const char* name; int size, avail; const char *preload, *run; } kRefusals[] = {
    {"3 blocks and 8 to spare are too few", 10000, 11, "", "s | |"},
    {"one block more goes on", 10000, 12, "", "C | |"},
    {"an empty box needs 9", 0, 8, "", "s | |"},
    {"an empty box with 9 goes on", 0, 9, "", "C | |"},
    {"free space unknown goes on", 10000, -1, "", "C | |"},
    {"fast-loaded application", 10000, 12, "[Other]\nApps = x\n[Preload]\nApps = todolist,datebook\n", "l | |"},
    {"fast load: case matters", 10000, 12, "[Preload]\nApps = Datebook\n", "C | |"},
    {"fast load: the group matters", 10000, 12, "[Other]\nApps = datebook\n", "C | |"},
    {"fast load: the key matters", 10000, 12, "[Preload]\nOther = datebook\n", "C | |"},
    {"missing box", -1, 12, "", "m | |"},
};
const struct { const char* name; int row; bool deleteIndex; int result, signal; const char *keys, *run; } kRuns[] = {
    {"Return is No to collecting", 0, true, 0, 0, "R", "C | |"},
    {"Escape is No to collecting", 0, true, 0, 0, "E", "C | |"},
    {"No to collecting", 0, true, 0, 0, "N", "C | |"},
    {"Yes collects; index files unchecked", 0, false, 0, 0, "Y", "C D | gc ~/KQDATE*.TDX | restart"},
    {"Return is No to index files", 0, true, 0, 0, "YR", "C I D | gc ~/KQDATE*.TDX | restart"},
    {"Escape is No to index files", 0, true, 0, 0, "YE", "C I D | gc ~/KQDATE*.TDX | restart"},
    {"No to index files", 0, true, 0, 0, "YN", "C I D | gc ~/KQDATE*.TDX | restart"},
    {"Yes to index files", 0, true, 0, 0, "YY", "C I D | gc ~/KQDATE*.IDX ~/KQDATE*.TDX | restart"},
    {"Other Boxes: no index question, nothing removed", 6, true, 0, 0, "Y", "C D | gc | restart"},
    {"outbox: lower case", 5, true, 0, 0, "YY", "C I D | gc ~/kqoutbox*.idx ~/kqoutbox*.tdx | restart"},
    {"only high bits set: collected", 0, false, 65536, 0, "Y", "C D | gc ~/KQDATE*.TDX | restart"},
    {"failure: nothing removed, no restart", 0, true, 3, 0, "YY", "C F | gc |"},
    {"minus one is a plain failure", 0, true, -1, 0, "YY", "C F | gc |"},
    {"fault: Return is Yes to rebooting", 0, true, 0, SIGSEGV, "YR", "C B | gc | restart sig 11"},
    {"a later fault: Escape is No to rebooting", 0, true, 0, SIGBUS, "YE", "C B | gc | sig 7"},
};
const struct { const char* name; int result; const char* details; } kFailures[] = {
    {"unreadable", 1, "Code 0x0001: the box file cannot be opened or read.\nThe box file is unchanged."},
    {"not written", 3, "Code 0x0003: the collected box could not be written beside it (disk full, read-only "
                       "directory or I/O error).\nThe box file is unchanged."},
    {"not replaced", 4, "Code 0x0004: the collected box could not replace the box file.\nThe box file is unchanged."},
    {"unknown", 0x1234, "Code 0x1234: the box library gives no meaning for this code."},
    // The real collector refuses a box with card Errors, or with a Critical.
    {"GARBAGE", -1, "window_gc_refused.txt"},
    {"hostile_72_bytes", -1, "window_gc_refused_critical.txt"},
};
const struct { const char *name, *pattern, *command; } kQuoting[] = {
    {"plain", "/home/AZaz09_.+-/bxd/K*.IDX", "/bin/rm -rf -- /home/AZaz09_.+-/bxd/K*.IDX"},
    {"next to the plain ones", "/h@[`{:/K*.IDX", "/bin/rm -rf -- '/h@[`{:/'K*.IDX"},
    {"leading dash", "-home/bxd/K*.IDX", "/bin/rm -rf -- -home/bxd/K*.IDX"},
    {"blank", "/home/a b/bxd/K*.TDX", "/bin/rm -rf -- '/home/a b/bxd/'K*.TDX"},
    {"quote", "/home/x';rm -rf ~;'/vn*.tdx", "/bin/rm -rf -- '/home/x'\\'';rm -rf ~;'\\''/'vn*.tdx"},
    {"command substitution", "/home/$(reboot)/bxd/K*.IDX", "/bin/rm -rf -- '/home/$(reboot)/bxd/'K*.IDX"},
    {"outside ASCII", "/home/hömé/bxd/K*.IDX", "/bin/rm -rf -- '/home/hömé/bxd/'K*.IDX"},
    {"inbox on the SD card, mail viewer too", "row 4 1", "/mnt/card/QtPalmtop/bxd/kqinbox*.idx "
     "/mnt/card/QtPalmtop/bxd/kqinbox*.tdx /mnt/card/QtPalmtop/bxd/vn*.tdx"},
};
const struct { const char* name; QString home; bool relative; } kHomes[] = {
    {"quote and blanks", "it's a home", false},
    {"outside ASCII and shell metacharacters", "hömé 日本 $(touch pwned);`touch pwned` *", false},
    {"relative HOME beginning with a dash", "-home", true},
};
// clang-format on

}  // namespace

class GcActionTest : public QObject {
  Q_OBJECT

  TempHome* home = nullptr;
  Vorn* w = nullptr;
  StderrCapture* err = nullptr;
  QTemporaryDir bin;  // no qcop program here
  QByteArray savedPath;

  // Presses Exec, answers with keys, and tells the run in short.
  QString collect(const QString& keys, QList<MessageBoxAnswerer::Seen>* seen = nullptr) {
    MessageBoxAnswerer answerer(keys, [this] { return groupsDisabled(*w); });
    events.clear();
    QTest::mouseClick(w->gcButton, Qt::LeftButton);
    if (seen) *seen = answerer.seen;
    QStringList run;
    for (const auto& s : answerer.seen) {
      const QString letter = kDialogs.key(QString(s.text).replace(home->boxDir(), "~/"), s.text);
      run << (s.busy ? letter : letter.toLower());
    }
    run << "|" << events.replaceInStrings("/bin/rm -rf -- " + home->boxDir(), "~/") << "|";
    if (err->text().contains("vorn: no qcop program to send restart() on QPE/System\n")) run << "restart";
    for (const auto& m : QRegularExpression("Caution: _BoxGarbageCollect abort by (sig \\d+)\\.\n")
                             .globalMatch(QString::fromLatin1(err->text())))
      run << m.captured(1);
    if (!w->gcGroup->isEnabled() || !w->anGroup->isEnabled() || !w->fileGroup->isEnabled()) run << "locked";
    return run.join(' ');
  }

 private slots:
  void init() {
    savedPath = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(bin.path()));
    home = new TempHome;
    home->put("KQDATE.BOX", Bytes(10000, 0));
    window = w = new Vorn;
    w->show();
    gcSystem = {fakeStatfs, fakeCollect, recordShell};
    fakeFs = {};
    fakeFs.f_bsize = 4096;
    fakeFs.f_bavail = 1000;
    statfsFails = false;
    collectorResult = collectorSignal = 0;
    err = new StderrCapture;
  }
  void cleanup() {
    delete err;
    delete w;
    delete home;
    qputenv("PATH", savedPath);
    gcSystem = GcSystem{::statfs, _BoxGarbageCollect, std::system};
  }

  void refusalsComeBeforeTheLock_data() { indexRows(kRefusals); }
  void refusalsComeBeforeTheLock() {
    QFETCH(int, i);
    const auto& r = kRefusals[i];
    if (r.size >= 0) home->put("KQDATE.BOX", Bytes(r.size, 0));
    if (r.size < 0) QFile::remove(home->boxDir() + "KQDATE.BOX");
    home->writeConfig("Launcher", r.preload);
    fakeFs.f_bavail = std::max(r.avail, 0);
    statfsFails = r.avail < 0;
    w->resultModel->addRow("kept", "", "");
    QCOMPARE(collect("N"), r.run);
    QCOMPARE(w->resultModel->rowCount(), r.run[0] == 'C' ? 0 : 1);  // cleared once it goes on
  }

  void dialogsDecide_data() { indexRows(kRuns); }
  void dialogsDecide() {
    QFETCH(int, i);
    if (kRuns[i].row == 5) home->put("kqoutbox.box", {1});
    if (kRuns[i].row == 6) {
      w->selector.chooseFile(home->put("mine.box", {1}));  // opened: treated as "Other Boxes"
    } else {
      w->appliCombo->setCurrentIndex(kRuns[i].row);
    }
    w->gcDeleteIndex->setChecked(kRuns[i].deleteIndex);
    collectorResult = kRuns[i].result;
    collectorSignal = kRuns[i].signal;
    struct sigaction before[2], after[2];
    for (int k : {0, 1}) sigaction(k ? SIGBUS : SIGSEGV, nullptr, &before[k]);
    QList<MessageBoxAnswerer::Seen> seen;
    QCOMPARE(collect(kRuns[i].keys, &seen), kRuns[i].run);
    QVERIFY(idle(*w) && seen[0].informative == w->boxFilePath(".box"));  // the question names the box
    for (int k : {0, 1}) sigaction(k ? SIGBUS : SIGSEGV, nullptr, &after[k]);
    for (int k : {0, 1}) QVERIFY(after[k].sa_handler == before[k].sa_handler);  // the guard's are gone
  }

  void failuresAreExplained_data() { indexRows(kFailures); }
  void failuresAreExplained() {
    // The damaged sample's card Errors refuse it; its wrong header total,
    // which collection repairs, does not.  The box is never changed.
    QFETCH(int, i);
    const bool real = kFailures[i].result < 0;
    const QString path = home->boxDir() + "KQDATE.BOX";
    const QString sample = VORN_TEST_DATA "/" + QString(kFailures[i].name) + ".box";
    if (real) QVERIFY(QFile::remove(path) && QFile::copy(sample, path));
    QFile box(path);
    QVERIFY(box.open(QIODevice::ReadOnly));
    const QByteArray before = box.readAll();
    collectorResult = kFailures[i].result;
    if (real) gcSystem.collect = _BoxGarbageCollect;
    QList<MessageBoxAnswerer::Seen> seen;
    QCOMPARE(collect("Y", &seen), real ? "C F | |" : "C F | gc |");
    const std::string details = seen[1].details.replace(path, "~/KQDATE.BOX").toStdString();
    if (real && regeneratingGolden())
      writeFile(goldenPath(kFailures[i].details), {details.begin(), details.end()});
    QCOMPARE(details, real ? readGolden(kFailures[i].details) : std::string(kFailures[i].details));
    QVERIFY(box.seek(0) && box.readAll() == before);
  }

  void removalsAreQuotedForTheShell_data() { indexRows(kQuoting); }
  void removalsAreQuotedForTheShell() {
    QFETCH(int, i);
    const QStringList row = QString(kQuoting[i].pattern).split(' ');
    QByteArray command = removalCommand(QString::fromUtf8(kQuoting[i].pattern));
    if (row[0] == "row") {  // the removals of an application row and storage
      w->appliCombo->setCurrentIndex(row[1].toInt());
      w->storageCombo->setCurrentIndex(row[2].toInt());
      command = indexRemovals(*w, true).join(' ').replace("/bin/rm -rf -- ", "");
    }
    QCOMPARE(command, QByteArray(kQuoting[i].command));
  }

  void endToEndAsAUserWould_data() { indexRows(kHomes); }
  void endToEndAsAUserWould() {
    // The real collector, free-space test and shell: the box's index files
    // go; nothing else, inside or outside its directory.
    QFETCH(int, i);
    TempHome odd(kHomes[i].home);
    const QString top = QFileInfo(odd.path()).path(), cwd = QDir::currentPath(), dir = odd.boxDir();
    const auto back = qScopeGuard([cwd] { QDir::setCurrent(cwd); });
    QDir::setCurrent(top);
    if (kHomes[i].relative) qputenv("HOME", QFile::encodeName(kHomes[i].home));
    BoxBuilder builder;
    builder.field(1, "NAME", "Name").card(1, {text("Ann")}).garbage(30).card(2, {text("Bob")});
    const Bytes bytes = builder.indexCard({{"NAME", "n.idx"}}).terminator().build().bytes;
    odd.put("KQADRS.BOX", bytes);
    for (const char* name : {"KQADRS_name.IDX", "KQADRS.TDX", "KQDATE.IDX", "keep.txt"}) odd.put(name, {1});
    const QStringList outside{odd.path() + "/KQADRS.TDX", dir + "../KQADRS_x.IDX", top + "/KQADRS.IDX"};
    for (const QString& path : outside) TempHome::write(path, {1});
    gcSystem = GcSystem{::statfs, _BoxGarbageCollect, std::system};
    Vorn vorn;
    vorn.show();
    choose(vorn.appliCombo, 1);
    vorn.gcDeleteIndex->setChecked(true);
    MessageBoxAnswerer yes("Y");
    QTest::mouseClick(vorn.gcButton, Qt::LeftButton);
    QCOMPARE(yes.texts().last(), kDialogs["D"]);
    QVERIFY(err->text().contains("restart() on QPE/System"));

    QStringList left = QDir(dir).entryList(QDir::Files);
    QCOMPARE((left.sort(), left.join(' ')), "KQADRS.BOX KQDATE.IDX keep.txt");
    for (const QString& path : outside) QVERIFY2(QFile::exists(path), qPrintable(path));
    QVERIFY(!QFile::exists(top + "/pwned") && !QFile::exists(odd.path() + "/pwned"));
    QVERIFY(QFileInfo(dir + "KQADRS.BOX").size() < qint64(bytes.size()));
    const RunResult check = runVorn({QFile::encodeName(dir + "KQADRS.BOX").toStdString()});
    QVERIFY(!QString::fromStdString(check.out).contains(QRegularExpression("\n    [48]0[0-9a-f]{6} ")));
  }
};

QTEST_MAIN(GcActionTest)
#include "gc_action_test.moc"
