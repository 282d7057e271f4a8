// The bytes a path is known by outside Qt: the engine, the box library,
// statfs/stat and the shell all get them, and a path may hold any bytes a
// file system holds.  In the window a path is a QString that gives those
// bytes back exactly: valid UTF-8 (the local 8-bit encoding of Qt on Unix)
// as its characters, and each byte that is not part of valid UTF-8 as the
// lone surrogate U+DC80 + byte, which no text decoded from UTF-8 holds.
// Every path the window hands on goes through localFileName(); Qt's own file
// functions are never given a path that may hold such a byte.
#pragma once

#include <QByteArray>
#include <QString>

QByteArray localFileName(const QString& path);
QString fromLocalFileName(const QByteArray& bytes);

// The path as text to show a person: an undecodable byte as U+FFFD.
QString shownFileName(const QString& path);

// Whether a file (of any type) exists at path, symbolic links followed.
bool localFileExists(const QString& path);
