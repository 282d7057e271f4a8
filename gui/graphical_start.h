// The graphical mode: the Qtopia application object and one main window.
#pragma once

// Runs the window until the application quits; returns the exit status.
// Without a display it says so on standard error and returns 2.
int graphicalStart(int argc, char** argv);
