// The box library's own check ("BXD"), shown as two result rows.
#pragma once

#include <QString>

class ActionHost;

// Replaceable so that tests can give any result; the product calls the
// library's _BXDFileCheckLevel.
using BoxCheckFunction = int (*)(const char* path, int level);
extern BoxCheckFunction boxCheckFunction;

inline constexpr int kFullCheckLevel = 255;

// Adds "BXDFileCheck Start" and the outcome row for the check of path.
void selfCheckAction(ActionHost& host, const QString& path);
