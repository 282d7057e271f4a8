// Graphical start of a build without the window (configured with VORN_GUI off).
#include <cstdio>

#include "app/command_line.h"

int graphicalStart(int /*argc*/, char** /*argv*/) {
  std::fputs("vorn: this build has no window; 'vorn FILE' analyses a box file on the command line\n", stderr);
  return 2;
}
