#include "graphical_mode.h"

#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>

#include "command_line.h"

#if VORN_HAS_GUI
namespace {

// The window program, found from where this program lies: the build tree and
// an installation keep them at the same relative place.
std::string windowProgram() {
  char self[PATH_MAX];
  const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n <= 0) return VORN_GUI_RELATIVE_PATH;
  std::string path(self, static_cast<size_t>(n));
  return path.substr(0, path.rfind('/') + 1) + VORN_GUI_RELATIVE_PATH;
}

}  // namespace
#endif

int startGraphicalMode(int /*argc*/, char** argv) {
#if VORN_HAS_GUI
  const std::string program = windowProgram();
  execv(program.c_str(), argv);
  std::fprintf(stderr, "vorn: cannot start the window program %s: %s\n", shownPath(program.c_str()).c_str(),
               std::strerror(errno));
  return 2;
#else
  (void)argv;
  std::fputs("vorn: this build has no window; 'vorn FILE' analyses a box file on the command line\n", stderr);
  return 2;
#endif
}
