// The steps the window's actions share before they start: which box file is
// selected, and whether its application may be collected now.
#pragma once

#include <QString>

class ActionHost;

// The path of the selected box file, or a null string after a message box
// has told the user why there is none: the file does not exist, or (when
// checkFastLoad) its application is on the launcher's preload list.
QString resolveBoxFile(ActionHost& host, bool checkFastLoad);

// Whether program is on the launcher's preload list ("Launcher", group
// "Preload", key "Apps", comma-separated, compared exactly).  A null program
// never is.
bool isOnPreloadList(const char* program);
