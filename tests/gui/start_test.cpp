// The graphical start as the program runs it: on a handheld's screen the
// window fills it; on a desktop's it opens at its preferred size; started
// as "vorn -qcop FILE" it has that file chosen and analysed.
//   start_test maximized | preferred | qcop FILE   (the screen comes from QT_QPA_PLATFORM)
#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QScreen>
#include <QTimer>

#include <cstdio>
#include <cstring>

#include "findings_model.h"
#include "graphical_start.h"
#include "local_path.h"
#include "vorn.h"
#include "vorn_window.h"

namespace {

const char* mode = "";
const char* file = "";

VornWindow* theWindow() {
  for (QWidget* top : QApplication::topLevelWidgets())
    if (auto* w = qobject_cast<VornWindow*>(top)) return w;
  return nullptr;
}

bool windowIsRight(VornWindow* w) {
  if (std::strcmp(mode, "qcop") == 0) {
    const QString name = fromLocalFileName(file).section('/', -1);
    return w->form->selector.boxFilePath(".box") == fromLocalFileName(file) &&
           w->windowTitle() == name + " - Vorn2 ver1.0" && w->form->resultModel->rowCount() > 0 &&
           !w->verdictLabel->text().isEmpty();
  }
  const bool maximized = std::strcmp(mode, "maximized") == 0;
  const QSize preferred = w->sizeHint().boundedTo(w->screen()->availableSize());
  return w->isVisible() && w->isMaximized() == maximized && (maximized || w->size() == preferred);
}

// Once the event loop runs, looks at the window (for a while, since the
// analysis follows the start) and ends the program.
void checkTheWindow() {
  QElapsedTimer clock;
  clock.start();
  auto* poll = new QTimer(QCoreApplication::instance());
  QObject::connect(poll, &QTimer::timeout, [poll, clock] {
    VornWindow* w = theWindow();
    const bool ok = w && windowIsRight(w);
    if (!ok && clock.elapsed() < 10000) return;
    if (!ok)
      std::fprintf(stderr, "window %s, size %dx%d, title %s\n", w ? "wrong" : "missing", w ? w->width() : 0,
                   w ? w->height() : 0, w ? qPrintable(w->windowTitle()) : "");
    poll->stop();
    QCoreApplication::exit(ok ? 0 : 1);
  });
  poll->start(20);
}
Q_COREAPP_STARTUP_FUNCTION(checkTheWindow)

}  // namespace

int main(int argc, char** argv) {
  mode = argc > 1 ? argv[1] : "";
  file = argc > 2 ? argv[2] : "";
  char program[] = "vorn", qcop[] = "-qcop";
  char* arguments[] = {program, qcop, argv[argc > 2 ? 2 : 0], nullptr};
  int count = std::strcmp(mode, "qcop") == 0 ? 3 : 1;
  return graphicalStart(count, arguments);
}
