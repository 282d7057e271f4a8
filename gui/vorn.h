// The main widget: the form with the box file selector, the wiring of its
// buttons and check boxes, and the maintenance actions as slots.
#pragma once

#include <QString>

#include "gui/box_file_selecter.h"
#include "gui/vorn_base.h"

class Vorn : public VornBase {
  Q_OBJECT

 public:
  explicit Vorn(QWidget* parent = nullptr, const char* name = nullptr, Qt::WindowFlags fl = {});
  ~Vorn() override;

  // The path of the selected box file, or a null string after a message box
  // has told the user why there is none.
  QString resolveBoxFile(bool checkFastLoad);

  boxFileSelecter selector;

 protected slots:
  void devModeEnebled();
  void showGC(bool analyseOnly);
  void analyze();
  void doGC();
  void slotBXD();

 private:
  // The box library's own check of path, shown as two result rows.
  void selfCheck(const QString& path);
};
