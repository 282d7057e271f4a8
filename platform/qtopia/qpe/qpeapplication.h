// The Qtopia application object, as the handheld's environment provides it,
// over a plain QApplication.
#pragma once

#include <QApplication>

class QPEApplication : public QApplication {
 public:
  // The application types of the handheld's toolkit; only GuiClient is used.
  enum Type { Tty, GuiClient, GuiServer };

  QPEApplication(int& argc, char** argv, Type type = GuiClient);

  // Shows w as the application's main document window.  On the handheld
  // such a window fills the screen unless nomax is set; on a desktop screen
  // larger than the handheld's it opens at its preferred size (sizeHint) when
  // that is larger than its own, as far as the screen allows.
  void showMainDocumentWidget(QWidget* w, bool nomax = false);
};
