// The window's long work (an analysis, a check for a save) on a thread of
// its own, with the window alive meanwhile: it repaints and shows progress,
// and every input it is given during the run is dropped, never kept for
// later, but a cancel (Escape, or the cancel button).
//
// The engine's settings are process-wide, so one job uses it at a time: a
// job starts when the one before has ended.  A cancelled job is not
// stopped (the engine has no way to stop a run); the window lets it go and
// it ends on its own, holding only what it captured.
#pragma once

#include <QObject>
#include <QPointer>

#include <functional>

class QAbstractButton;
class QEventLoop;
class QProgressBar;
class QWidget;
struct RunProgress;

class BackgroundRun : public QObject {
  Q_OBJECT

 public:
  // bar shows the progress of the runs that report it.
  BackgroundRun(QObject* parent, QProgressBar* bar);
  ~BackgroundRun() override;

  // Runs job and returns when it has ended (true) or the user cancelled
  // (false).  progress, when given, moves the bar as the run reports.
  bool run(std::function<void()> job, RunProgress* progress = nullptr);
  bool running() const { return loop_ != nullptr; }
  // Whether the last run was cancelled.
  bool cancelled() const { return cancelled_; }
  // The button whose clicks still reach it during a run.
  void setCancelButton(QAbstractButton* button);

  // Whether a job, a cancelled one too, still runs.
  static bool engineBusy();
  // Waits until no job runs: before the program ends.
  static void waitForEngine();

 public slots:
  void cancel();

 signals:
  void runningChanged(bool running);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void showProgress(const RunProgress* progress);

  QProgressBar* bar_;
  QPointer<QAbstractButton> cancelButton_;
  QEventLoop* loop_ = nullptr;
  RunProgress* progress_ = nullptr;
  bool cancelled_ = false;
};
