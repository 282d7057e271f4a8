#include "analyze_action.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QMessageBox>

#include "action_host.h"
#include "action_lock.h"
#include "box_analysis.h"
#include "local_path.h"
#include "report_scope.h"
#include "reporter.h"
#include "resolution.h"
#include "self_check.h"

namespace {

// Runs the analysis of path into the result list, or says why it cannot.
void analyseInto(ActionHost& host, const QString& path, const ActionSwitches& switches) {
  const QByteArray name = localFileName(path);
  BoxAnalysis analysis(name.constData());
  if (!analysis.file.data) {
    // It exists but cannot be read: say why instead of an empty list.
    QMessageBox::warning(host.dialogParent(), QCoreApplication::translate("Vorn", "File error"),
                         QCoreApplication::translate("Vorn", "Box file cannot be read.\n%1\n%2")
                             .arg(path, QString::fromLocal8Bit(analysis.file.problem.c_str())));
    return;
  }
  {
    const std::unique_ptr<Reporter> reporter = host.resultReporter(switches.debug);
    ReportScope scope(reporter.get(), {switches.debug, switches.verbose, switches.noisy});
    analysis.run();  // the rows are the outcome; the verdict is not used
    if (switches.verbose)
      host.addResultRow(QCoreApplication::translate("Vorn", "BOX file name"), QLatin1String(""), path);
  }
  if (analysis.file.shrank()) {
    QMessageBox::warning(
        host.dialogParent(), QCoreApplication::translate("Vorn", "File error"),
        QCoreApplication::translate(
            "Vorn", "Box file shrank while it was analysed.\n%1\nThe findings end where it was cut.")
            .arg(path));
  }
}

}  // namespace

void analyzeAction(ActionHost& host) {
  const QString path = resolveBoxFile(host, false);
  if (path.isEmpty()) return;
  host.clearResultsForAnalysis();
  actionLock lock(&host);
  const ActionSwitches switches = host.switches();
  if (switches.selfCheck) {
    selfCheckAction(host, path);
  } else {
    analyseInto(host, path, switches);
  }
  host.hideProgress();
}
