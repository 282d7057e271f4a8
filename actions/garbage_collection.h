// The garbage-collection action's contact with the system, and its parts
// that tests reach directly.
#pragma once

#include <sys/vfs.h>

#include <QByteArray>
#include <QList>
#include <QString>

// The operations the action calls; the real ones by default, replaced in tests.
struct GcSystem {
  int (*statfs)(const char* path, struct statfs* buf);
  int (*collect)(const char* path);  // the box library's _BoxGarbageCollect
  int (*shell)(const char* command);
};
extern GcSystem gcSystem;

// 1 when the file system holding path has room for a copy of the box and 8
// blocks to spare, 0 when not, -1 when that cannot be told.
int hasSpace(const QString& path);

// Runs the collector with SIGSEGV and SIGBUS caught: its 16-bit result, or
// -1 when a signal aborted it.  The previous dispositions are restored.
int guardedGarbageCollect(const char* path);
void gcAbortHandler(int signal);

// What a failure code of the collector means for the box file at path, for
// the details of the message that tells it.
QString collectorFailure(int rc, const QString& path);

class ActionHost;

// The garbage-collection action over the box file the host selects.
void garbageCollectionAction(ActionHost& host);

// The removal commands after a successful collection, in order: the index
// files when deleteIndex (the user confirmed it), then the text indexes.
QList<QByteArray> indexRemovals(const ActionHost& host, bool deleteIndex);

// "/bin/rm -rf -- " and the pattern; a directory part holding anything beyond
// letters, digits and /._-+ is quoted for the shell, the file part is not.
QByteArray removalCommand(const QString& pattern);
