// The graphical mode: the Qtopia application object and one main window.
#include <cstdio>
#include <cstdlib>

#include <qpe/qpeapplication.h>
#include "graphical_start.h"
#include "vorn.h"

namespace {

bool hasDisplay() {
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
    const char* value = std::getenv(name);
    if (value && *value) return true;
  }
  return false;
}

}  // namespace

int graphicalStart(int argc, char** argv) {
  // Without a display the toolkit would abort; say what to do instead.
  if (!hasDisplay()) {
    std::fputs(
        "vorn: the window needs a display (none is set); "
        "'vorn FILE' analyses a box file on the command line\n",
        stderr);
    return 2;
  }
  QPEApplication application(argc, argv, QPEApplication::GuiClient);
  auto* widget = new Vorn();
  application.showMainDocumentWidget(widget, false);
  const int status = application.exec();
  delete widget;
  return status;
}
