// The garbage-collection action: free-space test, confirmation, the guarded
// collector, removal of the index files and the restart request.
#include "garbage_collection.h"

#include <setjmp.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QMessageBox>
#include <QPushButton>

#include <cstdio>
#include <cstdlib>

#include <qpe/qcopenvelope.h>

#include "action_host.h"
#include "action_lock.h"
#include "box_analysis.h"
#include "boxlib.h"
#include "collection.h"
#include "findings.h"
#include "local_path.h"
#include "report_scope.h"
#include "reporter.h"
#include "resolution.h"
#include "text_coding.h"

GcSystem gcSystem = {::statfs, _BoxGarbageCollect, std::system};

namespace {

// The jump-back point of the guarded call.  sigsetjmp saves the signal mask,
// so a fault in a later call is caught as the first one was.
sigjmp_buf gcJumpPoint;

// Yes first, No second; default and escape as given.  The file, when
// given, is named below the text.
bool askYesNo(QWidget* parent, QMessageBox::Icon icon, const QString& caption, const QString& text,
              QMessageBox::StandardButton defaultButton, const QString& file = QString()) {
  QMessageBox box(icon, caption, text, QMessageBox::Yes | QMessageBox::No, parent);
  box.setInformativeText(shownFileName(file));
  box.setDefaultButton(defaultButton);
  box.setEscapeButton(QMessageBox::No);
  return box.exec() == QMessageBox::Yes;
}

void sendRestart() { QCopEnvelope("QPE/System", "restart()"); }

// Collects the refusing findings of one analysis as lines of text.
class RefusalCollector : public SilentReporter {
 public:
  void entry(int32_t index, uint32_t offset, uint32_t, uint32_t, uint32_t code, const char* text,
             const char* format, va_list args) override __attribute__((format(printf, 8, 0))) {
    if (!refusesCollection(index, code)) return;
    const std::string detail = format ? vformat(format, args) : "";
    const char* section = sectionTitle(index);
    const QString where = section ? QString::fromLatin1(section)
                                  : QCoreApplication::translate("Vorn", "card %1 at 0x%2")
                                        .arg(index)
                                        .arg(offset, 6, 16, QLatin1Char('0'));
    lines << QStringLiteral("%1: %2 %3%4")
                 .arg(where, QString::fromLatin1(severityName(code)), QString::fromLatin1(text ? text : ""),
                      QString::fromLatin1(detail.c_str()));
  }
  QStringList lines;
};

// The findings of the box at path that make the collector refuse it.
QStringList refusingFindings(const QByteArray& path) {
  BoxAnalysis analysis(path.constData());
  if (!analysis.file.data) return {};
  RefusalCollector collector;
  ReportScope scope(&collector, {});
  analysis.run();
  return collector.lines;
}

}  // namespace

QString collectorFailure(int rc, const QString& path) {
  const QString code = QStringLiteral("0x%1").arg(rc, 4, 16, QLatin1Char('0'));
  const QString unchanged = QCoreApplication::translate("Vorn", "The box file is unchanged.");
  switch (rc) {
    case BOX_GC_UNREADABLE:
      return QCoreApplication::translate("Vorn", "Code %1: the box file cannot be opened or read.\n%2")
          .arg(code, unchanged);
    case BOX_GC_DAMAGED: {
      QStringList findings = refusingFindings(localFileName(path));
      if (findings.isEmpty())
        findings << QCoreApplication::translate(
            "Vorn",
            "No finding refuses it alone: its item info does not lie wholly before the "
            "first card, or it holds more cards than a box can.");
      return QCoreApplication::translate(
                 "Vorn",
                 "Code %1: refused, the box file is damaged in a way that garbage collection cannot "
                 "repair:\n%2\n%3\nIts cards can be rescued into a new box file with\n"
                 "  boxtool recover BROKEN.BOX NEW.BOX\nwhere BROKEN.BOX is %4")
          .arg(code, findings.join(QLatin1Char('\n')), unchanged, path);
    }
    case BOX_GC_WRITE_FAILED:
      return QCoreApplication::translate(
                 "Vorn",
                 "Code %1: the collected box could not be written beside it (disk full, read-only "
                 "directory or I/O error).\n%2")
          .arg(code, unchanged);
    case BOX_GC_REPLACE_FAILED:
      return QCoreApplication::translate("Vorn",
                                         "Code %1: the collected box could not replace the box file.\n%2")
          .arg(code, unchanged);
    case BOX_GC_BUSY:
      return QCoreApplication::translate("Vorn",
                                         "Code %1: another program is writing the box file; try again when "
                                         "it is done.\n%2")
          .arg(code, unchanged);
    case BOX_GC_CHANGED:
      return QCoreApplication::translate("Vorn",
                                         "Code %1: another program changed the box file while it was being "
                                         "collected; it is left as that program made it.")
          .arg(code);
    default:
      return QCoreApplication::translate("Vorn", "Code %1: the box library gives no meaning for this code.")
          .arg(code);
  }
}

int hasSpace(const QString& path) {
  const QByteArray local = localFileName(path);
  struct statfs fs;
  if (gcSystem.statfs(local.constData(), &fs) != 0) return -1;
  struct stat st;
  if (stat(local.constData(), &st) != 0) return -1;
  const unsigned long long blockSize = static_cast<unsigned long long>(fs.f_bsize);
  if (blockSize == 0) return -1;
  const unsigned long long size = static_cast<unsigned long long>(st.st_size);
  const unsigned long long needed = (size + blockSize - 1) / blockSize + 8;
  return needed < static_cast<unsigned long long>(fs.f_bavail) ? 1 : 0;
}

void gcAbortHandler(int signal) {
  // Only async-signal-safe calls here: the line is put together by hand.
  char line[64] = " !! Caution: _BoxGarbageCollect abort by sig ";
  size_t n = sizeof " !! Caution: _BoxGarbageCollect abort by sig " - 1;
  char digits[12];
  int count = 0;
  for (unsigned v = static_cast<unsigned>(signal); count == 0 || v != 0; v /= 10) {
    digits[count++] = static_cast<char>('0' + v % 10);
  }
  while (count > 0) line[n++] = digits[--count];
  line[n++] = '.';
  line[n++] = '\n';
  [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, line, n);
  siglongjmp(gcJumpPoint, signal);
}

int guardedGarbageCollect(const char* path) {
  struct sigaction guard = {};
  guard.sa_handler = gcAbortHandler;
  sigemptyset(&guard.sa_mask);
  struct sigaction previousSegv;
  struct sigaction previousBus;
  sigaction(SIGSEGV, &guard, &previousSegv);
  sigaction(SIGBUS, &guard, &previousBus);

  // volatile: the value must survive the jump back.
  volatile int result = -1;
  if (sigsetjmp(gcJumpPoint, 1) == 0) {
    result = static_cast<int>(static_cast<unsigned>(gcSystem.collect(path)) & 0xFFFF);
  } else {
    result = -1;
  }

  sigaction(SIGSEGV, &previousSegv, nullptr);
  sigaction(SIGBUS, &previousBus, nullptr);
  return result;
}

QByteArray removalCommand(const QString& pattern) {
  const qsizetype slash = pattern.lastIndexOf(QLatin1Char('/'));
  const QByteArray dir = localFileName(pattern.left(slash + 1));
  const QByteArray file = localFileName(pattern.mid(slash + 1));
  bool plain = true;
  for (const char c : dir) {
    const bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '/' ||
                    c == '.' || c == '_' || c == '-' || c == '+';
    plain = plain && ok;
  }
  // "--": a directory that begins with "-" is never read as options.
  QByteArray command = "/bin/rm -rf -- ";
  if (plain) {
    command += dir;
  } else {
    // Single quotes keep everything literal; a quote itself ends them, is
    // escaped, and opens them again.
    command += '\'';
    for (const char c : dir) command += c == '\'' ? QByteArray("'\\''") : QByteArray(1, c);
    command += '\'';
  }
  return command + file;
}

QList<QByteArray> indexRemovals(const ActionHost& host, bool deleteIndex) {
  // The box the user picked from "Other Boxes" is named by every pattern
  // built from it: nothing is removed for that row.
  const int row = host.applicationRow();
  if (row == kOtherBoxesRow) return {};
  QList<QByteArray> commands;
  if (deleteIndex) commands << removalCommand(host.boxFilePath("*.idx"));
  commands << removalCommand(host.boxFilePath("*.tdx"));
  // The inbox: its own text indexes, then the mail viewer's, on its medium.
  if (row == kInboxRow) commands << removalCommand(host.boxDir(true) + QStringLiteral("vn*.tdx"));
  return commands;
}

void garbageCollectionAction(ActionHost& host) {
  QWidget* parent = host.dialogParent();
  const QString path = resolveBoxFile(host, true);
  if (path.isEmpty()) return;
  if (hasSpace(path) == 0) {
    QMessageBox::warning(
        parent, QCoreApplication::translate("Vorn", "Error"),
        QCoreApplication::translate("Vorn", "No space in %1 strage.\n").arg(host.storageName()));
    return;
  }
  host.clearResults();
  actionLock lock(&host);
  if (!askYesNo(parent, QMessageBox::Warning, QCoreApplication::translate("Vorn", "Confirm"),
                QCoreApplication::translate("Vorn", "Are you sure you want\nto exec garbage?"),
                QMessageBox::No, path)) {
    return;
  }

  const QByteArray name = localFileName(path);
  const int rc = guardedGarbageCollect(name.constData());
  if (rc < 0) {
    if (askYesNo(parent, QMessageBox::Critical, QCoreApplication::translate("Vorn", "Error"),
                 QCoreApplication::translate(
                     "Vorn", "Garbage collection was failed.\nYou should reboot.\n\nReboot now ?"),
                 QMessageBox::Yes)) {
      sendRestart();
    }
    return;
  }
  if (rc > 0) {
    QMessageBox failed(QMessageBox::Warning, QCoreApplication::translate("Vorn", "Error"),
                       QCoreApplication::translate("Vorn", "Garbage collection was failed."), QMessageBox::Ok,
                       parent);
    failed.setDetailedText(collectorFailure(rc, path));
    // A box the collector refuses can still be rescued into a new one.
    QPushButton* recover =
        rc == BOX_GC_DAMAGED && host.offersRecovery()
            ? failed.addButton(QCoreApplication::translate("Vorn", "Recover..."), QMessageBox::ActionRole)
            : nullptr;
    if (recover) {
      recover->setToolTip(QCoreApplication::translate(
          "Vorn", "Rescue the records of this box into a new box file; this one is only read"));
      failed.setDefaultButton(QMessageBox::Ok);
      failed.setEscapeButton(QMessageBox::Ok);
    }
    failed.exec();
    if (recover && failed.clickedButton() == recover) host.recoverBox(path);
    return;
  }

  // The question only when its answer changes what is removed.
  const bool indexFilesRemovable = indexRemovals(host, true).size() > indexRemovals(host, false).size();
  const bool deleteIndex =
      host.switches().deleteIndex && indexFilesRemovable &&
      askYesNo(parent, QMessageBox::Warning, QCoreApplication::translate("Vorn", "Confirm"),
               QCoreApplication::translate(
                   "Vorn",
                   "Are you sure you want\nto delete Index file?\n\nIf you select NO then\ncontiue without "
                   "deleting\n Index file"),
               QMessageBox::No);
  for (const QByteArray& command : indexRemovals(host, deleteIndex)) gcSystem.shell(command.constData());
  QMessageBox::information(parent, QCoreApplication::translate("Vorn", "Completed"),
                           QCoreApplication::translate("Vorn", "garbage collect is completed.\nReboot now."));
  sendRestart();
}
