// The graphical mode: the Qtopia application object and one main window.
#include <QCoreApplication>
#include <QLibraryInfo>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <qpe/qpeapplication.h>
#include "background_run.h"
#include "graphical_start.h"
#include "local_path.h"
#include "vorn_window.h"

namespace {

bool hasDisplay() {
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
    const char* value = std::getenv(name);
    if (value && *value) return true;
  }
  return false;
}

}  // namespace

QString installedTranslations() {
  return QCoreApplication::applicationDirPath() + QStringLiteral("/" VORN_TRANSLATIONS_RELATIVE_PATH);
}

WindowTranslations::WindowTranslations(const QLocale& locale, const QString& directory) {
  const auto load = [this, &locale](const QString& from) {
    return window_.load(locale, QStringLiteral("vorn"), QStringLiteral("_"), from);
  };
  const bool found = (!directory.isEmpty() && load(directory)) || load(QStringLiteral(":/i18n"));
  if (!found) return;
  QCoreApplication::installTranslator(&window_);
  if (qt_.load(locale, QStringLiteral("qtbase"), QStringLiteral("_"),
               QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
    QCoreApplication::installTranslator(&qt_);
  }
  installed_ = true;
}

WindowTranslations::~WindowTranslations() {
  QCoreApplication::removeTranslator(&qt_);
  QCoreApplication::removeTranslator(&window_);
}

int graphicalStart(int argc, char** argv) {
  // Without a display the toolkit would abort; say what to do instead.
  if (!hasDisplay()) {
    std::fputs(
        "vorn: the window needs a display (none is set); "
        "'vorn FILE' analyses a box file on the command line\n",
        stderr);
    return 2;
  }
  // "-qcop FILE" (as the desktop entry starts it): the window with that
  // file chosen and analysed.  Taken before the toolkit looks at the
  // arguments, byte for byte.
  const QByteArray file = argc > 2 && std::strcmp(argv[1], "-qcop") == 0 ? QByteArray(argv[2]) : QByteArray();
  QPEApplication application(argc, argv, QPEApplication::GuiClient);
  const WindowTranslations translations{QLocale(), installedTranslations()};
  auto* window = new VornWindow();
  if (window->restoreWindowGeometry()) {
    window->show();
  } else {
    application.showMainDocumentWidget(window, false);
  }
  if (!file.isEmpty()) window->openFile(fromLocalFileName(file));
  const int status = application.exec();
  delete window;
  // A cancelled analysis may still run: the engine is let finish first.
  BackgroundRun::waitForEngine();
  return status;
}
