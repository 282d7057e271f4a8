// The analyse action: the selected box file analysed into the result list.
#include <QCheckBox>
#include <QMessageBox>
#include <QProgressBar>
#include <QTreeWidget>

#include "actions/action_lock.h"
#include "engine/box_analysis.h"
#include "engine/findings.h"
#include "gui/result_reporter.h"
#include "gui/vorn.h"

void Vorn::analyze() {
  const QString path = resolveBoxFile(false);
  if (path.isEmpty()) return;
  result->clear();
  result->sortByColumn(kKeyColumn, Qt::AscendingOrder);
  actionLock lock(this);

  if (chkBXD->isChecked()) {
    selfCheck(path);
  } else {
    const QByteArray latin1 = path.toLatin1();
    BoxAnalysis analysis(latin1.constData());
    if (!analysis.file.data) {
      // It exists but cannot be read: say why instead of an empty list.
      QMessageBox::warning(this, tr("File error"),
                           tr("Box file cannot be read.\n%1\n%2")
                               .arg(path, QString::fromLocal8Bit(analysis.file.problem.c_str())));
      progress->hide();
      return;
    }
    ResultReporter reporter(result, progress, anDebug->isChecked());
    currentReporter = &reporter;
    debug = anDebug->isChecked();
    verbose = anVerbose->isChecked();
    noisy = anNoisy->isChecked();
    analysis.run();  // the rows are the outcome; the verdict is not used
    if (anVerbose->isChecked()) {
      new QTreeWidgetItem(result, {tr("BOX file name"), QLatin1String(""), path});
    }
    currentReporter = nullptr;
    if (analysis.file.shrank()) {
      QMessageBox::warning(
          this, tr("File error"),
          tr("Box file shrank while it was analysed.\n%1\nThe findings end where it was cut.").arg(path));
    }
  }
  progress->hide();
}
