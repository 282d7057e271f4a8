// What the maintenance actions need of the window that runs them: the
// selected box file, the form's switches, the result list and the progress
// bar, and a busy state.  The main window implements it; the actions know
// nothing else of the form.
#pragma once

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>

class QWidget;
class Reporter;

// The check boxes of the form that steer the actions.
struct ActionSwitches {
  bool verbose = false;      // "Verbose": listing lines, and the file name row
  bool noisy = false;        // "Noisy": every card
  bool debug = false;        // "Debug": debug lines and a copy on standard error
  bool selfCheck = false;    // "BXD": the box library's check instead of the analysis
  bool deleteIndex = false;  // "delete Index File"
};

// The rows of the application choice that the actions treat apart.
inline constexpr int kInboxRow = 4;       // "EMail inbox": its own text indexes, on its medium
inline constexpr int kOtherBoxesRow = 6;  // "Other Boxes": every pattern names the box itself

class ActionHost {
 public:
  virtual ~ActionHost() = default;

  // The window the actions' message boxes belong to.
  virtual QWidget* dialogParent() = 0;

  // The selection: the chosen box file, or a pattern of files beside it
  // (boxFilePath), its directory, its storage medium's translated name, the
  // row of the application choice, and whether that application is on the
  // launcher's preload list.
  virtual QString boxFilePath(const char* suffix) const = 0;
  virtual QString boxDir(bool storageApplies) const = 0;
  virtual QString storageName() const = 0;
  virtual int applicationRow() const = 0;
  virtual bool isFastLoad() const = 0;

  virtual ActionSwitches switches() const = 0;

  // The result list: emptied; emptied and set to sort by the index key, as
  // an analysis wants it; one row of three texts added; a findings sink that
  // files an analysis into it (echo copies entries to standard error).  The
  // sink may be used on another thread; what it files shows in the list
  // once runInBackground() has run to its end.
  virtual void clearResults() = 0;
  virtual void clearResultsForAnalysis() = 0;
  virtual void addResultRow(const QString& index, const QString& id, const QString& context) = 0;
  virtual std::unique_ptr<Reporter> resultReporter(bool echo) = 0;
  virtual void hideProgress() = 0;

  // Runs job on a thread of its own while the window stays alive: it
  // repaints, shows the sink's progress, and drops the input it is given
  // but a cancel.  One job uses the engine at a time (its settings are
  // process-wide): a job starts when the one before has ended.  True when
  // job ran to its end; false when the user cancelled, and job then ends on
  // its own, keeping alive what it captured.
  virtual bool runInBackground(std::function<void()> job) = 0;
  // An analysis ran to its end: the size of its box file and the normal
  // cards it holds.
  virtual void analysisDone(uint64_t fileSize, uint32_t cards) = 0;

  // Busy: the working groups disabled while an action runs; when it ends
  // they are enabled again and the application choice has the focus.
  virtual void setBusy(bool busy) = 0;

  // Whether the host can rescue a box file the collector refuses into a
  // new one, and the rescue of the box file at path, which starts once the
  // action that asks for it has ended.  A host without one offers none.
  virtual bool offersRecovery() const { return false; }
  virtual void recoverBox(const QString& path) { static_cast<void>(path); }
};
