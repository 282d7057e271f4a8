// The "BXD" self-check: the box library's check instead of the analysis.
#include "actions/self_check.h"

#include <QTreeWidget>

#include "gui/vorn.h"
#include "platform/boxlib/boxlib.h"

BoxCheckFunction boxCheckFunction = _BXDFileCheckLevel;

void Vorn::selfCheck(const QString& path) {
  new QTreeWidgetItem(result, {tr("BXDFileCheck Start"), QLatin1String(""), QLatin1String("")});
  const QByteArray latin1 = path.toLatin1();
  // Only the low 16 bits of the library's result count.
  const unsigned code = static_cast<unsigned>(boxCheckFunction(latin1.constData(), kFullCheckLevel)) & 0xFFFF;
  new QTreeWidgetItem(
      result, {code == 0 ? tr("No Error") : tr("Error"), QLatin1String(""), QString::number(code, 10)});
}
