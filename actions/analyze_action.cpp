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

// One analysis, owned by the job that runs it, so that a cancelled run can
// go on to its end without the window.
struct AnalysisRun {
  QByteArray name;
  std::unique_ptr<Reporter> reporter;
  std::unique_ptr<BoxAnalysis> analysis;
  bool shrank = false;
  uint64_t size = 0;
  uint32_t cards = 0;
};

// Runs the analysis of path into the result list, or says why it cannot.
void analyseInto(ActionHost& host, const QString& path, const ActionSwitches& switches) {
  auto run = std::make_shared<AnalysisRun>();
  run->name = localFileName(path);
  run->reporter = host.resultReporter(switches.debug);
  const bool finished = host.runInBackground([run, switches] {
    run->analysis = std::make_unique<BoxAnalysis>(run->name.constData());
    if (!run->analysis->file.data) return;
    {
      ReportScope scope(run->reporter.get(), {switches.debug, switches.verbose, switches.noisy});
      run->analysis->run();  // the rows are the outcome; the verdict is not used
    }
    run->shrank = run->analysis->file.shrank();
    run->size = run->analysis->file.size;
    run->cards = run->analysis->chain ? run->analysis->chain->normalCount : 0;
  });
  if (!finished) return;
  if (!run->analysis->file.data) {
    // It exists but cannot be read: say why instead of an empty list.
    QMessageBox::warning(host.dialogParent(), QCoreApplication::translate("Vorn", "File error"),
                         QCoreApplication::translate("Vorn", "Box file cannot be read.\n%1\n%2")
                             .arg(path, QString::fromLocal8Bit(run->analysis->file.problem.c_str())));
    return;
  }
  if (switches.verbose)
    host.addResultRow(QCoreApplication::translate("Vorn", "BOX file name"), QLatin1String(""), path);
  host.analysisDone(run->size, run->cards);
  if (run->shrank) {
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
