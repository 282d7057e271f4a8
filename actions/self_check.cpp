#include "self_check.h"

#include <QByteArray>
#include <QCoreApplication>

#include "action_host.h"
#include "boxlib.h"
#include "local_path.h"

BoxCheckFunction boxCheckFunction = _BXDFileCheckLevel;

void selfCheckAction(ActionHost& host, const QString& path) {
  host.addResultRow(QCoreApplication::translate("Vorn", "BXDFileCheck Start"), QLatin1String(""),
                    QLatin1String(""));
  const QByteArray name = localFileName(path);
  // Only the low 16 bits of the library's result count.
  const unsigned code = static_cast<unsigned>(boxCheckFunction(name.constData(), kFullCheckLevel)) & 0xFFFF;
  host.addResultRow(code == 0 ? QCoreApplication::translate("Vorn", "No Error")
                              : QCoreApplication::translate("Vorn", "Error"),
                    QLatin1String(""), QString::number(code, 10));
}
