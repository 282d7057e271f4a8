// Graphical start of a build without the front end.
#include <cstdio>

#include "app/command_line.h"

int graphicalStart(int /*argc*/, char** /*argv*/) {
  std::fputs(
      "vorn: the graphical mode is not built in this version; "
      "run 'vorn FILE' to analyse a box file on the command line\n",
      stderr);
  return 1;
}
