// The garbage-collection action.
#include <QMessageBox>

#include "gui/vorn.h"

void Vorn::doGC() {
  const QString path = resolveBoxFile(true);
  if (path.isEmpty()) return;
  QMessageBox::information(this, tr("Garbage Collection"),
                           tr("Garbage collection is not available in this build."));
}
