// The graphical mode: the Qtopia application object and one main window.
#include <QCoreApplication>
#include <QLibraryInfo>

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
  QPEApplication application(argc, argv, QPEApplication::GuiClient);
  const WindowTranslations translations{QLocale(), installedTranslations()};
  auto* widget = new Vorn();
  application.showMainDocumentWidget(widget, false);
  const int status = application.exec();
  delete widget;
  return status;
}
