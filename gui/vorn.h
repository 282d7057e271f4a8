// The main widget: the form with the box file selector, the wiring of its
// buttons and check boxes, and the maintenance actions as slots.  It is the
// host the actions of actions/ work through.
#pragma once

#include <QString>

#include "action_host.h"
#include "box_file_selecter.h"
#include "vorn_base.h"

class Vorn : public VornBase, public ActionHost {
  Q_OBJECT

 public:
  explicit Vorn(QWidget* parent = nullptr, const char* name = nullptr, Qt::WindowFlags fl = {});
  ~Vorn() override;

  // The path of the selected box file, or a null string after a message box
  // has told the user why there is none.
  QString resolveBoxFile(bool checkFastLoad);

  boxFileSelecter selector;

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
  void setBusy(bool busy) override;

 protected:
  // A box file dropped onto the window becomes the choice and is analysed.
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 protected slots:
  void devModeEnebled();
  void showGC(bool analyseOnly);
  void analyze();
  void doGC();
  void slotBXD();
};
