// The desktop window around the maintenance form: the form (Vorn) as its
// central widget, a menu bar (File, Edit, View, Tools, Help), a status bar
// with the verdict of the last run and the cancel button of a running one,
// the title naming the box file, recent files, and the window's place and
// last choice kept in the program's settings.
//
// Beside the form, in docks, what the last analysed box file holds: its
// records (RecordsPage), the map of its bytes (MapView) and its statistics
// (StatisticsPage), loaded after each analysis from boxtool's own reading
// of the file.  A click on the map selects the card's findings in the
// result list and its record in the table.  File > Export..., Tools >
// Recover... and Tools > Compact... do what boxtool export, recover and
// compact do (window_tools.cpp).
#pragma once

#include <QMainWindow>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <memory>

class BackgroundRun;
class MapLegend;
class MapView;
class QAction;
class QDockWidget;
class QLabel;
class QMenu;
class QProgressBar;
class QPushButton;
class RecordsPage;
class StatisticsPage;
class Vorn;
struct BoxContents;
struct RunProgress;

class VornWindow : public QMainWindow {
  Q_OBJECT

 public:
  explicit VornWindow(QWidget* parent = nullptr);
  ~VornWindow() override;

  // Makes the box file at path the choice and analyses it.
  void openFile(const QString& path);
  // Puts the window where it was last closed; false when it never was.
  bool restoreWindowGeometry();

  // The recent box files, the latest first (paths as local_path.h holds them).
  QStringList recentFiles() const { return recent_; }
  static constexpr int kRecentFiles = 10;

  // The file dialog of "Save Findings...": the path chosen (empty when
  // cancelled) and the filter chosen.  Replaceable for tests.
  using SaveFileDialog = QString (*)(QWidget* parent, const QString& caption, const QString& directory,
                                     const QString& filters, QString* chosenFilter);
  static SaveFileDialog saveFileDialog;

  // What the docks show: the box file last analysed, loaded on the
  // engine's thread with progress and a cancel.  False when cancelled.
  bool loadContents(const QString& path);
  const BoxContents* contents() const { return contents_.get(); }
  // Shows a segment of the map as chosen: outlined on the map, its card's
  // findings selected in the result list and its record in the table.
  void chooseSegment(int64_t segment);

  // File > Export..., Tools > Recover... (of given, or of the box shown)
  // and Tools > Compact..., as the menus run them.
  void exportRecords();
  void recoverBox(const QString& given = QString());
  void compactBox();

  Vorn* form;
  QMenu* recentMenu;
  QAction* openAction;
  QAction* exportAction;
  QAction* saveAction;
  QAction* quitAction;
  QAction* copyAction;
  QAction* copyAllAction;
  QAction* recoverAction;
  QAction* compactAction;
  QAction* manualAction;
  QAction* aboutAction;
  QLabel* verdictLabel;  // the verdict of the last run
  QLabel* fileLabel;     // its file's size and card count
  QPushButton* cancelButton;
  QProgressBar* jobProgress;  // of the window's own long work
  BackgroundRun* jobRunner;   // runs that work

  QDockWidget* recordsDock;
  QDockWidget* mapDock;
  QDockWidget* statisticsDock;
  RecordsPage* recordsPage;
  MapView* mapView;
  MapLegend* mapLegend;
  StatisticsPage* statisticsPage;

  // The texts of the status bar for a verdict: "no problems found", or the
  // counts that are not zero ("1 critical, 3 errors, 2 warnings").
  static QString verdictText(unsigned critical, unsigned errors, unsigned warnings);

 protected:
  void closeEvent(QCloseEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  void buildMenus();
  void showLastRun();
  void addRecent(const QString& path);
  void showRecent();
  void copyRows(bool all);
  void saveFindings();
  void showManual();
  void showAbout();
  void runningChanged(bool running);
  void rememberChoice();
  void restoreChoice();
  void buildDocks();
  // Loads the box last analysed into the docks, unless every dock is closed.
  void loadPendingContents();
  void showContents(std::shared_ptr<BoxContents> contents);
  void contentsChanged();
  // Runs job on the engine's thread with the progress it reports through
  // boxtool's hook; false when the user cancelled.
  bool runJob(const std::function<void(RunProgress&)>& job);
  // The box file the docks show, or the one resolved from the form.
  QString shownBox();

  QStringList recent_;
  QMenu* recordCopies_ = nullptr;  // the Edit menu, which copies records too
  QMenu* viewMenu_ = nullptr;
  bool docksPlaced_ = false;  // as kept in the settings, or as first shown
  std::shared_ptr<BoxContents> contents_;
  QString pendingContents_;  // analysed, not yet loaded into the docks
};
