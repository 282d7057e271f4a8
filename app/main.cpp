// Process entry: a box file path as the first argument analyses that file on
// the command line; no argument, or "-qcop" (with the box file the window
// opens after it), starts the graphical mode.
// --help, -h, --version and -V are answered only when no file of that name
// exists: any other first argument is a path to analyse.
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <new>

#include "command_line.h"
#include "graphical_mode.h"

#ifndef VORN_VERSION
#error "VORN_VERSION must give the program's version"
#endif

namespace {

bool isOption(const char* argument, const char* shortForm, const char* longForm) {
  struct stat st;
  return (std::strcmp(argument, shortForm) == 0 || std::strcmp(argument, longForm) == 0) &&
         lstat(argument, &st) != 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && isOption(argv[1], "-h", "--help")) {
    std::fputs(
        "usage: vorn FILE               analyse a box file, the findings on standard output\n"
        "       vorn [-qcop [FILE]]     open the window (with FILE chosen and analysed)\n"
        "See vorn(1); boxtool(1) checks, exports, rescues and compacts box files.\n",
        stdout);
    return finishOutput("vorn", 0);
  }
  if (argc > 1 && isOption(argv[1], "-V", "--version")) {
    std::fputs("vorn " VORN_VERSION "\n", stdout);
    return finishOutput("vorn", 0);
  }
  if (argc > 1 && std::strcmp(argv[1], "-qcop") != 0) {
    try {
      return commandLineAnalysis(argv[1]);
    } catch (const std::bad_alloc&) {
      // The findings printed so far stand; the analysis could not go on.
      std::fflush(stdout);
      std::fprintf(stderr, "vorn: %s: out of memory\n", shownPath(argv[1]).c_str());
      return 2;
    }
  }
  return startGraphicalMode(argc, argv);
}
