// The main widget: the form with the box file selector, the wiring of its
// buttons and check boxes, and the maintenance actions as slots.  It is the
// host the actions of actions/ work through.  The main window (VornWindow)
// holds it as its central widget.
#pragma once

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>

#include "action_host.h"
#include "box_file_selecter.h"
#include "vorn_base.h"

class BackgroundRun;
class FindingsTree;
struct RunProgress;

// What the last run left in the window, for its title and status bar.
struct RunSummary {
  enum State { kNone, kAnalysed, kCancelled };
  State state = kNone;
  QString path;  // the box file
  uint64_t size = 0;
  uint32_t cards = 0;  // normal cards
  unsigned critical = 0, errors = 0, warnings = 0;
};

class Vorn : public VornBase, public ActionHost {
  Q_OBJECT

 public:
  explicit Vorn(QWidget* parent = nullptr, const char* name = nullptr, Qt::WindowFlags fl = {});
  ~Vorn() override;

  // The path of the selected box file, or a null string after a message box
  // has told the user why there is none.
  QString resolveBoxFile(bool checkFastLoad);

  // Makes the box file at path the choice and analyses it, as a drop does.
  void openFile(const QString& path);

  boxFileSelecter selector;
  // Runs the actions' long work; its cancel() gives a run up.
  BackgroundRun* runner;

  RunSummary lastRun;
  // Told when lastRun changes, and when a box file is opened (chosen from
  // anywhere: the file dialog, a drop, openFile()).
  std::function<void()> lastRunChanged;
  std::function<void(const QString& path)> fileOpened;
  // The rescue the refusal of Garbage Collection offers; none when unset.
  std::function<void(const QString& path)> recoverRequested;

  // The size a desktop screen opens the window at: the result list shows
  // kDesktopRows rows, and its columns are as wide as findings need.  A
  // handheld's screen shows the window maximised, whatever this says.
  QSize sizeHint() const override;
  static constexpr int kDesktopRows = 15;

  // ActionHost.
  QWidget* dialogParent() override;
  QString boxFilePath(const char* suffix) const override;
  QString boxDir(bool storageApplies) const override;
  QString storageName() const override;
  int applicationRow() const override;
  bool isFastLoad() const override;
  ActionSwitches switches() const override;
  void clearResults() override;
  void clearResultsForAnalysis() override;
  void addResultRow(const QString& index, const QString& id, const QString& context) override;
  std::unique_ptr<Reporter> resultReporter(bool echo) override;
  void hideProgress() override;
  bool runInBackground(std::function<void()> job) override;
  void analysisDone(uint64_t fileSize, uint32_t cards) override;
  void setBusy(bool busy) override;
  bool offersRecovery() const override;
  void recoverBox(const QString& path) override;

 protected:
  // A box file dropped onto the window becomes the choice and is analysed.
  // The drop is taken as a copy (or a link), never as a move.
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 protected slots:
  void devModeEnebled();
  void showGC(bool analyseOnly);
  void analyze();
  void doGC();
  void slotBXD();

 private:
  void setLastRun(const RunSummary& run);
  // The box library's check and the collector use the engine as well: they
  // wait for a cancelled analysis that still runs.  False when the user
  // cancelled the wait.
  bool engineFree();

  std::shared_ptr<FindingsTree> pendingTree_;
  std::shared_ptr<RunProgress> pendingProgress_;
};
