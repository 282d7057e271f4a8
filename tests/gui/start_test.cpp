// The graphical start as the program runs it: on a handheld's screen the
// window fills it; on a desktop's it opens at its preferred size.
//   start_test maximized | preferred   (the screen comes from QT_QPA_PLATFORM)
#include <QApplication>
#include <QScreen>
#include <QTimer>

#include <cstdio>
#include <cstring>

#include "graphical_start.h"
#include "vorn.h"

namespace {

bool expectMaximized = false;

// Once the event loop runs, looks at the window and ends the program.
void checkTheWindow() {
  QTimer::singleShot(0, [] {
    Vorn* w = nullptr;
    for (QWidget* top : QApplication::topLevelWidgets()) w = w ? w : qobject_cast<Vorn*>(top);
    const QSize preferred = w ? w->sizeHint().boundedTo(w->screen()->availableSize()) : QSize();
    const bool ok = w && w->isVisible() && w->isMaximized() == expectMaximized &&
                    (expectMaximized || w->size() == preferred);
    if (!ok)
      std::fprintf(stderr, "window %s, size %dx%d\n", w ? "wrong" : "missing", w ? w->width() : 0,
                   w ? w->height() : 0);
    QCoreApplication::exit(ok ? 0 : 1);
  });
}
Q_COREAPP_STARTUP_FUNCTION(checkTheWindow)

}  // namespace

int main(int argc, char** argv) {
  expectMaximized = argc > 1 && std::strcmp(argv[1], "maximized") == 0;
  int count = 1;
  return graphicalStart(count, argv);
}
