// Process entry: a box file path as the first argument analyses that file on
// the command line; no argument, or "-qcop", starts the graphical mode.
#include <cstring>

#include "command_line.h"
#include "graphical_mode.h"

int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "-qcop") != 0) return commandLineAnalysis(argv[1]);
  return startGraphicalMode(argc, argv);
}
