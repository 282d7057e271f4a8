// The graphical mode: the Qtopia application object and one main window.
#pragma once

#include <QLocale>
#include <QTranslator>

// Runs the window until the application quits; returns the exit status.
// Without a display it says so on standard error and returns 2.
int graphicalStart(int argc, char** argv);

// Where the installed program finds its translation files:
// PREFIX/share/vorn/translations, found from the program's own directory.
QString installedTranslations();

// The window's translation for a locale, with Qt's own (dialog buttons),
// installed while the object lives.  The translation file is taken from
// directory when it holds one for the locale, else from the copy compiled
// into the program.  Nothing is installed for a locale the window has no
// translation for, so its English texts stay as they are.
class WindowTranslations {
 public:
  explicit WindowTranslations(const QLocale& locale, const QString& directory = QString());
  ~WindowTranslations();
  WindowTranslations(const WindowTranslations&) = delete;
  WindowTranslations& operator=(const WindowTranslations&) = delete;

  bool installed() const { return installed_; }

 private:
  QTranslator window_;
  QTranslator qt_;
  bool installed_ = false;
};
