#include "resolution.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <QStringList>

#include <qpe/config.h>

#include "action_host.h"
#include "local_path.h"

QString resolveBoxFile(ActionHost& host, bool checkFastLoad) {
  QString path = host.boxFilePath(".box");
  if (!localFileExists(path)) {
    QMessageBox::warning(host.dialogParent(), QCoreApplication::translate("Vorn", "File error"),
                         QCoreApplication::translate("Vorn", "Box file is not found.\n%1").arg(path));
    return QString();
  }
  if (checkFastLoad && host.isFastLoad()) {
    QMessageBox::warning(
        host.dialogParent(), QCoreApplication::translate("Vorn", "Error"),
        QCoreApplication::translate("Vorn", "Selected Application is set FastLoad.\nPlease unset fastload."));
    return QString();
  }
  return path;
}

bool isOnPreloadList(const char* program) {
  if (!program) return false;
  Config launcher(QStringLiteral("Launcher"), Config::User);
  launcher.setGroup(QStringLiteral("Preload"));
  const QStringList apps = launcher.readListEntry(QStringLiteral("Apps"), QLatin1Char(','));
  return apps.count(QString::fromLatin1(program)) != 0;
}
