#include <qpe/qpeapplication.h>

#include <QScreen>
#include <QWidget>

QPEApplication::QPEApplication(int& argc, char** argv, Type /*type*/) : QApplication(argc, argv) {
  setApplicationName(QStringLiteral("vorn"));
}

void QPEApplication::showMainDocumentWidget(QWidget* w, bool nomax) {
  // The handheld's screens are 640 x 480 at the most.
  const QScreen* screen = w->screen();
  const bool handheldSized = screen && screen->size().width() <= 640 && screen->size().height() <= 640;
  if (!nomax && handheldSized) {
    w->showMaximized();
    return;
  }
  // A desktop window opens at least at the size it prefers, within the screen.
  if (screen && !handheldSized) {
    w->resize(w->size().expandedTo(w->sizeHint()).boundedTo(screen->availableSize()));
  }
  w->show();
}
