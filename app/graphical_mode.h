// Starting the graphical mode from the vorn program.
//
// The window lives in a program of its own, vorn-gui, installed under
// libexec/vorn/, so that the command line starts without loading the widget
// toolkit.  vorn hands the graphical mode over to it with the same arguments.
#pragma once

// Replaces this process with vorn-gui.  Returns only when that cannot be
// done (a build without the window, or a missing program), after one line
// on standard error; the result is the exit status then.
int startGraphicalMode(int argc, char** argv);
