// Resolving the selected box file, and the fast-load question.
#include <QComboBox>
#include <QFile>
#include <QMessageBox>

#include "gui/box_file_selecter.h"
#include "gui/vorn.h"
#include "platform/qtopia/config.h"

QString Vorn::resolveBoxFile(bool checkFastLoad) {
  const QString path = selector.boxFilePath(".box");
  if (!QFile::exists(path)) {
    QMessageBox::warning(this, tr("File error"), tr("Box file is not found.\n%1").arg(path));
    return QString();
  }
  if (checkFastLoad && selector.isFastLoad()) {
    QMessageBox::warning(this, tr("Error"),
                         tr("Selected Application is set FastLoad.\nPlease unset fastload."));
    return QString();
  }
  return path;
}

bool boxFileSelecter::isFastLoad() const {
  Config launcher(QStringLiteral("Launcher"), Config::User);
  launcher.setGroup(QStringLiteral("Preload"));
  const QStringList apps = launcher.readListEntry(QStringLiteral("Apps"), QLatin1Char(','));
  const char* program = currentRow().program;
  return program && apps.count(QString::fromLatin1(program)) != 0;
}
