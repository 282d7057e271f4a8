// The desktop window around the maintenance form: the form (Vorn) as its
// central widget, a menu bar (File, Edit, Help), a status bar with the
// verdict of the last run and the cancel button of a running one, the
// title naming the box file, recent files, and the window's place and last
// choice kept in the program's settings.
#pragma once

#include <QMainWindow>
#include <QStringList>

class QAction;
class QLabel;
class QMenu;
class QPushButton;
class Vorn;

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

  Vorn* form;
  QMenu* recentMenu;
  QAction* openAction;
  QAction* saveAction;
  QAction* quitAction;
  QAction* copyAction;
  QAction* copyAllAction;
  QAction* manualAction;
  QAction* aboutAction;
  QLabel* verdictLabel;  // the verdict of the last run
  QLabel* fileLabel;     // its file's size and card count
  QPushButton* cancelButton;

  // The texts of the status bar for a verdict: "no problems found", or the
  // counts that are not zero ("1 critical, 3 errors, 2 warnings").
  static QString verdictText(unsigned critical, unsigned errors, unsigned warnings);

 protected:
  void closeEvent(QCloseEvent* event) override;

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

  QStringList recent_;
};
