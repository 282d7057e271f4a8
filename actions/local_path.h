// The bytes a path is known by outside Qt: the engine, the box library,
// statfs/stat and the shell all get the local 8-bit file name encoding, so a
// path with any character the file system holds reaches the file it names.
// Every path the window hands on goes through here.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

inline QByteArray localFileName(const QString& path) { return QFile::encodeName(path); }
